#include "app/application.h"

#include "actions/script_command.h"
#include "base/error.h"
#include "files/ignore_items.h"
#include "language/commands/date_command_factory.h"
#include "language/commands/folder_commands.h"
#include "language/commands/regex_command.h"
#include "language/commands/simple_factories.h"
#include "language/commands/size_command.h"
#include "language/vocabulary.h"
#include "search/content_search.h"
#include "search/known_directories_search.h"
#include "search/metadata_search.h"

namespace kestrix {
namespace {

// The service in `place`, made now from `arguments` if it is not there.
template <typename Service, typename... Arguments>
Service& lazily(std::unique_ptr<Service>& place, Arguments&&... arguments) {
    if (!place) place = std::make_unique<Service>(std::forward<Arguments>(arguments)...);
    return *place;
}

// In the order in which they are asked: the first that knows a command makes it. What they refer to outlives
// the language.
std::vector<std::shared_ptr<const CommandFactory>> commandFactories(
    const Clock& clock, const UTIAssistant& typeNames, Scripter& scripter, ImportTextToolsXPC& import,
    KnownDirectoriesFactory::Favourites favourites) {
    return {std::make_shared<CaseSensitiveFactory>(),
            std::make_shared<ContentSearchFactory>(import),
            std::make_shared<DateCommandCreator>(clock),
            std::make_shared<ExcludeFolderFactory>(),
            std::make_shared<ExtensionCommandFactory>(),
            std::make_shared<FileOrFolderCommandFactory>(),
            std::make_shared<InsideCommandFactory>(),
            std::make_shared<KnownDirectoriesFactory>(std::move(favourites)),
            std::make_shared<LabelCommandFactory>(),
            std::make_shared<NameLengthCommandFactory>(),
            std::make_shared<PathLengthCommandFactory>(),
            std::make_shared<MaxDepthFactory>(),
            std::make_shared<RegexCommandFactory>(),
            std::make_shared<ScriptCommandFactory>(scripter),
            std::make_shared<SizeCommandFactory>(),
            std::make_shared<ShowAllFilesFactory>(),
            std::make_shared<UTICommandFactory>(typeNames),
            std::make_shared<WholeWordsFactory>()};
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

ContentIndexManager& Application::catalogs() {
    if (!catalogs_) {
        catalogs_ = std::make_unique<ContentIndexManager>(ContentIndexManager::Environment{
            preferences(), disks(), options_.clock, mainQueue_, notifications(), &activities(), &failures(),
            folders().data + "/catalogs", SimpleLMDB::Options().mapSize, &importService()});
    }
    return *catalogs_;
}

const FileTypes& Application::fileTypes() {
    return lazily(fileTypes_);
}

const ImportTextTools& Application::importTools() {
    return lazily(importTools_, fileTypes());
}

ImportTextToolsXPC& Application::importService() {
    return lazily(importService_, importTools(), ImportTextToolsXPC::usualHelper(), clock());
}

const UTIAssistant& Application::typeNames() {
    return lazily(typeNames_, fileTypes());
}

const KindTexts& Application::kindTexts() {
    return lazily(kindTexts_, typeNames());
}

LabelTagManager& Application::tags() {
    return lazily(tags_, preferences());
}

Scripter& Application::scripter() {
    return lazily(scripter_, folders().data + "/scripts", &failures());
}

RenameVC& Application::renameVC() {
    return lazily(renameVC_, notifications());
}

Deletor& Application::deletor() {
    return lazily(deletor_, DeletorEnvironment{notifications(), activities(), failures(), options_.mounts,
                                               options_.clock});
}

// Lines are parsed on any thread, so the services behind the lookups are made here and now.
VariableLookups Application::variableLookups() {
    VariableLookups lookups;
    lookups.favouriteFolders = [&favourites = favoriteFolders()] { return favourites.keyFolderPairs(); };
    lookups.knownTags = [&known = tags()] { return known.tagsForDisplay(); };
    lookups.scripts = [&scripts = scripter()] { return scripts.scripts(); };
    return lookups;
}

const LanguageParse& Application::language() {
    if (language_) return *language_;
    const std::string sentences = sentencesInForce();
    const VariableLookups lookups = variableLookups();
    try {
        language_ = std::make_unique<LanguageParse>(makeVocabulary(
            sentences,
            commandFactories(clock(), typeNames(), scripter(), importService(), lookups.favouriteFolders),
            lookups));
    } catch (const Error& fault) {
        throw Error("Vocabulary", fault.code(), sentencesPath() + ", " + fault.what());
    }
    return *language_;
}

HistoryController& Application::history() {
    const auto holdsCommands = [this](const std::string& text) {
        return !QueryContainer(text, std::nullopt, false, queryEnvironment(text))
                    .commandsFoundInQuery()
                    .empty();
    };
    return lazily(history_, preferences(), notifications(), holdsCommands, options_.clock);
}

SavedSearches& Application::savedSearches() {
    return lazily(savedSearches_, preferences(), notifications());
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

HierarchicalDatabase& Application::state() {
    if (!state_) {
        auto opened = std::make_unique<HierarchicalDatabase>(clock());
        opened->openStore(folders().data + "/state.sqlite", options_.stateDamaged);
        state_ = std::move(opened);
    }
    return *state_;
}

QueryEnvironment Application::queryEnvironment(std::string_view line) {
    const bool needsLanguage = line.find(':') != std::string_view::npos || !sentencesPath().empty();
    return {preferences(), needsLanguage ? language() : noLanguage_};
}

// The makers may run on a background thread, so what they need is made here and now.
SearchEnvironment Application::searchEnvironment(const SearchPlan& plan) {
    const WalkEnvironment walk{disks(), plan.showActivities ? &activities() : nullptr, &walkCounters_};
    SearchEnvironment::Makers makers;
    makers.commandBasedDataSources = [] {
        return SearchDataSources{std::make_shared<KnownDirectoriesSearch>()};
    };
    std::optional<ContentIndexSearch::Environment> inCatalogs;
    if (plan.catalogs && (plan.catalogsNamedOutright || preferences().boolean("diskCatalogCaching"))) {
        inCatalogs.emplace(ContentIndexSearch::Environment{catalogs(), preferences(),
                                                           plan.catalogsNamedOutright, plan.catalogFailed,
                                                           &activities(), &itemsSeen_});
    }
    makers.standardSources = [plan, walk, inCatalogs] {
        SearchDataSources sources;
        if (inCatalogs) sources.push_back(std::make_shared<ContentIndexSearch>(*inCatalogs));
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
