// The words of a catalog: how they get in, and what a content search learns from them.
#include <gtest/gtest.h>

#include <csignal>
#include <random>
#include <set>
#include <thread>

#include "import/import_text_tools_xpc.h"
#include "index/failed_files.h"
#include "index/word_container.h"
#include "index/word_search.h"
#include "platform/stored_file.h"
#include "search/content_words.h"
#include "tests/index/catalog_fixture.h"

namespace kestrix {
namespace {

// Documents named .pdf hold what the faulty helper is to do.
class WordIndexTest : public CatalogTest {
  protected:
    WordIndexTest() { startAfresh(); }

    // As another run of the program: nothing is remembered of documents that failed.
    void startAfresh() {
        import = std::make_unique<ImportTextToolsXPC>(tools, KESTRIX_FAULTY_HELPER);
        environment.import = import.get();
    }
    ContentIndex::BuildOutcome build(ContentIndex& index) {
        const auto outcome = index.build({target}, false, ContentIndexMode::textDocuments);
        EXPECT_EQ(outcome.fault, std::nullopt);
        EXPECT_EQ(faults(), Faults());
        return outcome;
    }
    std::map<std::string, int> documentsWith(ContentIndex& index, const std::string& word) const {
        const auto paths = pathsOf(index);
        std::map<std::string, int> found;
        auto container = WordContainer::fromData(word, index.db().get("W", word).value_or(""));
        for (const auto& [id, count] : container.documentIDs())
            if (paths.contains(id)) found[paths.at(id)] = count;
        return found;
    }
    std::string reasonOf(const std::string& name) const {
        const FailedFiles failed(FailedFiles::fileOf(file));
        const auto found = failed.entries().find(target + "/" + name);
        return found == failed.entries().end() ? "" : found->second.reason;
    }

