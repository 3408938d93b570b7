// The documents of a catalog whose words could not be read.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <unordered_set>

#include "base/error.h"
#include "platform/directory.h"

namespace kestrix {

// A list beside the catalog file, with the extension "kxfailed": one JSON object a line with
//
//     "path"      the path; for one that is not UTF-8 "path64", its bytes in base64
//     "modified"  [seconds since 1970, nanoseconds] of the file that could not be read
//     "size"      its bytes
//     "reason"    one line
//     "again"     true: the document itself may be sound, so the next update tries it again
//
// Lines that make no sense are passed over. One thread.
class FailedFiles {
  public:
    struct Entry {
        Timestamp modified;
        std::uint64_t size = 0;
        std::string reason;
        bool again = false;
        bool operator==(const Entry&) const = default;
    };
    using Entries = std::map<std::string, Entry>;  // by path

    // Where the list of a catalog file lies.
    static std::string fileOf(std::string_view catalogFile);

    // A list that is not there is empty. Throws Error if it cannot be read.
    explicit FailedFiles(std::string file);

    const Entries& entries() const { return entries_; }
    std::unordered_set<std::string> toReadAgain() const;
    // Whether this file, as it is now, is known to fail for good.
    bool isKnown(const std::string& path) const;

    // True if that is news: another file, or another reason.
    bool note(const std::string& path, const Error& error);
    void forget(const std::string& path);
    // Without those of files that have gone from the disk.
    void forgetGone();
    // Replaces the file if anything has changed; an empty list has none. Throws Error.
    void save();

  private:
    std::string file_;
    Entries entries_;
    bool changed_ = false;
};

}  // namespace kestrix
