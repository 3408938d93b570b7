#include "search/why.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <optional>
#include <system_error>

#include "base/lock.h"
#include "base/path.h"
#include "files/fs_utilities.h"
#include "files/mounts_below.h"
#include "language/commands/simple_commands.h"
#include "language/commands/word_commands.h"
#include "platform/directory.h"
#include "search/file_system_search.h"
#include "search/known_directories_search.h"

namespace kestrix {

namespace {

std::string withQuotes(std::string_view text) {
    return "\"" + std::string(text) + "\"";
}

std::string listed(const std::vector<std::string>& texts) {
    std::string list;
    for (const std::string& text : texts)
        list += (list.empty() ? "" : ", ") + withQuotes(text);
    return list;
}

std::string reasonOf(int error) {
    return std::generic_category().message(error);
}

// Waits for one path, or for something that the merge expands to it, and then ends the source.
class Lookout : public NullSearchDataSourceDelegate {
  public:
    Lookout(const QueryContainer& query, const std::string& path, bool invisibleItems)
        : query_(query), path_(path), invisibleItems_(invisibleItems) {}

    bool shouldStop() const override { return seen_; }
    bool wantsInvisibleItems() const override { return invisibleItems_; }
    void searchResults(std::vector<SearchResult> results, const SearchDataSource&) override {
        for (SearchResult& result : results) {
            if (seen_) return;
            const auto folders = query_.expandedFolderPaths(result.path);
            const bool isExpansion = std::find(folders.begin(), folders.end(), path_) != folders.end();
            if (result.path == path_) {
                see(path_, std::move(result));
            } else if (isExpansion) {
                see(result.path, QueryContainer::folderOnTheWay(result, path_, true));
            }
        }
    }

    struct Sight {
        std::string of;  // the path that was delivered
        SearchResult record;
    };
    std::optional<Sight> sight() const { return sight_.get(); }

  private:
    void see(std::string of, SearchResult record) {
        sight_.set(Sight{std::move(of), std::move(record)});
        seen_ = true;
    }

    const QueryContainer& query_;
    const std::string& path_;
    const bool invisibleItems_;
    std::atomic<bool> seen_ = false;
    Locked<std::optional<Sight>> sight_;
};

// For each rule of the walk the first thing on the way that it shuts out; empty where there is none.
struct Way {
    std::string start;
    std::string backups, hidden, package, system, tooDeep, mount, unreadable;

    bool isOpen() const {
        return (backups + hidden + package + system + tooDeep + mount + unreadable).empty();
    }
};

void note(std::string& place, std::string offender) {
    if (place.empty()) place = std::move(offender);
}

class Inquiry {
  public:
    Inquiry(const std::string& path, const std::shared_ptr<const QueryContainer>& query,
            const JudgementOptions& options)
        : path_(path::withoutTrailingSlash(path)),
          name_(path::lastComponent(path_)),
          query_(query),
          options_(options) {}

    Judgement judge();

  private:
    bool looksForSomething();
    bool exists();
    void takeRecord(const OpenDirectory& parent, EntryType type);
    void askSources();
    void askKnownFolder(const std::string& folder);
    void askWalk();
    Way wayFrom(const std::string& start) const;
    void askEachFolder(Way& way) const;
    void tellWay(const Way& way);
    bool showsByRunning(SearchDataSource& source);
    void askByRunning(SearchDataSource& source);
    bool mayBeExpandedTo(const std::string& start) const;
    void judgeLocation();
    void judgeName();
    std::string missingWords() const;
    std::string missingOf(const std::vector<std::string>& words) const;
    void judgeIgnoreLists();
    void judgeCommands();
    void judgeSystemRules();

    void add(std::string tested, bool passed, std::string detail = "", bool decides = true) {
        judgement_.steps.push_back({std::move(tested), passed, decides, std::move(detail)});
    }
    // A rule that names what it shuts out.
    void addRule(std::string tested, const std::string& offender) {
        add(std::move(tested), offender.empty(), offender);
    }

