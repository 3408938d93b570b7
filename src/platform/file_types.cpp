// Asked for by extension a type is one look-up in a table that never changes. Its names, parents and
// description are put together when somebody first wants to see them: a search asks for the types of all
// files and looks at those of a few dozen.
#include "platform/file_types.h"

#include <algorithm>
#include <array>
#include <deque>
#include <fstream>
#include <mutex>

#include "base/path.h"
#include "platform/file_type_tables.h"
#include "platform/mime_database.h"

namespace kestrix {

namespace {

// No extension of the database is longer.
constexpr std::size_t kLongestExtension = 31;

// Packets of a transport stream are 188 bytes long, or 192 with a time before each (as cameras write them),
// and begin with the same byte. No source code does.
bool beginsLikeTransportStream(const std::string& path) {
    constexpr char kSync = 0x47;
    std::array<char, 197> bytes{};
    std::ifstream file(path, std::ios::binary);
    if (!file.read(bytes.data(), bytes.size())) return false;
    return (bytes[0] == kSync && bytes[188] == kSync) || (bytes[4] == kSync && bytes[196] == kSync);
}

}  // namespace

struct FileTypes::Memory {
    struct Described {
        std::once_flag once;
        FileType type;
    };

    std::once_flag loading;
    FileTypeTables tables;
    std::deque<Described> described;  // by number
};

FileTypes::FileTypes(std::vector<std::string> dataFolders)
    : dataFolders_(std::move(dataFolders)), memory_(std::make_unique<Memory>()) {}

FileTypes::~FileTypes() = default;

const FileTypeTables& FileTypes::tables() const {
    std::call_once(memory_->loading, [this] {
        memory_->tables = FileTypeTables::load(dataFolders_);
        memory_->described.resize(memory_->tables.nodes.size());
    });
    return memory_->tables;
}

std::size_t FileTypes::count() const {
    return tables().nodes.size();
}

std::optional<FileTypeId> FileTypes::forExtension(std::string_view extension) const {
    if (extension.empty() || extension.size() > kLongestExtension) return std::nullopt;
    const FileTypeTables& all = tables();
    if (extension.size() <= all.longestExactExtension) {
        if (const auto exact = FileTypeTables::find(all.exactExtensions, extension)) return exact;
    }
    std::array<char, kLongestExtension> lowered;
    std::ranges::transform(extension, lowered.begin(), [](char byte) {
        return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte | 0x20) : byte;
    });
    return FileTypeTables::find(all.extensions, {lowered.data(), extension.size()});
}

std::optional<FileTypeId> FileTypes::ofFile(const std::string& path) const {
    const auto type = forExtension(path::extension(path));
    const auto alternative = type ? alternativeTo(*type) : std::nullopt;
    return alternative && beginsLikeTransportStream(path) ? alternative : type;
}

std::optional<FileTypeId> FileTypes::alternativeTo(FileTypeId type) const {
    return type == tables().typeScript ? tables().transportStream : std::nullopt;
}

std::optional<FileTypeId> FileTypes::named(std::string_view identifier) const {
    return FileTypeTables::find(tables().names, identifier);
}

const FileType& FileTypes::describe(FileTypeId type) const {
    const FileTypeTables& all = tables();
    auto& described = memory_->described.at(type);
    std::call_once(described.once, [&] {
        const FileTypeTables::Node& node = all.nodes[type];
        FileType& made = described.type;
        made.identifier = node.identifier;
        made.otherNames = node.otherNames;
        made.extensions = node.extensions;
        if (node.identifier.find('/') != std::string::npos) made.mimeTypes.push_back(node.identifier);
        for (const FileTypeId ancestor : all.lineage(type)) {
            if (ancestor == type) continue;
            const FileTypeTables::Node& parent = all.nodes[ancestor];
            made.parents.push_back(parent.identifier);
            made.parents.insert(made.parents.end(), parent.otherNames.begin(), parent.otherNames.end());
        }
        made.description = node.fallbackDescription;
        for (const std::string& folder : dataFolders_) {
            if (auto told = mimeDescription(folder, node.identifier)) {
                made.description = std::move(*told);
                break;
            }
        }
    });
    return described.type;
}

std::vector<FileTypeId> FileTypes::lineage(FileTypeId type) const {
    return tables().lineage(type);
}

bool FileTypes::conforms(FileTypeId type, std::string_view wanted) const {
    const auto target = named(wanted);
    if (!target) return false;
    const auto lineage = tables().lineage(type);
    return std::ranges::find(lineage, *target) != lineage.end();
}

}  // namespace kestrix
