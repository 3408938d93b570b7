#include "actions/rename_vc.h"

#include <fmt/format.h>

#include <any>
#include <cerrno>

#include "base/error.h"
#include "base/path.h"
#include "base/uuid.h"
#include "platform/directory.h"
#include "platform/stored_file.h"

namespace kestrix {

namespace {

constexpr const char* kRenameDomain = "Rename";

[[noreturn]] void refuse(const std::string& path, int code, std::string_view reason) {
    throw Error(kRenameDomain, code, fmt::format("cannot rename {}: {}", path, reason));
}

void checkName(const std::string& path, const std::string& name) {
    if (name.empty() || name == "." || name == "..") refuse(path, EINVAL, "the new name is no name");
    if (name.find('/') != name.npos) {
        refuse(path, EINVAL, fmt::format("the new name \"{}\" holds a slash; files are not moved", name));
    }
    if (name.find('\0') != name.npos) refuse(path, EINVAL, "the new name holds a null byte");
}

bool folderLists(const std::string& folder, std::string_view name) {
    OpenDirectory directory;
    if (directory.open(folder) != 0) return true;
    DirectoryReader reader;
    reader.start(directory);
    for (DirectoryEntry entry; reader.next(entry);) {
        if (entry.name == name) return true;
    }
    return reader.error() != 0;
}

// Whether both paths are one entry of their folder, under two spellings that its file system takes for the
// same name. Two hard links of one file are two entries.
bool isSameEntry(const std::string& from, const std::string& to) {
    FileAttributes old, found;
    return readAttributes(from, false, old) == 0 && readAttributes(to, false, found) == 0 &&
           old.device == found.device && old.inode == found.inode &&
           !folderLists(std::string(path::parent(to)), path::lastComponent(to));
}

// By a third name: the kernel calls a direct renaming done and changes nothing.
void changeSpelling(const std::string& from, const std::string& to) {
    const std::string between = path::join(path::parent(from), ".kestrix-" + Uuid::make().text());
    if (!renameToFreeName(from, between)) refuse(from, EEXIST, "its name is in use");
    try {
        if (renameToFreeName(between, to)) return;
    } catch (const Error&) {
        renameToFreeName(between, from);
        throw;
    }
    renameToFreeName(between, from);
    refuse(from, EEXIST, "the new name is taken");
}

void moveFile(const std::string& from, const std::string& to) {
    if (renameToFreeName(from, to)) return;
    if (isSameEntry(from, to)) return changeSpelling(from, to);
    refuse(from, EEXIST, fmt::format("there is a \"{}\" already", path::lastComponent(to)));
}

}  // namespace

void RenameVC::show(std::vector<std::string> targets) {
    itemsToRename_ = std::move(targets);
    currentItemIndex_ = 0;
    isOpen_ = !itemsToRename_.empty();
}

std::optional<RenameVC::Question> RenameVC::askToRename() const {
    if (!isOpen_) return std::nullopt;
    Question question;
    question.name = path::lastComponent(itemsToRename_[currentItemIndex_]);
    question.title = "Rename \"" + question.name + "\"";
    const bool several = itemsToRename_.size() > 1;
    if (several) question.position = fmt::format("{} of {}", currentItemIndex_ + 1, itemsToRename_.size());
    question.stopButton = several ? "Stop" : "Cancel";
    return question;
}

void RenameVC::rename(const std::string& newName) {
    if (!isOpen_) return;
    const std::string from = itemsToRename_[currentItemIndex_];
    if (newName != path::lastComponent(from)) {
        const Renamed pair{from, path::join(path::parent(from), newName)};
        try {
            checkName(from, newName);
            moveFile(pair.oldPath, pair.newPath);
        } catch (const Error&) {
            stop();
            throw;
        }
        notifications_.post(DidChange, std::vector{pair});
        follow(pair);
    }
    if (++currentItemIndex_ == itemsToRename_.size()) stop();
}

void RenameVC::follow(const Renamed& pair) {
    FileAttributes attributes;
    const bool isFolder =
        readAttributes(pair.newPath, false, attributes) == 0 && attributes.type == EntryType::directory;
    if (!isFolder) return;
    for (std::size_t i = currentItemIndex_; i < itemsToRename_.size(); ++i) {
        std::string& item = itemsToRename_[i];
        if (path::isOrIsBelow(item, pair.oldPath)) item = pair.newPath + item.substr(pair.oldPath.size());
    }
}

std::vector<std::string> RenameVC::itemsLeft() const {
    return {itemsToRename_.begin() + static_cast<std::ptrdiff_t>(currentItemIndex_), itemsToRename_.end()};
}

NotificationCenter::Observation RenameVC::itemsRenamed(NotificationCenter& notifications, Handler handler) {
    return notifications.observeObject(DidChange, [handler = std::move(handler)](const std::any& object) {
        if (const auto* pairs = std::any_cast<std::vector<Renamed>>(&object)) handler(*pairs);
    });
}

}  // namespace kestrix
