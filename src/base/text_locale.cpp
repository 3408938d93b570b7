#include "base/text_locale.h"

#include <unicode/uloc.h>

#include <cstdlib>

namespace kestrix::text {

// ICU's own default asks for LC_MESSAGES, so who only sets LC_CTYPE or LC_COLLATE would not be heard.
std::string userLocale(const char* category) {
    const char* named = nullptr;
    for (const char* variable : {"LC_ALL", category, "LANG"}) {
        // NOLINTNEXTLINE(concurrency-mt-unsafe): nothing here changes the environment
        named = std::getenv(variable);
        if (named != nullptr && *named != '\0') break;
    }
    if (named == nullptr || *named == '\0') return {};
    char canonical[ULOC_FULLNAME_CAPACITY] = "";
    UErrorCode status = U_ZERO_ERROR;
    uloc_canonicalize(named, canonical, sizeof canonical, &status);
    if (U_FAILURE(status) || status == U_STRING_NOT_TERMINATED_WARNING) return {};
    // What "C", "C.UTF-8" and "POSIX.UTF-8" become. ICU orders these by ASCII, all capitals first: nobody
    // wants to see names so.
    const std::string locale = canonical;
    return locale == "en_US_POSIX" || locale == "c" || locale == "posix" ? std::string() : locale;
}

}  // namespace kestrix::text
