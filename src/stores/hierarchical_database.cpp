#include "stores/hierarchical_database.h"

#include <fmt/format.h>

#include <array>
#include <charconv>
#include <chrono>

#include "platform/stored_file.h"
#include "shell/logger.h"

namespace kestrix {

namespace {

constexpr std::array kSchema = {
    "create table if not exists families (familyID integer primary key, name text)",
    "create unique index if not exists uniqueFamilysNameIndex on families (name)",
    "create table if not exists records (recordID integer primary key, key text, parentFamilyID integer)",
    "create unique index if not exists uniqueKeyFamilyIndex on records (key,parentFamilyID)",
    "create table if not exists fieldNames (fieldNameID integer primary key, name text )",
    "create unique index if not exists uniqueFieldNameIndex on fieldNames (name)",
    "create table if not exists fields (fieldID integer primary key, parentRecordID integer, fieldNameID "
    "integer, lastModified integer, valueInt integer, valueString text, NSStringFromRect text, JSON text, "
    "valueDouble double )",
    "create unique index if not exists uniqueParentRecordIDNameIndex on fields (parentRecordID,fieldNameID)",
};

constexpr std::int64_t kSecondsADay = 86'400;

// The column of a value's type, by the order of DBValue's alternatives; null has none.
constexpr std::array<std::string_view, 6> kColumns = {
    "", "valueInt", "valueDouble", "valueString", "NSStringFromRect", "JSON"};

SQLiteValue storedForm(const DBValue& value) {
    struct Form {
        SQLiteValue operator()(DBNull) const { return {}; }
        SQLiteValue operator()(std::int64_t number) const { return number; }
        SQLiteValue operator()(double number) const { return number; }
        SQLiteValue operator()(const std::string& text) const { return text; }
        SQLiteValue operator()(const DBRect& rect) const { return textOfRect(rect); }
        SQLiteValue operator()(const DBJSON& json) const { return json.text; }
    };
    return std::visit(Form{}, static_cast<const DBValue::variant&>(value));
}

// `stored` as the type that `type` has; null if it is of another form.
DBValue valueFrom(const SQLiteValue& stored, const DBValue& type) {
    const auto* text = std::get_if<std::string>(&stored);
    if (std::holds_alternative<std::int64_t>(type)) {
        const auto* number = std::get_if<std::int64_t>(&stored);
        return number == nullptr ? DBValue() : DBValue(*number);
    }
    if (std::holds_alternative<double>(type)) {
        const auto* number = std::get_if<double>(&stored);
        return number == nullptr ? DBValue() : DBValue(*number);
    }
    if (text == nullptr) return {};
    if (std::holds_alternative<DBJSON>(type)) return DBJSON{*text};
    if (std::holds_alternative<std::string>(type)) return *text;
    const auto rect = rectOfText(*text);
    return rect ? DBValue(*rect) : DBValue();
}

bool isDamage(const Error& error) {
    return error.code() == SQLite::kNoDatabase || error.code() == SQLite::kCorrupt;
}

// With its journal, which SQLite would otherwise play back into the file that comes next.
std::string setAsideWithJournal(const std::string& file) {
    const std::string keptAs = setAside(file);
    if (readWholeFile(file + "-journal")) renameFile(file + "-journal", keptAs + "-journal");
    return keptAs;
}

// Reads the parts of a rectangle's text from left to right.
class RectReader {
  public:
    explicit RectReader(std::string_view text) : text_(text) {}

    bool takes(char sign) {
        skipBlanks();
        if (text_.empty() || text_.front() != sign) return false;
        text_.remove_prefix(1);
        return true;
    }
    bool takes(double& number) {
        skipBlanks();
        const auto read = std::from_chars(text_.data(), text_.data() + text_.size(), number);
        text_.remove_prefix(static_cast<std::size_t>(read.ptr - text_.data()));
        return read.ec == std::errc();
    }
    bool takesPair(double& first, double& second) {
        return takes('{') && takes(first) && takes(',') && takes(second) && takes('}');
    }
    bool isAtEnd() {
        skipBlanks();
        return text_.empty();
    }

