#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <future>
#include <thread>

#include "import/import_failure.h"
#include "import/import_text_tools_xpc.h"
#include "platform/system_info.h"
#include "tests/support/temporary_folder.h"

namespace kestrix {
namespace {

using SteadyClock = std::chrono::steady_clock;

// Documents are named .pdf and hold what the faulty helper is to do.
class ImportLinkTest : public testing::Test {
  protected:
    std::string document(std::string_view order, std::string_view name = "order.pdf") const {
        return folder_.file(name, order);
    }
    ImportedText textOf(const std::string& path, const ImportProgress& progress = {}) {
        return link_.textFromFile(path, false, false, kNoLengthLimit, progress);
    }
    std::string textOfOrder(std::string_view order) {
        return textOf(document(order, "other.pdf")).text.value_or("none");
    }
    int helperNow() { return std::stoi(textOfOrder("pid")); }

    static void expectFailure(const ImportedText& result, ImportFailure failure, std::string_view words) {
        ASSERT_TRUE(result.error);
        EXPECT_EQ(result.error->domain(), kImportDomain) << result.error->what();
        EXPECT_EQ(result.error->code(), static_cast<int>(failure)) << result.error->what();
        EXPECT_NE(std::string_view(result.error->what()).find(words), std::string_view::npos)
            << result.error->what();
        EXPECT_FALSE(result.text);
    }

