#include "index/word_container.h"

#include <algorithm>
#include <utility>

#include "base/bytes.h"

namespace kestrix {

namespace {

std::uint16_t clamped(std::uint64_t ocurrences) {
    return static_cast<std::uint16_t>(std::min<std::uint64_t>(ocurrences, WordContainer::kMostOccurrences));
}

// A field behind its length.
std::optional<std::string_view> field(std::string_view bytes, std::size_t& at) {
    const auto length = safeValueAndIncrement<std::uint32_t>(bytes, at);
    if (!length) return std::nullopt;
    const auto found = subdata_safe(bytes, at, at + *length);
    if (found) at += *length;
    return found;
}

void appendField(std::string& bytes, std::string_view content) {
    appendValue(bytes, static_cast<std::uint32_t>(content.size()));
    bytes.append(content);
}

bool isDead(FSItemID document, const DeadDocuments& dead) {
    return document < dead.size() && dead[document];
}

// Where the list of documents in a container ends.
struct ListEnd {
    FSItemID last = kNoParent;  // the last document
    std::size_t documents = 0;
    std::size_t lastRun = 0;  // where it begins
};

std::uint64_t bigEndianAt(std::string_view bytes, std::size_t at, std::size_t width) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < width; ++i)
        value = value << 8 | static_cast<unsigned char>(bytes[at + i]);
    return value;
}

// Nothing for the short forms of a list, for one that is damaged, and for one that holds a removed document.
std::optional<ListEnd> endOfRuns(std::string_view runs, const DeadDocuments& dead) {
    if (runs.size() < 3) return std::nullopt;
    ListEnd end;
    std::uint64_t sum = 0;
    for (std::size_t at = 0; at < runs.size();) {
        if (runs.size() - at < 3) return std::nullopt;
        const std::size_t width = static_cast<unsigned char>(runs[at]);
        const std::size_t count = static_cast<unsigned char>(runs[at + 1]);
        end.lastRun = at;
        at += 2;
        if (width < 1 || width > 4 || count == 0 || runs.size() - at < width * count) return std::nullopt;
        for (std::size_t i = 0; i < count; ++i, at += width) {
            const std::uint64_t difference = bigEndianAt(runs, at, width);
            sum += difference;
            if (difference == 0 || sum > kLastUsableID) return std::nullopt;
            if (isDead(static_cast<FSItemID>(sum), dead)) return std::nullopt;
        }
        end.documents += count;
    }
    end.last = static_cast<FSItemID>(sum);
    return end;
}

bool ascendsBehind(FSItemID last, std::span<const WordCount> added) {
    for (const WordCount& count : added) {
        if (count.document <= last) return false;
        last = count.document;
    }
    return true;
}

// The last run takes what fits it, as it would have if all had been packed at once.
std::string appendedList(std::string_view runs, const ListEnd& end, std::span<const WordCount> added) {
    std::string list(runs);
    std::size_t run = end.lastRun;
    FSItemID last = end.last;
    const auto byteAt = [&list](std::size_t at) { return static_cast<unsigned char>(list[at]); };
    for (const WordCount& count : added) {
        const std::uint32_t difference = count.document - last;
        last = count.document;
        std::size_t width = std::min<std::size_t>(byteAt(run), sizeof difference);
        if (byteAt(run + 1) == 255 || (width < 4 && difference >> (8 * width) != 0)) {
            run = list.size();
            width = difference < 0x100 ? 1 : difference < 0x10000 ? 2 : difference < 0x1000000 ? 3 : 4;
            list.push_back(static_cast<char>(width));
            list.push_back(0);
        }
        list[run + 1] = static_cast<char>(byteAt(run + 1) + 1);
        for (std::size_t shift = 8 * width; shift != 0; shift -= 8)
            list.push_back(static_cast<char>(difference >> (shift - 8)));
    }
    return list;
}

