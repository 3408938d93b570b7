#include "platform/mime_database.h"

#include <array>
#include <charconv>
#include <string_view>

#include "base/error.h"
#include "base/path.h"
#include "base/text.h"
#include "platform/stored_file.h"

namespace kestrix {

namespace {

// A database that cannot be read serves as well as none at all.
std::string contentOf(const std::string& path) {
    try {
        return readWholeFile(path).value_or(std::string());
    } catch (const Error&) {
        return {};
    }
}

template <typename Take>
void forEachLine(const std::string& content, Take take) {
    for (std::string_view rest = content; !rest.empty();) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        if (!line.empty() && line.front() != '#') take(line);
        rest.remove_prefix(std::min(rest.size(), line.size() + 1));
    }
}

MimeDatabase::Pairs readPairs(const std::string& path, char separator) {
    MimeDatabase::Pairs pairs;
    forEachLine(contentOf(path), [&](std::string_view line) {
        const auto sides = text::splitAt(line, separator);
        if (sides.size() == 2) pairs.emplace_back(sides[0], sides[1]);
    });
    return pairs;
}

// "weight:type:glob" or "weight:type:glob:flags".
std::optional<MimeDatabase::Glob> readGlob(std::string_view line) {
    const auto fields = text::splitAt(line, ':');
    if (fields.size() < 3 || !fields[2].starts_with("*.")) return std::nullopt;
    const std::string_view extension = fields[2].substr(2);
    if (extension.empty() || extension.find_first_of("*?[") != std::string_view::npos) return std::nullopt;
    MimeDatabase::Glob glob;
    const auto weight = std::from_chars(fields[0].data(), fields[0].data() + fields[0].size(), glob.weight);
    if (weight.ec != std::errc()) return std::nullopt;
    glob.type = fields[1];
    glob.extension = extension;
    glob.caseSensitive = fields.size() > 3 && fields[3].find("cs") != std::string_view::npos;
    return glob;
}

// The five entities that XML knows by itself; the ampersand last, so that what it yields is not read again.
std::string withoutEntities(std::string_view escaped) {
    constexpr std::array<std::pair<std::string_view, char>, 5> kEntities = {
        {{"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}, {"&apos;", '\''}, {"&amp;", '&'}}};
    std::string plain(escaped);
    for (const auto& [entity, character] : kEntities) {
        for (std::size_t at = plain.find(entity); at != std::string::npos; at = plain.find(entity, at + 1))
            plain.replace(at, entity.size(), 1, character);
    }
    return plain;
}

}  // namespace

MimeDatabase MimeDatabase::read(const std::string& folder) {
    MimeDatabase database;
    const std::string base = path::join(folder, "mime/");
    forEachLine(contentOf(base + "/globs2"), [&](std::string_view line) {
        if (auto glob = readGlob(line)) database.globs.push_back(std::move(*glob));
    });
    database.aliases = readPairs(base + "/aliases", ' ');
    database.subclasses = readPairs(base + "/subclasses", ' ');
    database.genericIcons = readPairs(base + "/generic-icons", ':');
    return database;
}

// The files are written by one program in one form, and only one element of them is wanted: the comment
// without a language.
std::optional<std::string> mimeDescription(const std::string& folder, const std::string& type) {
    constexpr std::string_view kOpening = "<comment>";
    const std::string content = contentOf(path::join(folder, "mime/" + type + ".xml"));
    const std::size_t opening = content.find(kOpening);
    if (opening == std::string::npos) return std::nullopt;
    const std::size_t start = opening + kOpening.size();
    const std::size_t end = content.find("</comment>", start);
    if (end == std::string::npos || end == start) return std::nullopt;
    return withoutEntities(std::string_view(content).substr(start, end - start));
}

}  // namespace kestrix
