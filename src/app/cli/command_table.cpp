#include "app/cli/command_table.h"

#include <algorithm>
#include <array>

namespace kestrix::cli {
namespace {

using Texts = std::string_view;

constexpr std::array<Texts, 6> kPresets = {"all", "macdisks", "local", "network", "backups", "home"};
constexpr std::array<Texts, 3> kSources = {"walk", "catalog", "metadata"};
constexpr std::array<Texts, 8> kColumns = {"name", "size",   "modified", "created",
                                           "kind", "inside", "path",     "rank"};
constexpr std::array<Texts, 5> kForms = {"path", "long", "json", "csv", "text"};
constexpr std::array<Texts, 3> kShells = {"bash", "zsh", "fish"};

constexpr std::array kGlobalOptions = {
    OptionSpec{.name = "help", .shortName = 'h', .help = "show this help"},
    OptionSpec{.name = "version", .help = "show the version"},
    OptionSpec{.name = "log", .help = "write what happens to the log (as KESTRIX_LOG=1 does)"},
};

constexpr std::array kFindOptions = {
    OptionSpec{.name = "in",
               .kind = ValueKind::path,
               .valueName = "PATH",
               .repeatable = true,
               .help = "look in this folder; may be given several times; default: your home folder"},
    OptionSpec{.name = "where",
               .kind = ValueKind::choice,
               .valueName = "NAME",
               .values = kPresets,
               .help = "look in a preset place"},
    OptionSpec{.name = "soundex", .help = "match words by their sound"},
    OptionSpec{.name = "system", .help = "also look inside system folders, hidden folders and packages"},
    OptionSpec{.name = "source",
               .kind = ValueKind::choice,
               .valueName = "NAME",
               .values = kSources,
               .repeatable = true,
               .help = "who looks; may be given several times; default: all (catalog is not there yet)"},
    OptionSpec{.name = "sort",
               .kind = ValueKind::choice,
               .valueName = "COLUMN",
               .values = kColumns,
               .help = "print once, sorted by this column (rank is not there yet)"},
    OptionSpec{.name = "reverse", .help = "with --sort: last one first"},
    OptionSpec{.name = "limit",
               .kind = ValueKind::number,
               .valueName = "N",
               .help = "stop after N results; with --sort: print the first N"},
    OptionSpec{.name = "count", .help = "print only how many there are"},
    OptionSpec{.name = "format",
               .kind = ValueKind::choice,
               .valueName = "FORM",
               .values = kForms,
               .help = "how a result is printed; default: path"},
    OptionSpec{.name = "null", .shortName = '0', .help = "end each path with NUL instead of a new line"},
    OptionSpec{.name = "summary", .help = "print the summary lines under content hits (not there yet)"},
    OptionSpec{.name = "stats", .help = "print counts and timings on standard error at the end"},
    OptionSpec{.name = "strict", .help = "exit with 2 if a folder could not be read"},
    OptionSpec{.name = "no-history", .help = "leave this line out of the history"},
};

constexpr OptionSpec kJson{.name = "json", .help = "print JSON for programs"};
constexpr std::array kExplainOptions = {
    kJson,
    OptionSpec{.name = "soundex", .help = "read the line as find --soundex does"},
};
constexpr std::array kListOptions = {kJson};
constexpr std::array kWhyOptions = {kFindOptions[0], kFindOptions[1], kFindOptions[2], kFindOptions[3],
                                    kJson};
static_assert(kFindOptions[0].name == "in" && kFindOptions[1].name == "where" &&
              kFindOptions[2].name == "soundex" && kFindOptions[3].name == "system");
constexpr std::array kSettingsOptions = {
    kJson,
    OptionSpec{.name = "string", .help = "with set: store the value as text, whatever it looks like"},
};
constexpr std::array kHelpOptions = {
    OptionSpec{.name = "man", .help = "print the manual page (roff)"},
    OptionSpec{.name = "language", .help = "print the description of the query language (Markdown)"},
};

constexpr std::array kSettingsActions = {
    ActionSpec{"list", "", 0, 0, "all settings as KEY=VALUE; stored ones end with a tab and \"stored\""},
    ActionSpec{"get", "KEY", 1, 1, "the value of one setting"},
    ActionSpec{"set", "KEY VALUE", 2, 2, "store a value: true, 17, 1.5 or any text"},
    ActionSpec{"unset", "KEY", 1, 1, "forget a stored value; its default holds again"},
};
constexpr std::array kHistoryActions = {
    ActionSpec{"list", "", 0, 0, "the lines that were searched for, oldest first, numbered"},
    ActionSpec{"remove", "N", 1, 1, "forget the line with this number"},
    ActionSpec{"clear", "", 0, 0, "forget all lines"},
};
constexpr std::array kFavouritesActions = {
    ActionSpec{"list", "", 0, 0, "each name, a tab and its folder"},
    ActionSpec{"add", "PATH", 1, 1, "remember a folder; its name is made from the path"},
    ActionSpec{"remove", "NAME", 1, 1, "forget a folder"},
    ActionSpec{"rename", "OLD NEW", 2, 2, "give a folder another name"},
};
constexpr std::array kRecentsActions = {
    ActionSpec{"list", "", 0, 0, "the items used lately, newest first"},
    ActionSpec{"add", "PATH", 1, 1, "note that an item was used"},
    ActionSpec{"clear", "", 0, 0, "forget all items"},
};
constexpr std::array kIgnoreActions = {
    ActionSpec{"list", "", 0, 0, "what is kept out of every search"},
    ActionSpec{"add-folder", "FOLDER", 1, 1, "keep a folder out, by its name or path"},
    ActionSpec{"add-extension", "EXTENSION", 1, 1, "keep files with this extension out"},
    ActionSpec{"remove", "TEXT", 1, 1, "take a folder or an extension off the lists"},
};
constexpr std::array kLogActions = {
    ActionSpec{"show", "", 0, 0, "today's log"},
    ActionSpec{"path", "", 0, 0, "where the log is"},
};
constexpr std::array kTagActions = {
    ActionSpec{"list", "PATH", 1, 1, "the tags of a file or folder"},
    ActionSpec{"set", "PATH [TAG...]", 1, ActionSpec::kAnyNumber, "give it these tags and no others"},
    ActionSpec{"add", "PATH TAG...", 2, ActionSpec::kAnyNumber, "give it these tags as well"},
    ActionSpec{"remove", "PATH TAG...", 2, ActionSpec::kAnyNumber, "take these tags from it"},
};
constexpr std::array kScriptActions = {
    ActionSpec{"list", "", 0, 0, "each name, a tab and its file"},
    ActionSpec{"run", "NAME [PATH...] [-- ARG...]", 1, ActionSpec::kAnyNumber,
               "run a script over files, then its own arguments"},
    ActionSpec{"folder", "", 0, 0, "make the folder of the scripts and print where it is"},
};
constexpr std::array kCompletionActions = {
    ActionSpec{kShells[0], "", 0, 0, "for bash"},
    ActionSpec{kShells[1], "", 0, 0, "for zsh"},
    ActionSpec{kShells[2], "", 0, 0, "for fish"},
};

constexpr CommandSpec notBuilt(std::string_view name, std::string_view summary) {
    return CommandSpec{.name = name, .summary = summary, .built = false};
}

constexpr std::array kCommands = {
    CommandSpec{
        .name = "find",
        .operands = "LINE...",
        .summary = "find files by one line",
        .description =
            "The words are joined by one blank and read as one line. A file is found if its name holds every "
            "word, in any case and order. \"a OR b\" finds either, \"-word\" leaves names with that word "
            "out, "
            "\"word*\" and \"*word\" stand at the beginning and the end, and quotes keep a phrase together. "
            "Behind a colon stand sentences: \": bigger than 10mb modified in 2016\"; "
            "kestrix help --language lists them all. "
            "Results are printed as they are found, unless --sort is given. The kind of a folder is "
            "\"Folder\"; that of a file is its extension in capitals and \"file\". In the long form a line "
            "is "
            "the size in bytes, the date of modification and the path.",
        .example = "kestrix find 'report 2016 -draft' --in ~/Documents --sort modified --reverse --limit 20",
        .options = kFindOptions,
        .takesWords = true},
    CommandSpec{.name = "explain",
                .operands = "LINE...",
                .summary = "show how a line is read",
                .description =
                    "Nothing is searched for. Use it when a line finds other things than you meant. Words "
                    "that are not understood are shown with the sentence that is nearest to them.",
                .example = "kestrix explain 'report -draft : bigger than 10mb'",
                .options = kExplainOptions,
                .takesWords = true},
    CommandSpec{.name = "complete",
                .operands = "LINE",
                .summary = "show how the beginning of a line can go on",
                .description = "One word a line, the most usual first. The last word counts as half typed "
                               "unless a blank stands behind it. The completions of the shells ask here.",
                .example = "kestrix complete 'report : mod'",
                .options = kListOptions,
                .takesWords = true},
    CommandSpec{.name = "tag",
                .summary = "the tags of a file or folder",
                .description = "They are kept in the extended attribute user.xdg.tags, where other programs "
                               "look for them, too. A tag may hold blanks, but no comma.",
                .example = "kestrix tag add holiday.jpg red \"to print\"",
                .options = kListOptions,
                .actions = kTagActions},
    CommandSpec{.name = "why",
                .operands = "PATH LINE...",
                .summary = "why a line finds a path, or does not",
                .description = "The tests of a search, one after the other, and what each says. Exits with 0 "
                               "if the path would be found and with 1 if not.",
                .example = "kestrix why ~/Documents/report.pdf 'report : bigger than 10mb'",
                .options = kWhyOptions,
                .takesWords = true},
    CommandSpec{.name = "script",
                .summary = "your scripts, and runs over files",
                .description =
                    "A script is a file with the extension shell in the folder of the scripts. It is "
                    "called with the paths, then with the words behind --. A line runs it by "
                    "\": run NAME\".",
                .example = "kestrix script run backup ~/Documents/report.pdf -- quickly",
                .options = kListOptions,
                .actions = kScriptActions,
                .usualAction = "list"},
    CommandSpec{.name = "settings",
                .summary = "read and change the settings",
                .description =
                    "A value is stored as what it reads as: true and false, whole numbers, numbers, "
                    "lists as JSON, and anything else as text. get prints the default if nothing "
                    "is stored, and exits with 1 if there is no default either.",
                .example = "kestrix settings set historyMaxCount 100",
                .options = kSettingsOptions,
                .actions = kSettingsActions},
    CommandSpec{.name = "history",
                .summary = "the lines that were searched for",
                .description = "find adds its line, unless --no-history is given or the setting "
                               "historyEnabled is false.",
                .example = "kestrix history remove 3",
                .options = kListOptions,
                .actions = kHistoryActions,
                .usualAction = "list"},
    CommandSpec{.name = "favourites",
                .summary = "folders to be reached by name",
                .description = "The name is the folder's own up to its first blank, in lower case.",
                .example = "kestrix favourites add ~/Projects",
                .options = kListOptions,
                .actions = kFavouritesActions,
                .usualAction = "list"},
    CommandSpec{.name = "recents",
                .summary = "items used lately",
                .description = "Hidden items and the roots of disks are not kept.",
                .example = "kestrix recents list",
                .options = kListOptions,
                .actions = kRecentsActions,
                .usualAction = "list"},
    CommandSpec{.name = "ignore",
                .summary = "folders and extensions kept out of every search",
                .description = "A folder is named by its bare name, which counts everywhere, or by a path. "
                               "Upper and lower case differ here.",
                .example = "kestrix ignore add-folder node_modules",
                .options = kListOptions,
                .actions = kIgnoreActions,
                .usualAction = "list"},
    CommandSpec{.name = "log",
                .summary = "the log of the program",
                .description = "Nothing is written to it unless --log or KESTRIX_LOG=1 is given.",
                .example = "kestrix --log find readme && kestrix log show",
                .actions = kLogActions,
                .usualAction = "show"},
    CommandSpec{.name = "completions",
                .summary = "print the completions for a shell",
                .description = "Put the output where your shell looks for completions.",
                .example = "kestrix completions bash > ~/.local/share/bash-completion/completions/kestrix",
                .actions = kCompletionActions},
    CommandSpec{.name = "help",
                .operands = "[COMMAND]",
                .summary = "show help, or the manual page",
                .description = "Without a command it lists all commands.",
                .example = "kestrix help find",
                .options = kHelpOptions,
                .takesWords = true},
    notBuilt("saved", "saved searches"),
    notBuilt("catalog", "catalogs of folders and disks"),
    notBuilt("import", "the text that would be searched in a file"),
    notBuilt("export", "results as a file"),
    notBuilt("rename", "rename what was found"),
    notBuilt("delete", "delete what was found"),
    notBuilt("media", "the media server"),
    notBuilt("remote", "searches on other machines"),
    notBuilt("service", "searches for other programs"),
};

template <typename Row>
const Row* named(std::span<const Row> rows, std::string_view name) {
    const auto found =
        std::find_if(rows.begin(), rows.end(), [&](const Row& row) { return row.name == name; });
    return found == rows.end() ? nullptr : &*found;
}

}  // namespace

std::span<const CommandSpec> allCommands() {
    return kCommands;
}

std::span<const OptionSpec> globalOptions() {
    return kGlobalOptions;
}

const CommandSpec* commandNamed(std::string_view name) {
    return named(allCommands(), name);
}

const ActionSpec* actionNamed(const CommandSpec& command, std::string_view name) {
    return named(command.actions, name);
}

}  // namespace kestrix::cli
