// Reads XML as it is unpacked, piece by piece.
#pragma once

#include <memory>
#include <string_view>
#include <vector>

namespace kestrix {

// Who is told what stands in the XML. Names come without their prefix ("w:t" is "t"): what a document's
// elements are called is settled by its kind, and producers choose the prefixes. Views are valid during the
// call.
class XmlHandler {
  public:
    struct Attribute {
        std::string_view name;
        std::string_view value;
    };
    virtual ~XmlHandler() = default;

    virtual void startElement(std::string_view name, const std::vector<Attribute>& attributes) = 0;
    virtual void endElement(std::string_view name) = 0;
    // UTF-8, in pieces as they come.
    virtual void characters(std::string_view text) = 0;
    // Whether the rest is not needed; asked once a piece.
    virtual bool isSatisfied() const { return false; }
};

// The value of an attribute, empty if it is not there.
std::string_view attribute(const std::vector<XmlHandler::Attribute>& attributes, std::string_view name);

// A stream and not a tree: a sheet of 100 MB is common, a tree of it takes ten times that, and the helper has
// 400 MB in all. Memory here is bounded by the longest tag, which may have 4 MB. XML that declares entities
// of its own is refused, since no document of the kinds read here needs one and they can make gigabytes out
// of a line. Nothing outside the XML is ever looked at. At most 500 elements may be open.
class XmlStream {
  public:
    // The handler must outlive this.
    explicit XmlStream(XmlHandler& handler);
    ~XmlStream();
    XmlStream(const XmlStream&) = delete;
    XmlStream& operator=(const XmlStream&) = delete;

    // Throws Error (damaged), and what the handler throws. After that, only destruct it.
    void feed(std::string_view bytes);
    void finish();

  private:
    struct Parser;
    void parse(std::string_view bytes, bool isLast);
    std::unique_ptr<Parser> parser_;
    long fed_ = 0;
};

}  // namespace kestrix
