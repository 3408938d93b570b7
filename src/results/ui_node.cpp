#include "results/ui_node.h"

#include <system_error>
#include <utility>

#include "base/error.h"
#include "base/path.h"
#include "base/text.h"
#include "files/directory_iterator.h"
#include "files/fs_utilities.h"
#include "platform/directory.h"
#include "platform/tags.h"
#include "results/byte_count_text.h"
#include "results/presence.h"
#include "shell/logger.h"

namespace kestrix {
namespace {

UINode::Kind kindOf(const SearchResult& record) {
    if (!record.isDirectory) return UINode::Kind::file;
    return FSUtilities::hasPackageExtension(record.path) ? UINode::Kind::package : UINode::Kind::folder;
}

std::string_view nameOfFolderAbove(std::string_view path) {
    return path::lastComponent(path::parent(path));
}

SearchResult recordOf(FSItemAndAttrs item) {
    return SearchResult(SearchResultSupplier::fileSystem, DiskKey(""), std::move(item.fullPath),
                        item.isDirectory, item.isDirectory ? 0 : item.fileSize, item.modifyTime.seconds,
                        item.createTime.seconds, item.accessTime.seconds, false, false);
}

}  // namespace

UINode::UINode(SearchResult searchResult, const UINodeEnvironment& environment)
    : record_(std::move(searchResult)),
      nodeCreated_(environment.clock.now()),
      wordsToHighlight_(environment.wordsToHighlight),
      kinds_(environment.kinds),
      clock_(environment.clock),
      kind_(kindOf(record_)),
      tryCollectSummaryLines_(record_.tryCollectSummaryLines) {
    if (record_.content) takeFindings(record_.content);
}

UINode::UINode(std::string summaryLine, UINodeWords wordsToHighlight, const UINodeEnvironment& environment)
    : nodeCreated_(environment.clock.now()),
      wordsToHighlight_(std::move(wordsToHighlight)),
      summaryLine_(std::move(summaryLine)),
      kinds_(environment.kinds),
      clock_(environment.clock),
      kind_(Kind::contentSummary),
      tryCollectSummaryLines_(false) {}

UINodePtr UINode::forFile(std::string path, const UINodeEnvironment& environment) {
    FileAttributes attributes;
    const bool isDirectory =
        readAttributes(path, true, attributes) == 0 && attributes.type == EntryType::directory;
    const auto record = isDirectory ? SearchResult::ofDirectory : SearchResult::ofFile;
    return std::make_shared<UINode>(record(SearchResultSupplier::none, std::move(path), false), environment);
}

UINodes UINode::nodesForContentsOfFolder(const std::string& path, const UINodeEnvironment& environment) {
    OpenDirectory folder;
    if (const int error = folder.open(path); error != 0) {
        throw Error(kPosixDomain, error,
                    "cannot read " + path + ": " + std::generic_category().message(error));
    }
    return nodesForContentsOfFolderIgnoringError(path, environment);
}

UINodes UINode::nodesForContentsOfFolderIgnoringError(const std::string& path,
                                                      const UINodeEnvironment& environment) {
    UINodes nodes;
    auto listing = DirectoryIterator().contentsOfDirectoryAtPath(path);
    nodes.reserve(listing.items.size());
    for (FSItemAndAttrs& item : listing.items)
        nodes.push_back(std::make_shared<UINode>(recordOf(std::move(item)), environment));
    return nodes;
}

const std::vector<std::string>& UINode::displayWordsToHighlight() const {
    static const std::vector<std::string> kNone;
    return wordsToHighlight_ ? *wordsToHighlight_ : kNone;
}

std::string UINode::displayName() const {
    return text::displayable(path::lastComponent(record_.path));
}

std::string UINode::displayPath() const {
    return text::displayable(record_.path);
}

std::string UINode::displayInside() const {
    return text::displayable(nameOfFolderAbove(record_.path));
}

std::string UINode::displayTotalSize() const {
    return byteCountText(record_.size);
}

// Two threads that ask at once find the same text.
const KindTexts::Kind& UINode::displayedKind() const {
    const KindTexts::Kind* known = displayedKind_.load();
    if (known) return *known;
    const KindTexts::Kind& named =
        summaryLine_ ? KindTexts::none() : kinds_.kindOf(record_.path, record_.isDirectory);
    return displayedKind_.compare_exchange_strong(known, &named) ? named : *known;
}

const std::string& UINode::nameSortKey() const {
    if (nameSortKey_.empty()) nameSortKey_ = text::collationKey(path::lastComponent(record_.path));
    return nameSortKey_;
}

std::vector<std::string> UINode::labels() const {
    return details_.read([](const Details& details) { return details.labels; });
}

SearchResult UINode::suppliedSearchResult() const {
    SearchResult record = record_;
    record.tryCollectSummaryLines = tryCollectSummaryLines_;
    details_.read([&](const Details& details) {
        if (details.findings) record.content = details.findings;
    });
    return record;
}

UINodes UINode::children() const {
    return details_.read([](const Details& details) { return details.children; });
}

void UINode::setChildren(UINodes children) {
    details_.modify([&](Details& details) { details.children.swap(children); });
}

UINode::VisibleCheckResult UINode::visibleOnScreenChecks(const QueryContainer* query,
                                                         const VisibleCheckEnvironment& environment) {
    if (Logger::shouldLog) LogFunc("in view: " + record_.path);
    if (summaryLine_) return VisibleCheckResult::none;
    if (deleteFromResultsIfMissing() && hasGone(record_.path)) return VisibleCheckResult::remove;
    if (hasLoadedAdditionalDetails_.exchange(true)) return VisibleCheckResult::none;
    bool looksDifferent = strikeThroughIfMissing(environment);
    readLabels();
    looksDifferent |= noteAlias();
    looksDifferent |= collectContentIfNeeded(query, environment);
    return looksDifferent ? VisibleCheckResult::reload : VisibleCheckResult::none;
}

// A file on a disk that is not mounted is not called missing.
bool UINode::strikeThroughIfMissing(const VisibleCheckEnvironment& environment) {
    if (!record_.strikeThroughDisplayNameIfMissing || !hasGone(record_.path)) return false;
    if (environment.volumeIsReachable && !environment.volumeIsReachable(record_)) return false;
    displayStrikeThroughText_ = true;
    return true;
}

void UINode::readLabels() {
    auto labels = readTags(record_.path);
    details_.modify([&](Details& details) {
        if (details.labels.empty()) details.labels.swap(labels);
    });
}

// A symbolic link. Sockets and the like are no plain files either, but there is nothing else behind them.
bool UINode::noteAlias() {
    FileAttributes itself, target;
    if (readAttributes(record_.path, false, itself) != 0 || itself.type != EntryType::other) return false;
    if (readAttributes(record_.path, true, target) == 0 && target.type == EntryType::other) return false;
    displayedKind_ = &KindTexts::alias();
    return true;
}

bool UINode::collectContentIfNeeded(const QueryContainer* query, const VisibleCheckEnvironment& environment) {
    if (!query || !tryCollectSummaryLines_) return false;
    SearchResult record = suppliedSearchResult();
    const bool isCollected = record.content && !record.content->summaryLines.empty();
    if (!isCollected && environment.collectSummary) {
        record.content = environment.collectSummary(record, *query, environment.isStopped);
    }
    tryCollectSummaryLines_ = false;
    if (!record.content || record.content->summaryLines.empty()) return false;
    takeFindings(std::move(record.content));
    return true;
}

// The words that were found are what the lines are marked with.
void UINode::takeFindings(std::shared_ptr<const ContentFindings> findings) {
    if (findings->summaryLines.empty()) return;
    std::vector<std::string> words;
    for (const auto& found : findings->contentSearchResults)
        words.push_back(found.first);
    const auto marked = std::make_shared<const std::vector<std::string>>(std::move(words));
    UINodes rows;
    rows.reserve(findings->summaryLines.size());
    for (const std::string& line : findings->summaryLines)
        rows.push_back(std::make_shared<UINode>(line, marked, UINodeEnvironment{kinds_, clock_}));
    kind_ = Kind::fileWithContentSummary;
    details_.modify([&](Details& details) {
        details.findings.swap(findings);
        details.children.swap(rows);
    });
}

}  // namespace kestrix
