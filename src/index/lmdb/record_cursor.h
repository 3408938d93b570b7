// The records of a database in key order. For SimpleLMDB alone.
#pragma once

#include <lmdb.h>

#include <cstddef>
#include <string_view>

#include "index/lmdb/lmdb_file.h"

namespace kestrix {

// Steps from record to record within a page by itself, and asks the library's cursor only for the first one
// and from page to page: that cursor takes as long for a step as a look at the name that lies there. Lives as
// long as a read transaction, whose pages do not change. Failures: LMDBError. Threads: one.
class RecordCursor {
  public:
    RecordCursor(const LMDBFile& file, MDB_txn* transaction);
    ~RecordCursor();
    RecordCursor(const RecordCursor&) = delete;
    RecordCursor& operator=(const RecordCursor&) = delete;

    // False if there is no such record. An empty key stands before all.
    bool seek(std::string_view firstKeyNotBefore);
    // False behind the last one. After a seek that found something.
    bool next() { return isNextInPage() ? stepInPage() : stepByCursor(); }

    // Views into the map.
    std::string_view key() const { return key_; }
    std::string_view value() const { return value_; }

  private:
    const char* nodeAt(std::size_t index) const;
    bool isNextInPage() const;
    bool stepInPage();
    bool stepByCursor();
    bool move(MDB_cursor_op how, std::string_view key);
    void enterPage();

    const LMDBFile& file_;
    MDB_cursor* cursor_ = nullptr;
    std::string_view key_;
    std::string_view value_;
    const char* page_ = nullptr;
    std::size_t node_ = 0;   // where key_ stands in the page
    std::size_t nodes_ = 0;  // of the page; 0: it is left to the library's cursor
    bool cursorIsBehind_ = false;
};

}  // namespace kestrix
