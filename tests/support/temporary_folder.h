// A folder for one test, gone with it.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <string_view>

namespace kestrix {

// Its path is absolute, without symbolic links, and holds no word that a test is likely to search for.
class TemporaryFolder {
  public:
    TemporaryFolder() {
        std::random_device random;
        const auto base = std::filesystem::canonical(std::filesystem::temp_directory_path());
        do {
            root_ = base / ("kxt" + std::to_string(random()));
        } while (!std::filesystem::create_directory(root_));
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(root_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string path() const { return root_.string(); }
    std::string path(std::string_view relative) const { return (root_ / relative).string(); }

    // Makes a file with its folders and returns its path.
    std::string file(std::string_view relative, std::string_view content = "") const {
        const auto place = root_ / relative;
        std::filesystem::create_directories(place.parent_path());
        std::ofstream(place, std::ios::binary) << content;
        return place.string();
    }
    // Makes a folder with those above it and returns its path.
    std::string folder(std::string_view relative) const {
        std::filesystem::create_directories(root_ / relative);
        return (root_ / relative).string();
    }

  private:
    std::filesystem::path root_;
};

}  // namespace kestrix