std::optional<std::string> appendedContainer(std::string_view stored, std::span<const WordCount> added,
                                             const DeadDocuments& dead) {
    std::size_t at = 0;
    const auto documents = field(stored, at);
    const auto counts = documents ? field(stored, at) : std::nullopt;
    if (!counts) return std::nullopt;
    const auto end = endOfRuns(*documents, dead);
    if (!end || counts->size() != 2 * end->documents || !ascendsBehind(end->last, added)) return std::nullopt;
    std::string longerCounts(*counts);
    for (const WordCount& count : added)
        appendValue(longerCounts, clamped(std::uint64_t{count.ocurrences} + 1));
    std::string bytes;
    appendField(bytes, appendedList(*documents, *end, added));
    appendField(bytes, longerCounts);
    return bytes;
}

// A word that no document of the catalog has held before.
std::string newContainer(std::span<const WordCount> added) {
    std::vector<FSItemID> documents;
    std::string counts;
    for (const WordCount& count : added) {
        const std::uint64_t more = documents.empty() ? 0 : 1;
        appendValue(counts, clamped(count.ocurrences + more));
        documents.push_back(count.document);
    }
    std::string bytes;
    appendField(bytes, packChildList(documents));
    appendField(bytes, counts);
    return bytes;
}

}  // namespace

std::string extendedWordContainer(std::optional<std::string_view> stored, std::span<const WordCount> added,
                                  const DeadDocuments& dead) {
    if (stored) {
        if (auto bytes = appendedContainer(*stored, added, dead)) return *std::move(bytes);
    } else if (ascendsBehind(kNoParent, added)) {
        return newContainer(added);
    }
    WordContainer container = stored ? WordContainer::fromData("", std::string(*stored))
                                     : WordContainer("", added.front().document, added.front().ocurrences);
    for (const WordCount& count : stored ? added : added.subspan(1))
        container.add(count.document, count.ocurrences);
    const auto documents = container.documentIDs();
    for (const auto& [document, count] : documents)
        if (isDead(document, dead)) container.remove(document);
    return container.dataToStore();
}

std::optional<WordContainerLists> listsOfWordContainer(std::string_view bytes) {
    std::size_t at = 0;
    const auto documents = field(bytes, at);
    const auto counts = documents ? field(bytes, at) : std::nullopt;
    if (!counts) return std::nullopt;
    WordContainerLists lists{.documents = unpackChildList(*documents), .counts = {}};
    for (std::size_t place = 0; const auto count = safeValueAndIncrement<std::uint16_t>(*counts, place);)
        lists.counts.push_back(*count);
    return lists;
}

WordContainer::WordContainer(std::string word, FSItemID firstDocumentID, std::uint64_t ocurrences)
    : word_(std::move(word)), documentIDs_{{firstDocumentID, clamped(ocurrences)}} {}

WordContainer WordContainer::fromData(std::string word, std::string loadedData) {
    WordContainer container(std::move(word));
    container.loadedData_ = std::move(loadedData);
    return container;
}

void WordContainer::load() {
    if (!loadedData_) return;
    const auto lists = listsOfWordContainer(*std::exchange(loadedData_, std::nullopt));
    if (!lists) return;
    const std::size_t pairs = std::min(lists->documents.size(), lists->counts.size());
    for (std::size_t i = 0; i < pairs; ++i)
        documentIDs_.insert_or_assign(documentIDs_.end(), lists->documents[i], lists->counts[i]);
}

void WordContainer::add(FSItemID fileID, std::uint64_t ocurrences) {
    load();
    const std::uint64_t added = clamped(ocurrences);
    const auto found = documentIDs_.find(fileID);
    if (found == documentIDs_.end()) {
        documentIDs_.emplace(fileID, clamped(added + 1));
    } else {
        found->second = clamped(found->second + added);
    }
}

void WordContainer::remove(FSItemID fileID) {
    load();
    documentIDs_.erase(fileID);
}

const WordContainer::DocumentIDs& WordContainer::documentIDs() {
    load();
    return documentIDs_;
}

std::string WordContainer::dataToStore() {
    load();
    std::vector<FSItemID> documents;
    std::string counts;
    for (const auto& [document, count] : documentIDs_) {
        documents.push_back(document);
        appendValue(counts, count);
    }
    std::string bytes;
    appendField(bytes, packChildList(documents));
    appendField(bytes, counts);
    return bytes;
}

}  // namespace kestrix
