// Failures that reached the top of a background job, told to the user with details to copy.
#pragma once

#include <functional>
#include <source_location>
#include <string>
#include <vector>

#include "base/error.h"
#include "base/lock.h"
#include "base/main_queue.h"

namespace kestrix {

// Crumbs that long-running code leaves for failure reports. Threads: any.
class GMTrace {
  public:
    void add(std::string crumb);
    void clear();
    std::vector<std::string> lines() const { return lines_.get(); }

  private:
    Locked<std::vector<std::string>> lines_;
};

// Makes an error whose domain tells the place: "file.cpp.function.line".
Error errorWithCode(int code, std::source_location where = std::source_location::current());

class GuruMeditation {
  public:
    // How a front end shows an error; runs on the main queue. `details` makes the text to copy.
    using ShowAlert = std::function<void(const Error& error, const std::function<std::string()>& details)>;

    GuruMeditation(MainQueue& mainQueue, GMTrace& trace, ShowAlert show, std::string version);

    // Shows the error through the front end, later, on the main queue. Any thread.
    void showErrorAlert(const Error& error, std::source_location where = std::source_location::current());

    // The detailed text: process and version, place, crumbs, the error, the system, the processors, a line of
    // dashes. `version` empty: "Unknown version".
    static std::string errorToDetailedString(const Error& error, const std::vector<std::string>& crumbs,
                                             const std::string& version, std::source_location where);

  private:
    MainQueue& mainQueue_;
    GMTrace& trace_;
    ShowAlert show_;
    std::string version_;
};

}  // namespace kestrix
