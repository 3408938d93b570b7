// The kinds of documents that have an importer.
#pragma once

#include <cstdint>

namespace kestrix {

// Which importer reads a document. Sent to the helper program as a byte.
enum class DocumentFormat : std::uint8_t {
    none,        // no importer
    rawText,     // read here, in the application itself
    legacyWord,  // .doc: by another program, under the helper's limits
    // All further ones are read by the helper program.
    html,
    pdf,
    package,    // zip packages of XML: docx xlsx pptx odt ods odp epub and their kin
    richText,   // .rtf
    mail,       // .eml
    appleMail,  // .emlx
    image,      // by text recognition alone
};
inline constexpr DocumentFormat kLastDocumentFormat = DocumentFormat::image;

}  // namespace kestrix