    FileTypes types;
    ImportTextTools tools{types};
    std::unique_ptr<ImportTextToolsXPC> import;
};

using Found = std::map<std::string, int>;

TEST(WordContainerBytes, ExtendingEqualsAddingOneByOne) {
    std::mt19937 random(7);
    for (int round = 0; round < 300; ++round) {
        const std::uint32_t gap = 1U << (random() % 20);
        FSItemID last = 0;
        std::optional<std::string> bytes;
        std::optional<WordContainer> slow;
        DeadDocuments dead;
        for (int step = 0; step < 4; ++step) {
            const FSItemID before = last;
            std::vector<WordCount> added;
            for (std::uint32_t i = 0; i < 1 + random() % 300; ++i) {
                last += 1 + random() % gap;
                const bool isKnown = random() % 400 == 0 && last > gap;
                const std::uint32_t count =
                    random() % 30 == 0 ? 70'000 : static_cast<std::uint32_t>(random() % 9);
                added.push_back({isKnown ? last - gap : last, count});
            }
            if (before > 0 && random() % 3 == 0) {
                dead.resize(before);
                dead[random() % before] = true;
            }
            bytes = extendedWordContainer(bytes, added, dead);
            for (const WordCount& count : added) {
                if (slow) {
                    slow->add(count.document, count.ocurrences);
                } else {
                    slow.emplace("", count.document, count.ocurrences);
                }
            }
            const auto documents = slow->documentIDs();
            for (const auto& [document, count] : documents)
                if (document < dead.size() && dead[document]) slow->remove(document);
            ASSERT_EQ(*bytes, slow->dataToStore()) << round << " " << step;
        }
    }
}

TEST_F(WordIndexTest, AnUpdateReadsWhatIsNewAndForgetsWhatChanged) {
    folder.file("tree/a.txt", "red Red (green),");
    folder.file("tree/b.txt", "red");
    folder.file("tree/c.pdf", "words");
    folder.file("tree/long.txt", std::string(33, 'x') + " " + std::string(32, 'y'));
    const auto index = makeIndex();
    const ContentIndex::Session session(*index);
    build(*index);
    EXPECT_EQ(documentsWith(*index, "green"), (Found{{"a.txt", 1}}));
    EXPECT_EQ(documentsWith(*index, "two"), (Found{{"c.pdf", 2}}));
    EXPECT_EQ(documentsWith(*index, std::string(33, 'x')), Found());
    EXPECT_EQ(documentsWith(*index, std::string(32, 'y')), (Found{{"long.txt", 1}}));
    folder.file("tree/a.txt", "red blue");
    std::filesystem::last_write_time(target + "/a.txt",
                                     std::filesystem::file_time_type::clock::now() + std::chrono::seconds(5));
    folder.file("tree/d.txt", "red red red");
    build(*index);
    // The container's first document keeps its count, those that came later count one more.
    const auto red = documentsWith(*index, "red");
    EXPECT_EQ(red.size(), 3U);
    EXPECT_EQ(red.at("a.txt"), 2);
    EXPECT_EQ(red.at("d.txt"), 4);
    EXPECT_EQ(WordContainer::fromData("", *index->db().get("W", "red")).documentIDs().size(), 3U);
    EXPECT_EQ(documentsWith(*index, "green"), Found());
    EXPECT_EQ(index->loadDeadIds().size(), 1U);
}

// A catalog of names, or a mirror that was one, is to hold words from now on.
TEST_F(WordIndexTest, FilesKnownByNameGetTheirWordsAlsoAfterABuildWasStopped) {
    folder.file("tree/a.txt", "red");
    folder.file("tree/b.txt", "red");
    for (const std::optional<std::string>& remote : {std::optional<std::string>(), {folder.path("copy")}}) {
        std::filesystem::remove(file);
        makeIndex(remote)->build({target}, true, ContentIndexMode::off);
        const auto stopped = makeIndex(remote);
        clock.onTick = [&] { stopped->cancelBuild(); };
        EXPECT_TRUE(stopped->build({target}, true, ContentIndexMode::textDocuments).canceled);
        clock.onTick = nullptr;
        const auto index = makeIndex(remote);
        EXPECT_EQ(index->refresh(true).fault, std::nullopt);
        EXPECT_FALSE(index->documentInfo().isDirty);
        const ContentIndex::Session session(*index);
        EXPECT_EQ(documentsWith(*index, "red").size(), 2U);
        EXPECT_EQ(faults(), Faults());
    }
}

// Stored dates are whole seconds: a change within the same one, during the build or after it.
TEST_F(WordIndexTest, AFileThatChangesTwiceInASecondIsSeenAsItIsInTheEnd) {
    constexpr std::int64_t kSecond = 1'600'000'000;
    const auto changeTo = [&](const std::string& text, std::uint32_t milliseconds) {
        setModificationDate(folder.file("tree/a.txt", text), {kSecond, milliseconds * 1'000'000});
    };
    for (const ContentIndexMode mode : {ContentIndexMode::off, ContentIndexMode::textDocuments}) {
        std::filesystem::remove(file);
        const auto index = makeIndex();
        const ContentIndex::Session session(*index);
        const auto holds = [&](const std::string& text) {
            const bool hasWord = mode == ContentIndexMode::off || documentsWith(*index, text).size() == 1;
            return hasWord && contentsOf(*index)["a.txt"].size == static_cast<std::int64_t>(text.size());
        };
        clock.setWallTime(WallTime(std::chrono::milliseconds(kSecond * 1000 + 300)));
        changeTo("red", 290);
        clock.atTick(4, [&] { changeTo("blue", 300); });  // listed, and not written yet
        index->build({target}, false, mode);
        EXPECT_TRUE(holds("blue"));
        changeTo("green", 500);
        clock.advance(Seconds(10));
        index->build({target}, false, mode);
        EXPECT_TRUE(holds("green"));
        EXPECT_EQ(index->build({target}, false, mode).written, 0);
        EXPECT_EQ(faults(), Faults());
    }
}

// Between the look at their folder and their reading the disk is away.
TEST_F(WordIndexTest, FilesWhoseDiskWasTakenAwayGetTheirWordsWhenItIsBack) {
    folder.file("tree/a.txt", "red");
    folder.file("tree/b.txt", "red");
    const auto index = makeIndex();
    const ContentIndex::Session session(*index);
    clock.atTick(4, [&] { std::filesystem::rename(target, target + "-away"); });
    EXPECT_NE(index->build({target}, false, ContentIndexMode::textDocuments).fault, std::nullopt);
    std::filesystem::rename(target + "-away", target);
    build(*index);
    EXPECT_EQ(documentsWith(*index, "red").size(), 2U);
}

// More different words than are gathered at once: the document's containers are written several times.
TEST_F(WordIndexTest, ADocumentOfVeryManyWordsKeepsItsCounts) {
    std::string text = "often early";
    for (int i = 0; i < 250'000; ++i)
        text += (i % 1000 == 0 ? " often" : "") + (" w" + std::to_string(i));
    folder.file("tree/a.txt", "often");
    folder.file("tree/many.txt", text + " often late");
    const auto index = makeIndex();
    const ContentIndex::Session session(*index);
    build(*index);
    for (const char* word : {"early", "w0", "w249999", "late"})
        EXPECT_EQ(documentsWith(*index, word), (Found{{"many.txt", 1}})) << word;
    const auto often = documentsWith(*index, "often");
    EXPECT_EQ(often.at("many.txt") + often.at("a.txt"), 254);  // and one more for whichever came later
}

TEST_F(WordIndexTest, ADocumentThatFailsIsListedAndTriedAgainWhenItMayBeSound) {
    folder.file("tree/bad.pdf", "damaged");
    folder.file("tree/deadly.pdf", "crash");
    folder.file("tree/good.txt", "fine");
    const auto index = makeIndex();
    const ContentIndex::Session session(*index);
    EXPECT_EQ(build(*index).failedDocuments, 2);
    EXPECT_EQ(documentsWith(*index, "fine"), (Found{{"good.txt", 1}}));
    EXPECT_NE(reasonOf("bad.pdf").find("damaged"), std::string::npos);
    EXPECT_NE(reasonOf("deadly.pdf"), "");
    // Not written anew, so the record stays the one that is known; only the deadly one is read again.
    const auto date = std::filesystem::last_write_time(target + "/deadly.pdf");
    folder.file("tree/deadly.pdf", "words");
    std::filesystem::last_write_time(target + "/deadly.pdf", date);
    startAfresh();
    const auto outcome = build(*index);
    EXPECT_EQ(outcome.written, 0);
    EXPECT_EQ(outcome.failedDocuments, 0);
    EXPECT_EQ(documentsWith(*index, "one"), (Found{{"deadly.pdf", 1}}));
    EXPECT_EQ(reasonOf("deadly.pdf"), "");
    std::filesystem::remove(target + "/bad.pdf");
    build(*index);
    EXPECT_FALSE(std::filesystem::exists(FailedFiles::fileOf(file)));
}

TEST_F(WordIndexTest, AHelperKilledNowAndThenCostsNoWords) {
    constexpr int kDocuments = 200;
    for (int i = 0; i < kDocuments; ++i)
        folder.file("tree/d" + std::to_string(i % 7) + "/" + std::to_string(i) + ".pdf", "words");
    const std::string whoAmI = folder.file("pid.pdf", "pid");
    const auto index = makeIndex();
    const ContentIndex::Session session(*index);
    std::atomic<bool> ended = false;
    std::thread killer([&] {
        for (std::mt19937 random(3); !ended;) {
            const auto pid = import->textFromFile(whoAmI, false, false).text;
            std::this_thread::sleep_for(std::chrono::microseconds(random() % 3000));
            if (pid && std::stoi(*pid) > 1) ::kill(std::stoi(*pid), SIGKILL);
        }
    });
    build(*index);
    ended = true;
    killer.join();
    startAfresh();
    build(*index);
    EXPECT_EQ(documentsWith(*index, "two").size(), static_cast<std::size_t>(kDocuments));
    EXPECT_EQ(FailedFiles(FailedFiles::fileOf(file)).entries().size(), 0U);
}

TEST_F(WordIndexTest, TheWordsAnswerAsReadingEveryFileWould) {
    // No catalog holds these as words.
    const std::string url = "https://example.org/a/very/long/address";
    const std::string accents = "\u0301\u0308";
    const std::string gap = "x " + accents + " y";
    const std::vector<std::string> texts = {
        "The yearly total, of cats.",   "yearly\ntotal",     "half-yearly total (net)",
        "concatenate the Caf\u00e9",    "cat (cat) CAT",     "a cafe\u0301 in foo-bar",
        "total yearly; foo bar-x",      "costs C++ and c",   "banana na na",
        "\u00dcber stra\u00dfe a.b c.", "dog and cat",       "net $5 aaa aa cat$",
        "the " + url + " dog",          "dogs  \u0301and x", "x  y"};
    for (std::size_t i = 0; i < texts.size(); ++i)
        folder.file("tree/" + std::to_string(i) + ".txt", texts[i]);
    const auto index = makeIndex();
    const ContentIndex::Session session(*index);
    build(*index);
    const auto paths = pathsOf(*index);
    const std::vector<std::vector<std::string>> queries = {
        {"cat"},       {"yearly total"}, {"foo-bar"},
        {"a.b"},       {"cafe"},         {"CAF\u00c9"},
        {"c++"},       {"cat", "dog"},   {"yearly", "net"},
        {"na na"},     {"aa ca"},        {"\u00fcber stra\u00dfe"},
        {"$5"},        {"bar"},          {"the yearly total"},
        {"early tot"}, {"(cat)"},        {"absent"},
        {url},         {"the " + url},   {url + " do", "net"},
        {gap},         {"cat", accents}, {"dogs  and x"}};
    for (const auto& words : queries) {
        for (int flags = 0; flags < 16; ++flags) {
            const std::vector<std::string> excluded =
                flags & 8 ? std::vector<std::string>{"cat", "total of", accents} : std::vector<std::string>();
            const ContentOptions options{.caseSensitive = (flags & 4) != 0,
                                         .wholeWords = (flags & 1) != 0,
                                         .allWords = (flags & 2) != 0};
            const ContentWords reading(words, excluded, options);
            const auto answer = searchContent(index->db(),
                                              {.forWords = words,
                                               .excludingWords = excluded,
                                               .wholeWords = options.wholeWords,
                                               .allWords = options.allWords,
                                               .doubted = options.caseSensitive},
                                              [] { return false; });
            std::set<std::string> expected, found;
            for (const auto& [id, name] : paths) {
                const bool isIn = reading.findIn(texts[std::stoul(name)], false).has_value();
                if (isIn) expected.insert(name);
                if (answer.isOpen && isIn) found.insert(name);
            }
            for (const ContentHit& hit : answer.hits) {
                const std::string& name = paths.at(hit.document);
                if (hit.isCertain || reading.findIn(texts[std::stoul(name)], false)) found.insert(name);
            }
            EXPECT_EQ(found, expected) << words[0] << " " << flags;
        }
    }
    const auto one = searchContent(index->db(), {.forWords = {"caf\u00e9"}}, [] { return false; });
    EXPECT_EQ(one.hits.size(), 2U);
    EXPECT_TRUE(one.hits[0].isCertain);
}

}  // namespace
}  // namespace kestrix
