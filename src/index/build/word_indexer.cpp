#include "index/build/word_indexer.h"

#include <utility>

#include "shell/logger.h"

namespace kestrix {

WordIndexer::WordIndexer(ImportTextToolsXPC& import, SimpleLMDB& db, GroupWriter& writer, FailedFiles& failed,
                         bool useOCR, const std::atomic<bool>& stop)
    : db_(db), writer_(writer), failed_(failed), useOCR_(useOCR), reader_(import, useOCR, stop) {}

// With text recognition every file comes at each update, also one that has cost a helper its life before.
void WordIndexer::read(std::vector<TreeUpdate::FileToRead> files) {
    for (TreeUpdate::FileToRead& file : files) {
        if (useOCR_ && failed_.isKnown(file.path)) continue;
        while (reader_.isFull())
            takeOne();
        reader_.begin(std::move(file));
    }
    while (reader_.isNextReady())
        takeOne();
}

void WordIndexer::takeOne() {
    const DocumentReader::Read read = reader_.take();
    // In the middle of a large folder or document: words may go before their items, which are not all read
    // yet.
    read.words.forEach([&](std::string_view word, std::uint32_t ocurrences) {
        cache_.add(read.file.id, word, ocurrences);
        if (cache_.isOverfull()) drain(false);
    });
    if (!read.isLast) return;
    FileAttributes now;
    const bool isGone = read.error && readAttributes(read.file.path, true, now) != 0;
    if (!read.wasBegun || isGone) {
        unread_.insert(read.file.id);
    } else if (read.error) {
        note(read.file, *read.error);
    } else {
        failed_.forget(read.file.path);
    }
}

void WordIndexer::note(const TreeUpdate::FileToRead& file, const Error& error) {
    if (!failed_.note(file.path, error)) return;
    ++newFailures_;
    LogFunc(error.what());
}

// The list of failed files goes first: a file on it is read again if its record was not written.
void WordIndexer::flush() {
    while (!reader_.isEmpty())
        takeOne();
    writer_.leaveOut(unread_);
    unread_.clear();
    failed_.save();
    drain(true);
}

void WordIndexer::drain(bool withItems) {
    DeadDocuments dead;
    for (const FSItemID id : writer_.deadDocuments()) {
        if (id >= dead.size()) dead.resize(id + 1);
        dead[id] = true;
    }
    cache_.drain(db_, dead, [&](std::span<const SimpleLMDB::Write> writes, bool isLast) {
        if (isLast && withItems) {
            writer_.flush(writes);
        } else {
            writer_.writeAhead(writes);
        }
    });
}

}  // namespace kestrix
