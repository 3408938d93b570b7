// What the words of a catalog tell of a content search.
//
// A catalog holds the words of a document and not their places, in lower case and without punctuation at both
// ends. So a single word is answered for certain, and of everything else - several words in a row, text with
// punctuation at its ends, whole words, a search that heeds case - it is told which documents may hold it:
// the caller reads these.
//
// A piece that is no word of a catalog, because it is longer than 32 characters or nothing but punctuation or
// accents, rules no document out. Where a question has no other pieces, every document may match; while they
// cannot be read, none is given. A document whose longer words alone hold a sought word is not told of.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/text_finder.h"
#include "index/lmdb/simple_lmdb.h"
#include "index/records.h"

namespace kestrix {

// Whether a stored word can be the one that holds a piece of a sought text. Accents and case do not matter.
// Immutable.
class WordPattern {
  public:
    // Where in the stored word the piece stands: the piece of a single word anywhere, the first of several at
    // the end, the last at the beginning, and others are the whole of it.
    enum class Place { anywhere, end, beginning, whole };

    // `bounded`: as a whole word, with punctuation or the end on both sides.
    WordPattern(std::string_view piece, Place place, bool bounded);
    bool matches(std::string_view storedWord) const;

  private:
    bool standsAtEnd(std::string_view storedWord) const;

    text::TextFinder finder_;
    Place place_;
    bool bounded_;
};

struct ContentQuestion {
    std::vector<std::string> forWords;  // sought texts; each may be several words
    std::vector<std::string> excludingWords{};
    bool wholeWords = false;
    bool allWords = false;  // a document must hold all of forWords, not only one
    bool doubted = false;   // the words are no proof, whatever they say
};

struct ContentHit {
    FSItemID document = kNoParent;
    std::int64_t rank = 0;   // occurrences of what was sought, as they were counted
    bool isCertain = false;  // needs no reading
    bool isLikely = true;    // to be given as found where the document cannot be read
};

struct ContentAnswer {
    std::vector<ContentHit> hits;  // by document, ascending
    bool isOpen = false;           // the words rule nothing out: any document may match
};

// One pass over the words of an open catalog. Ends early, with what was found, when `shouldStop` answers
// true. Throws LMDBError. Any thread.
ContentAnswer searchContent(const SimpleLMDB& db, const ContentQuestion& question,
                            const std::function<bool()>& shouldStop);

}  // namespace kestrix
