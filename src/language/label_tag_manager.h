// The tags that are offered while a line is typed.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "base/lock.h"
#include "shell/preferences.h"

namespace kestrix {

// Knows the tags that were met on files or given to files, of this run and, through the setting "KnownTags"
// (a list of strings), of earlier ones. No index of all tags exists on this system, so one that was never met
// is not known. Threads: any.
class LabelTagManager {
  public:
    explicit LabelTagManager(Preferences& preferences) : preferences_(preferences) {}

    // The file's tags; they are known from now on.
    std::vector<std::string> labels(const std::string& path);

    // Gives the file these tags in place of its own; they are known from now on. Throws Error, see writeTags.
    void setLabels(const std::string& path, const std::vector<std::string>& tags);

    // The known ones, in the order in which people sort names.
    std::vector<std::string> tagsForDisplay() const;

    // Adds what was met to the setting, beside what other processes have put there meanwhile. Throws Error.
    void save();

  private:
    void remember(const std::vector<std::string>& tags);

    Preferences& preferences_;
    Locked<std::set<std::string>> met_;
};

}  // namespace kestrix
