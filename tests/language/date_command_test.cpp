// The expected ranges in date_cases.inc come from another calendar: see make_date_cases.py.
#include "language/commands/date_command.h"

#include <unicode/uloc.h>

#include <cstdlib>
#include <nlohmann/json.hpp>
#include <thread>

#include "tests/language/language_fixture.h"
#include "tests/language/vocabulary_fixture.h"

namespace kestrix {
namespace {

struct DateCases {
    const char* zone;
    const char* locale;
    std::int64_t now;
    std::vector<std::pair<std::string, NumberRange>> answers;
};

const std::vector<DateCases>& allCases() {
    static const std::vector<DateCases> kCases = {
#include "tests/language/date_cases.inc"
    };
    return kCases;
}

// A zone and a locale for one test.
class Place {
  public:
    Place(const char* zone, const char* locale) {
        setenv("TZ", zone, 1);
        UErrorCode status = U_ZERO_ERROR;
        uloc_setDefault(locale, &status);
    }
    ~Place() {
        setenv("TZ", "UTC", 1);
        UErrorCode status = U_ZERO_ERROR;
        uloc_setDefault("en_US", &status);
    }
};

class DateCommandTest : public LanguageWorld {
  protected:
    std::shared_ptr<DateCommand> read(const std::string& line) {
        return std::dynamic_pointer_cast<DateCommand>(onlyCommand(sentences, line));
    }
    NumberRange rangeOf(const std::string& line) {
        const auto command = read(line);
        EXPECT_TRUE(command) << line;
        return command ? command->when().timeIntervalDateRange(clock) : NumberRange{};
    }
    void setNow(std::int64_t seconds) { clock.setWallTime(wallTime(seconds)); }
    bool accepts(DateCommand& command, std::int64_t modified, std::int64_t created) {
        SearchResult result = resultAt("/a");
        result.modDate = modified;
        result.creationDate = created;
        const auto answer = command.commandImpApply(result, nullptr, query(""));
        return answer == CommandApplyResult::accept;
    }

