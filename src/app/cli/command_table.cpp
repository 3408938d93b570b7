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
constexpr std::array<Texts, 2> kExportForms = {"csv", "text"};
constexpr std::array<Texts, 1> kAddOnly = {"add"};
constexpr std::array<Texts, 1> kUpdateOnly = {"update"};
constexpr std::array<Texts, 2> kAddOrUpdate = {"add", "update"};
constexpr std::array<Texts, 1> kSetOnly = {"set"};
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
               .help = "who looks; may be given several times; default: all, catalogs if the setting "
                       "diskCatalogCaching is on"},
    OptionSpec{.name = "sort",
               .kind = ValueKind::choice,
               .valueName = "COLUMN",
               .values = kColumns,
               .help = "print once, sorted by this column"},
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
    OptionSpec{.name = "summary", .help = "print the summary lines of content hits under their paths"},
    OptionSpec{.name = "stats", .help = "print counts and timings on standard error at the end"},
    OptionSpec{.name = "strict", .help = "exit with 2 if a folder or a catalog could not be read"},
    OptionSpec{.name = "no-history", .help = "leave this line out of the history"},
};

constexpr OptionSpec kJson{.name = "json", .help = "print JSON for programs"};
constexpr std::array kExplainOptions = {
    kJson,
    OptionSpec{.name = "soundex", .help = "read the line as find --soundex does"},
};
constexpr std::array kListOptions = {kJson};
// One of the options of find, for the commands that search as it does.
consteval OptionSpec ofFind(std::string_view name) {
    return *std::ranges::find(kFindOptions, name, &OptionSpec::name);
}
constexpr std::array kWhyOptions = {ofFind("in"), ofFind("where"), ofFind("soundex"), ofFind("system"),
                                    kJson};
constexpr std::array kExportOptions = {
    OptionSpec{.name = "to",
               .kind = ValueKind::path,
               .valueName = "FILE",
               .help = "the file to write; .csv or .txt tells its form"},
    OptionSpec{.name = "format",
               .kind = ValueKind::choice,
               .valueName = "FORM",
               .values = kExportForms,
               .help = "its form, whatever it is called"},
    ofFind("in"),
    ofFind("where"),
    ofFind("soundex"),
    ofFind("system"),
    ofFind("source"),
    ofFind("sort"),
    ofFind("reverse"),
    ofFind("limit"),
    ofFind("stats"),
    ofFind("strict"),
    ofFind("no-history"),
};
constexpr auto kSavedOptions = [] {
    std::array<OptionSpec, kFindOptions.size() + 1> options;
    *std::copy(kFindOptions.begin(), kFindOptions.end(), options.begin()) = kJson;
    return options;
}();
constexpr std::array kSettingsOptions = {
    kJson,
    OptionSpec{
        .name = "string", .actions = kSetOnly, .help = "store the value as text, whatever it looks like"},
};
constexpr std::array kDeleteOptions = {
    OptionSpec{.name = "yes", .shortName = 'y', .help = "delete without asking"},
};

constexpr std::array kHelpOptions = {
    OptionSpec{.name = "man", .help = "print the manual page (roff)"},
    OptionSpec{.name = "language", .help = "print the description of the query language (Markdown)"},
};

constexpr std::array kCatalogOptions = {
    kJson,
    OptionSpec{.name = "name",
               .kind = ValueKind::text,
               .valueName = "NAME",
               .actions = kAddOnly,
               .help = "what the catalog is called; default: made from the folder"},
    OptionSpec{.name = "mirror",
               .kind = ValueKind::path,
               .valueName = "FILE",
               .actions = kAddOnly,
               .help = "keep a copy of the catalog there, in step both ways"},
    OptionSpec{.name = "words",
               .actions = kAddOrUpdate,
               .help = "from now on also the words of documents, so that content searches ask it"},
    OptionSpec{.name = "ocr",
               .actions = kAddOrUpdate,
               .help = "the same, and the text in pictures; each update reads every file again"},
    OptionSpec{.name = "set-aside",
               .actions = kUpdateOnly,
               .help = "keep the old file under another name and build anew"},
};

