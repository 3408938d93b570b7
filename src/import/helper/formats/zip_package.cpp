#include "import/helper/formats/zip_package.h"

#include <zip.h>

#include <algorithm>
#include <array>
#include <utility>

#include "import/helper/formats/document.h"
#include "import/helper/formats/xml_stream.h"

namespace kestrix {
namespace {

constexpr std::uint64_t kLargestMember = std::uint64_t{512} << 20;
constexpr std::uint64_t kLargestPackage = std::uint64_t{1} << 30;
constexpr std::string_view kCompoundFile = "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1";

struct CloseFile {
    void operator()(zip_file_t* file) const { zip_fclose(file); }
};
using MemberFile = std::unique_ptr<zip_file_t, CloseFile>;

[[noreturn]] void failAsBomb() {
    failDocument(ImportFailure::tooLarge, "unpacks to more than is ever read of a document");
}

}  // namespace

struct ZipPackage::Archive {
    explicit Archive(std::string_view bytes) {
        // With a password the office programs wrap a package into the file format of their elders.
        if (bytes.starts_with(kCompoundFile)) {
            failDocument(ImportFailure::damaged, "is locked with a password, or older than its name says");
        }
        zip_source_t* source = zip_source_buffer_create(bytes.data(), bytes.size(), 0, nullptr);
        if (source == nullptr) throw std::bad_alloc();
        zip = zip_open_from_source(source, ZIP_RDONLY, nullptr);
        if (zip == nullptr) {
            zip_source_free(source);
            failDocument(ImportFailure::damaged, "is damaged: its list of members cannot be read");
        }
        const zip_int64_t count = zip_get_num_entries(zip, 0);
        for (zip_int64_t i = 0; i < count; ++i) {
            zip_stat_t stat;
            const bool isKnown = zip_stat_index(zip, static_cast<zip_uint64_t>(i), 0, &stat) == 0;
            if (isKnown && (stat.valid & ZIP_STAT_SIZE) != 0) size += std::min(stat.size, kLargestMember);
        }
    }
    ~Archive() { zip_discard(zip); }
    Archive(const Archive&) = delete;
    Archive& operator=(const Archive&) = delete;

    struct Member {
        MemberFile file;
        std::uint64_t size;  // as the package states it
    };

    // Opens a member that may be unpacked.
    Member open(const std::string& name) const {
        zip_stat_t stat;
        if (zip_stat(zip, name.c_str(), 0, &stat) != 0) {
            failDocument(ImportFailure::damaged, "is damaged: " + name + " is missing");
        }
        if ((stat.valid & ZIP_STAT_ENCRYPTION_METHOD) != 0 && stat.encryption_method != ZIP_EM_NONE) {
            failDocument(ImportFailure::damaged, "is locked with a password");
        }
        if ((stat.valid & ZIP_STAT_SIZE) == 0 || stat.size > kLargestMember) failAsBomb();
        MemberFile file(zip_fopen_index(zip, stat.index, 0));
        if (!file) failDocument(ImportFailure::damaged, "is damaged: " + name + " cannot be opened");
        return {std::move(file), stat.size};
    }

    zip_t* zip;
    std::uint64_t size = 1;  // of all members, as they state it; never 0
};

ZipPackage::ZipPackage(std::string_view bytes, std::function<void(int percent)> onPiece)
    : archive_(std::make_unique<Archive>(bytes)), onPiece_(std::move(onPiece)) {}
ZipPackage::~ZipPackage() = default;

bool ZipPackage::has(const std::string& name) const {
    return zip_name_locate(archive_->zip, name.c_str(), 0) >= 0;
}

std::vector<std::string> ZipPackage::membersLike(std::string_view pattern) const {
    const std::size_t star = pattern.find('*');
    if (star == std::string_view::npos) {
        return has(std::string(pattern)) ? std::vector<std::string>{std::string(pattern)}
                                         : std::vector<std::string>{};
    }
    const std::string_view start = pattern.substr(0, star);
    const std::string_view end = pattern.substr(star + 1);
    std::vector<std::string> names;
    const zip_int64_t count = zip_get_num_entries(archive_->zip, 0);
    for (zip_int64_t i = 0; i < count; ++i) {
        const char* const found = zip_get_name(archive_->zip, static_cast<zip_uint64_t>(i), 0);
        const std::string_view name = found == nullptr ? "" : found;
        if (name.size() >= start.size() + end.size() && name.starts_with(start) && name.ends_with(end))
            names.emplace_back(name);
    }
    std::sort(names.begin(), names.end(), [](const std::string& a, const std::string& b) {
        return a.size() != b.size() ? a.size() < b.size() : a < b;
    });
    return names;
}

void ZipPackage::read(const std::string& name, const std::function<bool(std::string_view piece)>& take) {
    const Archive::Member member = archive_->open(name);
    std::array<char, std::size_t{64} << 10> piece;
    for (std::uint64_t size = 0;;) {
        if (onPiece_)
            onPiece_(static_cast<int>(std::min<std::uint64_t>(100, unpacked_ * 100 / archive_->size)));
        const zip_int64_t count = zip_fread(member.file.get(), piece.data(), piece.size());
        if (count < 0) failDocument(ImportFailure::damaged, "is damaged: " + name + " cannot be unpacked");
        if (count == 0 && size == member.size) return;
        size += static_cast<std::uint64_t>(count);
        if (count == 0 || size > member.size)
            failDocument(ImportFailure::damaged, "is damaged: " + name + " has another size than it should");
        unpacked_ += static_cast<std::uint64_t>(count);
        if (unpacked_ > kLargestPackage) failAsBomb();
        if (!take({piece.data(), static_cast<std::size_t>(count)})) return;
    }
}

std::string ZipPackage::whole(const std::string& name, std::size_t cap) {
    std::string bytes;
    read(name, [&](std::string_view piece) {
        if (bytes.size() + piece.size() > cap) failAsBomb();
        bytes += piece;
        return true;
    });
    return bytes;
}

void ZipPackage::readXml(const std::string& name, XmlHandler& handler) {
    XmlStream stream(handler);
    bool isWhole = true;
    read(name, [&](std::string_view piece) {
        stream.feed(piece);
        isWhole = !handler.isSatisfied();
        return isWhole;
    });
    if (isWhole) stream.finish();
}

}  // namespace kestrix
