#include "platform/file_type_tables.h"

#include <algorithm>
#include <limits>
#include <map>
#include <utility>

#include "base/text.h"
#include "platform/file_types_fallback.h"
#include "platform/mime_database.h"

namespace kestrix {

namespace {

constexpr std::string_view kTypeScript = "text/x-typescript";
constexpr std::string_view kTransportStream = "video/mp2t";

// Where the database is of two minds, or of a mind that few share.
constexpr WellKnownName kPreferredTypes[] = {{"ts", kTypeScript},
                                             {"mo", "application/x-gettext-translation"}};
constexpr int kPreferredWeight = std::numeric_limits<int>::max();
constexpr int kFallbackWeight = -1;

// "image", of "image/png".
std::string_view familyOf(std::string_view type) {
    return type.substr(0, type.find('/'));
}

bool isMediaFamily(std::string_view family) {
    return family == "image" || family == "audio" || family == "video";
}

// Edges of the database that would make a search by type find what nobody means. Films, sounds and pictures
// are told apart by their families; that a ringtone is stored as a film would be is no help.
bool isMisleading(std::string_view type, std::string_view parent) {
    const std::string_view family = familyOf(type);
    const std::string_view parentFamily = familyOf(parent);
    if (isMediaFamily(family) && isMediaFamily(parentFamily) && family != parentFamily) return true;
    return type == "application/json" && parent.ends_with("/javascript");
}

// Fills the tables; lives for the loading alone.
class Builder {
  public:
    explicit Builder(FileTypeTables& tables) : tables_(tables) {}

    void build(const std::vector<std::string>& folders) {
        std::vector<MimeDatabase> databases;
        databases.reserve(folders.size());
        for (const std::string& folder : folders)
            databases.push_back(MimeDatabase::read(folder));
        // Names first: what follows may use any of them for a type.
        for (const MimeDatabase& database : databases) {
            for (const auto& [alias, type] : database.aliases)
                aliasOf_.emplace(alias, type);
        }
        for (const WellKnownName& name : wellKnownNames())
            addOtherName(name);
        addFallback();
        for (const MimeDatabase& database : databases)
            addDatabase(database);
        for (const auto& [alias, type] : aliasOf_)
            addAlias(alias, type);
        addClasses();
        dropMisleadingParents();
        settleExtensions();
    }

  private:
    struct Candidate {
        FileTypeId type;
        int weight;
        std::size_t database;
    };

    FileTypeTables::Node& node(FileTypeId type) { return tables_.nodes[type]; }
    std::size_t count() const { return tables_.nodes.size(); }

    FileTypeId idOf(std::string_view name) {
        const auto alias = aliasOf_.find(name);
        const std::string identifier(alias == aliasOf_.end() ? name : std::string_view(alias->second));
        const auto found = tables_.names.find(identifier);
        if (found != tables_.names.end()) return found->second;
        const auto id = static_cast<FileTypeId>(count());
        tables_.nodes.push_back({.identifier = identifier});
        tables_.names.emplace(identifier, id);
        return id;
    }

    void addOtherName(const WellKnownName& name) {
        const FileTypeId type = idOf(name.type);
        node(type).otherNames.emplace_back(name.identifier);
        tables_.names.emplace(name.identifier, type);
    }

    void addAlias(const std::string& alias, const std::string& type) {
        tables_.names.emplace(alias, idOf(type));
    }

    void addParent(FileTypeId type, FileTypeId parent) {
        auto& parents = node(type).parents;
        if (type != parent && std::ranges::find(parents, parent) == parents.end()) parents.push_back(parent);
    }

    void addExtension(std::string extension, bool caseSensitive, Candidate candidate) {
        auto& extensions = node(candidate.type).extensions;
        if (std::ranges::find(extensions, extension) == extensions.end()) extensions.push_back(extension);
        if (!caseSensitive) extension = text::lowered(extension);
        auto& best = caseSensitive ? exactBest_ : best_;
        const auto [place, isNew] = best.emplace(std::move(extension), candidate);
        if (!isNew && isBetter(candidate, place->second)) place->second = candidate;
    }

