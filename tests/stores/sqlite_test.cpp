#include "stores/sqlite/sqlite.h"

#include <gtest/gtest.h>

#include "tests/support/temporary_folder.h"

namespace kestrix {
namespace {

using Rows = std::vector<SQLiteRow>;

class SQLiteTest : public ::testing::Test {
  protected:
    SQLiteTest() {
        connection_.openInMemory();
        connection_.errorHandler = [this](const Error& error) { handled_ = error.what(); };
        connection_.execute("create table things (name text, worth)");
        connection_.execute("create unique index names on things (name)");
    }

    // The description; what the handler got must be the same.
    std::string failureOf(std::string_view sql, const SQLite::Arguments& arguments = {}) {
        handled_.clear();
        try {
            connection_.execute(sql, arguments);
        } catch (const Error& error) {
            EXPECT_EQ(error.domain(), "SQLite error");
            EXPECT_EQ(handled_, error.what());
            code_ = error.code();
        }
        return handled_;
    }

    SQLite connection_;
    std::string handled_;
    int code_ = 0;
};

TEST_F(SQLiteTest, EveryTypeComesBackAsItWasBound) {
    const SQLite::Arguments values = {std::int64_t{-7},
                                      2.5,
                                      "it's; drop table things --",
                                      std::string("a\0b", 3),
                                      SQLiteBytes{std::byte{0}, std::byte{255}},
                                      SQLiteBytes{},
                                      {}};
    Rows expected;
    for (std::size_t index = 0; index < values.size(); ++index) {
        const std::string name = "'" + std::to_string(index);
        connection_.execute("insert into things values (?,?)", {name, values[index]});
        expected.push_back({{"name", name}, {"worth", values[index]}});
    }
    expected.back().erase("worth");
    EXPECT_EQ(connection_.query("select * from things order by name"), expected);
    EXPECT_EQ(connection_.last_insert_rowid(), 7);
    EXPECT_EQ(connection_.query("select * from things where name is ?", {"none"}), Rows());
    connection_.cleanup();
}

TEST_F(SQLiteTest, FailuresNameTheStatement) {
    EXPECT_EQ(failureOf("selec 1"), "SQLite: near \"selec\": syntax error. Error in execute(). selec 1");
    EXPECT_EQ(failureOf("select 1", {"much"}),
              "SQLite: column index out of range. Error in sqlBindValue(). Value is: much");
    EXPECT_NE(failureOf("select 1; select 2"), "");
    EXPECT_NE(failureOf("select '\xff'"), "");
    connection_.execute("insert into things values ('a',1)");
    EXPECT_EQ(failureOf("insert into things values ('a',2)"),
              "SQLite: UNIQUE constraint failed: things.name. Error in execute(). insert into things values "
              "('a',2)");
    EXPECT_EQ(code_, SQLite::kConstraint);
    connection_.ignoreUniqueConstraintErrors = true;
    EXPECT_EQ(connection_.query("insert into things values ('a',2)"), Rows());
    connection_.close();
    EXPECT_NE(failureOf("select 1"), "") << "nothing is open";
}

TEST_F(SQLiteTest, TransactionWhoseStepThrowsStaysOpen) {
    EXPECT_THROW(connection_.transaction([&] {
        connection_.execute("insert into things values ('a',1)");
        connection_.execute("no statement");
    }),
                 Error);
    EXPECT_NE(failureOf("begin transaction"), "");
    connection_.execute("rollback transaction");
    EXPECT_EQ(connection_.query("select * from things"), Rows());
    connection_.transaction([&] { connection_.execute("insert into things values ('a',1)"); });
    EXPECT_EQ(connection_.query("select * from things").size(), 1u);
}

TEST(SQLiteOpen, FailureTellsThePath) {
    const TemporaryFolder folder;
    SQLite connection;
    try {
        connection.open(folder.path("missing/file"), SQLite::kReadWrite);
        FAIL();
    } catch (const Error& error) {
        EXPECT_EQ(std::string(error.what()), "SQLite: unable to open database file. Path: " +
                                                 folder.path("missing/file") + " errno is:2");
    }
    EXPECT_FALSE(connection.isOpen());
}

}  // namespace
}  // namespace kestrix