    TemporaryFolder folder_;
    FileTypes types_;
    ImportTextTools tools_{types_};
    ManualClock clock_;
    // Silence of this length is a hang; a crash on a busy machine is told well before.
    ImportLimits limits_{.silence = std::chrono::seconds(2),
                         .cancelPatience = std::chrono::milliseconds(200)};
    ImportTextToolsXPC link_{tools_, KESTRIX_FAULTY_HELPER, clock_, limits_};
};

void waitForEndOf(int process) {
    for (int i = 0; i < 1000 && ::kill(process, 0) == 0; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
}

TEST_F(ImportLinkTest, ATextComesBackWholeWhateverItsLength) {
    EXPECT_EQ(textOfOrder("large 10"), std::string(10, 'x'));
    EXPECT_EQ(textOfOrder("large 5000000"), std::string(5'000'000, 'x'));
    EXPECT_EQ(link_.textFromFile(document("large 50000"), false, false, 7).text, "xxxxxxx");
    const ImportedText nothing = textOf(document("nothing"));
    EXPECT_FALSE(nothing.text);
    EXPECT_FALSE(nothing.error);
    EXPECT_EQ(textOfOrder("job"), "application/pdf");
    EXPECT_EQ(link_.textFromFile(folder_.file("a.png", "job"), false, true).text, "image/png ocr");
    std::vector<int> told;
    textOf(document("progress"), [&told](int percent) { told.push_back(percent); });
    EXPECT_EQ(told, (std::vector<int>{10, 60}));
}

TEST_F(ImportLinkTest, WordsAreCounted) {
    const ImportedWords imported = link_.wordsFromFile(document("words"), false);
    EXPECT_EQ(imported.words, (WordCounts{{"one", 1}, {"two", 2}}));
    EXPECT_EQ(link_.wordsFromFile(folder_.file("a.txt", "Red, red"), false).words, (WordCounts{{"red", 2}}));
    EXPECT_EQ(link_.wordsFromFile(folder_.file("a.png", "words"), false).words, WordCounts{});
}

TEST_F(ImportLinkTest, ADocumentThatEndsTheHelperCostsItselfAlone) {
    expectFailure(textOf(document("crash")), ImportFailure::crashed,
                  "order.pdf: the import helper ended over it");
    EXPECT_EQ(textOfOrder("large 3"), "xxx");
    expectFailure(textOf(document("exit")), ImportFailure::crashed, "exit code 3");
    expectFailure(textOf(document("deaf")), ImportFailure::tookTooLong, "silent");
    expectFailure(textOf(document("damaged")), ImportFailure::damaged, "order.pdf is damaged");
    EXPECT_EQ(textOfOrder("large 3"), "xxx");
}

// A sanitizer needs more memory than a helper is given, so there is no limit under one.
#ifndef KESTRIX_SANITIZED
TEST_F(ImportLinkTest, ADocumentThatEatsMemoryCostsItselfAlone) {
    ImportTextToolsXPC link(tools_, KESTRIX_FAULTY_HELPER, clock_);
    expectFailure(link.textFromFile(document("memory"), false, false), ImportFailure::outOfMemory, "memory");
    EXPECT_EQ(link.textFromFile(document("large 3"), false, false).text, "xxx");
}
#endif

TEST_F(ImportLinkTest, WhatCostAHelperIsNotTriedAgainUntilTheFileChanges) {
    const std::string path = document("crash");
    textOf(path);
    const int helper = helperNow();
    expectFailure(textOf(path), ImportFailure::crashed, "ended over it");
    EXPECT_EQ(helperNow(), helper);
    document("large 2");
    EXPECT_EQ(textOf(path).text, "xx");
}

TEST_F(ImportLinkTest, AHelperThatWasEndedFromOutsideIsReplaced) {
    const int helper = helperNow();
    ::kill(helper, SIGKILL);
    siginfo_t end;
    ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(helper), &end, WEXITED | WNOWAIT), 0);
    const ImportedText next = textOf(document("pid"));
    ASSERT_TRUE(next.text) << next.error->what();
    EXPECT_NE(*next.text, std::to_string(helper));
}

TEST_F(ImportLinkTest, TheHelperHasNoWayOut) {
    EXPECT_EQ(textOfOrder("out"), "");
}

TEST_F(ImportLinkTest, ACancelEndsTheDocumentThatIsReadAndThoseThatWait) {
    for (const char* order : {"slow", "deaf"}) {
        ImportLimits patient = limits_;
        patient.silence = std::chrono::minutes(1);
        ImportTextToolsXPC link(tools_, KESTRIX_FAULTY_HELPER, clock_, patient);
        const std::string path = document(order);
        const auto read = [&] { return link.textFromFile(path, false, false); };
        link.textFromFile(document("nothing", "other.pdf"), false, false);
        auto first = std::async(std::launch::async, read);
        auto second = std::async(std::launch::async, read);
        // Whichever has its turn, the other waits; a cancel that comes too early for one is sent again.
        const auto begin = SteadyClock::now();
        for (auto* call : {&first, &second}) {
            while (call->wait_for(std::chrono::milliseconds(10)) != std::future_status::ready)
                link.sendCancelFor(path);
        }
        EXPECT_LT(SteadyClock::now() - begin, std::chrono::milliseconds(500));
        expectFailure(first.get(), ImportFailure::cancelled, "cancelled");
        expectFailure(second.get(), ImportFailure::cancelled, "cancelled");
        EXPECT_EQ(link.textFromFile(document("large 1", "other.pdf"), false, false).text, "x");
    }
}

TEST_F(ImportLinkTest, ADocumentThatTakesLongHoldsNobodyUp) {
    ImportLimits patient = limits_;
    patient.silence = std::chrono::minutes(1);
    ImportTextToolsXPC link(tools_, KESTRIX_FAULTY_HELPER, clock_, patient);
    const std::string path = document("slow");
    auto slow = std::async(std::launch::async, [&] { return link.textFromFile(path, false, false); });
    EXPECT_EQ(link.textFromFile(folder_.file("a.txt", "here"), false, false).text, "here");
    if (processorCount() > 1) {  // there is another helper
        EXPECT_EQ(link.textFromFile(document("large 3", "other.pdf"), false, false).text, "xxx");
    }
    while (slow.wait_for(std::chrono::milliseconds(10)) != std::future_status::ready)
        link.sendCancelFor(path);
}

TEST_F(ImportLinkTest, AnIdleHelperIsLetGoAndTheNextDocumentStartsAnother) {
    const int helper = helperNow();
    while (clock_.waiting() == 0)
        std::this_thread::yield();
    clock_.advance(Seconds(61));
    waitForEndOf(helper);
    EXPECT_EQ(::kill(helper, 0), -1);
    EXPECT_EQ(errno, ESRCH);
    EXPECT_NE(helperNow(), helper);
}

TEST_F(ImportLinkTest, AMissingOrUselessHelperIsNamed) {
    for (const char* helper : {"/nowhere/helper", "/bin/true"}) {
        ImportTextToolsXPC link(tools_, helper, clock_, limits_);
        expectFailure(link.textFromFile(document("large 1"), false, false), ImportFailure::noHelper, helper);
        EXPECT_EQ(link.textFromFile(folder_.file("a.txt", "here"), false, false).text, "here");
    }
}

TEST_F(ImportLinkTest, TheClipboardGetsTheTextOrTheImage) {
    EXPECT_EQ(link_.copyContentsToClipboardImporter(folder_.file("a.txt", "here"), false).text, "here");
    EXPECT_EQ(link_.copyContentsToClipboardImporter(folder_.file("a.png", "\x89PNG"), false).image,
              "\x89PNG");
    EXPECT_EQ(link_.copyContentsToClipboardImporter(folder_.file("a.png", "large 2"), true).text, "xx");
}

TEST_F(ImportLinkTest, OldWordDocumentsAreReadByAConverterBehindTheSameWalls) {
    const ImportedText imported = textOf(folder_.file("old.doc", "yearly total\n"));
    ASSERT_TRUE(imported.text) << imported.error->what();
    EXPECT_EQ(*imported.text, "yearly total\n");
    EXPECT_EQ(link_.wordsFromFile(folder_.path("old.doc"), false).words,
              (WordCounts{{"yearly", 1}, {"total", 1}}));
}

}  // namespace
}  // namespace kestrix
