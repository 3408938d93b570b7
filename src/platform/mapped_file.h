// The bytes of a file without a copy.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kestrix {

// Maps a whole file for reading, as long as it was when it was opened. Whoever cuts the file short meanwhile
// ends the program (SIGBUS), so only files are mapped that nobody shortens. Threads: any.
class MappedFile {
  public:
    // Throws Error (POSIX).
    explicit MappedFile(const std::string& path);
    ~MappedFile();
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;

    std::string_view bytes() const { return {static_cast<const char*>(start_), size_}; }

  private:
    void* start_ = nullptr;
    std::size_t size_ = 0;
};

}  // namespace kestrix
