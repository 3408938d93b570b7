// The composition root: makes every process-wide service and hands each to whoever needs it.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "actions/deletor.h"
#include "actions/rename_vc.h"
#include "actions/scripter.h"
#include "base/clock.h"
#include "base/main_queue.h"
#include "base/notification_center.h"
#include "files/disks.h"
#include "import/import_text_tools.h"
#include "import/import_text_tools_xpc.h"
#include "index/content_index_search.h"
#include "language/label_tag_manager.h"
#include "language/language_parse.h"
#include "language/query_container.h"
#include "language/uti_assistant.h"
#include "language/variables.h"
#include "platform/file_types.h"
#include "platform/mounts.h"
#include "platform/settings_store.h"
#include "platform/user_folders.h"
#include "results/kind_texts.h"
#include "search/file_system_search.h"
#include "search/search_manager.h"
#include "shell/activity.h"
#include "shell/guru_meditation.h"
#include "shell/logger.h"
#include "shell/preferences.h"
#include "stores/favorite_folders.h"
#include "stores/hierarchical_database.h"
#include "stores/history.h"
#include "stores/recents.h"
#include "stores/saved_searches.h"

namespace kestrix {

// What a front end brings along.
struct ApplicationOptions {
    std::string version;
    std::string buildNumber;
    GuruMeditation::ShowAlert showAlert;
    SettingsStore::Damaged settingsDamaged;
    HierarchicalDatabase::Damaged stateDamaged{};
    Clock& clock = Clock::system();
    MountTable& mounts = MountTable::system();
    std::optional<UserFolders> folders{};  // none: those of the environment
};

// Which of the standard sources a search uses, and how patient it is.
struct SearchPlan {
    bool walk = true;
    bool metadata = true;
    bool catalogs = true;
    bool catalogsNamedOutright = false;  // they are asked whatever the settings say
    // See ContentIndexSearch::Environment.
    std::function<void(const SavedIndexInfo& catalog, const std::string& reason)> catalogFailed{};
    bool showActivities = false;  // running walks stand in the list of activities
    SearchTiming timing;
};

// Each service is made when it is first asked for, after those it builds on, and all go in reverse order of
// their declaration: a command that needs three of them pays for three. Nothing is read or written by making
// one, but for `state`. Threads: the accessors belong to the thread that runs the main queue; what they
// return may be used as its own header says. Must outlive every search that was started with it, also one
// that was stopped and is still winding down.
class Application {
  public:
    explicit Application(ApplicationOptions options);
    ~Application();
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;

    const ApplicationOptions& options() const { return options_; }
    Clock& clock() { return options_.clock; }
    const UserFolders& folders();
    RunLoop& mainQueue() { return mainQueue_; }

    NotificationCenter& notifications();
    SettingsStore& settingsStore();
    Preferences& preferences();
    Logger& logger();
    GMTrace& trace() { return trace_; }
    GuruMeditation& failures();
    ActivityController& activities();
    DiskInfoManager& disks();
    ContentIndexManager& catalogs();
    const FileTypes& fileTypes();
    // The text inside files.
    const ImportTextTools& importTools();
    ImportTextToolsXPC& importService();
    const UTIAssistant& typeNames();
    const KindTexts& kindTexts();
    LabelTagManager& tags();
    Scripter& scripter();
    RenameVC& renameVC();
    Deletor& deletor();
    // What the sentences ask of the application: favourites, tags and scripts.
    VariableLookups variableLookups();
    // Throws Error that names the line if KESTRIX_SENTENCES names a file of sentences with a fault in it.
    const LanguageParse& language();
    HistoryController& history();
    SavedSearches& savedSearches();
    RecentItems& recentItems();
    RecentLocations& recentLocations();
    FavoriteFolders& favoriteFolders();
    // Where a front end keeps what it knows of its windows; the command line has none. Made with its file
    // when first asked for. Throws Error if the file cannot be used.
    HierarchicalDatabase& state();

    // For this line. Makes the language only if it can hold sentences, or if the user brought a file of his
    // own, whose faults are to be told at once.
    QueryEnvironment queryEnvironment(std::string_view line);
    WalkCounters& walkCounters() { return walkCounters_; }
    // How many items of catalogs were looked at.
    std::int64_t itemsSeen() const { return itemsSeen_; }
    SearchEnvironment searchEnvironment(const SearchPlan& plan);

    // Switches the log on for this run.
    void startLogging();

    // What a launch leaves in the settings: the build that ran, the first favourites. What is there already
    // costs no write.
    // Front ends call it before they change settings of their own accord. Throws Error.
    void noteLaunch();

  private:
    ApplicationOptions options_;
    RunLoop mainQueue_;
    GMTrace trace_;
    WalkCounters walkCounters_;
    std::atomic<std::int64_t> itemsSeen_ = 0;
    std::unique_ptr<UserFolders> folders_;
    std::unique_ptr<NotificationCenter> notifications_;
    std::unique_ptr<SettingsStore> settingsStore_;
    std::unique_ptr<Preferences> preferences_;
    std::unique_ptr<Logger> logger_;
    std::unique_ptr<GuruMeditation> failures_;
    std::unique_ptr<ActivityController> activities_;
    std::unique_ptr<DiskInfoManager> disks_;
    std::unique_ptr<FileTypes> fileTypes_;
    std::unique_ptr<ImportTextTools> importTools_;
    std::unique_ptr<ImportTextToolsXPC> importService_;
    std::unique_ptr<ContentIndexManager> catalogs_;
    std::unique_ptr<SavedSearches> savedSearches_;
    std::unique_ptr<RecentItems> recentItems_;
    std::unique_ptr<RecentLocations> recentLocations_;
    std::unique_ptr<FavoriteFolders> favoriteFolders_;
    std::unique_ptr<HierarchicalDatabase> state_;
    std::unique_ptr<UTIAssistant> typeNames_;
    std::unique_ptr<KindTexts> kindTexts_;
    std::unique_ptr<LabelTagManager> tags_;
    std::unique_ptr<Scripter> scripter_;
    std::unique_ptr<RenameVC> renameVC_;
    std::unique_ptr<Deletor> deletor_;
    LanguageParse noLanguage_;
    std::unique_ptr<LanguageParse> language_;
    std::unique_ptr<HistoryController> history_;
};

}  // namespace kestrix
