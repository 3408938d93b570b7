// Clauses that tie a query to folders, and their factories.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "language/command.h"

namespace kestrix {

// A clause that looks for a text in the path of a file's folder.
class FolderTextCommand : public Command {
  public:
    const std::string& insidePath() const { return insidePath_; }
    bool completePathComponent() const { return completePathComponent_; }

    nlohmann::json explainedFields() const override;

  protected:
    FolderTextCommand(std::string insidePath, bool completePathComponent);

    // What names are held against.
    const std::string& composed() const { return composed_; }

  private:
    std::string insidePath_;
    bool completePathComponent_;
    std::string composed_;
};

// "inside animals": the path of the folder that a file lies in holds the text. `inside "animals"`, in quotes:
// one of the path's components, the file's own name among them, is the text.
class InsideCommand : public FolderTextCommand {
  public:
    // The text in lower case.
    InsideCommand(std::string insidePath, bool completePathComponent)
        : FolderTextCommand(std::move(insidePath), completePathComponent) {}

    std::string_view className() const override { return "InsideCommand"; }
    std::string commandToString() const override;
    std::string commandExample() const override { return "inside ****"; }
    CommandApplyResult commandImpApply(SearchResult&, SearchDataSourceDelegate*,
                                       const QueryContainer&) override;
    std::shared_ptr<Command> copy() const override { return std::make_shared<InsideCommand>(*this); }
};

// "excluding folder animals": files are out whose folder's path, with a slash behind it, holds the text.
// Quotes make no difference here, so the text is always written in them.
class ExcludeFolderCommand : public FolderTextCommand {
  public:
    ExcludeFolderCommand(std::string insidePath, bool completePathComponent)
        : FolderTextCommand(std::move(insidePath), completePathComponent) {}

    std::string_view className() const override { return "ExcludeFolderCommand"; }
    std::string commandToString() const override;
    std::string commandExample() const override { return "excluding folder \"****\""; }
    CommandApplyResult commandImpApply(SearchResult&, SearchDataSourceDelegate*,
                                       const QueryContainer&) override;
    std::shared_ptr<Command> copy() const override { return std::make_shared<ExcludeFolderCommand>(*this); }
};

// "remembered downloads": the search reads one favourite folder instead of walking disks. It judges nothing
// itself and brings no source: every search has one that reads the folder when it meets this command.
class KnownDirectoriesCommand : public Command {
  public:
    // `name`: the favourite's, as it is typed. Without a directory nothing is found.
    KnownDirectoriesCommand(std::optional<std::string> directory, std::string name, bool shallow)
        : directory_(std::move(directory)), name_(std::move(name)), shallow_(shallow) {}

    const std::optional<std::string>& directory() const { return directory_; }
    bool shallow() const { return shallow_; }

    std::string_view className() const override { return "KnownDirectoriesCommand"; }
    std::string commandToString() const override;
    std::string commandExample() const override;
    nlohmann::json explainedFields() const override;
    std::shared_ptr<Command> copy() const override {
        return std::make_shared<KnownDirectoriesCommand>(*this);
    }
    // What it finds is not held against the query's location.
    void commandImpQuerySearchArguments(QuerySearchArguments& arguments) const override;
    bool commandStopsWordBasedSearches() const override { return true; }

  private:
    std::optional<std::string> directory_;
    std::string name_;
    bool shallow_;
};

// "inside": a SentenceComponent.
class InsideCommandFactory : public CommandFactory {
  public:
    std::vector<std::string> commandNames() const override { return {"inside"}; }
    std::shared_ptr<Command> create(const std::string& commandName, const CommandArguments& args,
                                    const CommandFlags& flags) const override;
};

// "excludingFolder": a SentenceComponent; one dash before its text is dropped.
class ExcludeFolderFactory : public CommandFactory {
  public:
    std::vector<std::string> commandNames() const override { return {"excludingFolder"}; }
    std::shared_ptr<Command> create(const std::string& commandName, const CommandArguments& args,
                                    const CommandFlags& flags) const override;
};

// "remembered" and "rememberedShallow": the folder's path as a string.
class KnownDirectoriesFactory : public CommandFactory {
  public:
    // By name; asked at each creation, for the name under which the folder is typed.
    using Favourites = std::function<std::map<std::string, std::string>()>;
    explicit KnownDirectoriesFactory(Favourites favourites) : favourites_(std::move(favourites)) {}

    std::vector<std::string> commandNames() const override { return {"remembered", "rememberedShallow"}; }
    std::shared_ptr<Command> create(const std::string& commandName, const CommandArguments& args,
                                    const CommandFlags& flags) const override;

  private:
    std::string nameOf(const std::string& directory) const;

    Favourites favourites_;
};

}  // namespace kestrix
