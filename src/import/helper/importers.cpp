#include "import/helper/importers.h"

#include "import/helper/formats/formats.h"

namespace kestrix {
namespace {

constexpr Importers table() {
    Importers importers{};
    const auto put = [&importers](DocumentFormat format, Importer importer) {
        importers[static_cast<std::size_t>(format)] = importer;
    };
    put(DocumentFormat::html, importHTML);
    put(DocumentFormat::pdf, importPDF);
    put(DocumentFormat::package, importPackage);
    put(DocumentFormat::richText, importRichText);
    put(DocumentFormat::mail, importMail);
    put(DocumentFormat::appleMail, importAppleMail);
    put(DocumentFormat::image, importImage);
    return importers;
}

}  // namespace

const Importers& allImporters() {
    static constexpr Importers kImporters = table();
    return kImporters;
}

}  // namespace kestrix
