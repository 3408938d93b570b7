#include "index/word_search.h"

#include <algorithm>
#include <deque>
#include <map>
#include <memory>
#include <optional>

#include "base/text.h"
#include "base/text_words.h"
#include "index/word_container.h"
#include "search/content_text.h"

namespace kestrix {

namespace {

using Counts = std::vector<std::pair<FSItemID, std::int64_t>>;

// Documents of one pattern. A document in several containers keeps the count of the last one.
class FoundDocuments {
  public:
    void add(const WordContainerLists& lists) {
        const std::size_t pairs = std::min(lists.documents.size(), lists.counts.size());
        for (std::size_t i = 0; i < pairs; ++i)
            counts_.emplace_back(lists.documents[i], lists.counts[i]);
        if (counts_.size() > 2 * tidy_ + 100'000) tidyUp();
    }
    Counts take() {
        tidyUp();
        return std::move(counts_);
    }

  private:
    void tidyUp() {
        std::ranges::reverse(counts_);
        std::ranges::stable_sort(counts_, {}, &Counts::value_type::first);
        const auto same = std::ranges::unique(counts_, {}, &Counts::value_type::first);
        counts_.erase(same.begin(), same.end());
        tidy_ = counts_.size();
    }

    Counts counts_;
    std::size_t tidy_ = 0;
};

// Accents alone, or nothing at all: a finder finds every other text in itself.
bool foldsToNothing(std::string_view text) {
    if (!text.empty() && static_cast<unsigned char>(text.front()) < 0x80) return false;
    return !text::TextFinder(text, text::TextFinder::Case::ignored).isIn(text);
}

// No stored word is the one that such a piece stands in.
bool isUnanswerable(const text::WordPiece& piece) {
    return foldsToNothing(piece.word) || text::characterCount(piece.word) > text::kLongestWord;
}

// One sought text, and what the words tell of it.
class SoughtText {
  public:
    SoughtText(const std::string& text, bool wholeWords, bool doubted) : isNowhere_(foldsToNothing(text)) {
        const auto pieces = text::wordPieces(text);
        const bool isOne = pieces.size() == 1;
        // Symbols at the ends of a word are not stored, and beside one a word is no whole one.
        isExact_ =
            isOne && !doubted && !wholeWords && !pieces[0].isTrimmed && text.size() == pieces[0].word.size();
        for (std::size_t i = 0; i < pieces.size(); ++i) {
            const text::WordPiece& piece = pieces[i];
            if (isUnanswerable(piece)) {
                isExact_ = false;
                continue;
            }
            const bool isSharp = !piece.isTrimmed;
            patterns_.emplace_back(piece.word, isSharp ? placeOf(i, pieces.size()) : Place::anywhere,
                                   wholeWords && isSharp);
        }
        found_.resize(patterns_.size());
    }

    bool isOpen() const { return patterns_.empty() && !isNowhere_; }
    bool isExact() const { return isExact_; }

    // `lists` decodes the containers of the word when it is first asked.
    void look(std::string_view word, const std::function<const WordContainerLists&()>& lists) {
        for (std::size_t i = 0; i < patterns_.size(); ++i)
            if (patterns_[i].matches(word)) found_[i].add(lists());
    }

    // Documents that hold every piece, with how often the rarest one stands there.
    Counts documents() {
        std::optional<Counts> all;
        for (FoundDocuments& found : found_) {
            Counts these = found.take();
            all = all ? inBoth(*all, these) : std::move(these);
        }
        return all.value_or(Counts());
    }

  private:
    using Place = WordPattern::Place;

    static Place placeOf(std::size_t piece, std::size_t pieces) {
        if (pieces == 1) return Place::anywhere;
        if (piece == 0) return Place::end;
        return piece + 1 == pieces ? Place::beginning : Place::whole;
    }

    static Counts inBoth(const Counts& a, const Counts& b) {
        Counts both;
        for (auto i = a.begin(), j = b.begin(); i != a.end() && j != b.end();) {
            if (i->first == j->first) {
                both.emplace_back(i->first, std::min(i->second, j->second));
                ++i, ++j;
            } else if (i->first < j->first) {
                ++i;
            } else {
                ++j;
            }
        }
        return both;
    }

    const bool isNowhere_;  // in no document
    bool isExact_ = false;
    std::deque<WordPattern> patterns_;
    std::vector<FoundDocuments> found_;
};

std::deque<SoughtText> soughtTexts(const std::vector<std::string>& texts, const ContentQuestion& question) {
    std::deque<SoughtText> sought;
    for (const std::string& text : texts)
        sought.emplace_back(text, question.wholeWords, question.doubted);
    return sought;
}

// What is known of one document.
struct SearchProgress {
    std::int64_t rank = 0;
    std::size_t matchedWords = 0;
    std::size_t certainWords = 0;
    bool isStruck = false;
    bool mayBeStruck = false;
};

class ContentScan {
  public:
    explicit ContentScan(const ContentQuestion& question)
        : question_(question),
          wanted_(soughtTexts(question.forWords, question)),
          excluded_(soughtTexts(question.excludingWords, question)) {}

