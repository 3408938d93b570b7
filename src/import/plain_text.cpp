#include "import/plain_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <new>
#include <optional>

#include "base/error.h"
#include "base/text.h"
#include "base/text_charset.h"
#include "import/import_failure.h"
#include "platform/open_file.h"

namespace kestrix {
namespace {

constexpr std::size_t kReadAtOnce = std::size_t{1} << 20;
constexpr std::size_t kKeptMemory = std::size_t{4} << 20;
// A file of no stated size (/proc is full of them) is read up to here.
constexpr std::size_t kUnstatedSize = std::size_t{1} << 20;
// More is no text that anybody wrote.
constexpr std::size_t kLargestFile = std::size_t{2} << 30;

std::size_t sizeToRead(const OpenFile& file, std::size_t maxLength) {
    const std::uint64_t stated = file.attributes().size;
    const std::uint64_t wanted = std::min<std::uint64_t>(stated == 0 ? kUnstatedSize : stated, maxLength);
    if (wanted <= kLargestFile) return static_cast<std::size_t>(wanted);
    throw importError(ImportFailure::tooLarge,
                      fmt::format("cannot read {}: {} bytes are too many for a text", file.path(), stated));
}

// Without what the end of a cut text holds of its last character.
std::string_view withoutCutCharacter(std::string_view bytes) {
    constexpr std::size_t kLongestCharacter = 4;
    for (std::size_t back = 1; back < kLongestCharacter && back <= bytes.size(); ++back) {
        const auto byte = static_cast<unsigned char>(bytes[bytes.size() - back]);
        if (byte < 0x80) break;
        if (byte < 0xC0) continue;
        const std::size_t length = byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : 2;
        return length > back ? bytes.substr(0, bytes.size() - back) : bytes;
    }
    return bytes;
}

// Many editors begin a text in UTF-8 with a byte order mark. It would hang on the first word.
std::string_view withoutMark(std::string_view bytes) {
    constexpr std::string_view kMark = "\uFEFF";
    return bytes.starts_with(kMark) ? bytes.substr(kMark.size()) : bytes;
}

// What is left of a piece that others follow.
std::string_view upToWhiteSpace(std::string_view piece) {
    const std::size_t last = piece.find_last_of(" \n\t\r");
    const std::string_view cut =
        last == std::string_view::npos ? withoutCutCharacter(piece) : piece.substr(0, last + 1);
    return cut.empty() ? piece : cut;
}

OpenFile openedText(const std::string& path) {
    OpenFile file(path);
    if (file.isRegular()) return file;
    throw importError(ImportFailure::notRegular, fmt::format("cannot read {}: it is no regular file", path));
}

}  // namespace

struct PlainText::Memory {
    ByteBuffer buffer;
    std::string_view bytes;
    std::optional<bool> isUtf8;
    std::optional<std::string> converted;

    void forget() {
        bytes = {};
        isUtf8.reset();
        converted.reset();
    }
    void reserve(const OpenFile& file, std::size_t size);
    std::size_t fill(const OpenFile& file, std::size_t from, std::size_t size,
                     const std::function<bool()>& shouldCancel);
    void readPieces(const OpenFile& file, std::size_t size,
                    const std::function<void(std::string_view piece)>& take,
                    const std::function<bool()>& shouldCancel);
};

PlainText::PlainText() : memory_(std::make_unique<Memory>()) {}
PlainText::~PlainText() = default;

void PlainText::Memory::reserve(const OpenFile& file, std::size_t size) {
    try {
        buffer.reserve(size, kKeptMemory);
    } catch (const std::bad_alloc&) {
        throw importError(ImportFailure::tooLarge,
                          fmt::format("cannot read {}: there is no memory for {} bytes", file.path(), size));
    }
}

std::size_t PlainText::Memory::fill(const OpenFile& file, std::size_t from, std::size_t size,
                                    const std::function<bool()>& shouldCancel) {
    std::size_t filled = 0;
    while (filled < size) {
        if (shouldCancel && shouldCancel()) {
            throw importError(ImportFailure::cancelled, fmt::format("reading {} was cancelled", file.path()));
        }
        const std::size_t step = std::min(size - filled, kReadAtOnce);
        const std::size_t got = file.readAt(from + filled, buffer.data() + filled, step);
        if (got == 0) break;
        filled += got;
    }
    return filled;
}

void PlainText::Memory::readPieces(const OpenFile& file, std::size_t size,
                                   const std::function<void(std::string_view piece)>& take,
                                   const std::function<bool()>& shouldCancel) {
    for (std::size_t at = 0; at < size;) {
        const std::size_t wanted = std::min(size - at, kKeptMemory);
        const std::size_t filled = fill(file, at, wanted, shouldCancel);
        std::string_view piece(buffer.data(), filled);
        if (at + filled < size && filled == wanted) piece = upToWhiteSpace(piece);
        if (piece.empty()) return;
        take(piece);
        at += piece.size();
    }
}

void PlainText::read(const std::string& path, std::size_t maxLength,
                     const std::function<bool()>& shouldCancel) {
    memory_->forget();
    const OpenFile file = openedText(path);
    const std::size_t size = sizeToRead(file, maxLength);
    memory_->reserve(file, size);
    const std::size_t filled = memory_->fill(file, 0, size, shouldCancel);
    const std::string_view bytes(memory_->buffer.data(), filled);
    memory_->bytes = withoutMark(filled == maxLength ? withoutCutCharacter(bytes) : bytes);
}

// Whether it is UTF-8 is known at the end alone, so a file of several pieces is read twice.
void PlainText::readPieces(const std::string& path, const std::function<void(std::string_view piece)>& take,
                           const std::function<bool()>& shouldCancel) {
    memory_->forget();
    const OpenFile file = openedText(path);
    const std::size_t size = sizeToRead(file, kNoLengthLimit);
    memory_->reserve(file, std::min(size, kKeptMemory));
    bool isUtf8 = true;
    if (size > kKeptMemory) {
        const auto look = [&isUtf8](std::string_view piece) { isUtf8 = isUtf8 && text::isValidUtf8(piece); };
        memory_->readPieces(file, size, look, shouldCancel);
    }
    const auto takeText = [&](std::string_view piece) {
        const bool isSound = size > kKeptMemory ? isUtf8 : text::isValidUtf8(piece);
        isSound ? take(piece) : take(text::decodedFromMacRoman(piece));
    };
    memory_->readPieces(file, size, takeText, shouldCancel);
}

std::string_view PlainText::bytes() const {
    return memory_->bytes;
}

bool PlainText::isUtf8() {
    if (!memory_->isUtf8) memory_->isUtf8 = text::isValidUtf8(memory_->bytes);
    return *memory_->isUtf8;
}

std::string_view PlainText::text() {
    if (isUtf8()) return memory_->bytes;
    if (!memory_->converted) memory_->converted = text::decodedFromMacRoman(memory_->bytes);
    return *memory_->converted;
}

std::string PlainText::takeText() {
    std::string taken;
    if (isUtf8()) {
        taken.assign(memory_->bytes);
    } else {
        text();
        taken = std::move(*memory_->converted);
    }
    memory_->forget();
    memory_->buffer.reserve(0, kKeptMemory);
    return taken;
}

}  // namespace kestrix
