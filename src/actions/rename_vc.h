// Renaming chosen files, one after the other, each to a name that is asked for.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/notification_center.h"

namespace kestrix {

// What the rename window knows: the files and which of them it asks for now. A front end shows the question,
// gives the answer to `rename` and asks again, until there is no question left.
//
// A file keeps its folder: the answer is a bare name. It never takes the place of another file; a change that
// only concerns upper and lower case works also where the file system takes both for one name.
// Threads: the main queue's. Failures: Error with one line that can be shown; the failed file and those
// behind it stay as they are, and the window is closed.
class RenameVC {
  public:
    static constexpr const char* DidChange = "RenameVC.DidChange";

    struct Renamed {
        std::string oldPath;
        std::string newPath;

        bool operator==(const Renamed&) const = default;
    };
    using Handler = std::function<void(const std::vector<Renamed>& pairs)>;

    // The texts of the window.
    struct Question {
        std::string title;       // Rename "report.txt"
        std::string name;        // stands in the text field
        std::string position;    // 2 of 5; empty for a single file
        std::string stopButton;  // "Cancel", or "Stop" for several files
    };

    explicit RenameVC(NotificationCenter& notifications) : notifications_(notifications) {}

    // Begins with the first of these absolute paths; what was asked for before is dropped.
    void show(std::vector<std::string> targets);

    // What is to be asked now; nothing if the window is closed.
    std::optional<Question> askToRename() const;

    // The answer. The name that the file has already leaves it as it is. A file that lies in a folder which
    // was renamed on the way is followed there.
    void rename(const std::string& newName);

    // Closes the window.
    void stop() { isOpen_ = false; }

    // The file that is asked for, or was when the window was closed, and those behind it.
    std::vector<std::string> itemsLeft() const;

    // `handler` gets the pairs of each renaming, on the main queue, for as long as what is returned lives.
    [[nodiscard]] static NotificationCenter::Observation itemsRenamed(NotificationCenter& notifications,
                                                                      Handler handler);

  private:
    void follow(const Renamed& pair);

    NotificationCenter& notifications_;
    std::vector<std::string> itemsToRename_;
    std::size_t currentItemIndex_ = 0;
    bool isOpen_ = false;
};

}  // namespace kestrix
