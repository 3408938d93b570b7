#include "app/application.h"

#include "files/ignore_items.h"
#include "search/metadata_search.h"

namespace kestrix {
namespace {

// The service in `place`, made now if it is not there. `make` fills the place.
template <typename Service, typename Make>
Service& lazily(std::optional<Service>& place, Make make) {
    if (!place) make(place);
    return *place;
}

}  // namespace

Application::Application(ApplicationOptions options)
    : options_(std::move(options)), mainQueue_(options_.clock) {}

Application::~Application() {
    if (logger_ && Logger::shared == &*logger_) {
        Logger::shouldLog = false;
        Logger::shared = nullptr;
    }
}

const UserFolders& Application::folders() {
    return lazily(folders_, [&](auto& place) {
        place = options_.folders ? *options_.folders : UserFolders::fromEnvironment();
    });
}

NotificationCenter& Application::notifications() {
    return lazily(notifications_, [&](auto& place) { place.emplace(mainQueue_); });
}

SettingsStore& Application::settingsStore() {
    return lazily(settingsStore_,
                  [&](auto& place) { place.emplace(folders().settingsFile, options_.settingsDamaged); });
}

Preferences& Application::preferences() {
    return lazily(preferences_, [&](auto& place) { place.emplace(settingsStore(), &notifications()); });
}

Logger& Application::logger() {
    return lazily(logger_, [&](auto& place) { place.emplace(folders().cache, mainQueue_, options_.clock); });
}

GuruMeditation& Application::failures() {
    return lazily(failures_, [&](auto& place) {
        place.emplace(mainQueue_, trace_, options_.showAlert, options_.version);
    });
}

ActivityController& Application::activities() {
    return lazily(activities_,
                  [&](auto& place) { place.emplace(mainQueue_, notifications(), options_.clock); });
}

DiskInfoManager& Application::disks() {
    return lazily(disks_, [&](auto& place) { place.emplace(options_.mounts, mainQueue_); });
}

const LanguageParse& Application::language() {
    return lazily(language_, [](auto& place) { place.emplace(); });
}

HistoryController& Application::history() {
    return lazily(history_, [&](auto& place) {
        const auto holdsCommands = [query = queryEnvironment()](const std::string& text) {
            return !QueryContainer(text, std::nullopt, false, query).commandsFoundInQuery().empty();
        };
        place.emplace(preferences(), notifications(), holdsCommands, options_.clock);
    });
}

RecentItems& Application::recentItems() {
    return lazily(recentItems_, [&](auto& place) {
        place.emplace(preferences(), notifications(), options_.mounts, options_.clock);
    });
}

RecentLocations& Application::recentLocations() {
    return lazily(recentLocations_, [&](auto& place) { place.emplace(preferences()); });
}

FavoriteFolders& Application::favoriteFolders() {
    return lazily(favoriteFolders_,
                  [&](auto& place) { place.emplace(preferences(), notifications(), folders().home); });
}

QueryEnvironment Application::queryEnvironment() {
    return {preferences(), language()};
}

// The makers may run on a background thread, so what they need is made here and now.
SearchEnvironment Application::searchEnvironment(const SearchPlan& plan) {
    const WalkEnvironment walk{disks(), plan.showActivities ? &activities() : nullptr, &walkCounters_};
    SearchEnvironment::Makers makers;
    makers.commandBasedDataSources = [] { return SearchDataSources(); };
    makers.standardSources = [plan, walk] {
        SearchDataSources sources;
        if (plan.walk) sources.push_back(std::make_shared<FileSystemSearch>(walk));
        if (plan.metadata) sources.push_back(std::make_shared<SpotlightFileSearch>());
        return sources;
    };
    return {mainQueue_, options_.clock, plan.timing, std::move(makers)};
}

void Application::startLogging() {
    Logger::shared = &logger();
    Logger::shouldLog = true;
}

void Application::noteLaunch() {
    preferences().startup(options_.buildNumber);
    IgnoreItems::startup(preferences());
    favoriteFolders().startup();
}

}  // namespace kestrix
