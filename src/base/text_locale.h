// What of text depends on the user's locale, apart so that tests can ask for every one.
#pragma once

#include <string>
#include <string_view>

namespace kestrix::text {

// The locale that the environment names for a category ("LC_CTYPE" for case, "LC_COLLATE" for order): LC_ALL
// goes before the category's own variable, and that before LANG; an empty one counts as unset. Empty, which
// means the rules of Unicode alone, for "C" and "POSIX" and where nothing is set.
std::string userLocale(const char* category);

// Lower case by a language's rules: a two-letter code or empty. Only Turkish, Azeri and Lithuanian have rules
// of their own.
std::string loweredFor(std::string_view text, const std::string& language);

}  // namespace kestrix::text
