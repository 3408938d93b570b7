// Lower case by the rules of a language, apart so that tests need not change the process's locale.
#pragma once

#include <string>
#include <string_view>

namespace kestrix::text {

// `language` is a two-letter code or empty. Only Turkish, Azeri and Lithuanian have rules of their own.
std::string loweredFor(std::string_view text, const std::string& language);

}  // namespace kestrix::text
