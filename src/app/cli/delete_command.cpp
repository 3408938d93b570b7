// Files and folders deleted for good.
#include <algorithm>
#include <atomic>
#include <memory>
#include <unordered_set>

#include "app/cli/chosen_files.h"
#include "app/cli/commands.h"
#include "app/cli/display_text.h"
#include "app/cli/progress_line.h"
#include "base/path.h"
#include "platform/interrupts.h"
#include "platform/standard_streams.h"

namespace kestrix::cli {

namespace {

using Paths = std::vector<std::string>;

// Without what goes with a folder that is named too: it cannot be deleted twice.
Paths outermost(Paths files) {
    const std::unordered_set<std::string> named(files.begin(), files.end());
    std::erase_if(files, [&](const std::string& file) {
        std::string_view above = path::parent(file);
        while (!above.empty() && !named.contains(std::string(above)))
            above = path::parent(above);
        return !above.empty();
    });
    return files;
}

// One deletion, from the question to the exit code.
class DeleteRun : private DeletorView, private ActivityView {
  public:
    DeleteRun(Application& application, Paths files, bool asks)
        : application_(application), files_(std::move(files)), asks_(asks) {}

    int run();

  private:
    bool confirm(const Warning& warning) override;
    void activitiesChanged() override;
    int exitCode(const Paths& gone) const;

    Application& application_;
    const Paths files_;
    const bool asks_;
    ProgressLine progress_;
    std::atomic<int> interruptedBy_ = 0;
    std::unique_ptr<InterruptWatcher> interrupts_;
};

int DeleteRun::run() {
    Paths gone;
    const auto observation = Deletor::itemsDeleted(application_.notifications(), [&](const Paths& announced) {
        gone = announced;
        application_.mainQueue().quit();
    });
    application_.activities().setView(this);
    if (!application_.deletor().deleteUI(files_, *this)) {
        complain("nothing was deleted");
        return kExitNothing;
    }
    application_.mainQueue().run();
    application_.activities().setView(nullptr);
    progress_.clear();
    return exitCode(gone);
}

// The watch on Ctrl-C begins when there is something to stop half-way; before that, it ends the program.
bool DeleteRun::confirm(const Warning& warning) {
    if (asks_) {
        ask({warning.message, warning.informativeText, warning.deleteButton + "? [y/N] "});
        const auto answer = readAnswer();
        if (!answer) writeTo(StandardStream::error, "\n");
        if (answer != "y" && answer != "Y" && answer != "yes") return false;
    }
    interrupts_ = std::make_unique<InterruptWatcher>([this](int signal) {
        interruptedBy_ = signal;
        application_.mainQueue().post([this] { application_.deletor().cancel(); });
    });
    return true;
}

void DeleteRun::activitiesChanged() {
    for (const auto& activity : application_.activities().items()) {
        const ActivityItem::Texts texts = activity->texts();
        progress_.show(texts.leftText + ": " + texts.rightText + "  " + texts.shortStatus.value_or(""));
    }
}

int DeleteRun::exitCode(const Paths& gone) const {
    if (gone.size() == files_.size()) return kExitFound;
    // Those that went are announced in the order in which they were given.
    const auto at = std::mismatch(files_.begin(), files_.end(), gone.begin(), gone.end());
    complain((interruptedBy_ == 0 ? "" : "stopped; ") + std::to_string(files_.size() - gone.size()) + " of " +
             std::to_string(files_.size()) + " item(s) are left, the first is " + inQuotes(*at.first));
    return interruptedBy_ == 0 ? kExitFailure : 128 + interruptedBy_;
}

}  // namespace

int runDelete(const Arguments& arguments, CommandContext& context) {
    if (arguments.words.empty()) throw UsageError("delete needs a path, such as: kestrix delete draft.txt");
    const bool asks = !arguments.has("yes");
    if (asks && !isTerminal(StandardStream::input)) {
        throw UsageError("delete asks before it deletes, and nobody is there to answer; give --yes");
    }
    const ChosenFiles chosen = chosenFiles(arguments.words);
    for (const auto& missing : chosen.missing)
        complain("cannot delete " + inQuotes(missing.typed) + ": " + missing.reason);
    if (chosen.files.empty()) return kExitFailure;
    const int code = DeleteRun(context.application, outermost(chosen.files), asks).run();
    return code == kExitFound && !chosen.missing.empty() ? kExitFailure : code;
}

}  // namespace kestrix::cli
