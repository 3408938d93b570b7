// Named values in three levels, family, record and field, in one SQLite file: for what a front end keeps of
// its windows between two runs.
#pragma once

#include <concepts>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "base/clock.h"
#include "stores/sqlite/sqlite.h"

namespace kestrix {

struct DBFamily {
    std::string name;
};

struct DBRect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    bool operator==(const DBRect&) const = default;
};

// JSON text; what it says is the caller's.
struct DBJSON {
    std::string text;

    bool operator==(const DBJSON&) const = default;
};

using DBNull = std::monostate;

// One value: int, double, string, rect, json or null.
struct DBValue : std::variant<DBNull, std::int64_t, double, std::string, DBRect, DBJSON> {
    using variant::variant;

    // For callers that name no family.
    static const DBFamily& DefaultFamily();
};

// What `read` and `write` take as it is.
template <typename T>
concept CompatibleDBValue = std::same_as<T, std::int64_t> || std::same_as<T, double> ||
    std::same_as<T, std::string> || std::same_as<T, DBRect> || std::same_as<T, DBJSON>;

// "{{x, y}, {width, height}}", with as many digits as it takes to read the same numbers again.
std::string textOfRect(const DBRect& rect);
// Nothing if the text has another form. Blanks may stand anywhere between the parts.
std::optional<DBRect> rectOfText(std::string_view text);

// The file holds
//
//     families    familyID, name
//     records     recordID, key, parentFamilyID
//     fieldNames  fieldNameID, name
//     fields      fieldID, parentRecordID, fieldNameID, lastModified (whole seconds since 1970), and a column
//                 for each type: valueInt, valueDouble, valueString, NSStringFromRect (see textOfRect), JSON
//
// A field keeps its value in the column of its type. A write changes that column only, so what was written as
// another type before can still be read as that; null changes none. A double that is not a number is stored
// as no value.
//
// Durable: a write that has returned is in the file, whatever then happens to the process. Other processes
// may use the file at the same time; a write waits a second for them.
// Threads: one at a time. Failures: Error as SQLite throws it.
class HierarchicalDatabase : public SQLite {
  public:
    // Told the path under which a damaged file is kept.
    using Damaged = std::function<void(const std::string& keptAs)>;

    explicit HierarchicalDatabase(Clock& clock = Clock::system()) : clock_(clock) {}

    // Opens the file, made with its folders if there is none. One that is damaged is set aside under another
    // name with its journal, `onDamage` is told, and a new one begins. Throws Error if the file cannot be
    // used, also when another process holds on to it.
    void openStore(const std::string& file, const Damaged& onDamage = nullptr);

    // Makes what is missing of the tables.
    void setupForHierarchicalDBValue();

    // The value; nothing if there is none of that type, or if it cannot be read.
    template <CompatibleDBValue T>
    std::optional<T> read(const std::string& field, const std::string& key,
                          const DBFamily& family = DBValue::DefaultFamily()) {
        const DBValue value = readAs(DBValue(T()), field, key, family);
        const T* found = std::get_if<T>(&value);
        return found == nullptr ? std::nullopt : std::optional<T>(*found);
    }

    template <CompatibleDBValue T>
    void write(const T& value, const std::string& toField, const std::string& key,
               const DBFamily& family = DBValue::DefaultFamily()) {
        write(DBValue(value), toField, key, family);
    }
    // Whole or not at all, also within a transaction.
    void write(const DBValue& value, const std::string& toField, const std::string& key,
               const DBFamily& family = DBValue::DefaultFamily());

    // Deletes the fields of the family that were last written more than this many days ago, and its records
    // without fields; then gives the room back. Not within a transaction.
    void purge(int recordsOlderThanDays, const DBFamily& inFamily = DBValue::DefaultFamily());

  private:
    std::optional<std::int64_t> fieldNameIDFor(const std::string& name);
    std::optional<std::int64_t> familyIDFor(const std::string& name);
    std::optional<std::int64_t> recordIDFor(const std::string& key, std::int64_t familyID);
    std::optional<std::int64_t> firstID(std::string_view sql, const Arguments& arguments);

    DBValue readAs(const DBValue& type, const std::string& field, const std::string& key,
                   const DBFamily& family);
    void writeField(const DBValue& value, const std::string& field, const std::string& key,
                    const std::string& family);
    void undo(std::initializer_list<std::string_view> statements);
    bool openUnlessDamaged(const std::string& file);
    void openSound(const std::string& file);
    std::int64_t secondsNow() const;

    Clock& clock_;
};

}  // namespace kestrix
