// Any bytes in place of the settings file: reading and writing must work, a damaged file must be kept as it
// was, and a sound one must lose none of its keys.
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <random>
#include <string>

#include "platform/settings_store.h"
#include "platform/stored_file.h"

namespace {

// In memory where the system offers that: every write is synced.
std::filesystem::path makeFolder() {
    const std::filesystem::path memory = "/dev/shm";
    const auto base = std::filesystem::exists(memory) ? memory : std::filesystem::temp_directory_path();
    const auto folder = base / ("kxfuzz" + std::to_string(std::random_device()()));
    std::filesystem::create_directory(folder);
    return folder;
}

struct Folder {
    std::filesystem::path path = makeFolder();
    ~Folder() { std::filesystem::remove_all(path); }
};

void demand(bool condition) {
    if (!condition) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Folder folder;
    const std::string file = folder.path / "settings.json";
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    kestrix::removeFile(file);
    kestrix::appendToFile(file, bytes);

    std::string keptAs;
    kestrix::SettingsStore store(file, [&](const std::string& copy) { keptAs = copy; });
    const auto before = store.keys();
    if (!keptAs.empty()) {
        demand(before.empty() && kestrix::readWholeFile(keptAs) == bytes);
        kestrix::removeFile(keptAs);
        keptAs.clear();
    }
    store.set("fuzzed", 1);
    kestrix::SettingsStore other(file);
    demand(other.get("fuzzed") == 1 && other.keys() == store.keys() && keptAs.empty());
    for (const auto& key : before)
        demand(key == "fuzzed" || other.get(key) == store.get(key));
    demand(other.unset("fuzzed") && other.keys().size() + 1 == store.keys().size());
    return 0;
}
