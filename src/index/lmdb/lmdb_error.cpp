#include "index/lmdb/lmdb_error.h"

#include <fmt/format.h>
#include <lmdb.h>

#include <cerrno>
#include <utility>

namespace kestrix {

namespace {

using Case = LMDBError::Case;

// Without the last of the library's codes, MDB_PROBLEM.
constexpr std::pair<int, Case> kCases[] = {
    {MDB_KEYEXIST, Case::keyExists},
    {MDB_NOTFOUND, Case::notFound},
    {MDB_PAGE_NOTFOUND, Case::pageNotFound},
    {MDB_CORRUPTED, Case::corrupted},
    {MDB_PANIC, Case::panic},
    {MDB_VERSION_MISMATCH, Case::versionMismatch},
    {MDB_INVALID, Case::invalid},
    {MDB_MAP_FULL, Case::mapFull},
    {MDB_DBS_FULL, Case::dbsFull},
    {MDB_READERS_FULL, Case::readersFull},
    {MDB_TLS_FULL, Case::tlsFull},
    {MDB_TXN_FULL, Case::txnFull},
    {MDB_CURSOR_FULL, Case::cursorFull},
    {MDB_PAGE_FULL, Case::pageFull},
    {MDB_MAP_RESIZED, Case::mapResized},
    {MDB_INCOMPATIBLE, Case::incompatible},
    {MDB_BAD_RSLOT, Case::badReaderSlot},
    {MDB_BAD_TXN, Case::badTransaction},
    {MDB_BAD_VALSIZE, Case::badValueSize},
    {MDB_BAD_DBI, Case::badDBI},
    {EPERM, Case::operationNotPermitted},
    {EINVAL, Case::invalidParameter},
    {ENOSPC, Case::outOfDiskSpace},
    {ENOMEM, Case::outOfMemory},
    {EIO, Case::ioError},
    {EACCES, Case::accessViolation},
};

std::string inWords(int returnCode, const std::string& file) {
    switch (LMDBError::caseOf(returnCode)) {
        case Case::mapFull:
            return fmt::format("the catalog {} is full", file);
        case Case::outOfDiskSpace:
            return fmt::format("no space left on the disk of {}", file);
        case Case::invalid:
            return fmt::format("{} is no catalog", file);
        case Case::versionMismatch:
            return fmt::format("the catalog {} was written by something newer", file);
        case Case::corrupted:
        case Case::pageNotFound:
        case Case::incompatible:  // what a compacting copy says when pages are missing
            return fmt::format("the catalog {} is damaged", file);
        case Case::mapResized:
            return fmt::format("the catalog {} is larger than this program may read", file);
        case Case::badValueSize:
            return fmt::format("a key for the catalog {} is empty or longer than 511 bytes", file);
        case Case::ioError:
            return fmt::format("the disk of {} fails", file);
        case Case::accessViolation:
        case Case::operationNotPermitted:
            return fmt::format("no permission to use the catalog {}", file);
        default:
            return fmt::format("cannot use the catalog {}: {}", file, mdb_strerror(returnCode));
    }
}

std::string describe(int returnCode, const std::string& file, std::string_view detail) {
    const std::string words = inWords(returnCode, file);
    return detail.empty() ? words : fmt::format("{}: {}", words, detail);
}

}  // namespace

LMDBError::LMDBError(int returnCode, const std::string& file, std::string_view detail)
    : Error(kLMDBDomain, returnCode, describe(returnCode, file, detail)), kind_(caseOf(returnCode)) {}

LMDBError::Case LMDBError::caseOf(int returnCode) {
    for (const auto& [code, known] : kCases)
        if (code == returnCode) return known;
    return Case::other;
}

}  // namespace kestrix
