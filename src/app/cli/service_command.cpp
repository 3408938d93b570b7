// The process that keeps the catalogs up to date.
#include <fmt/format.h>

#include <set>

#include "app/cli/catalog_actions.h"
#include "app/cli/commands.h"
#include "app/cli/display_text.h"
#include "base/error.h"
#include "index/content_index_manager.h"
#include "platform/file_ranges_lock.h"
#include "platform/interrupts.h"
#include "platform/stored_file.h"

namespace kestrix::cli {

namespace {

constexpr Seconds kInterval = Seconds(60);

// Takes over what others have changed, then starts what is due; again and again.
class Service {
  public:
    explicit Service(CommandContext& context)
        : context_(context),
          interrupts_([this](int) { context_.application.mainQueue().quit(); }),
          catalogs_(context.application.catalogs()) {}

    int run() {
        catalogs_.setRefreshed([this](const ContentIndex& index, const BuildOutcome& outcome) {
            const std::string line = lineOf(index, outcome);
            context_.application.mainQueue().post([this, line] { print(line); });
        });
        catalogs_.startup();
        look();
        context_.application.mainQueue().run();
        catalogs_.cancelAll();
        return kExitFound;
    }

  private:
    void look() {
        context_.application.settingsStore().reload();
        catalogs_.reload();
        tellUnusable();
        catalogs_.scheduleRefreshes();
        context_.application.mainQueue().postAfter(kInterval, [this] { look(); });
    }

    // Each once, and again if the reason changes.
    void tellUnusable() {
        for (const auto& entry : catalogs_.entries()) {
            if (entry.index || !told_.insert(entry.info.displayName + "\n" + entry.reason).second) continue;
            complain("the catalog " + inQuotes(entry.info.displayName) +
                     " is not kept up to date: " + entry.reason + "; " + adviceOn(entry.info.displayName));
        }
    }

    static std::string lineOf(const ContentIndex& index, const BuildOutcome& outcome) {
        const std::string name = inQuotes(index.displayName());
        if (outcome.fault) return fmt::format("{}: failed, {}\n", name, *outcome.fault);
        return fmt::format("{}: {} files, {} new or changed{}\n", name, outcome.files, outcome.written,
                           outcome.canceled ? ", stopped" : "");
    }

    void print(const std::string& line) {
        context_.output.append(line);
        context_.output.flush();
        if (!context_.output.isOpen()) context_.application.mainQueue().quit();
    }

    CommandContext& context_;
    InterruptWatcher interrupts_;
    ContentIndexManager& catalogs_;
    std::set<std::string> told_;
};

}  // namespace

int runService(const Arguments&, CommandContext& context) {
    const std::string folder = context.application.folders().data;
    makeFolder(folder);
    const FileRangesLock only(folder + "/service.lock", FileRangesLock::Access::createIfMissing);
    if (!only.tryLock(0)) throw UsageError("the service runs already; one is enough for all catalogs");
    return Service(context).run();
}

}  // namespace kestrix::cli
