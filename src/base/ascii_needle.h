// A word of plain ASCII that is sought in raw bytes. For the text*.cpp files alone.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kestrix::text {

// Knows the word's two rarest bytes, which are looked at first, sixteen places a step. Making one costs as
// much as reading a short name, so whoever searches much keeps it. Threads: any.
class AsciiNeedle {
  public:
    // The word, not empty; in lower case if case is ignored, any bytes if it is not. The bytes must outlive
    // the needle.
    AsciiNeedle(std::string_view word, bool ignoreCase);

    // The first place at or behind `from`, which is at most the haystack's size, or npos. Other bytes than
    // ASCII may stand there; they equal nothing.
    std::size_t find(std::string_view haystack, std::size_t from) const;

  private:
    char caseBitOf(char byte) const;
    bool standsAt(const char* place) const;

    std::string_view bytes_;
    bool ignoreCase_;
    std::size_t rarest_ = 0;
    std::size_t second_ = 0;
    char rarestBit_ = 0;  // set in both bytes that are compared, it makes small letters of capitals
    char secondBit_ = 0;
};

}  // namespace kestrix::text
