#include "import/import_protocol.h"

#include "base/bytes.h"

namespace kestrix {
namespace {

// Each step that fails leaves the reader failed; whoever asks at the end asks for all steps.
class Reader {
  public:
    explicit Reader(std::string_view bytes) : bytes_(bytes) {}

    template <typename Number>
    Number number() {
        const auto value = safeValueAndIncrement<Number>(bytes_, at_);
        failed_ = failed_ || !value;
        return value.value_or(0);
    }
    template <typename Enumeration>
    Enumeration choice(Enumeration first, Enumeration last) {
        const auto value = number<std::uint8_t>();
        const bool isKnown =
            value >= static_cast<std::uint8_t>(first) && value <= static_cast<std::uint8_t>(last);
        failed_ = failed_ || !isKnown;
        return isKnown ? static_cast<Enumeration>(value) : first;
    }
    bool flag() {
        const auto value = number<std::uint8_t>();
        failed_ = failed_ || value > 1;
        return value == 1;
    }
    std::string_view text() {
        const std::size_t length = number<std::uint32_t>();
        const auto piece = failed_ ? std::nullopt : subdata_safe(bytes_, at_, at_ + length);
        failed_ = failed_ || !piece;
        at_ += piece ? length : 0;
        return piece.value_or(std::string_view());
    }
    bool isAtEnd() const { return at_ == bytes_.size(); }
    bool isSound() const { return !failed_; }

  private:
    std::string_view bytes_;
    std::size_t at_ = 0;
    bool failed_ = false;
};

void appendText(std::string& bytes, std::string_view text) {
    appendValue(bytes, static_cast<std::uint32_t>(text.size()));
    bytes += text;
}

template <typename Kind>
void appendHead(std::string& bytes, Kind kind, std::uint32_t number) {
    appendValue(bytes, kImportProtocolVersion);
    appendValue(bytes, static_cast<std::uint8_t>(kind));
    appendValue(bytes, number);
}

}  // namespace

std::string encoded(const ImportRequest& request) {
    std::string bytes;
    appendHead(bytes, request.kind, request.number);
    appendValue(bytes, static_cast<std::uint8_t>(request.format));
    appendValue(bytes, static_cast<std::uint8_t>(request.useOCR ? 1 : 0));
    appendValue(bytes, request.maxLength);
    appendText(bytes, request.name);
    appendText(bytes, request.typeIdentifier);
    return bytes;
}

std::optional<ImportRequest> decodedRequest(std::string_view bytes) {
    Reader reader(bytes);
    if (reader.number<std::uint8_t>() != kImportProtocolVersion) return std::nullopt;
    ImportRequest request;
    request.kind = reader.choice(ImportRequest::Kind::start, ImportRequest::kLastKind);
    request.number = reader.number<std::uint32_t>();
    request.format = reader.choice(DocumentFormat::none, kLastDocumentFormat);
    request.useOCR = reader.flag();
    request.maxLength = reader.number<std::uint64_t>();
    request.name = reader.text();
    request.typeIdentifier = reader.text();
    if (!reader.isSound() || !reader.isAtEnd()) return std::nullopt;
    return request;
}

std::string encoded(const ImportReply& reply) {
    std::string bytes;
    appendHead(bytes, reply.kind, reply.number);
    appendValue(bytes, reply.value);
    appendValue(bytes, reply.bodySize);
    appendValue(bytes, static_cast<std::uint8_t>(reply.bodyIsInline ? 1 : 0));
    appendText(bytes, reply.body);
    return bytes;
}

std::optional<ImportReply> decodedReply(std::string_view bytes) {
    Reader reader(bytes);
    if (reader.number<std::uint8_t>() != kImportProtocolVersion) return std::nullopt;
    ImportReply reply;
    reply.kind = reader.choice(ImportReply::Kind::started, ImportReply::kLastKind);
    reply.number = reader.number<std::uint32_t>();
    reply.value = reader.number<std::int32_t>();
    reply.bodySize = reader.number<std::uint64_t>();
    reply.bodyIsInline = reader.flag();
    reply.body = reader.text();
    if (!reader.isSound() || !reader.isAtEnd()) return std::nullopt;
    if (reply.bodySize > kLongestBody) return std::nullopt;
    if (reply.body.size() != (reply.bodyIsInline ? reply.bodySize : 0)) return std::nullopt;
    return reply;
}

}  // namespace kestrix
