// What the LMDB library says when it refuses.
#pragma once

#include <string>
#include <string_view>

#include "base/error.h"

namespace kestrix {

inline constexpr const char* kLMDBDomain = "LMDB";

// The code is LMDB's own return code (lmdb.h), so positive ones are errno values.
class LMDBError : public Error {
  public:
    enum class Case {
        other,
        keyExists,
        notFound,
        pageNotFound,
        corrupted,
        panic,
        versionMismatch,
        invalid,
        mapFull,
        dbsFull,
        readersFull,
        tlsFull,
        txnFull,
        cursorFull,
        pageFull,
        mapResized,
        incompatible,
        badReaderSlot,
        badTransaction,
        badValueSize,
        badDBI,
        problem,  // the mapping ends one code before it, so it is never produced
        operationNotPermitted,
        invalidParameter,
        outOfDiskSpace,
        outOfMemory,
        ioError,
        accessViolation,
    };

    // The description names `file` and, where there is one, ends with `detail`.
    LMDBError(int returnCode, const std::string& file, std::string_view detail = {});

    Case kind() const { return kind_; }
    int returnCode() const { return code(); }

    static Case caseOf(int returnCode);

  private:
    Case kind_;
};

}  // namespace kestrix
