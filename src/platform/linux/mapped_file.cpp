#include "platform/mapped_file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include "platform/linux/system_call.h"

namespace kestrix {

MappedFile::MappedFile(const std::string& path) {
    const Descriptor file(retrying([&] { return ::open(path.c_str(), O_RDONLY | O_CLOEXEC); }));
    struct stat status;
    if (!file.isOpen() || ::fstat(file.get(), &status) != 0) throwError("read", path, errno);
    size_ = static_cast<std::size_t>(status.st_size);
    if (size_ == 0) return;
    start_ = ::mmap(nullptr, size_, PROT_READ, MAP_SHARED, file.get(), 0);
    if (start_ == MAP_FAILED) throwError("read", path, errno);
}

MappedFile::~MappedFile() {
    if (start_) ::munmap(start_, size_);
}

}  // namespace kestrix
