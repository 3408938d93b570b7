// The text of old Word documents.
#pragma once

#include <functional>
#include <string>

#include "import/document_format.h"
#include "platform/child_process.h"
#include "platform/open_file.h"

namespace kestrix {

// What a document that is named .doc really is: word processors give that name to rich text, packages and web
// pages, also in the form of a mail, as well. legacyWord for all that is none of these. Throws Error (POSIX).
DocumentFormat formatOfLegacyWord(const OpenFile& document);

// Called with the program that runs, so that another thread can stop it, and with nullptr before it goes.
// Calls may overlap with a stop, so it locks.
using OnConverter = std::function<void(ChildProgram*)>;

// Reads the document with `catdoc`, behind the walls that `helper` puts around it. Blocks. Throws Error
// (import): cancelled if the program was stopped, noHelper if it is not installed, and what else befell it.
std::string legacyWordText(const std::string& helper, const OpenFile& document,
                           const OnConverter& onConverter);

}  // namespace kestrix
