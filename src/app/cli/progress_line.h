// One line on standard error that tells how far a long search has come.
#pragma once

#include <string>
#include <string_view>

namespace kestrix::cli {

// One thread. Does nothing unless standard error is a terminal.
class ProgressLine {
  public:
    ProgressLine();

    bool isPossible() const { return possible_; }
    // Draws the text in place of the one before, cut off at the terminal's width.
    void show(std::string_view text);
    // Leaves the line empty, so that other output can stand there.
    void clear();

  private:
    bool possible_;
    bool shown_ = false;
};

}  // namespace kestrix::cli
