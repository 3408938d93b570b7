// Folders and extensions that the user keeps out of every search.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/uuid.h"
#include "shell/preferences.h"

namespace kestrix {

enum class IgnoreItemType { pathComponent, pathExtension, displayGroup };

struct IgnoreItem {
    IgnoreItemType type = IgnoreItemType::pathComponent;
    Uuid id = Uuid::make();  // fresh at each load
    std::string text;
};

// The two lists of the settings "ignoreFolders" and "ignoreExtensions". Each query owns a fresh instance, so
// a running search is not disturbed by edits. Comparisons are exact, case included. Threads: what is const
// may be asked by several at once. Writers throw Error when the settings cannot be written.
class IgnoreItems {
  public:
    // Loads both lists; what is missing or ill-typed counts as empty. `preferences` must live as long as this
    // does.
    explicit IgnoreItems(Preferences& preferences);

    // Once at program start: marks that the first run has been.
    static void startup(Preferences& preferences);

    // Writes what changed here since loading; what another process changed meanwhile stays.
    void save();

    bool empty() const { return pathComponents_.empty() && pathExtensions_.empty(); }
    bool containsPath(std::string_view path) const;
    bool containsExtension(std::string_view extension) const;

    // A text with a slash must occur in the path, one without must be one of its components; failing that, a
    // text whose last component is one of the path's components counts as well.
    bool includesFolder(std::string_view path) const;

    // Both lists with a `displayGroup` row before each.
    std::vector<IgnoreItem> itemsForDisplay() const;
    // `index` counts in itemsForDisplay; group rows and places outside are left alone.
    void changeDisplayItemValue(std::size_t index, const std::string& newValue, bool save);
    // Whether there was such an item. Does not save.
    bool remove(const Uuid& id);
    // One leading dot is dropped; an empty or known extension changes nothing, any other is added and saved.
    void add(std::string_view fileExtension);
    // A folder by name or path; a known one changes nothing, any other is added and saved.
    void addFolder(std::string_view folder);

    const std::vector<IgnoreItem>& pathComponents() const { return pathComponents_; }
    const std::vector<IgnoreItem>& pathExtensions() const { return pathExtensions_; }

  private:
    Preferences& preferences_;
    std::vector<IgnoreItem> pathComponents_;
    std::vector<IgnoreItem> pathExtensions_;
    std::vector<std::string> loadedFolders_;  // as last read or written
    std::vector<std::string> loadedExtensions_;
};

}  // namespace kestrix
