#include "app/application.h"

#include "files/ignore_items.h"
#include "search/metadata_search.h"

namespace kestrix {
namespace {

// The service in `place`, made now from `arguments` if it is not there.
template <typename Service, typename... Arguments>
Service& lazily(std::unique_ptr<Service>& place, Arguments&&... arguments) {
    if (!place) place = std::make_unique<Service>(std::forward<Arguments>(arguments)...);
    return *place;
}

}  // namespace

Application::Application(ApplicationOptions options)
    : options_(std::move(options)), mainQueue_(options_.clock) {}

Application::~Application() {
    if (logger_ && Logger::shared == logger_.get()) {
        Logger::shouldLog = false;
        Logger::shared = nullptr;
    }
}

const UserFolders& Application::folders() {
    if (!folders_) {
        folders_ = std::make_unique<UserFolders>(options_.folders ? *options_.folders
                                                                  : UserFolders::fromEnvironment());
    }
    return *folders_;
}

NotificationCenter& Application::notifications() {
    return lazily(notifications_, mainQueue_);
}

SettingsStore& Application::settingsStore() {
    return lazily(settingsStore_, folders().settingsFile, options_.settingsDamaged);
}

Preferences& Application::preferences() {
    return lazily(preferences_, settingsStore(), &notifications());
}

Logger& Application::logger() {
    return lazily(logger_, folders().cache, mainQueue_, options_.clock);
}

GuruMeditation& Application::failures() {
    return lazily(failures_, mainQueue_, trace_, options_.showAlert, options_.version);
}

ActivityController& Application::activities() {
    return lazily(activities_, mainQueue_, notifications(), options_.clock);
}

DiskInfoManager& Application::disks() {
    return lazily(disks_, options_.mounts, mainQueue_);
}

const LanguageParse& Application::language() {
    return lazily(language_);
}

HistoryController& Application::history() {
    const auto holdsCommands = [query = queryEnvironment()](const std::string& text) {
        return !QueryContainer(text, std::nullopt, false, query).commandsFoundInQuery().empty();
    };
    return lazily(history_, preferences(), notifications(), holdsCommands, options_.clock);
}

RecentItems& Application::recentItems() {
    return lazily(recentItems_, preferences(), notifications(), options_.mounts, options_.clock);
}

RecentLocations& Application::recentLocations() {
    return lazily(recentLocations_, preferences());
}

FavoriteFolders& Application::favoriteFolders() {
    return lazily(favoriteFolders_, preferences(), notifications(), folders().home);
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
