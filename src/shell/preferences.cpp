#include "shell/preferences.h"

#include <charconv>
#include <limits>
#include <nlohmann/json.hpp>
#include <set>

#include "shell/logger.h"

namespace kestrix {

namespace {

using Json = nlohmann::json;

constexpr const char* kLastBuildNumber = "lastBuildNumber";

// The misspelling of "nettworkDiskCachingOnly" is the name under which it is stored. The default of
// "updateCachesEvery" is only shown: a fresh installation refreshes no catalog by itself.
std::map<std::string, Json> applicationDefaults() {
    return {
        {"hasLaunchedBefore", false},
        {"moveItemsStartingWithQueryToTop", false},
        {"firstIgnoreItemsLoad", false},
        {"firstRememberedItemsLoad", false},
        {"useFinderKindField", false},
        {"dateModifiedIsVisible", true},
        {"dateCreatedIsVisible", false},
        {"sizeIsVisible", true},
        {"kindIsVisible", true},
        {"insideIsVisible", true},
        {"historyEnabled", true},
        {"showAppsFoundAnywhere", false},
        {"lastSearchlocationPopupSelectedItemName", "in home"},
        {"highlightFoundWords", true},
        {"sidebarShouldShowSidebar", true},
        {"sidebarShouldShowSavedSearches", true},
        {"sidebarShouldShowChanged", true},
        {"sidebarShouldShowHistory", false},
        {"sidebarShouldShowQuickFolders", true},
        {"sidebarShouldShowPopular", false},
        {"allowNetworkSearches", false},
        {"checkForLocalConnections", true},
        {"diskCatalogCaching", false},
        {"nettworkDiskCachingOnly", true},
        {"updateCachesEvery", 500},
        {"fileContentCaching", false},
        {"fileContentCachingAskToAdd", false},
        {"resultsViewStyle", 2},
        {"iconSizeSlider", 290.0},
        {"recentItemsMaxCount", 10},
        {"historyMaxCount", 20},
        {"hoverPreviews", false},
        {"listTextSize", 12},
        {"quitAfterLastSearchWindowGone", false},
        {"fileContentCachingTimeUpdatesEnabled", false},
        {"sidebarShouldShowDownloads", true},
    };
}

bool isInteger(const Json& value) {
    constexpr auto kLargest = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    return value.is_number_integer() &&
           (!value.is_number_unsigned() || value.get<std::uint64_t>() <= kLargest);
}

std::optional<std::int64_t> decimalInteger(const std::string& digits) {
    std::int64_t number = 0;
    const char* end = digits.data() + digits.size();
    const auto [stop, failure] = std::from_chars(digits.data(), end, number);
    if (digits.empty() || failure != std::errc() || stop != end) return std::nullopt;
    return number;
}

}  // namespace

struct Preferences::Defaults {
    Locked<std::map<std::string, Json>> values{applicationDefaults()};