    // Every document may match if no word rules one out.
    bool isOpen() const {
        const auto open = [](const SoughtText& text) { return text.isOpen(); };
        return question_.allWords ? std::ranges::all_of(wanted_, open) : std::ranges::any_of(wanted_, open);
    }

    void look(std::string_view word, std::string_view container) {
        std::optional<WordContainerLists> decoded;
        const auto lists = [&]() -> const WordContainerLists& {
            if (!decoded) decoded = listsOfWordContainer(container).value_or(WordContainerLists());
            return *decoded;
        };
        for (SoughtText& text : wanted_)
            text.look(word, lists);
        for (SoughtText& text : excluded_)
            text.look(word, lists);
    }

    std::vector<ContentHit> hits() {
        std::map<FSItemID, SearchProgress> progress;
        for (SoughtText& text : wanted_)
            for (const auto& [document, count] : text.documents())
                noteMatch(progress[document], count, text.isExact());
        bool anyMayBeStruck = false;
        for (SoughtText& text : excluded_) {
            anyMayBeStruck = anyMayBeStruck || text.isOpen();
            for (const auto& [document, count] : text.documents()) {
                const auto known = progress.find(document);
                if (known != progress.end())
                    (text.isExact() ? known->second.isStruck : known->second.mayBeStruck) = true;
            }
        }
        return judged(progress, anyMayBeStruck);
    }

  private:
    static void noteMatch(SearchProgress& document, std::int64_t count, bool isExact) {
        document.rank += count;
        ++document.matchedWords;
        if (isExact) ++document.certainWords;
    }

    std::vector<ContentHit> judged(const std::map<FSItemID, SearchProgress>& progress,
                                   bool anyMayBeStruck) const {
        const auto needed = static_cast<std::size_t>(
            std::ranges::count_if(wanted_, [](const SoughtText& text) { return !text.isOpen(); }));
        std::vector<ContentHit> hits;
        for (const auto& [document, known] : progress) {
            if (known.isStruck || (question_.allWords && known.matchedWords < needed)) continue;
            const std::size_t proofs = question_.allWords ? wanted_.size() : 1;
            const bool isCertain = known.certainWords >= proofs && !known.mayBeStruck && !anyMayBeStruck;
            hits.push_back({document, known.rank, isCertain, !known.mayBeStruck});
        }
        return hits;
    }

    const ContentQuestion& question_;
    std::deque<SoughtText> wanted_;
    std::deque<SoughtText> excluded_;
};

}  // namespace

WordPattern::WordPattern(std::string_view piece, Place place, bool bounded)
    : finder_(piece, text::TextFinder::Case::ignored), place_(place), bounded_(bounded) {}

bool WordPattern::matches(std::string_view storedWord) const {
    text::TextFinder::Occurrences occurrences(finder_, storedWord);
    auto found = occurrences.next();
    if (!found) return false;
    // Accents in front belong to the space before the word.
    const auto isAtBeginning = [&](const text::Stretch& stretch) {
        return stretch.start == 0 || foldsToNothing(storedWord.substr(0, stretch.start));
    };
    const auto isBounded = [&](const text::Stretch& stretch) {
        return !bounded_ || isWholeWord({stretch.start, stretch.end - stretch.start}, storedWord);
    };
    switch (place_) {
        case Place::whole:
            return isAtBeginning(*found) && found->end == storedWord.size();
        case Place::beginning:
            return isAtBeginning(*found) && isBounded(*found);
        case Place::end:
            return standsAtEnd(storedWord);
        case Place::anywhere:
            break;
    }
    while (found && !isBounded(*found))
        found = occurrences.next();
    return found.has_value();
}

// Occurrences may overlap here: "aaa" ends with "aa".
bool WordPattern::standsAtEnd(std::string_view storedWord) const {
    for (std::size_t from = 0; from < storedWord.size();) {
        const auto found = text::TextFinder::Occurrences(finder_, storedWord.substr(from)).next();
        if (!found) return false;
        const std::size_t start = from + found->start;
        if (from + found->end == storedWord.size())
            return !bounded_ || isWholeWord({start, storedWord.size() - start}, storedWord);
        from = start;
        text::decode(storedWord, from);
    }
    return false;
}

ContentAnswer searchContent(const SimpleLMDB& db, const ContentQuestion& question,
                            const std::function<bool()>& shouldStop) {
    ContentScan scan(question);
    if (scan.isOpen()) return {{}, true};
    db.scan(
        "W", SimpleLMDB::kBatchSize,
        [&scan](std::string_view key, std::string_view value) {
            scan.look(key.substr(1), value);
            return true;
        },
        [&shouldStop] { return !shouldStop(); });
    return {scan.hits(), false};
}

}  // namespace kestrix
