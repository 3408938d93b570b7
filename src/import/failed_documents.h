// Documents that have cost a helper its life.
#pragma once

#include <cstddef>
#include <deque>
#include <optional>

#include "base/error.h"
#include "base/lock.h"
#include "import/document_format.h"
#include "platform/directory.h"

namespace kestrix {

// Remembers the last few hundred, each until its file changes, so that the next search does not pay for them
// again. Threads: any.
class FailedDocuments {
  public:
    // A document may fail one way of reading it and not another.
    struct Reading {
        DocumentFormat format;
        bool useOCR;
        bool operator==(const Reading&) const = default;
    };

    // Whether a failure is worth remembering: the others are found again in no time.
    static bool isCostly(const Error& error);

    void remember(const FileAttributes& file, Reading reading, const Error& error);
    std::optional<Error> find(const FileAttributes& file, Reading reading) const;

  private:
    static constexpr std::size_t kMost = 256;

    struct Entry {
        FileAttributes file;
        Reading reading;
        Error error;

        bool isFor(const FileAttributes& other, Reading otherReading) const;
    };
    Locked<std::deque<Entry>> entries_;
};

}  // namespace kestrix
