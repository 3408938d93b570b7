// The one exception type for operations that can fail on files, settings or stores.
#pragma once

#include <exception>
#include <string>
#include <utility>

namespace kestrix {

// Says where something failed (domain), with what number (code, an errno where the domain is kPosixDomain)
// and in words (what()). The words are one line, name the path or key concerned, and can be shown to the user
// as they are. A copy has words of its own, so that it may be shown on another thread than the one that threw
// it; those of a std::runtime_error are shared by all its copies.
class Error : public std::exception {
  public:
    Error(std::string domain, int code, std::string description)
        : domain_(std::move(domain)), code_(code), description_(std::move(description)) {}

    const char* what() const noexcept override { return description_.c_str(); }
    const std::string& domain() const { return domain_; }
    int code() const { return code_; }

  private:
    std::string domain_;
    int code_;
    std::string description_;
};

inline constexpr const char* kPosixDomain = "POSIX";

}  // namespace kestrix
