// The text of a mail message.
#pragma once

#include <functional>
#include <string_view>

#include "import/helper/formats/text_writer.h"

namespace kestrix {

// Writes subject, sender, receivers and date, then the text, then the names of what is attached; messages
// inside of the message likewise. Of several versions of the same text the last one that has any is taken,
// which is the richest. Any bytes after the first field may be damaged. Throws Error (damaged) if there is no
// field. `onPart` (may be empty) is called at every part, and may throw.
void writeMail(TextWriter& writer, std::string_view message, const std::function<void()>& onPart = {});

// The message in an .emlx file: a line with its size in bytes, the message, and a property list about it.
// What has no such line is a message as a whole.
std::string_view messageInEnvelope(std::string_view bytes);

}  // namespace kestrix