    // The heavier, then that of the earlier database. The order within one database says nothing; the shorter
    // name is mostly that of the more general or more usual type (audio/ogg, application/json).
    bool isBetter(const Candidate& a, const Candidate& b) {
        if (a.weight != b.weight) return a.weight > b.weight;
        if (a.database != b.database) return a.database < b.database;
        const std::string& nameOfA = node(a.type).identifier;
        const std::string& nameOfB = node(b.type).identifier;
        return std::pair(nameOfA.size(), nameOfA) < std::pair(nameOfB.size(), nameOfB);
    }

    void addFallback() {
        for (const FallbackType& row : fallbackTypes()) {
            const FileTypeId type = idOf(row.identifier);
            node(type).fallbackDescription = row.description;
            if (!row.parent.empty()) addParent(type, idOf(row.parent));
            for (const auto extension : text::splitAt(row.extensions, ' '))
                addExtension(std::string(extension), false, {type, kFallbackWeight, 0});
        }
        for (const auto& [extension, type] : kPreferredTypes)
            addExtension(std::string(extension), false, {idOf(type), kPreferredWeight, 0});
    }

    void addDatabase(const MimeDatabase& database) {
        ++databaseNumber_;
        for (const auto& glob : database.globs)
            addExtension(glob.extension, glob.caseSensitive, {idOf(glob.type), glob.weight, databaseNumber_});
        for (const auto& [type, parent] : database.subclasses) {
            const FileTypeId child = idOf(type);
            addParent(child, idOf(parent));
        }
        for (const auto& [type, icon] : database.genericIcons) {
            for (const ClassByIcon& byIcon : classesByIcon())
                if (icon == byIcon.icon) addParent(idOf(type), idOf(byIcon.wellKnownClass));
        }
    }

    void addClasses() {
        for (const ClassMember& member : classMembers()) {
            const FileTypeId wanted = idOf(member.wellKnownClass);
            if (!member.type.ends_with('/')) {
                addParent(idOf(member.type), wanted);
                continue;
            }
            for (FileTypeId type = 0; type < count(); ++type)
                if (node(type).identifier.starts_with(member.type)) addParent(type, wanted);
        }
    }

    void dropMisleadingParents() {
        const FileTypeId archive = idOf("public.archive");
        for (FileTypeId type = 0; type < count(); ++type) {
            auto& parents = node(type).parents;
            const bool isArchive = std::ranges::find(parents, archive) != parents.end();
            std::erase_if(parents, [&](FileTypeId parent) {
                const std::string& name = node(parent).identifier;
                return isMisleading(node(type).identifier, name) || (!isArchive && isPackingOnly(name));
            });
        }
    }

    void settleExtensions() {
        for (const auto& [extension, candidate] : best_)
            tables_.extensions.emplace(extension, candidate.type);
        for (const auto& [extension, candidate] : exactBest_) {
            tables_.exactExtensions.emplace(extension, candidate.type);
            tables_.longestExactExtension = std::max(tables_.longestExactExtension, extension.size());
        }
    }

    FileTypeTables& tables_;
    std::map<std::string, std::string, std::less<>> aliasOf_;
    std::unordered_map<std::string, Candidate> best_;
    std::unordered_map<std::string, Candidate> exactBest_;
    std::size_t databaseNumber_ = 0;
};

}  // namespace

FileTypeTables FileTypeTables::load(const std::vector<std::string>& dataFolders) {
    FileTypeTables tables;
    Builder(tables).build(dataFolders);
    tables.typeScript = find(tables.names, kTypeScript);
    tables.transportStream = find(tables.names, kTransportStream);
    return tables;
}

std::vector<FileTypeId> FileTypeTables::lineage(FileTypeId type) const {
    std::vector<FileTypeId> met{type};
    for (std::size_t at = 0; at < met.size(); ++at) {
        for (const FileTypeId parent : nodes[met[at]].parents) {
            if (std::ranges::find(met, parent) == met.end()) met.push_back(parent);
        }
    }
    return met;
}

}  // namespace kestrix
