#include "language/vocabulary.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <set>

#include "base/error.h"
#include "tests/language/language_fixture.h"
#include "tests/language/vocabulary_fixture.h"

namespace kestrix {
namespace {

std::string described(const std::any& value) {
    if (const auto* word = std::any_cast<SentenceComponent>(&value)) return word->textOriginalCase;
    if (const auto* text = std::any_cast<std::string>(&value)) return *text;
    if (const auto* number = std::any_cast<int>(&value)) return std::to_string(*number);
    if (const auto* unit = std::any_cast<CalendarUnit>(&value)) return fmt::format("u{}", int(*unit));
    if (const auto* what = std::any_cast<DateCommandWhat>(&value)) return fmt::format("w{}", int(*what));
    if (const auto* when = std::any_cast<DateCommandWhen>(&value)) return when->toString();
    if (const auto* size = std::any_cast<FileSizeArgs>(&value))
        return fmt::format("{}x{}", size->value, int(size->units));
    if (const auto* flags = std::any_cast<std::vector<std::string>>(&value)) {
        std::string all = "flags";
        for (const auto& flag : *flags)
            all += ',' + flag;
        return all;
    }
    std::string all = "words";
    for (const auto& word : std::any_cast<SentenceComponents>(value))
        all += ',' + word.textOriginalCase;
    return all;
}

// Makes every command of the language: a clause that says which, and of what.
class SayingFactory : public CommandFactory {
  public:
    std::vector<std::string> commandNames() const override { return knownCommandNames(); }
    std::shared_ptr<Command> create(const std::string& name, const CommandArguments& args,
                                    const CommandFlags& flags) const override {
        std::string text = name;
        for (const auto& value : args) {
            const auto* flagsTyped = std::any_cast<std::vector<std::string>>(&value);
            if (!flagsTyped || !flagsTyped->empty()) text += ' ' + described(value);
        }
        for (const auto& [key, value] : flags)
            text += ' ' + key + '=' + value;
        return std::make_shared<Clause>(text);
    }
};

LanguageParse sayingLanguage(std::string_view sentences) {
    return LanguageParse(makeVocabulary(sentences, {std::make_shared<SayingFactory>()}, sampleLookups()));
}

class VocabularyTest : public LanguageWorld {
  protected:
    // The commands that a line gives, each with the words it took.
    std::vector<std::string> read(const std::string& line) const {
        std::vector<std::string> list;
        for (const auto& command : saying.allMatches(SentenceComponent::parseWords(line)).commands) {
            list.push_back(command->commandToString());
            for (const auto& word : command->commandConsumedParts)
                list.back() += '|' + word.textOriginalCase;
        }
        return list;
    }

    // The template as a person would type it; the second of two equal variables gets another value.
    static std::string typed(const SentenceTemplate& sentence, bool withDateType = true) {
        static const std::map<std::string, std::vector<std::string>> kSamples = {
            {"~string", {"animals"}},
            {"~uti", {"image"}},
            {"~remembered", {"desk"}},
            {"~month", {"march", "may"}},
            {"~year", {"2010", "2012"}},
            {"~day", {"5"}},
            {"~timeUnit", {"weeks"}},
            {"~formattedDate", {"2016-03-05", "2016-04-06"}},
            {"~fixedNamedTimeRange", {"yesterday"}},
            {"~file size", {"ten mb"}},
            {"~extension", {".txt"}},
            {"~dateType", {"created"}},
            {"~integer", {"3"}},
            {"~regexVariable", {"^a+"}},
            {"~scriptName", {"tidy up"}},
            {"~contentSearchFlags", {"all words"}},
            {"~withoutText", {"without blue"}},
            {"~varArg", {"one two"}}};
        std::map<std::string, std::size_t> used;
        std::string line;
        for (const auto& word : sentence.words) {
            const auto samples = kSamples.find(word.substr(0, word.find('/')));
            if (word == "~dateType" && !withDateType) continue;
            if (!line.empty()) line += ' ';
            line += samples == kSamples.end()
                        ? word
                        : samples->second.at(std::min(used[word]++, samples->second.size() - 1));
        }
        return line;
    }

