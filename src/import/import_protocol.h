// What the application and its import helper say to each other.
//
// Each message is one of a MessageSocket. It begins with the version of this protocol and a byte that tells
// its kind; numbers are in native order, for both ends run on one machine, and a text is its length in 32
// bits and its bytes. A request brings the open document as the message's descriptor. A reply's body, the
// text or the words, is part of the message while it is short, and a sealed piece of memory that comes as
// descriptor when it is long.
//
// Neither end trusts the other: the helper reads documents of strangers and may have been taken over by one,
// so whatever does not decode is refused, every length is held to what is there, and nothing is allocated for
// a mere promise.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "import/document_format.h"

namespace kestrix {

inline constexpr std::uint8_t kImportProtocolVersion = 1;
// Of a reply, in bytes.
inline constexpr std::size_t kLongestInlineBody = 32 * 1024;
inline constexpr std::size_t kLongestBody = std::size_t{256} << 20;

// Application to helper.
struct ImportRequest {
    enum class Kind : std::uint8_t {
        start = 1,    // answered by `started` when the helper has shut itself in
        quit,         // no answer
        importText,   // answered by `text` or `failure`, after any number of `progress`
        wordsInFile,  // answered by `words` or `failure`, likewise
        cancel,       // of the request with this number; that one answers
    };
    static constexpr Kind kLastKind = Kind::cancel;

    Kind kind = Kind::start;
    std::uint32_t number = 0;  // replies repeat it
    DocumentFormat format = DocumentFormat::none;
    bool useOCR = false;
    std::uint64_t maxLength = 0;
    std::string name{};  // of the file, for messages
    std::string typeIdentifier{};

    bool operator==(const ImportRequest&) const = default;
};

// Helper to application.
struct ImportReply {
    enum class Kind : std::uint8_t { started = 1, progress, text, noText, words, failure };
    static constexpr Kind kLastKind = Kind::failure;

    Kind kind = Kind::started;
    std::uint32_t number = 0;
    std::int32_t value = 0;      // of progress: percent; of failure: its code
    std::uint64_t bodySize = 0;  // bytes
    bool bodyIsInline = true;
    std::string body{};  // of failure: its words; empty where the body comes as memory

    bool operator==(const ImportReply&) const = default;
};

std::string encoded(const ImportRequest& request);
std::string encoded(const ImportReply& reply);

// Nothing unless the bytes are one whole message of this version.
std::optional<ImportRequest> decodedRequest(std::string_view bytes);
std::optional<ImportReply> decodedReply(std::string_view bytes);

}  // namespace kestrix
