#include "index/build/document_reader.h"

#include <utility>

namespace kestrix {

DocumentReader::DocumentReader(ImportTextToolsXPC& import, bool useOCR, const std::atomic<bool>& stop)
    : import_(import), useOCR_(useOCR), stop_(stop) {}

DocumentReader::~DocumentReader() {
    workers_.cancelAllOperations();
    giveUpAll();
    const std::lock_guard hold(mutex_);
    ending_ = true;
    changed_.notify_all();
}

void DocumentReader::giveUpAll() {
    for (const auto& job : ahead_)
        import_.sendCancelFor(job->file.path);
}

// A file of a type that nobody reads has no words, and is not handed to a worker to learn that.
void DocumentReader::begin(TreeUpdate::FileToRead file) {
    bytesAhead_ += file.size;
    const bool isDocument = import_.tools().canImportTextFrom(file.path, useOCR_);
    auto job = std::make_shared<Job>(Job{.file = std::move(file), .done = !isDocument});
    ahead_.push_back(job);
    if (isDocument) workers_.add([this, job] { read(*job); });
}

void DocumentReader::read(Job& job) {
    const bool isWanted = !stop_;
    std::optional<Error> error;
    if (isWanted) {
        error = import_.takeWordsFromFile(job.file.path, useOCR_,
                                          [&](WordList part) { handOver(job, std::move(part)); });
    }
    const bool isGivenUp = !isWanted || (stop_ && error);
    const std::lock_guard hold(mutex_);
    if (!isGivenUp) job.error = std::move(error);
    job.wasBegun = !isGivenUp;
    job.done = true;
    changed_.notify_all();
}

void DocumentReader::handOver(Job& job, WordList part) {
    std::unique_lock hold(mutex_);
    changed_.wait(hold, [&] { return job.parts.size() < kMostParts || ending_; });
    job.parts.push_back(std::move(part));
    changed_.notify_all();
}

bool DocumentReader::isNextReady() const {
    const std::lock_guard hold(mutex_);
    return !ahead_.empty() && (ahead_.front()->done || !ahead_.front()->parts.empty());
}

DocumentReader::Read DocumentReader::take() {
    const std::shared_ptr<Job> job = ahead_.front();
    std::unique_lock hold(mutex_);
    const auto isReady = [&job] { return job->done || !job->parts.empty(); };
    while (!changed_.wait_for(hold, kStopTest, isReady)) {
        if (!stop_) continue;
        hold.unlock();
        giveUpAll();
        hold.lock();
    }
    Read read{.file = job->file, .wasBegun = job->wasBegun};
    if (!job->parts.empty()) {
        read.words = std::move(job->parts.front());
        job->parts.pop_front();
        changed_.notify_all();
    }
    read.isLast = job->done && job->parts.empty();
    if (!read.isLast) return read;
    read.error = std::move(job->error);
    ahead_.pop_front();
    bytesAhead_ -= read.file.size;
    return read;
}

}  // namespace kestrix