    ManualClock clock;
    LanguageParse sentences = realLanguage(clock);
};

TEST_F(DateCommandTest, EverySentenceMeansWhatAnotherCalendarSays) {
    for (const auto& cases : allCases()) {
        const Place place(cases.zone, cases.locale);
        setNow(cases.now);
        for (const auto& [line, range] : cases.answers)
            EXPECT_EQ(rangeOf(line), range) << line << " at " << cases.now << " in " << cases.zone << ": "
                                            << rangeOf(line).lowerBound << ' ' << rangeOf(line).upperBound
                                            << " and not " << range.lowerBound << ' ' << range.upperBound;
    }
}

TEST_F(DateCommandTest, ItsTextIsReadAsTheSameCommand) {
    for (const auto& cases : allCases()) {
        const Place place(cases.zone, cases.locale);
        setNow(cases.now);
        for (const auto& [line, range] : cases.answers) {
            const auto command = read(line);
            const auto again = read(command->commandToString());
            ASSERT_TRUE(again) << line << ": " << command->commandToString();
            EXPECT_EQ(rangeOf(command->commandToString()), range) << command->commandToString();
            EXPECT_EQ(again->what(), command->what());
            EXPECT_EQ(again->commandToString(), command->commandToString());
        }
    }
}

TEST_F(DateCommandTest, AHourThatComesTwiceIsToldInGreenwichTime) {
    const Place place("Europe/Berlin", "de_DE");
    constexpr std::int64_t kSecondHalfPastTwo = 1477791000;  // 30 October 2016, winter time already
    for (const std::int64_t moment : {kSecondHalfPastTwo - 3600, kSecondHalfPastTwo}) {
        const auto text =
            DateCommand(clock, DateCommandWhen::day(moment), DateCommandWhat::creationDate).commandToString();
        EXPECT_EQ(rangeOf(text).lowerBound, moment) << text;
    }
}

TEST_F(DateCommandTest, TheLowerEndIsInAndTheUpperEndIsOut) {
    DateCommand modified(clock, DateCommandWhen::range({100, 200}), DateCommandWhat::modificationDate);
    EXPECT_TRUE(accepts(modified, 100, 0));
    EXPECT_TRUE(accepts(modified, 199, 0));
    EXPECT_FALSE(accepts(modified, 99, 150));
    EXPECT_FALSE(accepts(modified, 200, 150));
    DateCommand created(clock, DateCommandWhen::range({100, 200}), DateCommandWhat::creationDate);
    EXPECT_TRUE(accepts(created, 0, 150));
    DateCommand accessed(clock, DateCommandWhen::range({100, 200}), DateCommandWhat::accessDate);
    EXPECT_FALSE(accepts(accessed, 150, 150));

    QuerySearchArguments arguments;
    accessed.commandImpQuerySearchArguments(arguments);
    EXPECT_FALSE(arguments.modificationDate || arguments.creationDate);
    created.commandImpQuerySearchArguments(arguments);
    EXPECT_EQ(arguments.creationDate, (NumberRange{100, 200}));
    EXPECT_FALSE(arguments.modificationDate);
}

TEST_F(DateCommandTest, RecentMovesOnWithTheClock) {
    setNow(1'000'000);
    const auto recent = read("modified recent");
    EXPECT_TRUE(accepts(*recent, 1'000'000 - 3600, 0));
    clock.advance(Seconds(1));
    EXPECT_FALSE(accepts(*recent, 1'000'000 - 3600, 0));
    const DateCommandWhen now{.when = WhenType::now, .specificDay = {}, .dateRange = {}};
    EXPECT_EQ(now.timeIntervalDateRange(clock), (NumberRange{1'000'001 - 60, 1'000'001}));
    const auto fields = recent->explainedFields();
    EXPECT_EQ(fields, (nlohmann::json{{"when", "recent"},
                                      {"range", {1'000'001 - 3600, 1'000'001}},
                                      {"what", "modificationDate"}}));
}

TEST_F(DateCommandTest, ThereIsNoCommandWhereTheCalendarHasNoSuchTime) {
    const Place place("Europe/Berlin", "de_DE");
    setNow(1'453'000'000);  // January 2016
    for (const std::string line :
         {"on 31 february", "on 30 feb", "modified february 30 2016", "on 29 february 2015", "2012 to 2010",
          "in 2012 to 2010", "from march 2014 to march 2012", "from february 30 to may", "last -3 days"})
        EXPECT_EQ(read(line), nullptr) << line;
    EXPECT_EQ(read("on 29 february"), nullptr);  // last year had none, and this year's lies ahead
    setNow(1'457'000'000);                       // March 2016
    EXPECT_TRUE(read("on 29 february"));
}

TEST_F(DateCommandTest, WhatLiesAheadFindsNothing) {
    const Place place("Europe/Berlin", "de_DE");
    setNow(1'453'000'000);
    for (const std::string line : {"after 2030-01-01", "since tomorrow", "since 2030", "before 1960-01-01"}) {
        const NumberRange range = rangeOf(line);
        EXPECT_EQ(range.lowerBound, range.upperBound) << line;
    }
    EXPECT_EQ(rangeOf("before 2017").upperBound, 1483225200);  // all that this year brought
}

TEST_F(DateCommandTest, EachThreadHasACalendarOfItsOwn) {
    const Place place("America/New_York", "en_US");
    setNow(1'456'756'200);
    const auto today = read("today");
    const NumberRange expected = today->when().timeIntervalDateRange(clock);
    std::vector<std::thread> threads;
    std::atomic<int> wrong = 0;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int turn = 0; turn < 200; ++turn)
                if (today->when().timeIntervalDateRange(clock) != expected ||
                    !onlyCommand(sentences, "in march"))
                    ++wrong;
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace kestrix
