// Words by sound.
#pragma once

#include <string>
#include <string_view>

namespace kestrix {

class Soundex {
  public:
    // American Soundex (the rules of the National Archives): a letter and three digits, "Robert" and "Rupert"
    // both R163. Fewer than two characters after trimming: empty. The first character is kept whatever it is.
    static std::string value(std::string_view text);
};

}  // namespace kestrix
