// The text of a plain-text file.
#pragma once

#include <cstddef>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <string_view>

namespace kestrix {

inline constexpr std::size_t kNoLengthLimit = std::numeric_limits<std::size_t>::max();

// Reads one plain-text file after another into the same memory, so that a search over many small files does
// not allocate for each. A file is UTF-8; what is not valid UTF-8 is Mac OS Roman, which gives every byte a
// meaning: a text in UTF-16 becomes junk, and a file in Latin-1 keeps its ASCII words.
//
// Threads: one at a time; one object per thread. Memory beyond a few megabytes is given back at the next
// read.
class PlainText {
  public:
    PlainText();
    ~PlainText();
    PlainText(const PlainText&) = delete;
    PlainText& operator=(const PlainText&) = delete;

    // Reads the file, at most its first `maxLength` bytes (a character cut in two at that end is dropped).
    // Symbolic links are followed. Never waits for another program: only regular files are read, and what a
    // growing file gains meanwhile is left out. `shouldCancel` is asked every megabyte. Throws Error: POSIX
    // if it cannot be opened or read, import (notRegular, tooLarge, cancelled); nothing is held then.
    void read(const std::string& path, std::size_t maxLength = kNoLengthLimit,
              const std::function<bool()>& shouldCancel = {});

    // Reads the file as above and hands over its text, in UTF-8, a few megabytes at a time: all that is held
    // of a file of any size. Pieces end at ASCII white space, unless one has none. bytes() and text() are
    // empty afterwards.
    void readPieces(const std::string& path, const std::function<void(std::string_view piece)>& take,
                    const std::function<bool()>& shouldCancel = {});

    // As they stand in the file, without the byte order mark of UTF-8; valid until the next read.
    std::string_view bytes() const;
    // Whether the bytes are valid UTF-8. Looked for when first asked.
    bool isUtf8();
    // The text in UTF-8: bytes() themselves where they are valid, otherwise a copy made when first asked.
    // Valid until the next read.
    std::string_view text();
    // text() as a value; holds nothing afterwards.
    std::string takeText();

  private:
    struct Memory;
    std::unique_ptr<Memory> memory_;
};

}  // namespace kestrix