    std::optional<Json> find(const std::string& key) const {
        return values.read([&](const auto& all) -> std::optional<Json> {
            const auto found = all.find(key);
            if (found == all.end()) return std::nullopt;
            return found->second;
        });
    }
};

namespace {

// The stored value if it is of the kind asked for, else the default if that is, else nothing.
template <typename IsWanted, typename Defaults>
std::optional<Json> valueOfKind(const SettingsStore& store, const Defaults& defaults, const std::string& key,
                                IsWanted isWanted) {
    if (auto stored = store.get(key); stored && isWanted(*stored)) return stored;
    if (auto registered = defaults.find(key); registered && isWanted(*registered)) return registered;
    return std::nullopt;
}

}  // namespace

Preferences::Preferences(SettingsStore& store, NotificationCenter* notifications)
    : store_(store), notifications_(notifications), defaults_(std::make_unique<Defaults>()) {}

Preferences::~Preferences() = default;

void Preferences::startup(const std::string& buildNumber) {
    LogFunc("");
    noteBuild(buildNumber);
    setIfMissing("showInMenuBar", true);
    setIfMissing("bringToFrontHotKey", false);
}

void Preferences::noteBuild(const std::string& buildNumber) {
    const auto build = decimalInteger(buildNumber);
    if (!build) return;
    isNewVersion_ = integer(kLastBuildNumber) != *build;
    if (isNewVersion_) set(kLastBuildNumber, *build);
}

// The cheap look first, so that a usual launch does not touch the file; the second under the file's lock, so
// that what another process has written meanwhile stays.
void Preferences::setIfMissing(const std::string& key, bool value) {
    if (hasStoredValue(key)) return;
    modify(key, [&](Json& stored) {
        if (stored.is_null()) stored = value;
    });
}

bool Preferences::boolean(const std::string& key) const {
    const auto found =
        valueOfKind(store_, *defaults_, key, [](const Json& json) { return json.is_boolean(); });
    return found && found->get<bool>();
}

std::int64_t Preferences::integer(const std::string& key) const {
    const auto found = valueOfKind(store_, *defaults_, key, isInteger);
    return found ? found->get<std::int64_t>() : 0;
}

double Preferences::real(const std::string& key) const {
    const auto found =
        valueOfKind(store_, *defaults_, key, [](const Json& json) { return json.is_number(); });
    return found ? found->get<double>() : 0;
}

std::string Preferences::string(const std::string& key) const {
    const auto found =
        valueOfKind(store_, *defaults_, key, [](const Json& json) { return json.is_string(); });
    return found ? found->get<std::string>() : std::string();
}

std::vector<std::string> Preferences::strings(const std::string& key) const {
    const auto found = valueOfKind(store_, *defaults_, key, [](const Json& json) { return json.is_array(); });
    std::vector<std::string> strings;
    if (!found) return strings;
    for (const Json& element : *found) {
        if (element.is_string()) strings.push_back(element.get<std::string>());
    }
    return strings;
}

std::optional<Json> Preferences::value(const std::string& key) const {
    if (auto stored = store_.get(key)) return stored;
    return defaults_->find(key);
}

std::optional<Json> Preferences::registeredDefault(const std::string& key) const {
    return defaults_->find(key);
}

bool Preferences::hasStoredValue(const std::string& key) const {
    return store_.get(key).has_value();
}

void Preferences::set(const std::string& key, Json value) {
    store_.set(key, std::move(value));
    announce();
}

bool Preferences::unset(const std::string& key) {
    const bool existed = store_.unset(key);
    if (existed) announce();
    return existed;
}

void Preferences::modify(const std::string& key, const std::function<void(Json& value)>& change) {
    bool changed = false;
    store_.modify(key, [&](Json& value) {
        const Json before = value;
        change(value);
        // 1 and 1.0 compare as equal and are yet two values.
        changed = before.type() != value.type() || before != value;
    });
    if (changed) announce();
}

void Preferences::registerDefault(const std::string& key, Json value) {
    defaults_->values.modify([&](auto& all) { all[key] = std::move(value); });
}

std::vector<std::string> Preferences::keys() const {
    const auto stored = store_.keys();
    std::set<std::string> all(stored.begin(), stored.end());
    defaults_->values.read([&](const auto& defaults) {
        for (const auto& [key, value] : defaults)
            all.insert(key);
    });
    return {all.begin(), all.end()};
}

int Preferences::resultsViewStyle() const {
    constexpr int kAutomatic = 2;
    const std::int64_t style = integer("resultsViewStyle");
    return style >= 0 && style < kAutomatic ? static_cast<int>(style) : kAutomatic;
}

NotificationCenter::Observation Preferences::preferencesDidChangeNotification(
    NotificationCenter::Handler handler) {
    if (notifications_ == nullptr) return {};
    return notifications_->observe(DidChangeNotification, std::move(handler));
}

void Preferences::announce() {
    if (notifications_ != nullptr) notifications_->post(DidChangeNotification);
}

}  // namespace kestrix
