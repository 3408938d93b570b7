#include "index/build/mirror.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <random>
#include <thread>

#include "platform/stored_file.h"
#include "tests/index/catalog_fixture.h"

namespace kestrix {
namespace {

namespace fs = std::filesystem;

class MirrorTest : public CatalogTest {
  protected:
    MirrorTest() {
        clock.setWallTime(std::chrono::system_clock::now());
        folder.file("tree/one");
        folder.folder("remote");
        index = makeIndex(remote);
        index->build({target}, true, ContentIndexMode::off);
    }
    // Ages both copies by so much; the local one is `newer` seconds newer.
    void setDates(std::int64_t age, std::int64_t newer) const {
        const std::int64_t now = secondsSince1970(clock.now());
        setModificationDate(remote, {now - age, 0});
        setModificationDate(file, {now - age + newer, 0});
    }
    static std::vector<std::string> itemsOf(const std::string& catalog) {
        SimpleLMDB db;
        db.open(catalog);
        std::vector<std::string> names;
        db.keyValuesWith("F", 100, [&](const std::string&, const std::string& record) {
            if (const auto item = decodeFSItem(record)) names.emplace_back(item->name);
        });
        return names;
    }
    bool datesAreEqual() const { return changeDateOf(file) == changeDateOf(remote); }

    const std::string remote = folder.path("remote/copy.kxcache");
    std::shared_ptr<ContentIndex> index;
};

TEST_F(MirrorTest, TheNewerCopyWins) {
    const Timestamp old{1'000'000, 5};
    const Timestamp later{1'000'000, 6};
    const WallTime now{std::chrono::seconds(2'000'000)};
    using enum MirrorStep;
    EXPECT_EQ(mirrorStep(old, later, now, false), remoteToLocal);
    EXPECT_EQ(mirrorStep(later, old, now, false), localToRemote);
    EXPECT_EQ(mirrorStep(old, {}, now, false), localToRemote);
    EXPECT_EQ(mirrorStep({}, Timestamp{2'000'000, 0}, now, false), remoteToLocal);
    EXPECT_EQ(mirrorStep({}, {}, now, true), none);
    EXPECT_EQ(mirrorStep(old, old, now, true), none);
    for (const int sign : {-1, 1}) {
        EXPECT_EQ(mirrorStep(old, Timestamp{2'000'000 + sign * 119, 0}, now, false), busy);
        EXPECT_EQ(mirrorStep(old, Timestamp{2'000'000 + sign * 120, 0}, now, false), remoteToLocal);
        EXPECT_EQ(mirrorStep(old, Timestamp{2'000'000 + sign * 119, 0}, now, true), remoteToLocal);
    }
}

TEST_F(MirrorTest, ABuildCarriesItsFileOverAndItComesBack) {
    EXPECT_TRUE(datesAreEqual());
    EXPECT_FALSE(index->mirrorIfNeeded(true));
    folder.file("tree/two");
    index->build({target}, false, ContentIndexMode::off);  // the remote copy is too young to be replaced
    EXPECT_EQ(itemsOf(remote).size(), 1U);
    setDates(1000, -10);
    EXPECT_TRUE(index->mirrorIfNeeded(false));
    EXPECT_EQ(itemsOf(file).size(), 1U);
    EXPECT_EQ(index->documentInfo().numberOfFSItems, 1);
    EXPECT_TRUE(datesAreEqual());
    fs::remove(file);
    EXPECT_TRUE(index->mirrorIfNeeded(false));
    EXPECT_EQ(itemsOf(file).size(), 1U);
}

TEST_F(MirrorTest, ACanceledBuildTakesTheLastGoodCopyBack) {
    folder.file("tree/two");
    clock.onTick = [this] { index->cancelBuild(); };
    EXPECT_TRUE(buildInGroups(*index, 1).canceled);
    EXPECT_EQ(itemsOf(file), std::vector<std::string>{"one"});
    EXPECT_TRUE(datesAreEqual());
    clock.onTick = nullptr;
    folder.file("tree/three");
    fs::remove(remote);
    index->build({target}, false, ContentIndexMode::off);
    EXPECT_EQ(itemsOf(file).size(), 3U);
}

TEST_F(MirrorTest, ADamagedOrBusyCopyNeverReplacesAGoodOne) {
    setDates(1000, -10);
    fs::resize_file(remote, fs::file_size(remote) / 2);
    setDates(1000, -10);
    EXPECT_FALSE(index->mirrorIfNeeded(false));
    EXPECT_EQ(itemsOf(file).size(), 1U);
    setDates(1000, 10);
    for (const std::string& copy : {remote, file}) {
        const auto builder = SimpleLMDB::keepBuildersOut(copy);
        EXPECT_FALSE(index->mirrorIfNeeded(false)) << copy;
    }
    EXPECT_TRUE(index->mirrorIfNeeded(false));
    EXPECT_EQ(itemsOf(remote).size(), 1U);
}

TEST_F(MirrorTest, KilledHalfWayTheGoodCopyStaysAndTheRestGoes) {
    for (int i = 0; i < 800; ++i)
        folder.file("tree/file with a long name to fill pages" + std::to_string(i));
    index->build({target}, true, ContentIndexMode::off);
    std::mt19937 random(3);
    for (int round = 0; round < 20; ++round) {
        setDates(1000, 10);
        const pid_t child = ::fork();
        if (child == 0) {
            index->mirrorIfNeeded(false);
            ::_exit(0);
        }
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 12'000));
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
        ASSERT_EQ(itemsOf(remote).size(), 801U);
    }
    std::ofstream(remote + ".mirroring") << "left behind";
    setDates(1000, 10);
    EXPECT_TRUE(index->mirrorIfNeeded(false));
    EXPECT_EQ(faultsOfCatalog(remote), Faults());
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path("remote")), {}), 1);
    fs::remove_all(folder.path("remote"));
    EXPECT_FALSE(index->mirrorIfNeeded(false)) << "a disk that is away is no failure";
    EXPECT_FALSE(fs::exists(folder.path("remote")));
}

}  // namespace
}  // namespace kestrix
