// A whole catalog file with bytes flipped: the look at its pages refuses it, or everything after survives.
//
// An input is a list of changes to a file that is made anew at the start, with branches, long values and free
// pages in it: 2 bytes for the page, 2 bytes for the place in it, 1 byte that is xored there.
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "base/bytes.h"
#include "index/lmdb/page_check.h"
#include "index/lmdb/simple_lmdb.h"
#include "platform/stored_file.h"

namespace {

using kestrix::SimpleLMDB;

constexpr std::size_t kPage = 4096;
constexpr std::size_t kHead = 160;

// In memory where that can be, as every input is written out.
class ScratchFolder {
  public:
    ScratchFolder() : path_(std::filesystem::exists("/dev/shm") ? "/dev/shm" : "/tmp") {
        path_ += "/kestrix-catalog-fuzz-XXXXXX";
        if (!::mkdtemp(path_.data())) std::abort();
    }
    ~ScratchFolder() { std::filesystem::remove_all(path_); }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    const std::string& path() const { return path_; }

  private:
    std::string path_;
};

std::string file() {
    static const ScratchFolder folder;
    return folder.path() + "/one.kxcache";
}

std::string someKey(unsigned i) {
    return std::string(1, "FCW"[i % 3]) + std::to_string(i * 7919 % 5000) + std::string(i % 40, 'k');
}

void writeSome(SimpleLMDB& db, unsigned from, unsigned until, unsigned keepEvery) {
    std::vector<std::string> keys;
    std::vector<SimpleLMDB::Write> writes;
    const std::string longest(9000, 'v');
    keys.reserve(until - from);
    for (unsigned i = from; i < until; ++i) {
        keys.push_back(someKey(i));
        const auto value = std::string_view(longest).substr(0, i % 97 == 0 ? longest.size() : i % 50);
        writes.push_back({keys.back(), i % keepEvery == 0 ? std::optional(value) : std::nullopt});
    }
    db.write(writes);
}

void deleteEverySecond(SimpleLMDB& db) {
    std::vector<std::string> keys;
    db.keyValuesWith("", 500, [&](const std::string& key, const std::string&) { keys.push_back(key); });
    std::vector<SimpleLMDB::Write> writes;
    for (std::size_t i = 0; i < keys.size(); i += 2)
        writes.push_back({keys[i], std::nullopt});
    db.write(writes);
}

// Some 40 pages, among them a branch page, long values and a free list.
const std::string& soundFile() {
    static const std::string bytes = [] {
        SimpleLMDB db;
        db.open(file());
        writeSome(db, 0, 600, 1);
        writeSome(db, 0, 60, 4);
        writeSome(db, 500, 550, 1);
        db.close();
        return kestrix::readWholeFile(file()).value();
    }();
    return bytes;
}

// Every other one in the page's head, where most of what LMDB follows stands.
std::size_t placeInPage(std::uint16_t place) {
    return place % 2 == 0 ? place / 2 % kHead : place / 2 % kPage;
}

std::string withChanges(std::string_view changes) {
    std::string bytes = soundFile();
    for (std::size_t at = 0;;) {
        const auto page = kestrix::safeValueAndIncrement<std::uint16_t>(changes, at);
        const auto place = kestrix::safeValueAndIncrement<std::uint16_t>(changes, at);
        const auto what = kestrix::safeValueAndIncrement<std::uint8_t>(changes, at);
        if (!what) return bytes;
        bytes[*page % (bytes.size() / kPage) * kPage + placeInPage(*place)] ^= static_cast<char>(*what);
    }
}

void useAll(SimpleLMDB& db) {
    std::size_t seen = 0;
    std::string first;
    const auto take = [&](std::string_view key, std::string_view value) {
        if (first.empty()) first = key;
        seen += key.size();
        for (const char byte : value)
            seen += static_cast<unsigned char>(byte);
        return true;
    };
    db.scan("", 100, take, [] { return true; });
    db.get("F", first);
    db.copyCompacted(file() + ".copy");
    writeSome(db, 0, 100, 4);
    writeSome(db, 600, 700, 1);
    deleteEverySecond(db);
    db.scan("", 100, take, [] { return true; });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes = withChanges({reinterpret_cast<const char*>(data), size});
    const bool isRefused = kestrix::faultOfPages(bytes).has_value();
    if (kestrix::faultOfPages(bytes, 0).has_value() != isRefused) std::abort();  // looked at by two threads
    if (isRefused) return 0;
    std::filesystem::remove(file());
    kestrix::appendToFile(file(), bytes);
    try {
        SimpleLMDB db;
        db.open(file());
        useAll(db);
    } catch (const kestrix::LMDBError&) {
    }
    return 0;
}
