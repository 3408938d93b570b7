// The members of a zip package in memory.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace kestrix {

class XmlHandler;

// Every member is checked against its stated size and its checksum, and limits hold against bombs: 512 MB a
// member, by what the package states and again while it is unpacked, and 1 GB for all that is read of one
// package. Nothing is unpacked to more than 64 KiB at a time. Names are as they stand in the package.
class ZipPackage {
  public:
    // `bytes` must outlive this. Throws Error (damaged) if they are no package. `onPiece` (may be empty) is
    // told how many percent of all members have been read, for every 64 KiB of them, and may throw.
    explicit ZipPackage(std::string_view bytes, std::function<void(int percent)> onPiece = {});
    ~ZipPackage();
    ZipPackage(const ZipPackage&) = delete;
    ZipPackage& operator=(const ZipPackage&) = delete;

    bool has(const std::string& name) const;

    // Names that begin and end like the pattern at both sides of its star, ordered as people count ("slide2"
    // before "slide10"). A pattern without star is one name.
    std::vector<std::string> membersLike(std::string_view pattern) const;

    // Hands over the member in pieces until `take` returns false. Throws Error: damaged (also if it is
    // missing or locked with a password), tooLarge; and what `onPiece` and `take` throw.
    void read(const std::string& name, const std::function<bool(std::string_view piece)>& take);

    // The whole member. Throws as read does, tooLarge for more than `cap` bytes.
    std::string whole(const std::string& name, std::size_t cap);

    // Reads the member as XML, or as much of it as the handler needs. Throws as read and XmlStream do.
    void readXml(const std::string& name, XmlHandler& handler);

  private:
    struct Archive;
    std::unique_ptr<Archive> archive_;
    std::function<void(int percent)> onPiece_;
    std::uint64_t unpacked_ = 0;
};

}  // namespace kestrix
