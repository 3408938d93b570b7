// Clauses that judge a file by its name, its type, its tags or its depth.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "language/command.h"
#include "language/uti_assistant.h"

namespace kestrix {

// ".m4v", "not .txt". The wanted extension is also a word that a name must hold, so that indexes of words
// find candidates; that word test, and not this one, turns down names without an extension.
class ExtensionCommand : public Command {
  public:
    // The extension in lower case, without its dot.
    ExtensionCommand(std::string extension, bool isNot);

    const std::string& wantedFileNameExtension() const { return wantedFileNameExtension_; }
    bool isNot() const { return not_; }

    std::string_view className() const override { return "ExtensionCommand"; }
    std::string commandToString() const override;
    std::string commandExample() const override { return not_ ? "not .**" : ".**"; }
    nlohmann::json explainedFields() const override;
    CommandApplyResult commandImpApply(SearchResult&, SearchDataSourceDelegate*,
                                       const QueryContainer&) override;
    std::shared_ptr<Command> copy() const override;
    std::vector<std::string> commandImpExtraSearchStrings() const override;

  private:
    std::string wantedFileNameExtension_;
    bool not_;
};

// "is image": what is known of the file's type mentions the word. Judged once for each type, so most files
// cost one look-up of their extension.
class UTICommand : public Command {
  public:
    // The word in lower case. `assistant` outlives the command.
    UTICommand(std::string wantedUTI, const UTIAssistant& assistant);

    const std::string& wantedUTI() const { return wantedUTI_; }

    std::string_view className() const override { return "UTICommand"; }
    std::string commandToString() const override;
    std::string commandExample() const override { return "is **"; }
    nlohmann::json explainedFields() const override;
    CommandApplyResult commandImpApply(SearchResult&, SearchDataSourceDelegate*,
                                       const QueryContainer&) override;
    std::shared_ptr<Command> copy() const override;
    bool isTemplateEqualTo(const Command& other) const override;

  private:
    enum Verdict : std::uint8_t { unknown, no, yes };

    bool isWanted(FileTypeId type, const std::string& path);
    bool isWanted(FileTypeId type);
    bool judge(FileTypeId type) const;

    std::string wantedUTI_;
    const UTIAssistant& assistant_;
    // By type. Two threads that judge one type at the same time come to the same verdict.
    std::once_flag firstFile_;
    std::vector<std::atomic<Verdict>> verdicts_;
};

enum class FileOrFolderType { file, folder };

// "is file", "is folder". An application's folder is neither.
class FileOrFolderCommand : public Command {
  public:
    explicit FileOrFolderCommand(FileOrFolderType type) : type_(type) {}

    FileOrFolderType type() const { return type_; }

    std::string_view className() const override { return "FileOrFolderCommand"; }
    std::string commandToString() const override;
    nlohmann::json explainedFields() const override;
    CommandApplyResult commandImpApply(SearchResult&, SearchDataSourceDelegate*,
                                       const QueryContainer&) override;
    std::shared_ptr<Command> copy() const override;

  private:
    FileOrFolderType type_;
};

// "tag red", "without tag red": whether the names of the file's tags, in one line, hold the text.
class LabelCommand : public Command {
  public:
    // The text in lower case.
    LabelCommand(std::string labelName, bool notTag) : labelName_(std::move(labelName)), notTag_(notTag) {}

    const std::string& labelName() const { return labelName_; }
    bool notTag() const { return notTag_; }

    std::string_view className() const override { return "LabelCommand"; }
    std::string commandToString() const override;
    std::string commandExample() const override { return notTag_ ? "without tag **" : "tag **"; }
    nlohmann::json explainedFields() const override;
    // A file that has extended attributes but no tag among them is out either way.
    CommandApplyResult commandImpApply(SearchResult&, SearchDataSourceDelegate*,
                                       const QueryContainer&) override;
    std::shared_ptr<Command> copy() const override;

  private:
    std::string labelName_;
    bool notTag_;
};

// Marks the search: what a list would hide is shown.
class ShowAllFiles : public Command {
  public:
    std::string_view className() const override { return "ShowAllFiles"; }
    std::string commandToString() const override { return "show all files"; }
    CommandApplyResult commandImpApply(SearchResult&, SearchDataSourceDelegate*,
                                       const QueryContainer&) override {
        return CommandApplyResult::accept;
    }
    std::shared_ptr<Command> copy() const override;
};

// "max depth 3": at most so many folders above the file, counted from the root and not from where a search
// began.
class MaxDepth : public Command {
  public:
    // Below 1: no limit.
    explicit MaxDepth(std::int64_t maxDepth) : maxDepth_(maxDepth) {}

    std::int64_t maxDepth() const { return maxDepth_; }
    // Whether a walk goes into the folders that lie in this one.
    bool letsEnterChildrenOf(std::string_view folder) const;

    std::string_view className() const override { return "MaxDepth"; }
    std::string commandToString() const override;
    std::string commandExample() const override { return "max depth **"; }
    nlohmann::json explainedFields() const override;
    CommandApplyResult commandImpApply(SearchResult&, SearchDataSourceDelegate*,
                                       const QueryContainer&) override;
    std::shared_ptr<Command> copy() const override;
    bool commandIsOnlyAFilter() const override { return true; }

  private:
    std::int64_t maxDepth_;
};

enum class LengthChoice { max, min };

// "max name length 20": fewer characters than that, "min": more.
class NameLengthCommand : public Command {
  public:
    NameLengthCommand(std::int64_t count, LengthChoice choice) : count_(count), choice_(choice) {}

    std::int64_t count() const { return count_; }
    LengthChoice choice() const { return choice_; }

    std::string_view className() const override { return "NameLengthCommand"; }
    std::string commandToString() const override;
    std::string commandExample() const override;
    nlohmann::json explainedFields() const override;
    CommandApplyResult commandImpApply(SearchResult&, SearchDataSourceDelegate*,
                                       const QueryContainer&) override;
    std::shared_ptr<Command> copy() const override;

  private:
    std::int64_t count_;
    LengthChoice choice_;
};

// The same for the whole path.
class PathLengthCommand : public Command {
  public:
    PathLengthCommand(std::int64_t count, LengthChoice choice) : count_(count), choice_(choice) {}

    std::int64_t count() const { return count_; }
    LengthChoice choice() const { return choice_; }

    std::string_view className() const override { return "PathLengthCommand"; }
    std::string commandToString() const override;
    std::string commandExample() const override;
    nlohmann::json explainedFields() const override;
    CommandApplyResult commandImpApply(SearchResult&, SearchDataSourceDelegate*,
                                       const QueryContainer&) override;
    std::shared_ptr<Command> copy() const override;

  private:
    std::int64_t count_;
    LengthChoice choice_;
};

}  // namespace kestrix