    LanguageParse saying = sayingLanguage(shippedSentences());
};

TEST_F(VocabularyTest, EveryCommandHasASentence) {
    std::set<std::string> missing(knownCommandNames().begin(), knownCommandNames().end());
    EXPECT_EQ(missing.size(), 56u);
    for (const auto& sentence : saying.sentences())
        missing.erase(sentence.command);
    EXPECT_EQ(missing, std::set<std::string>());
}

TEST_F(VocabularyTest, EverySentenceAloneIsOneCommandThatTakesAllItsWords) {
    for (const auto& sentence : saying.sentences()) {
        for (const bool withDateType : {true, false}) {
            const std::string line = typed(sentence, withDateType);
            const auto command = onlyCommand(saying, line);
            ASSERT_TRUE(command) << line;
            EXPECT_EQ(command->commandToString().substr(0, sentence.command.size()), sentence.command)
                << line;
        }
    }
}

// Two exceptions lie in what the sentences say: a script's words go on to the end of the line, and "whole
// words" behind a content search is meant for it.
TEST_F(VocabularyTest, AnyTwoSentencesFollowEachOtherAndStayWhatTheyAre) {
    struct Line {
        std::string text;
        std::string read;
        bool takesAll;
        bool endsInFlags;
    };
    std::vector<Line> lines;
    for (const auto& sentence : saying.sentences()) {
        for (const bool withDateType : {true, false}) {
            if (!withDateType && sentence.words.front() != "~dateType") continue;
            const std::string line = typed(sentence, withDateType);
            lines.push_back({line, read(line).at(0), sentence.words.back() == "~varArg",
                             sentence.command == "textContent"});
        }
        if (sentence.command != "textContent") continue;
        const std::string line = typed(sentence);
        const std::string bare = line.substr(0, line.rfind(" all words"));
        lines.push_back({bare, read(bare).at(0), false, true});
    }
    int wrong = 0;
    for (const auto& first : lines) {
        for (const auto& second : lines) {
            if (first.takesAll || (first.endsInFlags && second.text == "whole words")) continue;
            const auto both = read(first.text + ' ' + second.text);
            const bool isRight = both == std::vector{first.read, second.read};
            if (!isRight && ++wrong < 20)
                ADD_FAILURE() << first.text << " + " << second.text << ": " << ::testing::PrintToString(both);
        }
    }
    EXPECT_EQ(wrong, 0) << "of " << lines.size() * lines.size();
}

TEST_F(VocabularyTest, SentencesMeanWhatAPersonWouldSayWithThem) {
    const std::vector<std::pair<std::string, std::vector<std::string>>> cases = {
        {"today is audio", {"specificDateRange w0 today|today", "uti audio|is|audio"}},
        {"is video", {"uti video|is|video"}},
        {"content \"yearly total\"", {"textContent yearly total|content|yearly total"}},
        {"content red without blue all words",
         {"textContent red blue flags,allWords without=1|content|red|without|blue|all|words"}},
        {"content red without tag blue",
         {"textContent red|content|red", "labelExcluding blue|without|tag|blue"}},
        {"modified in 2016", {"year w0 2016|modified|in|2016"}},
        {"inside recipies", {"inside recipies|inside|recipies"}},
        {"image is \"candle\"", {"ImageVision candle|image|is|candle"}},
        {"bigger than 10mb", {"filesBiggerThan 10x2|bigger|than|10mb"}},
        {"tag red", {"label red|tag|red"}},
        {"is image inside animals", {"uti image|is|image", "inside animals|inside|animals"}},
        {"is file is folder", {"isFile|is|file", "isFolder|is|folder"}},
        {"is fol", {"uti fol|is|fol"}},
        {"is vide", {}},
        {"bigger than 0", {}},
        {"made last three days", {"lastNDateUnit w1 3 u2|made|last|three|days"}},
        {"max depth \"twenty one\"", {"maxDepth 21|max|depth|twenty one"}},
        {"name longer than 2.5", {}},
        {"remembered Desk", {"remembered /home/desk|remembered|Desk"}},
        {"remembered nowhere", {}},
        {"run tidy", {"scriptCommand /s/tidy|run|tidy"}},
        {"run Tidy up is image", {"scriptCommand /s/tidy up|run|Tidy|up", "uti image|is|image"}},
        {"run \"tidy up\" using a is b", {"scriptCommand /s/tidy up words,a,is,b|run|tidy up|using|a|is|b"}},
        {"foo is image bar .M4V", {"uti image|is|image", "extension m4v|.M4V"}},
        {"in 1969 on 32 march", {}},
    };
    for (const auto& [line, commands] : cases)
        EXPECT_EQ(read(line), commands) << line;
}

TEST_F(VocabularyTest, CompletorsOfferTheFirstLongerWord) {
    const auto completed = [this](const std::string& completor, const std::string& line) {
        return saying.vocabulary().variableCompletors.at(completor)(SentenceComponent::parseWords(line));
    };
    EXPECT_EQ(completed("~utiCompletor", "vid"), "video");
    EXPECT_EQ(completed("~utiCompletor", "video"), std::nullopt);
    EXPECT_EQ(completed("~utiCompletor", ""), std::nullopt);
    EXPECT_EQ(completed("~month", "J"), "january");
    EXPECT_EQ(completed("~tagCompletor", "re"), "Red");
    EXPECT_EQ(completed("~remembered", "d"), "desk");
    EXPECT_EQ(completed("~scriptName", "tidy"), "Tidy up");
    EXPECT_EQ(completed("~scriptName", "x"), std::nullopt);
}

TEST_F(VocabularyTest, AFaultyFileIsRefusedByItsLine) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"is ~utj uti", "line 3: \"~utj\" is no variable"},
        {"is ~uti/~x uti", "line 3: \"~x\" is no completor"},
        {"is folder isFoldr", "line 3: \"isFoldr\" is no command"},
        {"Is folder isFolder", "line 3: the keyword \"Is\" must be in lower case"},
        {"is fold* isFolder", "line 3: \"fold\" has a star, which no template may hold"},
        {"isFolder", "line 3: the sentence has no words before its command"},
        {"   ", "line 3: a sentence template holds no words"},
    };
    for (const auto& [line, message] : cases) {
        try {
            sayingLanguage("is file isFile\n\n" + line + "\nis file isFile\n");
            ADD_FAILURE() << line;
        } catch (const Error& error) {
            EXPECT_EQ(std::string(error.what()), message);
            EXPECT_EQ(error.code(), 3);
        }
    }
}

TEST_F(VocabularyTest, AnotherFileCanTakeThePlaceOfTheShippedOne) {
    EXPECT_EQ(sentencesInForce(), shippedSentences());
    setenv("KESTRIX_SENTENCES", folder.file("mine.txt", "is small isFile\n").c_str(), 1);
    EXPECT_EQ(sentencesInForce(), "is small isFile\n");
    setenv("KESTRIX_SENTENCES", folder.path("missing.txt").c_str(), 1);
    EXPECT_THROW(sentencesInForce(), Error);
    unsetenv("KESTRIX_SENTENCES");
}

}  // namespace
}  // namespace kestrix
