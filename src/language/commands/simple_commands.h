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
    std::shared_ptr<Command> copy() const override { return std::make_shared<ExtensionCommand>(*this); }
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
    std::shared_ptr<Command> copy() const override { return std::make_shared<FileOrFolderCommand>(*this); }

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
    std::shared_ptr<Command> copy() const override { return std::make_shared<LabelCommand>(*this); }

  private:
    std::string labelName_;
    bool notTag_;
};

// Marks the search: what a list would hide is shown.
class ShowAllFiles : public Command {
  public:
    static constexpr const char* kCommandName = "showAllFiles";
    std::string_view className() const override { return "ShowAllFiles"; }
    std::string commandToString() const override { return "show all files"; }
    std::shared_ptr<Command> copy() const override { return std::make_shared<ShowAllFiles>(*this); }
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
    std::shared_ptr<Command> copy() const override { return std::make_shared<MaxDepth>(*this); }
    bool commandIsOnlyAFilter() const override { return true; }

  private:
    std::int64_t maxDepth_;
};

enum class LengthChoice { max, min };

// "max name length 20": fewer characters than that, "min": more.
class LengthCommand : public Command {
  public:
    std::int64_t count() const { return count_; }
    LengthChoice choice() const { return choice_; }

    std::string commandToString() const override { return sentence(std::to_string(count_)); }
    std::string commandExample() const override { return sentence("**"); }
    nlohmann::json explainedFields() const override;

  protected:
    // `what`: the word of the sentence that says what is counted, of static storage.
    LengthCommand(std::int64_t count, LengthChoice choice, std::string_view what)
        : count_(count), choice_(choice), what_(what) {}

    CommandApplyResult judge(std::string_view text) const;

  private:
    std::string sentence(std::string_view count) const;

    std::int64_t count_;
    LengthChoice choice_;
    std::string_view what_;
};

class NameLengthCommand : public LengthCommand {
  public:
    static constexpr const char* kMaxName = "nameMaxLength";
    static constexpr const char* kMinName = "nameMinLength";
    NameLengthCommand(std::int64_t count, LengthChoice choice) : LengthCommand(count, choice, "name") {}

    std::string_view className() const override { return "NameLengthCommand"; }
    CommandApplyResult commandImpApply(SearchResult&, SearchDataSourceDelegate*,
                                       const QueryContainer&) override;
    std::shared_ptr<Command> copy() const override { return std::make_shared<NameLengthCommand>(*this); }
};

// The same for the whole path.
class PathLengthCommand : public LengthCommand {
  public:
    static constexpr const char* kMaxName = "pathMaxLength";
    static constexpr const char* kMinName = "pathMinLength";
    PathLengthCommand(std::int64_t count, LengthChoice choice) : LengthCommand(count, choice, "path") {}

    std::string_view className() const override { return "PathLengthCommand"; }
    CommandApplyResult commandImpApply(SearchResult&, SearchDataSourceDelegate*,
                                       const QueryContainer&) override;
    std::shared_ptr<Command> copy() const override { return std::make_shared<PathLengthCommand>(*this); }
};

}  // namespace kestrix
