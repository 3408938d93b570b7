// The filter of the container against a slow and simple one, on random lines and names.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "tests/language/language_fixture.h"

namespace kestrix {
namespace {

// A word of the line as the twin knows it, without having to read the line.
struct Typed {
    std::string written;
    std::string text;
    enum Kind { word, prefix, suffix, excluded, operatorOR } kind = word;
};

const std::vector<Typed> kTyped = {
    {"a", "a"},
    {"B", "B"},
    {"ab", "ab"},
    {"Ba", "Ba"},
    {"é", "é"},
    {"E\u0301", "É"},
    {"\"a b\"", "a b"},
    {"\"OR\"", "OR"},
    {"or", "or"},
    {"OR", "OR", Typed::operatorOR},
    {"OR", "OR", Typed::operatorOR},
    {"a*", "a", Typed::prefix},
    {"B*", "B", Typed::prefix},
    {"*b", "b", Typed::suffix},
    {"*é", "é", Typed::suffix},
    {"-ab", "ab", Typed::excluded},
    {"-É", "É", Typed::excluded},
    {"-", "", Typed::excluded},
};
const std::vector<std::string> kNamePieces = {"a",       "A",       "b", "B", "é",  "É",
                                              "e\u0301", "E\u0301", " ", ".", "or", "OR"};

class Twin {
  public:
    std::vector<Typed> line;
    bool caseSensitive = false;
    bool wholeWords = false;

    bool passes(const std::string& name) const {
        const bool commandsHold = !isExcluded(name) && wildcardsFit(name);
        const bool isORCommand = !line.empty() && line.back().kind == Typed::operatorOR;
        return isORCommand ? wordsMatch(name) || commandsHold : wordsMatch(name) && commandsHold;
    }

  private:
    static std::string composed(std::string text) {
        const std::pair<std::string, std::string> forms[] = {{"e\u0301", "é"}, {"E\u0301", "É"}};
        for (const auto& [from, to] : forms)
            for (std::size_t at; (at = text.find(from)) != std::string::npos;)
                text.replace(at, from.size(), to);
        return text;
    }
    static std::string lower(std::string text) {
        text = composed(text);
        for (std::size_t at; (at = text.find("É")) != std::string::npos;)
            text.replace(at, 2, "é");
        for (char& byte : text)
            byte = byte >= 'A' && byte <= 'Z' ? byte + 32 : byte;
        return text;
    }
    static bool holds(const std::string& text, const std::string& part) {
        return text.find(part) != std::string::npos;
    }
    static Texts pieces(const std::string& text, const std::string& separators) {
        Texts found{""};
        for (const char byte : text) {
            if (holds(separators, std::string(1, byte)))
                found.emplace_back();
            else
                found.back() += byte;
        }
        return found;
    }

    bool wordMatches(const std::string& name, const Typed& typed) const {
        const auto fold = caseSensitive ? composed : lower;
        if (!wholeWords) return holds(fold(name), fold(typed.text));
        const auto all = pieces(fold(name), " .");
        return std::count(all.begin(), all.end(), fold(typed.text)) > 0;
    }
    bool wordsMatch(const std::string& name) const {
        bool anyOperator = false, anyGroup = false, all = true, group = true, groupIsEmpty = true;
        for (const auto& typed : line) {
            if (typed.kind == Typed::excluded) continue;
            if (typed.kind == Typed::operatorOR) {
                anyOperator = true;
                anyGroup |= group && !groupIsEmpty;
                group = groupIsEmpty = true;
                continue;
            }
            groupIsEmpty = false;
            group &= wordMatches(name, typed);
            all &= wordMatches(name, typed);
        }
        return anyOperator ? anyGroup || (group && !groupIsEmpty) : all;
    }
    bool isExcluded(const std::string& name) const {
        return std::any_of(line.begin(), line.end(), [&](const Typed& typed) {
            return typed.kind == Typed::excluded && !typed.text.empty() &&
                   holds(lower(name), lower(typed.text));
        });
    }
    bool wildcardsFit(const std::string& name) const {
        const auto prefixes =
            std::count_if(line.begin(), line.end(), [](auto& t) { return t.kind == Typed::prefix; });
        const auto suffixes =
            std::count_if(line.begin(), line.end(), [](auto& t) { return t.kind == Typed::suffix; });
        for (const auto& typed : line) {
            const std::string text = lower(typed.text);
            if (typed.kind == Typed::prefix && prefixes == 1 && !lower(name).starts_with(text)) return false;
            if (typed.kind == Typed::suffix && suffixes == 1 && !lower(name).ends_with(text)) return false;
            for (const auto& piece : pieces(lower(name), " ")) {
                if (!holds(piece, text)) continue;
                if (typed.kind == Typed::prefix && !piece.starts_with(text)) return false;
                if (typed.kind == Typed::suffix && !piece.ends_with(text)) return false;
            }
        }
        return true;
    }
};

class QueryFilterTwinTest : public LanguageWorld {
  protected:
    std::size_t below(std::size_t limit) { return random() % limit; }
    std::string randomName() {
        std::string name;
        for (std::size_t n = 1 + below(7); n > 0; --n)
            name += kNamePieces[below(kNamePieces.size())];
        return name;
    }

    std::mt19937 random{20240607};
};

TEST_F(QueryFilterTwinTest, BothJudgeRandomNamesAlike) {
    int passed = 0;
    for (int round = 0; round < 4000; ++round) {
        Twin twin;
        std::string line;
        for (std::size_t n = below(5); n > 0; --n) {
            twin.line.push_back(kTyped[below(kTyped.size())]);
            line += twin.line.back().written + " ";
        }
        line += ":";
        if ((twin.caseSensitive = below(4) == 0)) line += " case sensitive";
        if ((twin.wholeWords = below(4) == 0)) line += " whole words";
        const auto container = query(line);
        for (int i = 0; i < 20; ++i) {
            const std::string name = randomName();
            const bool expected = twin.passes(name);
            passed += expected;
            ASSERT_EQ(passes(container, "/x/" + name), expected) << line << "\n" << name;
        }
    }
    // The lines are of use only if neither answer is rare.
    EXPECT_GT(passed, 8000);
    EXPECT_LT(passed, 72000);
}

}  // namespace
}  // namespace kestrix
