#include "import/helper/formats/text_recogniser.h"

#include <allheaders.h>
#include <tesseract/baseapi.h>
#include <tesseract/ocrclass.h>

#include "import/helper/formats/document.h"
#include "import/helper/formats/text_writer.h"

namespace kestrix {
namespace {

constexpr int kLongestMilliseconds = 30'000;
constexpr int kUsualDotsPerInch = 200;
constexpr int kSmallestSide = 8;

struct Watch {
    const std::function<bool()>& shouldCancel;
    bool isCancelled = false;
};

bool isNoLongerWanted(void* watch, int) {
    auto& its = *static_cast<Watch*>(watch);
    its.isCancelled = its.shouldCancel && its.shouldCancel();
    return its.isCancelled;
}

}  // namespace

struct TextRecogniser::Engine {
    tesseract::TessBaseAPI api;
};

TextRecogniser& TextRecogniser::shared() {
    static TextRecogniser recogniser;
    return recogniser;
}

TextRecogniser::TextRecogniser() : engine_(std::make_unique<Engine>()) {
    setMsgSeverity(L_SEVERITY_NONE);
    if (engine_->api.Init(nullptr, "eng", tesseract::OEM_LSTM_ONLY) != 0) {
        failDocument(ImportFailure::damaged,
                     "is a picture, and text recognition (tesseract-ocr-eng) cannot be loaded");
    }
    engine_->api.SetPageSegMode(tesseract::PSM_AUTO);
}

TextRecogniser::~TextRecogniser() = default;

std::string TextRecogniser::read(const GreyPicture& picture, const std::function<bool()>& shouldCancel) {
    // The engine asserts on slivers.
    if (picture.width < kSmallestSide || picture.height < kSmallestSide) return {};
    tesseract::TessBaseAPI& api = engine_->api;
    api.SetImage(reinterpret_cast<const unsigned char*>(picture.dots), picture.width, picture.height, 1,
                 picture.bytesPerRow);
    // Without a resolution the engine guesses, and says so on standard error.
    api.SetSourceResolution(picture.dotsPerInch >= 70 ? picture.dotsPerInch : kUsualDotsPerInch);
    Watch watch{shouldCancel};
    tesseract::ETEXT_DESC monitor;
    monitor.cancel = isNoLongerWanted;
    monitor.cancel_this = &watch;
    monitor.set_deadline_msecs(kLongestMilliseconds);
    api.Recognize(&monitor);
    const std::unique_ptr<char[]> found(watch.isCancelled ? nullptr : api.GetUTF8Text());
    api.Clear();
    if (watch.isCancelled) failDocument(ImportFailure::cancelled, "is no longer wanted");
    TextWriter writer(TextWriter::kMostText);
    if (found) writer.words(found.get());
    return writer.take();
}

}  // namespace kestrix
