#include "app/cli/progress_line.h"

#include <algorithm>

#include "app/cli/display_text.h"
#include "base/text.h"
#include "platform/standard_streams.h"

namespace kestrix::cli {

ProgressLine::ProgressLine() : possible_(isTerminal(StandardStream::error)) {}

// One column is left free: a terminal that wraps at its last column would begin a new line.
void ProgressLine::show(std::string_view text) {
    if (!possible_) return;
    std::string safe;
    appendSafely(safe, text);
    const auto width = static_cast<std::size_t>(std::max(terminalWidth(StandardStream::error), 2)) - 1;
    const auto characters = text::characters(safe);
    std::string line = "\r";
    for (std::size_t i = 0; i < characters.size() && i < width; ++i)
        line += characters[i];
    line += "\x1b[K";
    writeTo(StandardStream::error, line);
    shown_ = true;
}

void ProgressLine::clear() {
    if (!shown_) return;
    writeTo(StandardStream::error, "\r\x1b[K");
    shown_ = false;
}

}  // namespace kestrix::cli
