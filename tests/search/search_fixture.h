// What the tests of sources and of the merge share: queries, sources made of a function, mounts as a test
// wants them, and delegates that write down what they hear.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/lock.h"
#include "base/operation_queue.h"
#include "files/disks.h"
#include "language/language_parse.h"
#include "search/search_manager.h"
#include "tests/support/temporary_folder.h"

namespace kestrix {

class FakeSource : public SearchDataSource {
  public:
    using Body = std::function<void(FakeSource&, SearchDataSourceDelegate&)>;

    explicit FakeSource(Body body, SearchResultSupplier type = SearchResultSupplier::fileSystem)
        : body_(std::move(body)), type_(type) {}

    std::string debugDescription() const override { return "FakeSource"; }
    SearchResultSupplier type() const override { return type_; }
    std::vector<std::string> dataSourceLocations(const QueryContainer&) const override { return locations; }
    void search(std::shared_ptr<const QueryContainer>, SearchDataSourceDelegate& handler) override {
        started = true;
        if (body_) body_(*this, handler);
    }
    void searchShouldStop() override { toldToStop.release(); }

    std::vector<std::string> locations;
    std::atomic<bool> started = false;
    Blocker toldToStop;

  private:
    Body body_;
    SearchResultSupplier type_;
};

// Gathers what one source delivers.
class Collector : public NullSearchDataSourceDelegate {
  public:
    bool shouldStop() const override { return stop_; }
    bool wantsInvisibleItems() const override { return invisible; }
    bool wantsAttributes() const override { return attributes; }
    void searchResults(std::vector<SearchResult> batch, const SearchDataSource&) override {
        results.modify([&](auto& all) { all.insert(all.end(), batch.begin(), batch.end()); });
        if (stopAtFirst) stop_ = true;
    }

    bool invisible = false;
    bool attributes = true;
    bool stopAtFirst = false;
    Locked<std::vector<SearchResult>> results;

  private:
    std::atomic<bool> stop_ = false;
};

class FakeMounts : public MountTable {
  public:
    std::vector<Mount> mounts() const override { return table; }
    std::shared_ptr<void> watch(std::function<void()>) override { return nullptr; }

    std::vector<Mount> table = {{"/", "/", "ext4", "/dev/sda1", 1}};
};

inline SearchResult recordOf(std::string path, std::uint64_t size = 0) {
    return SearchResult(SearchResultSupplier::fileSystem, DiskKey(), std::move(path), false, size, 0, 0, 0,
                        false, false);
}

inline std::vector<SearchResult> recordsOf(const std::vector<std::string>& paths) {
    std::vector<SearchResult> records;
    for (const std::string& path : paths)
        records.push_back(recordOf(path));
    return records;
}

inline std::vector<std::string> pathsOf(const std::vector<SearchResult>& records) {
    std::vector<std::string> paths;
    for (const SearchResult& record : records)
        paths.push_back(record.path);
    return paths;
}

// Served by the test's own thread, but for `finished`.
class Receiver : public SearchManagerDelegate {
  public:
    explicit Receiver(RunLoop& loop) : loop_(loop) {}

    void searchManagerIsBeginingSearches(const Query&) override { ++begun; }
    void searchManagerFoundItems(std::vector<SearchResult> items, std::int64_t total, const Query&) override {
        lastTotal = total;
        calls.push_back(std::move(items));
    }
    void searchManagerHasFinishedAllSearches(const Query&) override {
        ++finished;
        loop_.quit();
    }
    void searchDataSourceProgress(std::int64_t files, std::int64_t waiting) override {
        progress.emplace_back(files, waiting);
    }
    void searchErrorOccured(int errorNumber, const std::string& onPath) override {
        errors.emplace_back(errorNumber, onPath);
    }
    void searchingInsideFile(const std::string&, bool, int) override {}
    void searchInvalidQuery() override { ++invalid; }

    std::vector<std::string> paths() const {
        std::vector<std::string> all;
        for (const auto& call : calls) {
            for (const SearchResult& item : call)
                all.push_back(item.path);
        }
        return all;
    }

    int begun = 0;
    std::atomic<int> finished = 0;
    int invalid = 0;
    std::int64_t lastTotal = 0;
    std::vector<std::vector<SearchResult>> calls;
    std::vector<std::pair<std::int64_t, std::int64_t>> progress;
    std::vector<std::pair<int, std::string>> errors;

  private:
    RunLoop& loop_;
};

// A one-shot search: no grace period, the machine's own clock.
class SearchTest : public ::testing::Test {
  protected:
    using Sources = std::vector<std::shared_ptr<FakeSource>>;

    ~SearchTest() override {
        if (manager) {
            manager->stop();
            manager->waitUntilEnded();
        }
    }

    std::shared_ptr<const QueryContainer> query(const std::string& line,
                                                std::optional<SearchLocation> where = std::nullopt) {
        return std::make_shared<const QueryContainer>(line, std::move(where), false,
                                                      QueryEnvironment{preferences, language});
    }

    void make(Sources standard, Sources commandBased = {}) {
        SearchTiming timing;
        timing.grace = Seconds(0);
        const SearchEnvironment environment{
            loop,
            *clock,
            timing,
            {[=] { return SearchDataSources(commandBased.begin(), commandBased.end()); },
             [=] { return SearchDataSources(standard.begin(), standard.end()); }}};
        manager = SearchManager::create(receiver, options, environment);
    }

    // Searches to the end and serves the main queue.
    void search(std::shared_ptr<const QueryContainer> what, Sources standard) {
        make(std::move(standard));
        manager->searchFor(std::move(what));
        finish();
    }
    void finish() {
        manager->waitUntilEnded();
        loop.runPending();
    }

    static std::shared_ptr<FakeSource> delivering(std::vector<std::vector<SearchResult>> batches) {
        return std::make_shared<FakeSource>([batches](FakeSource& self, SearchDataSourceDelegate& handler) {
            for (const auto& batch : batches)
                handler.searchResults(batch, self);
        });
    }

    TemporaryFolder folder;
    SettingsStore store{folder.path("settings.json")};
    Preferences preferences{store};
    LanguageParse language;
    Clock* clock = &Clock::system();
    RunLoop loop;
    std::shared_ptr<Receiver> receiver = std::make_shared<Receiver>(loop);
    SearchManagerOptions options;
    std::shared_ptr<SearchManager> manager;
};

}  // namespace kestrix
