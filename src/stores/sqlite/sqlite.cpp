#include "stores/sqlite/sqlite.h"

#include <fmt/format.h>
#include <sqlite3.h>

#include <memory>

#include "base/text.h"
#include "shell/logger.h"

namespace kestrix {

static_assert(SQLite::kBusy == SQLITE_BUSY && SQLite::kCorrupt == SQLITE_CORRUPT &&
              SQLite::kConstraint == SQLITE_CONSTRAINT && SQLite::kNoDatabase == SQLITE_NOTADB &&
              SQLite::kReadWrite == SQLITE_OPEN_READWRITE && SQLite::kCreate == SQLITE_OPEN_CREATE);

namespace {

using Statement = std::unique_ptr<sqlite3_stmt, decltype(&sqlite3_finalize)>;

std::string inWords(const SQLiteValue& value) {
    struct Words {
        std::string operator()(std::monostate) const { return "NULL"; }
        std::string operator()(std::int64_t number) const { return std::to_string(number); }
        std::string operator()(double number) const { return fmt::format("{}", number); }
        std::string operator()(const std::string& text) const { return text; }
        std::string operator()(const SQLiteBytes& bytes) const {
            return fmt::format("{} bytes", bytes.size());
        }
    };
    return std::visit(Words{}, value);
}

// Nothing for NULL.
std::optional<SQLiteValue> valueOf(sqlite3_stmt* statement, int column) {
    const auto size = [&] { return static_cast<std::size_t>(sqlite3_column_bytes(statement, column)); };
    switch (sqlite3_column_type(statement, column)) {
        case SQLITE_INTEGER:
            return sqlite3_column_int64(statement, column);
        case SQLITE_FLOAT:
            return sqlite3_column_double(statement, column);
        case SQLITE_TEXT: {
            const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
            return std::string(text, size());
        }
        case SQLITE_BLOB: {
            const auto* bytes = static_cast<const std::byte*>(sqlite3_column_blob(statement, column));
            return SQLiteBytes(bytes, bytes + size());
        }
        default:
            return std::nullopt;
    }
}

SQLiteRow rowOf(sqlite3_stmt* statement) {
    SQLiteRow row;
    const int count = sqlite3_column_count(statement);
    for (int column = 0; column < count; ++column) {
        if (auto value = valueOf(statement, column)) {
            row[sqlite3_column_name(statement, column)] = std::move(*value);
        }
    }
    return row;
}

bool isBlank(std::string_view text) {
    return text.find_first_not_of(" \t\n;") == text.npos;
}

}  // namespace

void SQLite::openInMemory() {
    openPath("file::memory:?cache=shared", kReadWrite | kCreate | SQLITE_OPEN_URI);
}

void SQLite::open(const std::string& url, int flags) {
    sqliteFile_ = url;
    openPath(url, flags);
}

void SQLite::openPath(const std::string& path, int flags) {
    close();
    const int code = sqlite3_open_v2(path.c_str(), &dbSqlite_, flags, nullptr);
    if (code == SQLITE_OK) return;
    const int systemError = dbSqlite_ == nullptr ? 0 : sqlite3_system_errno(dbSqlite_);
    const Error error = makeError(code, fmt::format("Path: {} errno is:{}", path, systemError));
    close();
    if (errorHandler) errorHandler(error);
    throw Error(error);
}

void SQLite::close() {
    sqlite3_close(dbSqlite_);
    dbSqlite_ = nullptr;
}

std::vector<SQLiteRow> SQLite::query(std::string_view sql, const Arguments& arguments) {
    if (shouldPrintSql) LogFunc(sql);
    const std::string note = fmt::format("Error in execute(). {}", sql);
    if (!isOpen()) fail(SQLITE_MISUSE, note);
    if (!text::isValidUtf8(sql)) {
        fail(SQLITE_MISUSE, fmt::format("Error in execute(). Couldn't convert sql to UTF8. SQL:{}", sql));
    }
    sqlite3_stmt* prepared = nullptr;
    const char* tail = nullptr;
    const int code =
        sqlite3_prepare_v2(dbSqlite_, sql.data(), static_cast<int>(sql.size()), &prepared, &tail);
    const Statement statement(prepared, sqlite3_finalize);
    if (code != SQLITE_OK) fail(code, note);
    if (!isBlank(sql.substr(static_cast<std::size_t>(tail - sql.data())))) {
        fail(SQLITE_MISUSE, note + " holds more than one statement");
    }

    for (std::size_t index = 0; index < arguments.size(); ++index)
        bindValue(arguments[index], static_cast<int>(index) + 1, prepared);
    std::vector<SQLiteRow> rows;
    if (prepared == nullptr) return rows;
    int step = sqlite3_step(prepared);
    for (; step == SQLITE_ROW; step = sqlite3_step(prepared))
        rows.push_back(rowOf(prepared));
    const bool isIgnored = step == SQLITE_CONSTRAINT && ignoreUniqueConstraintErrors;
    if (step != SQLITE_DONE && !isIgnored) fail(step, note);
    return rows;
}

void SQLite::execute(std::string_view sql, const Arguments& arguments) {
    query(sql, arguments);
}

// The bytes outlive the statement, which is finished before query returns: SQLite need not copy them.
void SQLite::bindValue(const SQLiteValue& value, int column, sqlite3_stmt* statement) {
    struct Bind {
        sqlite3_stmt* statement;
        int column;

        int operator()(std::monostate) const { return sqlite3_bind_null(statement, column); }
        int operator()(std::int64_t number) const { return sqlite3_bind_int64(statement, column, number); }
        int operator()(double number) const { return sqlite3_bind_double(statement, column, number); }
        int operator()(const std::string& text) const {
            return sqlite3_bind_text64(statement, column, text.data(), text.size(), SQLITE_STATIC,
                                       SQLITE_UTF8);
        }
        // A null pointer would bind NULL.
        int operator()(const SQLiteBytes& bytes) const {
            if (bytes.empty()) return sqlite3_bind_zeroblob(statement, column, 0);
            return sqlite3_bind_blob64(statement, column, bytes.data(), bytes.size(), SQLITE_STATIC);
        }
    };
    const int code = statement == nullptr ? SQLITE_MISUSE : std::visit(Bind{statement, column}, value);
    if (code != SQLITE_OK) fail(code, "Error in sqlBindValue(). Value is: " + inWords(value));
}

void SQLite::transaction(const std::function<void()>& f) {
    startTransaction();
    f();
    endTransaction();
}

void SQLite::startTransaction() {
    execute("begin transaction");
}

void SQLite::endTransaction() {
    execute("end transaction");
    sqlite3_db_cacheflush(dbSqlite_);
}

bool SQLite::isInTransaction() const {
    return isOpen() && sqlite3_get_autocommit(dbSqlite_) == 0;
}

void SQLite::cleanup() {
    execute("PRAGMA analysis_limit=400;");
    execute("PRAGMA optimize;");
    execute("vacuum");
}

std::int64_t SQLite::last_insert_rowid() const {
    return isOpen() ? sqlite3_last_insert_rowid(dbSqlite_) : 0;
}

Error SQLite::makeError(int code, const std::string& extraNote) const {
    const char* message = dbSqlite_ == nullptr ? nullptr : sqlite3_errmsg(dbSqlite_);
    if (message == nullptr) message = "Unknown error. Coulnd't get error from sqlite.";
    const std::string description = fmt::format("SQLite: {}. {}", message, extraNote);
    LogFunc(description);
    return Error(kErrorDomain, code, description);
}

void SQLite::fail(int code, const std::string& extraNote) {
    const Error error = makeError(code, extraNote);
    if (errorHandler) errorHandler(error);
    throw Error(error);
}

}  // namespace kestrix
