#include <unicode/bytestream.h>
#include <unicode/casemap.h>
#include <unicode/normalizer2.h>
#include <unicode/uloc.h>

#include <algorithm>

#include "base/text.h"
#include "base/text_locale.h"
#include "base/text_utf8.h"

namespace kestrix::text {
namespace {

// The text mapped by `mapStretch(stretch, sink, status)`, a step over valid UTF-8. ICU would put U+FFFD for
// invalid bytes, so it never sees them. A stretch that ICU fails on stays as it is.
template <typename MapStretch>
std::string mapped(std::string_view text, MapStretch mapStretch) {
    std::string result;
    result.reserve(text.size() + text.size() / 8);
    const auto onValid = [&](std::string_view stretch) {
        const std::size_t before = result.size();
        icu::StringByteSink<std::string> sink(&result);
        UErrorCode status = U_ZERO_ERROR;
        mapStretch(icu::StringPiece(stretch.data(), static_cast<int32_t>(stretch.size())), sink, status);
        if (U_SUCCESS(status)) return;
        result.resize(before);
        result += stretch;
    };
    forEachStretch(text, onValid, [&result](std::string_view invalid) { result += invalid; });
    return result;
}

std::string loweredByIcu(std::string_view text, const char* locale) {
    return mapped(text, [locale](icu::StringPiece stretch, icu::ByteSink& sink, UErrorCode& status) {
        icu::CaseMap::utf8ToLower(locale, 0, stretch, sink, nullptr, status);
    });
}

// Whether the text is ASCII, `map` applied to each byte of `bytes` on the way. One loop without branches, so
// that the compiler makes vectors of it.
template <typename Map>
bool mapAscii(std::string& bytes, Map map) {
    unsigned char all = 0;
    for (char& byte : bytes) {
        all |= static_cast<unsigned char>(byte);
        byte = map(byte);
    }
    return all < 0x80;
}

char upperedByte(char byte) {
    return static_cast<unsigned char>(byte - 'a') < 26 ? static_cast<char>(byte & ~0x20) : byte;
}

const std::string& userLanguage() {
    static const std::string kLanguage = [] {
        char language[ULOC_LANG_CAPACITY] = "";
        UErrorCode status = U_ZERO_ERROR;
        uloc_getLanguage(userLocale("LC_CTYPE").c_str(), language, sizeof language, &status);
        return U_SUCCESS(status) ? std::string(language) : std::string();
    }();
    return kLanguage;
}

// Asked for once: how ICU sees to it that only one thread makes it, a sanitizer cannot tell.
const icu::Normalizer2* composer() {
    static const icu::Normalizer2* const kComposer = [] {
        UErrorCode status = U_ZERO_ERROR;
        const icu::Normalizer2* made = icu::Normalizer2::getNFCInstance(status);
        return U_SUCCESS(status) ? made : nullptr;
    }();
    return kComposer;
}

}  // namespace

std::string lowered(std::string_view text) {
    std::string result(text);
    if (mapAscii(result, loweredByte)) return result;
    return loweredByIcu(text, "");
}

std::string loweredFor(std::string_view text, const std::string& language) {
    const bool ownRules = language == "tr" || language == "az" || language == "lt";
    return ownRules ? loweredByIcu(text, language.c_str()) : lowered(text);
}

std::string loweredLocalised(std::string_view text) {
    return loweredFor(text, userLanguage());
}

std::string uppered(std::string_view text) {
    std::string result(text);
    if (mapAscii(result, upperedByte)) return result;
    return mapped(text, [](icu::StringPiece stretch, icu::ByteSink& sink, UErrorCode& status) {
        icu::CaseMap::utf8ToUpper("", 0, stretch, sink, nullptr, status);
    });
}

std::string composed(std::string_view text) {
    // Below U+0300, whose bytes begin with 0xCC, nothing combines and nothing is decomposed.
    const bool maybeDecomposed = std::any_of(
        text.begin(), text.end(), [](char byte) { return static_cast<unsigned char>(byte) >= 0xCC; });
    if (!maybeDecomposed) return std::string(text);
    const icu::Normalizer2* const nfc = composer();
    if (nfc == nullptr) return std::string(text);
    return mapped(text, [nfc](icu::StringPiece stretch, icu::ByteSink& sink, UErrorCode& status) {
        nfc->normalizeUTF8(0, stretch, sink, nullptr, status);
    });
}

}  // namespace kestrix::text