  private:
    void skipBlanks() { text_.remove_prefix(std::min(text_.find_first_not_of(' '), text_.size())); }

    std::string_view text_;
};

}  // namespace

const DBFamily& DBValue::DefaultFamily() {
    static const DBFamily family{"Default"};
    return family;
}

std::string textOfRect(const DBRect& rect) {
    return fmt::format("{{{{{}, {}}}, {{{}, {}}}}}", rect.x, rect.y, rect.width, rect.height);
}

std::optional<DBRect> rectOfText(std::string_view text) {
    DBRect rect;
    RectReader reader(text);
    const bool isRect = reader.takes('{') && reader.takesPair(rect.x, rect.y) && reader.takes(',') &&
                        reader.takesPair(rect.width, rect.height) && reader.takes('}') && reader.isAtEnd();
    return isRect ? std::optional(rect) : std::nullopt;
}

// One process at a time: of two that meet the damage at once, the second finds the new store of the first,
// and leaves it and its journal alone.
void HierarchicalDatabase::openStore(const std::string& file, const Damaged& onDamage) {
    const FileLock hold(file);
    if (openUnlessDamaged(file)) return;
    const std::string keptAs = setAsideWithJournal(file);
    if (onDamage) onDamage(keptAs);
    openSound(file);
}

bool HierarchicalDatabase::openUnlessDamaged(const std::string& file) {
    try {
        openSound(file);
        return true;
    } catch (const Error& error) {
        close();
        if (isDamage(error)) return false;
        if (error.code() != kBusy) throw;
        throw Error(kErrorDomain, kBusy,
                    "another program holds on to the store " + file + "; try again later");
    }
}

void HierarchicalDatabase::openSound(const std::string& file) {
    open(file, kReadWrite | kCreate);
    execute("pragma busy_timeout = 1000");
    const auto faults = query("pragma quick_check(1)");
    if (faults != std::vector{SQLiteRow{{"quick_check", "ok"}}}) {
        throw Error(kErrorDomain, kCorrupt, "the store " + file + " is damaged");
    }
    setupForHierarchicalDBValue();
}

void HierarchicalDatabase::setupForHierarchicalDBValue() {
    for (const char* statement : kSchema)
        execute(statement);
}

std::optional<std::int64_t> HierarchicalDatabase::firstID(std::string_view sql, const Arguments& arguments) {
    const auto rows = query(sql, arguments);
    if (rows.empty() || rows.front().empty()) return std::nullopt;
    const auto* found = std::get_if<std::int64_t>(&rows.front().begin()->second);
    return found == nullptr ? std::nullopt : std::optional(*found);
}

std::optional<std::int64_t> HierarchicalDatabase::fieldNameIDFor(const std::string& name) {
    return firstID("select fieldNameID from fieldNames where name is ?", {name});
}

std::optional<std::int64_t> HierarchicalDatabase::familyIDFor(const std::string& name) {
    return firstID("select familyID from families where name is ?", {name});
}

std::optional<std::int64_t> HierarchicalDatabase::recordIDFor(const std::string& key, std::int64_t familyID) {
    return firstID("select recordID from records where key is ? and parentFamilyID is ?", {key, familyID});
}

DBValue HierarchicalDatabase::readAs(const DBValue& type, const std::string& field, const std::string& key,
                                     const DBFamily& family) {
    const std::string column(kColumns[type.index()]);
    try {
        const auto familyID = familyIDFor(family.name);
        const auto recordID = familyID ? recordIDFor(key, *familyID) : std::nullopt;
        const auto fieldNameID = recordID ? fieldNameIDFor(field) : std::nullopt;
        if (!fieldNameID) return {};
        const auto rows =
            query("select " + column + " from fields where parentRecordID is ? and fieldNameID is ?",
                  {*recordID, *fieldNameID});
        if (rows.empty() || !rows.front().contains(column)) return {};
        return valueFrom(rows.front().at(column), type);
    } catch (const Error&) {
        return {};  // the connection has logged it
    }
}

// A savepoint is a transaction of its own, or a part of the one that is open. One of its own is not released
// after a failure: that would be a commit, which fails as the first one did while a reader is there, and the
// transaction that then stays open would swallow all later writes.
void HierarchicalDatabase::write(const DBValue& value, const std::string& toField, const std::string& key,
                                 const DBFamily& family) {
    const bool isPart = isInTransaction();
    execute("savepoint write");
    try {
        writeField(value, toField, key, family.name);
        execute("release write");
    } catch (const Error&) {
        if (isPart) {
            undo({"rollback to write", "release write"});
        } else {
            undo({"rollback transaction"});
        }
        throw;
    }
}

// After a failure, so that its own failure says nothing new: a full disk has rolled everything back already.
void HierarchicalDatabase::undo(std::initializer_list<std::string_view> statements) {
    try {
        for (const std::string_view statement : statements)
            execute(statement);
    } catch (const Error&) {
        LogFunc("There was nothing left to roll back");
    }
}

// Every statement may write, the first one too: a reader that turns into a writer is not let wait for another
// writer, and would fail at once.
void HierarchicalDatabase::writeField(const DBValue& value, const std::string& field, const std::string& key,
                                      const std::string& family) {
    execute("insert or ignore into fieldNames (name) values (?)", {field});
    const auto fieldNameID = fieldNameIDFor(field);
    execute("insert or ignore into families (name) values (?)", {family});
    const auto familyID = familyIDFor(family);
    if (!fieldNameID || !familyID) throw Error(kErrorDomain, kCorrupt, "the store lost a name that it took");
    execute("insert or ignore into records (key,parentFamilyID) values (?,?)", {key, *familyID});
    const auto recordID = recordIDFor(key, *familyID);
    if (!recordID) throw Error(kErrorDomain, kCorrupt, "the store lost a record that it took");

    const std::string column(kColumns[value.index()]);
    Arguments arguments = {*recordID, *fieldNameID, secondsNow()};
    if (column.empty()) {
        execute(
            "insert into fields (parentRecordID,fieldNameID,lastModified) values (?,?,?) "
            "on conflict (parentRecordID,fieldNameID) do update set lastModified = excluded.lastModified",
            arguments);
        return;
    }
    arguments.push_back(storedForm(value));
    execute(fmt::format("insert into fields (parentRecordID,fieldNameID,lastModified,{0}) values (?,?,?,?) "
                        "on conflict (parentRecordID,fieldNameID) do update set {0} = excluded.{0}, "
                        "lastModified = excluded.lastModified",
                        column),
            arguments);
}

void HierarchicalDatabase::purge(int recordsOlderThanDays, const DBFamily& inFamily) {
    const auto familyID = familyIDFor(inFamily.name);
    if (!familyID) return;
    const std::int64_t oldest = secondsNow() - recordsOlderThanDays * kSecondsADay;
    try {
        transaction([&] {
            execute(
                "delete from fields where lastModified < ? and parentRecordID in "
                "(select recordID from records where parentFamilyID is ?)",
                {oldest, *familyID});
            execute(
                "delete from records where parentFamilyID is ? and not exists "
                "(select 1 from fields where fields.parentRecordID = records.recordID)",
                {*familyID});
        });
    } catch (const Error&) {
        undo({"rollback transaction"});
        throw;
    }
    execute("vacuum");
    execute("analyze");
}

std::int64_t HierarchicalDatabase::secondsNow() const {
    return std::chrono::floor<std::chrono::seconds>(clock_.now().time_since_epoch()).count();
}

}  // namespace kestrix
