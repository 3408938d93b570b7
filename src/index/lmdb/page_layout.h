// How LMDB 0.9 lays out a file on 64-bit little-endian machines, which its own header keeps to itself. For
// page_check.cpp and record_cursor.cpp alone.
//
// A file is pages of one size: two meta pages, of which the one with the higher transaction number counts,
// then the pages of three kinds of B+trees: the free list, the main tree, and one tree for each database
// named in the main tree.
//
//     page           0   8  its own number
//                    8   2  unused
//                    10  2  PageFlag
//                    12  2  lower: end of the offsets           overflow pages: 12  4  how many pages
//                    14  2  upper: begin of the nodes
//                    16     offsets of the nodes, 2 bytes each, in key order
//                    upper  nodes, packed without gaps up to the page's end, each of even size
//
//     node           0   4  leaf: size of the value; branch: low bits of the child's page number
//                    4   2  leaf: NodeFlag; branch: high bits of the page number
//                    6   2  size of the key
//                    8      key; then, in a leaf, the value, or 8 bytes with the number of its overflow page
//
// The first key of a branch page stands for minus infinity. The free list has transaction numbers for keys
// and lists for values: a count, then page numbers in descending order, 8 bytes each.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace kestrix::lmdb {

inline constexpr std::uint32_t kMagic = 0xBEEFC0DE;
inline constexpr std::uint32_t kDataVersion = 1;
inline constexpr std::size_t kSmallestPage = 4096;
inline constexpr std::size_t kLargestPage = 32768;
inline constexpr std::size_t kMetaPages = 2;
inline constexpr std::size_t kHeaderSize = 16;
inline constexpr std::size_t kNodeSize = 8;  // without key and value
inline constexpr std::size_t kLongestKey = 511;
inline constexpr std::size_t kDeepestTree = 31;  // a cursor has room for 32 pages, and a write may add one
inline constexpr std::uint64_t kNoRoot = ~std::uint64_t{0};

enum PageFlag : std::uint16_t { kBranch = 1, kLeaf = 2, kOverflow = 4, kMeta = 8 };
enum NodeFlag : std::uint16_t { kBigData = 1, kSubTree = 2 };

// The free list's keys are integers; the environment's "one plain file" is kept in the same field.
inline constexpr std::uint16_t kIntegerKeys = 8;
inline constexpr std::uint16_t kNoSubDir = 0x4000;

struct Header {
    std::uint64_t number;
    std::uint16_t unused;
    std::uint16_t flags;
    std::uint16_t lower;
    std::uint16_t upper;

    std::uint32_t overflowPages() const { return lower | std::uint32_t{upper} << 16; }
};
static_assert(sizeof(Header) == kHeaderSize);

struct Tree {
    std::uint32_t pageSize;  // in the free list's record alone
    std::uint16_t flags;
    std::uint16_t depth;
    std::uint64_t branchPages;
    std::uint64_t leafPages;
    std::uint64_t overflowPages;
    std::uint64_t entries;
    std::uint64_t root;
};
static_assert(sizeof(Tree) == 48);

struct Meta {
    std::uint32_t magic;
    std::uint32_t version;
    std::uint64_t address;
    std::uint64_t mapSize;
    Tree freeList;
    Tree main;
    std::uint64_t lastPage;
    std::uint64_t transaction;
};
static_assert(sizeof(Meta) == 136);

struct Node {
    std::uint16_t low;
    std::uint16_t high;
    std::uint16_t flags;
    std::uint16_t keySize;

    std::size_t valueSize() const { return low | std::size_t{high} << 16; }
    std::uint64_t child() const { return valueSize() | std::uint64_t{flags} << 32; }
};
static_assert(sizeof(Node) == kNodeSize);

template <typename T>
T valueAt(const char* place) {
    T value;
    std::memcpy(&value, place, sizeof value);
    return value;
}

// Has all of a page on its way into the cache before its records are looked at one by one; the processor does
// not foresee it by itself, as pages do not follow one another.
inline void prefetch(const char* page, std::size_t size) {
    constexpr std::size_t kCacheLine = 64;
    for (std::size_t at = 0; at < size; at += kCacheLine)
        __builtin_prefetch(page + at);
}

}  // namespace kestrix::lmdb