constexpr std::array kCatalogActions = {
    ActionSpec{"list", "", 0, 0, "all catalogs: files, size, last update, state, name, folder"},
    ActionSpec{"info", "NAME", 1, 1,
               "all that is known of one; NAME may be a .kxcache file, as for dump and verify"},
    ActionSpec{"add", "PATH", 1, 1,
               "make and fill a catalog of a folder or disk, or take in a .kxcache file"},
    ActionSpec{"update", "[NAME]", 0, 1, "bring one, or all, in line with the disk"},
    ActionSpec{"remove", "NAME", 1, 1,
               "forget a catalog and delete its file; a mirror, and a file taken in, stay"},
    ActionSpec{"dump", "NAME", 1, 1, "print its records, one JSON object a line"},
    ActionSpec{"verify", "NAME", 1, 1, "name each fault of its file; exits with 0 when it is sound"},
    ActionSpec{"failed", "NAME", 1, 1, "the documents whose words could not be read: path, tab, reason"},
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
constexpr std::array kSavedActions = {
    ActionSpec{"list", "", 0, 0, "each name, its line and where it looks, with tabs between them"},
    ActionSpec{"add", "NAME LINE...", 2, ActionSpec::kAnyNumber,
               "keep a line; --in or --where, and --system, are kept with it"},
    ActionSpec{"run", "NAME", 1, 1, "find what it finds; with the options of find"},
    ActionSpec{"change", "NAME LINE...", 2, ActionSpec::kAnyNumber, "give it another line"},
    ActionSpec{"rename", "OLD NEW", 2, 2, "give it another name"},
    ActionSpec{"remove", "NAME", 1, 1, "forget it"},
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
    ActionSpec{"add-folder", "FOLDER", 1, 1, "keep folders of this name out"},
    ActionSpec{"add-extension", "EXTENSION", 1, 1, "keep files with this extension out"},
    ActionSpec{"remove", "TEXT", 1, 1, "take a folder or an extension off the lists"},
};
constexpr std::array kLogActions = {
    ActionSpec{"show", "", 0, 0, "today's log"},
    ActionSpec{"path", "", 0, 0, "where the log is"},
};
constexpr std::array kImportOptions = {
    OptionSpec{.name = "words",
               .help = "print each word behind its number of occurrences, the most frequent first"},
    OptionSpec{.name = "ocr", .help = "also recognise the text in pictures"},
    OptionSpec{.name = "all", .help = "read a file of any kind, as plain text if nothing else reads it"},
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
            "Results are printed as they are found, unless --sort is given. Names sort as people read them; "
            "the settings moveFoldersToTop and moveItemsStartingWithQueryToTop bear on --sort name. In the "
            "long "
            "form a line is the size, the date of modification and the path; what a catalog found and is not "
            "there is marked [offline] if its disk is away and [missing] if not, and in JSON by the key "
            "\"presence\".",
        .example = "kestrix find 'report 2016 -draft' --in ~/Documents --sort modified --reverse --limit 20",
        .options = kFindOptions,
        .takesWords = true},
    CommandSpec{
        .name = "export",
        .operands = "LINE...",
        .summary = "write what a line finds to a file",
        .description =
            "Takes a line as find does. The file has a header and a line for each result: name, path, size "
            "in bytes, dates of modification and creation, kind, and the name of the folder. Values are "
            "separated by a comma and a blank in csv, by a tab in text. A file that is there is replaced "
            "when the new one is complete, and stays as it is if anything fails.",
        .example = "kestrix export 'report 2016' --in ~/Documents --sort name --to reports.csv",
        .options = kExportOptions,
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
    CommandSpec{.name = "import",
                .operands = "FILE",
                .summary = "the text that would be searched in a file",
                .description = "Documents are read by a helper program that can neither open files nor reach "
                               "the network. Exits with 1 and says why if a file cannot be read.",
                .example = "kestrix import --words report.pdf",
                .options = kImportOptions,
                .takesWords = true},
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
    CommandSpec{
        .name = "catalog",
        .summary = "catalogs of folders and disks, searched in place of them",
        .description =
            "A catalog knows every file and folder below one folder, in one file. find asks catalogs "
            "with --source catalog, also when the disk is away, and beside the disks when the setting "
            "diskCatalogCaching is on. update keeps what has gone from the disk. Ctrl-C stops add and "
            "update without harm.",
        .example = "kestrix catalog add /media/archive --name Archive",
        .options = kCatalogOptions,
        .actions = kCatalogActions,
        .usualAction = "list"},
    CommandSpec{.name = "service",
                .summary = "keep the catalogs up to date",
                .description =
                    "Runs until Ctrl-C and prints a line for each refresh. A catalog is refreshed when the "
                    "setting updateCachesEvery says so (200 a day, 500 a week, 700 a month), while "
                    "diskCatalogCaching is on; and every day at fileContentCachingUpdateTime, such as 03:30, "
                    "while fileContentCachingTimeUpdatesEnabled is on.",
                .example = "kestrix service"},
    CommandSpec{.name = "rename",
                .operands = "PATH...",
                .summary = "give files new names, one after the other",
                .description =
                    "Each new name is asked for on the terminal, or read from standard input, one a line; an "
                    "empty line keeps the name. Nothing is moved and nothing is overwritten: the first "
                    "failure ends it. The new paths are printed.",
                .example = "kestrix rename draft.txt notes.txt",
                .takesWords = true},
    CommandSpec{.name = "delete",
                .operands = "PATH...",
                .summary = "delete files and folders for good",
                .description =
                    "There is no trash and no way back. Folders go with all that they hold; links are "
                    "deleted, never followed. The root folder, mount points and folders in which a disk is "
                    "mounted are refused. What cannot be deleted is told, and the rest goes; Ctrl-C stops "
                    "half-way.",
                .example = "kestrix delete draft.txt 'old notes'",
                .options = kDeleteOptions,
                .takesWords = true},
    CommandSpec{.name = "settings",
                .summary = "read and change the settings",
                .description =
                    "A value is stored as what it reads as: true and false, whole numbers, numbers, "
                    "lists as JSON, and anything else as text; a setting with a default takes only its "
                    "own kind. get prints the default if nothing is stored, and exits with 1 if there is "
                    "no default either.",
                .example = "kestrix settings set historyMaxCount 100",
                .options = kSettingsOptions,
                .actions = kSettingsActions},
    CommandSpec{.name = "history",
                .summary = "the lines that were searched for",
                .description = "find adds its line, unless --no-history is given, the setting "
                               "historyEnabled is false, or sentences stand in the line.",
                .example = "kestrix history remove 3",
                .options = kListOptions,
                .actions = kHistoryActions,
                .usualAction = "list"},
    CommandSpec{.name = "saved",
                .summary = "searches that are kept under a name",
                .description = "A saved search looks where it was told to when it was added, or in your home "
                               "folder, unless run is given --in or --where.",
                .example = "kestrix saved add drafts 'report : modified this week' --in ~/Documents",
                .options = kSavedOptions,
                .actions = kSavedActions,
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
                .description =
                    "A folder is kept out by its name, wherever one of that name lies. Of a path the "
                    "last name counts in the same way, and so does every path that it is a part "
                    "of. Upper and lower case differ here.",
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
                .description = "Put the output where your shell looks for completions: bash as below, zsh as "
                               "_kestrix in a folder of $fpath, fish as "
                               "~/.config/fish/completions/kestrix.fish.",
                .example = "kestrix completions bash > ~/.local/share/bash-completion/completions/kestrix",
                .actions = kCompletionActions},
    CommandSpec{.name = "help",
                .operands = "[COMMAND]",
                .summary = "show help, or the manual page",
                .description = "Without a command it lists all commands.",
                .example = "kestrix help find",
                .options = kHelpOptions,
                .takesWords = true},
    notBuilt("media", "the media server"),
    notBuilt("remote", "searches on other machines"),
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
