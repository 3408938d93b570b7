// The folders that a line can name by one word.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/notification_center.h"
#include "shell/preferences.h"

namespace kestrix {

// The map from key to path lies in the setting "RememberedFolders" as an object of strings; other values are
// left out when reading, and gone with the next change. A key is one lower-case word, as it is typed in a
// line.
//
// Nothing is held here: each call reads the settings, each change is made to what is stored at that moment,
// so two processes that add at once both keep theirs.
// Threads: any. Failures: reading never fails; changes throw Error when the settings cannot be written or
// cannot hold what is given, with nothing changed then.
class FavoriteFolders {
  public:
    // Posted after each change made here.
    static constexpr const char* DidChangeNotification = "FavoriteFolders.DidChange";

    using Pair = std::pair<std::string, std::string>;  // key and path

    // `home` is the user's home folder.
    FavoriteFolders(Preferences& preferences, NotificationCenter& notifications, std::string home);

    // Adds the desktop on the very first launch, and the downloads folder whenever there is none.
    void startup();

    std::map<std::string, std::string> keyFolderPairs() const;
    // Sorted by key, as they are shown: the index of the operations below.
    std::vector<Pair> sortedPairs() const;

    // Adds a folder and returns its key: the first word of its name in lower case, with "-1", "-2" ... behind
    // it while that is taken.
    std::string add(const std::string& path);

    // Whether there was such a favourite.
    bool remove(const std::string& key);
    bool deleteDisplayItem(std::size_t index);

    // Gives a favourite a new key and path; false if there is no such favourite. Throws Error if the new name
    // is not one word or is another favourite's.
    bool change(const std::string& key, const std::string& newName, const std::string& newPath);
    bool changeDisplayItem(std::size_t index, const std::string& newName, const std::string& newPath);

    // The key of the downloads folder: the one that the setting "RememberedFoldersDownloadsFolderName" names
    // ("Downloads" if unset), or else the first whose path ends in that name.
    std::optional<std::string> downloadsName() const;
    // Adds the downloads folder if no favourite is it.
    void ensureDownloadsExists();

  private:
    std::string downloadsSetting() const;
    std::optional<std::string> keyAt(std::size_t index) const;
    void announce();

    Preferences& preferences_;
    NotificationCenter& notifications_;
    std::string home_;
};

}  // namespace kestrix
