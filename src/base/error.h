// The one exception type for operations that can fail on files, settings or stores.
#pragma once

#include <stdexcept>
#include <string>

namespace kestrix {

// Says where something failed (domain), with what number (code, an errno where the domain is kPosixDomain)
// and in words (what()). The words are one line, name the path or key concerned, and can be shown to the user
// as they are.
class Error : public std::runtime_error {
  public:
    Error(std::string domain, int code, const std::string& description)
        : std::runtime_error(description), domain_(std::move(domain)), code_(code) {}

    const std::string& domain() const { return domain_; }
    int code() const { return code_; }

  private:
    std::string domain_;
    int code_;
};

inline constexpr const char* kPosixDomain = "POSIX";

}  // namespace kestrix