    const std::string path_;
    const std::string name_;
    const std::shared_ptr<const QueryContainer> query_;
    const JudgementOptions options_;
    SearchResult record_;
    bool wordsMatch_ = false;
    Judgement judgement_;
};

Judgement Inquiry::judge() {
    if (looksForSomething() && exists()) {
        for (const auto& command : query_->commandsFoundInQuery())
            command->commandsStarting();
        askSources();
        judgeLocation();
        judgeName();
        judgeIgnoreLists();
        judgeCommands();
        judgeSystemRules();
    }
    return std::move(judgement_);
}

bool Inquiry::looksForSomething() {
    if (query_->isEmpty()) add("the line looks for something", false, "it holds neither words nor commands");
    return !query_->isEmpty();
}

// A search sees what its folder lists, so that is asked and not the path.
bool Inquiry::exists() {
    const std::string tested = "it is there, a file or a folder";
    if (path_ == "/") {
        record_ = SearchResult::ofDirectory(SearchResultSupplier::fileSystem, path_, false);
        add(tested, true, "a folder");
        return true;
    }
    OpenDirectory parent;
    if (const int error = parent.open(std::string(path::parent(path_)))) {
        add(tested, false, "the folder it lies in cannot be read: " + reasonOf(error));
        return false;
    }
    EntryType type = EntryType::unknown;
    DirectoryReader reader;
    reader.start(parent);
    bool isListed = false;
    for (DirectoryEntry entry; !isListed && reader.next(entry);) {
        isListed = entry.name == name_;
        type = entry.type;
    }
    FileAttributes attributes;
    if (isListed && type == EntryType::unknown && parent.attributesOf(name_.c_str(), attributes) == 0)
        type = attributes.type;
    const bool isOurs = isListed && (type == EntryType::file || type == EntryType::directory);
    add(tested, isOurs,
        !isListed                      ? "there is nothing of that name"
        : type == EntryType::file      ? "a file"
        : type == EntryType::directory ? "a folder"
                                       : "a link, a socket or a device: no search lists those");
    if (isOurs) takeRecord(parent, type);
    return isOurs;
}

void Inquiry::takeRecord(const OpenDirectory& parent, EntryType type) {
    record_.searchResultSuppliedBy = SearchResultSupplier::fileSystem;
    record_.path = path_;
    record_.isDirectory = type == EntryType::directory;
    record_.diskKey = options_.disks.keyForDisk(path_);
    FileAttributes attributes;
    if (parent.attributesOf(name_.c_str(), attributes) != 0) return;
    record_.size = record_.isDirectory ? 0 : attributes.size;
    record_.modDate = attributes.modified.seconds;
    record_.creationDate = attributes.created.seconds;
    record_.lastAccessDate = attributes.accessed.seconds;
}

// Which sources run, as the manager decides it; each tells whether it comes by the path.
void Inquiry::askSources() {
    KnownDirectoriesSearch known;
    std::vector<std::string> claimed = known.dataSourceLocations(*query_);
    const auto supplied = query_->suppliedDataSources();
    for (const auto& source : supplied) {
        const auto folders = source->dataSourceLocations(*query_);
        claimed.insert(claimed.end(), folders.begin(), folders.end());
    }
    for (const auto& source : supplied)
        if (showsByRunning(*source)) return;
    if (const auto folders = known.dataSourceLocations(*query_); !folders.empty())
        return askKnownFolder(folders.front());
    if (query_->isWordBasedSearch() && claimed.empty()) return askWalk();
    for (const auto& command : query_->commandsFoundInQuery()) {
        if (!command->commandStopsWordBasedSearches()) continue;
        return add("the disks are searched", false,
                   withQuotes(command->commandToString()) + " takes their place");
    }
    add("the disks are searched", false, "the line only narrows a search down; add a word");
}

void Inquiry::askKnownFolder(const std::string& folder) {
    if (path::parent(path_) != folder) {
        KnownDirectoriesSearch source;
        if (record_.isDirectory && mayBeExpandedTo(folder)) return askByRunning(source);
        return add("it lies directly in the folder named", false, folder);
    }
    record_.ignoreSearchLocation = true;
    add("it lies directly in the folder named", true, folder);
    add("its name is not hidden", !FSUtilities::isInvisibleName(name_));
    if (options_.searchInsideSystemAndApps) return;
    add("no system folder or package", !FSUtilities::isInsideOSDirectory(path_, folder) &&
                                           !FSUtilities::isInvisibleOrInsidePackage(path_, folder));
}

// One way that is open is enough; where all are shut, the one from the nearest start is told.
void Inquiry::askWalk() {
    const auto& location = query_->whereLocation();
    const std::vector<std::string> starts =
        location ? location->disksForLocations() : std::vector<std::string>();
    std::optional<Way> told;
    for (const std::string& start : starts) {
        if (start == path_ || !path::isOrIsBelow(path_, start)) continue;
        Way way = wayFrom(start);
        if (way.isOpen()) return tellWay(way);
        if (!told || way.start.size() > told->start.size()) told = std::move(way);
    }
    const bool holdsStart = std::any_of(starts.begin(), starts.end(),
                                        [this](const auto& start) { return mayBeExpandedTo(start); });
    if (record_.isDirectory && holdsStart) {
        FileSystemSearch source(WalkEnvironment{options_.disks});
        return askByRunning(source);
    }
    if (told) return tellWay(*told);
    add("it lies below a place that is searched", false, listed(starts));
}

// A folder that holds a starting point is found if something below it is that makes the merge show the way.
bool Inquiry::mayBeExpandedTo(const std::string& start) const {
    return !query_->searchWords().empty() && path::isOrIsBelow(start, path_);
}

bool Inquiry::showsByRunning(SearchDataSource& source) {
    Lookout lookout(*query_, path_, options_.searchInsideSystemAndApps);
    source.search(query_, lookout);
    const auto sight = lookout.sight();
    if (!sight) return false;
    record_ = sight->record;
    add("something found shows it", true, sight->of);
    return true;
}

void Inquiry::askByRunning(SearchDataSource& source) {
    if (!showsByRunning(source))
        add("something found shows it", false, "nothing below it bears a word of its path");
}

// Rules that the names alone decide; what needs the disk is asked after them.
Way Inquiry::wayFrom(const std::string& start) const {
    Way way;
    way.start = start;
    const auto maxDepth = query_->commandOfType<MaxDepth>();
    const auto mounts = mountsBelow(start, query_->whereLocation()->disksForLocations(), options_.disks);
    std::string folder = start;
    for (const auto name : path::components(path::parent(path_).substr(start == "/" ? 1 : start.size()))) {
        const bool tooDeep = maxDepth && !maxDepth->letsEnterChildrenOf(folder);
        folder = path::join(folder, name);
        if (tooDeep) note(way.tooDeep, folder);
        if (name == "Backups.backupdb") note(way.backups, folder);
        const auto mount = mounts.find(folder);
        if (mount != mounts.end() && !mount->second.enter) note(way.mount, folder);
        if (options_.searchInsideSystemAndApps) continue;
        if (FSUtilities::isInvisibleName(name)) {
            note(way.hidden, folder);
        } else if (FSUtilities::isClosedFolderName(name)) {
            note(way.package, folder);
        }
        if (FSUtilities::isInsideOSDirectory(folder, start)) note(way.system, folder);
    }
    askEachFolder(way);
    return way;
}

void Inquiry::askEachFolder(Way& way) const {
    OpenDirectory directory;
    std::string folder = way.start;
    int error = directory.open(folder);
    const std::string_view below = path::parent(path_).substr(way.start == "/" ? 1 : way.start.size());
    for (const auto name : path::components(below)) {
        if (error != 0) break;
        OpenDirectory child;
        error = child.openAt(directory, std::string(name).c_str());
        folder = path::join(folder, name);
        directory = std::move(child);
    }
    if (error == 0) return;
    const bool isLink = error == ELOOP || error == ENOTDIR;
    way.unreadable = folder + ": " + (isLink ? "a link, which no search follows" : reasonOf(error));
}

void Inquiry::tellWay(const Way& way) {
    add("it lies below a place that is searched", true, way.start);
    addRule("every folder on the way can be read", way.unreadable);
    addRule("no hidden folder on the way", way.hidden);
    addRule("no package on the way", way.package);
    addRule("no system folder on the way", way.system);
    addRule("no disk on the way that is left out or searched on its own", way.mount);
    addRule("no folder of backups on the way", way.backups);
    if (!way.tooDeep.empty()) addRule("not deeper than the line says", way.tooDeep);
}

void Inquiry::judgeLocation() {
    if (record_.ignoreSearchLocation || !query_->whereLocation()) return;
    add("it is in the location", query_->pathIsInQueryLocation(path_),
        listed(query_->whereLocation()->locationURLs()));
}

void Inquiry::judgeName() {
    wordsMatch_ = query_->fsItemNameStringIncludesWordsFromQuery(path_);
    const auto& words = query_->searchWords();
    if (words.empty() && wordsMatch_) return;
    std::string detail;
    if (query_->soundex()) {
        if (!wordsMatch_) detail = "no word of the name sounds like " + listed(words);
    } else {
        detail = wordsMatch_ ? listed(words) : missingWords();
    }
    add(query_->soundex() ? "the name sounds like a word" : "the name holds the words", wordsMatch_,
        std::move(detail), !query_->isORCommandSearch());
}

std::string Inquiry::missingWords() const {
    const bool caseSensitive = query_->commandOfType<CaseSensitive>() != nullptr;
    if (!query_->includesORStatement()) {
        return "missing: " +
               missingOf(caseSensitive ? query_->searchWordsOriginalCase() : query_->searchWords());
    }
    std::string text;
    for (const auto& group :
         caseSensitive ? query_->orStringGroupsOriginalCase() : query_->orStringGroups()) {
        text += (text.empty() ? "missing: " : ", or ") + missingOf(group);
    }
    return text;
}

std::string Inquiry::missingOf(const std::vector<std::string>& words) const {
    std::vector<std::string> missing;
    for (const std::string& word : words) {
        NameTestWords one;
        one.words = {word};
        one.caseSensitive = query_->commandOfType<CaseSensitive>() != nullptr;
        one.wholeWords = query_->commandOfType<WholeWords>() != nullptr;
        if (!NameTest(std::move(one)).matches(name_)) missing.push_back(word);
    }
    return listed(missing);
}

bool namesPartOf(const std::string& text, const std::string& path) {
    if (text.find('/') != std::string::npos && path.find(text) != std::string::npos) return true;
    const auto components = path::components(path);
    return std::find(components.begin(), components.end(), path::lastComponent(text)) != components.end();
}

void Inquiry::judgeIgnoreLists() {
    const IgnoreItems& ignored = query_->ignoreList();
    if (ignored.empty()) return;
    std::string folder;
    const bool isInFolder = ignored.includesFolder(path_);
    for (const IgnoreItem& item : ignored.pathComponents())
        if (isInFolder && folder.empty() && namesPartOf(item.text, path_)) folder = item.text;
    add("in no ignored folder", !isInFolder, folder);
    const auto extension = path::extension(path_);
    const bool isIgnored = ignored.containsExtension(extension);
    add("no ignored extension", !isIgnored, isIgnored ? "." + std::string(extension) : "");
}

std::string textOf(const Command& command) {
    const std::string text = command.commandToString();
    return text.empty() ? "the words with a star" : withQuotes(text);
}

// All are applied, in order and to the same record: a command may add to it for those behind it.
void Inquiry::judgeCommands() {
    const bool eitherWay = query_->isORCommandSearch();
    NullSearchDataSourceDelegate nobody;
    bool isExcluded = false;
    for (const auto& command : query_->commandsFoundInQuery()) {
        const auto applied = command->keepsStatePerFile() ? command->copy() : command;
        const auto result = applied->commandImpApply(record_, &nobody, *query_);
        isExcluded = isExcluded || result == CommandApplyResult::exclude;
        add(textOf(*command), result != CommandApplyResult::exclude,
            result == CommandApplyResult::skip ? "says nothing about it" : "", !eitherWay);
    }
    if (eitherWay) add("the words or all of the commands", wordsMatch_ || !isExcluded);
}

// The merge looks at the path once more, as a command may have changed it.
void Inquiry::judgeSystemRules() {
    if (options_.searchInsideSystemAndApps || record_.ignoreSearchLocation) return;
    const auto& location = query_->whereLocation();
    const std::string_view start = location ? location->startOf(record_.path) : std::string_view();
    add("not in a system folder", !FSUtilities::isInsideOSDirectory(record_.path, start));
    add("neither hidden nor inside a package", !FSUtilities::isInvisibleOrInsidePackage(record_.path, start));
}

}  // namespace

bool Judgement::isFound() const {
    return std::all_of(steps.begin(), steps.end(),
                       [](const JudgementStep& step) { return step.passed || !step.decides; });
}

Judgement explainJudgement(const std::string& path, const std::shared_ptr<const QueryContainer>& query,
                           const JudgementOptions& options) {
    return Inquiry(path, query, options).judge();
}

}  // namespace kestrix
