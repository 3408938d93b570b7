#include "import/helper/formats/xml_stream.h"

#include <expat.h>

#include <algorithm>
#include <exception>
#include <new>
#include <string>

#include "base/text.h"
#include "base/text_charset.h"
#include "import/helper/formats/document.h"

namespace kestrix {
namespace {

constexpr int kDeepest = 500;
// The parser counts in int.
constexpr std::size_t kLongestFeed = std::size_t{1} << 20;
// The parser begins an unfinished tag from its start with every feed, so that a long one takes its length
// squared.
constexpr long kLongestTag = 4L << 20;

std::string_view withoutPrefix(std::string_view name) {
    const std::size_t colon = name.find(':');
    return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

}  // namespace

std::string_view attribute(const std::vector<XmlHandler::Attribute>& attributes, std::string_view name) {
    const auto found = std::find_if(attributes.begin(), attributes.end(),
                                    [name](const XmlHandler::Attribute& one) { return one.name == name; });
    return found == attributes.end() ? std::string_view{} : found->value;
}

struct XmlStream::Parser {
    explicit Parser(XmlHandler& its) : handler(its), expat(XML_ParserCreate(nullptr)) {
        if (expat == nullptr) throw std::bad_alloc();
        XML_SetUserData(expat, this);
        XML_SetElementHandler(expat, onStart, onEnd);
        XML_SetCharacterDataHandler(expat, onCharacters);
        XML_SetEntityDeclHandler(expat, onEntity);
        XML_SetUnknownEncodingHandler(expat, onEncoding, nullptr);
    }
    ~Parser() { XML_ParserFree(expat); }
    Parser(const Parser&) = delete;
    Parser& operator=(const Parser&) = delete;

    // The parser is C: what is thrown in a handler waits here until it has returned.
    template <typename Call>
    void guarded(Call call) {
        if (failure) return;
        try {
            call();
        } catch (...) {
            failure = std::current_exception();
            XML_StopParser(expat, XML_FALSE);
        }
    }

    void start(const XML_Char* name, const XML_Char** pairs) {
        if (++depth > kDeepest) failDocument(ImportFailure::damaged, "is nested too deeply");
        attributes.clear();
        for (; *pairs != nullptr; pairs += 2) {
            attributes.push_back({withoutPrefix(pairs[0]), pairs[1]});
        }
        handler.startElement(withoutPrefix(name), attributes);
    }
    void end(const XML_Char* name) {
        --depth;
        handler.endElement(withoutPrefix(name));
    }

    static void XMLCALL onStart(void* self, const XML_Char* name, const XML_Char** pairs) {
        auto& parser = *static_cast<Parser*>(self);
        parser.guarded([&] { parser.start(name, pairs); });
    }
    static void XMLCALL onEnd(void* self, const XML_Char* name) {
        auto& parser = *static_cast<Parser*>(self);
        parser.guarded([&] { parser.end(name); });
    }
    static void XMLCALL onCharacters(void* self, const XML_Char* text, int length) {
        auto& parser = *static_cast<Parser*>(self);
        parser.guarded([&] { parser.handler.characters({text, static_cast<std::size_t>(length)}); });
    }
    static void XMLCALL onEntity(void* self, const XML_Char*, int, const XML_Char*, int, const XML_Char*,
                                 const XML_Char*, const XML_Char*, const XML_Char*) {
        auto& parser = *static_cast<Parser*>(self);
        parser.guarded([] { failDocument(ImportFailure::damaged, "declares entities of its own"); });
    }
    // Encodings of one byte a character, which is all that is met beside those the parser knows itself.
    static int XMLCALL onEncoding(void*, const XML_Char* name, XML_Encoding* encoding) {
        for (int byte = 0; byte < 256; ++byte) {
            const char bytes = static_cast<char>(byte);
            const auto decoded = text::decodedFrom({&bytes, 1}, name);
            if (!decoded) return XML_STATUS_ERROR;
            std::size_t offset = 0;
            const char32_t codePoint = decoded->empty() ? U'\uFFFD' : text::decode(*decoded, offset);
            encoding->map[byte] = codePoint == U'\uFFFD' ? -1 : static_cast<int>(codePoint);
        }
        encoding->data = nullptr;
        encoding->convert = nullptr;
        encoding->release = nullptr;
        return XML_STATUS_OK;
    }

    XmlHandler& handler;
    XML_Parser expat;
    std::vector<XmlHandler::Attribute> attributes;
    std::exception_ptr failure;
    int depth = 0;
};

XmlStream::XmlStream(XmlHandler& handler) : parser_(std::make_unique<Parser>(handler)) {}
XmlStream::~XmlStream() = default;

void XmlStream::parse(std::string_view bytes, bool isLast) {
    const XML_Status status =
        XML_Parse(parser_->expat, bytes.data(), static_cast<int>(bytes.size()), isLast ? 1 : 0);
    if (parser_->failure) std::rethrow_exception(parser_->failure);
    fed_ += static_cast<long>(bytes.size());
    if (fed_ - XML_GetCurrentByteIndex(parser_->expat) > kLongestTag) {
        failDocument(ImportFailure::damaged, "is damaged: a tag in it has no end");
    }
    if (status == XML_STATUS_OK) return;
    const XML_Error code = XML_GetErrorCode(parser_->expat);
    if (code == XML_ERROR_NO_MEMORY) throw std::bad_alloc();
    failDocument(ImportFailure::damaged, std::string("is damaged: ") + XML_ErrorString(code));
}

void XmlStream::feed(std::string_view bytes) {
    for (; !bytes.empty(); bytes.remove_prefix(std::min(bytes.size(), kLongestFeed))) {
        parse(bytes.substr(0, kLongestFeed), false);
    }
}

void XmlStream::finish() {
    parse({}, true);
}

}  // namespace kestrix
