// One SQLite connection: statements with bound values in, rows as dictionaries out.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "base/error.h"

struct sqlite3;
struct sqlite3_stmt;

namespace kestrix {

using SQLiteBytes = std::vector<std::byte>;
// A value to bind; the first alternative binds NULL. Strings are UTF-8 and may hold null bytes.
using SQLiteValue = std::variant<std::monostate, std::int64_t, double, std::string, SQLiteBytes>;
// Column name to value, by the type that the value has in this row. A column that is NULL is left out.
using SQLiteRow = std::map<std::string, SQLiteValue>;

// Values are always bound, never written into the text of a statement, so a quote in one is data.
//
// Threads: one at a time; there is no lock. Closes itself.
// Failures: Error of the domain "SQLite error" with SQLite's result code and the description
// "SQLite: MESSAGE. NOTE"; it is logged, and errorHandler gets it before it is thrown. Nothing is retried.
class SQLite {
  public:
    static constexpr const char* kErrorDomain = "SQLite error";

    // Result codes that callers treat apart.
    static constexpr int kBusy = 5;
    static constexpr int kCorrupt = 11;
    static constexpr int kConstraint = 19;
    static constexpr int kNoDatabase = 26;
    // Flags of `open`.
    static constexpr int kReadWrite = 2;
    static constexpr int kCreate = 4;

    using Arguments = std::vector<SQLiteValue>;

    SQLite() = default;
    ~SQLite() { close(); }
    SQLite(const SQLite&) = delete;
    SQLite& operator=(const SQLite&) = delete;

    // A database without a file, shared by all connections of this process that are opened so; it goes with
    // the last of them.
    void openInMemory();
    // A file. SQLite looks into it at the first statement only: that is where a damaged one fails.
    void open(const std::string& url, int flags);
    void close();
    bool isOpen() const { return dbSqlite_ != nullptr; }

    // Runs one statement with `arguments` bound in order and returns its rows. A text of several statements
    // is refused: whoever binds values means one.
    std::vector<SQLiteRow> query(std::string_view sql, const Arguments& arguments = {});
    void execute(std::string_view sql, const Arguments& arguments = {});

    // Runs `f` between "begin transaction" and "end transaction". When it throws, the transaction stays open
    // and so does what was done in it: the caller ends it, or rolls it back.
    void transaction(const std::function<void()>& f);
    void startTransaction();
    void endTransaction();
    bool isInTransaction() const;

    // Makes queries quick and the file small again; takes as long as the file is large.
    void cleanup();

    std::int64_t last_insert_rowid() const;

    std::function<void(const Error&)> errorHandler;
    bool shouldPrintSql = false;  // every statement goes to the log
    // An insert that meets a unique index then does nothing instead of failing.
    bool ignoreUniqueConstraintErrors = false;

    const std::optional<std::string>& sqliteFile() const { return sqliteFile_; }

  private:
    void openPath(const std::string& path, int flags);
    void bindValue(const SQLiteValue& value, int column, sqlite3_stmt* statement);
    Error makeError(int code, const std::string& extraNote) const;
    [[noreturn]] void fail(int code, const std::string& extraNote);

    std::optional<std::string> sqliteFile_;
    sqlite3* dbSqlite_ = nullptr;
};

}  // namespace kestrix
