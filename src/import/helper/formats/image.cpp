#include <allheaders.h>

#include <cmath>
#include <memory>

#include "import/helper/formats/document.h"
#include "import/helper/formats/formats.h"
#include "import/helper/formats/text_recogniser.h"

namespace kestrix {
namespace {

// In colour a dot takes four bytes while a picture is unpacked.
constexpr double kMostDots = 50e6;
// What a camera adds beyond this is no help to the recognition, and costs it time.
constexpr double kUsefulDots = 16e6;

struct DestroyPix {
    void operator()(Pix* pix) const { pixDestroy(&pix); }
};
using Picture = std::unique_ptr<Pix, DestroyPix>;

const l_uint8* dataOf(const std::string& bytes) {
    return reinterpret_cast<const l_uint8*>(bytes.data());
}

void demandUsualSize(const std::string& bytes) {
    l_int32 width = 0;
    l_int32 height = 0;
    l_int32 ignored = 0;
    const bool isKnown = pixReadHeaderMem(dataOf(bytes), bytes.size(), &ignored, &width, &height, &ignored,
                                          &ignored, &ignored) == 0;
    if (!isKnown) failDocument(ImportFailure::damaged, "is no picture of a known kind, or damaged");
    if (static_cast<double>(width) * height > kMostDots)
        failDocument(ImportFailure::tooLarge, "has too many dots");
}

// Grey, of a useful size, and its dots in the order of the eye: the library keeps them in words of 32 bits.
Picture inGrey(const Picture& picture) {
    const Picture opaque(pixRemoveAlpha(picture.get()));
    Picture grey(opaque ? pixConvertTo8(opaque.get(), 0) : nullptr);
    if (!grey) throw std::bad_alloc();
    const double dots = static_cast<double>(pixGetWidth(grey.get())) * pixGetHeight(grey.get());
    if (dots > kUsefulDots) {
        const auto factor = static_cast<l_float32>(std::sqrt(kUsefulDots / dots));
        grey.reset(pixScale(grey.get(), factor, factor));
        if (!grey) throw std::bad_alloc();
    }
    pixEndianByteSwap(grey.get());
    return grey;
}

std::string textIn(const ImportJob& job, const Picture& picture) {
    const Picture grey = inGrey(picture);
    return TextRecogniser::shared().read(
        {reinterpret_cast<const char*>(pixGetData(grey.get())), pixGetWidth(grey.get()),
         pixGetHeight(grey.get()), pixGetWpl(grey.get()) * 4, pixGetXRes(grey.get())},
        job.shouldCancel);
}

// Faxes and scans come as several pictures in one file.
std::vector<Page> pagesOfTiff(const ImportJob& job, const std::string& bytes) {
    std::vector<Page> pages;
    std::size_t offset = 0;
    do {
        failIfCancelled(job);
        const Picture picture(pixReadMemFromMultipageTiff(dataOf(bytes), bytes.size(), &offset));
        if (!picture) break;
        pages.push_back({textIn(job, picture)});
    } while (offset != 0 && pages.size() < 1000);
    return pages;
}

std::vector<Page> pagesOf(const ImportJob& job, const std::string& bytes) {
    demandUsualSize(bytes);
    l_int32 format = IFF_UNKNOWN;
    findFileFormatBuffer(dataOf(bytes), &format);
    if (format >= IFF_TIFF && format <= IFF_TIFF_ZIP) return pagesOfTiff(job, bytes);
    const Picture picture(pixReadMem(dataOf(bytes), bytes.size()));
    if (!picture) return {};
    return {{textIn(job, picture)}};
}

}  // namespace

ImportTextResult importImage(const ImportJob& job) {
    if (!job.useOCR) return {};
    return withDocument(job, kLargestDocument / 4, [&](const std::string& bytes) {
        setMsgSeverity(L_SEVERITY_NONE);
        ImportTextResult result;
        result.ocrText = pagesOf(job, bytes);
        if (result.ocrText->empty())
            failDocument(ImportFailure::damaged, "is damaged: its picture cannot be unpacked");
        return result;
    });
}

}  // namespace kestrix
