// A set of 64-bit keys that are well mixed already (checksums), in 11 to 21 bytes a key.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kestrix {

// Open addressing with linear probing; the key's own low bits are its hash. Only grows. Not for several
// threads at once.
class KeySet {
  public:
    // True if the key was not there before.
    bool insert(std::int64_t key);
    std::size_t size() const { return size_ + (hasZero_ ? 1 : 0); }

  private:
    void grow();

    std::vector<std::int64_t> slots_;  // 0 is a free slot
    std::size_t size_ = 0;             // keys in slots_
    bool hasZero_ = false;             // the key 0 lives here
};

}  // namespace kestrix
