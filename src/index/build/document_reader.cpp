#include "index/build/document_reader.h"

#include <utility>

namespace kestrix {

DocumentReader::DocumentReader(ImportTextToolsXPC& import, bool useOCR, const std::atomic<bool>& stop)
    : second_(import.another()), links_{{import}, {*second_}}, useOCR_(useOCR), stop_(stop) {}

DocumentReader::~DocumentReader() {
    workers_.cancelAllOperations();
    for (const auto& job : ahead_) {
        for (const Link& link : links_)
            link.import.sendCancelFor(job->read.file.path);
    }
}

// A file of a type that nobody reads has no words, and is not handed to a worker to learn that.
void DocumentReader::begin(TreeUpdate::FileToRead file) {
    auto job = std::make_shared<Job>();
    bytesAhead_ += file.size;
    const bool isDocument = second_->tools().canImportTextFrom(file.path, useOCR_);
    job->read.file = std::move(file);
    job->done = !isDocument;
    if (!isDocument) job->read.words.emplace();
    ahead_.push_back(job);
    if (isDocument) workers_.add([this, job] { read(*job); });
}

void DocumentReader::read(Job& job) {
    Read& read = job.read;
    if (!stop_) {
        Link& link = freerLink();
        ImportedWords imported = link.import.wordsFromFile(read.file.path, useOCR_);
        read.words = std::move(imported.words);
        read.error = std::move(imported.error);
        const std::lock_guard hold(mutex_);
        --link.calls;
    }
    const std::lock_guard hold(mutex_);
    job.done = true;
    finished_.notify_all();
}

DocumentReader::Link& DocumentReader::freerLink() {
    const std::lock_guard hold(mutex_);
    Link& link = links_[1].calls < links_[0].calls ? links_[1] : links_[0];
    ++link.calls;
    return link;
}

bool DocumentReader::isNextReady() const {
    const std::lock_guard hold(mutex_);
    return !ahead_.empty() && ahead_.front()->done;
}

DocumentReader::Read DocumentReader::take() {
    const std::shared_ptr<Job> job = std::move(ahead_.front());
    ahead_.pop_front();
    bytesAhead_ -= job->read.file.size;
    std::unique_lock hold(mutex_);
    finished_.wait(hold, [&job] { return job->done; });
    return std::move(job->read);
}

}  // namespace kestrix
