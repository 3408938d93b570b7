// What a result list calls the kinds of files: one text per extension, made once.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "base/lock.h"
#include "files/search_result.h"
#include "language/uti_assistant.h"

namespace kestrix {

// "Folder" for a folder; else what the type of the extension is called ("PNG image"); "XYZ file" for an
// extension that nobody knows ("XYZ package" for a package) and "File" without one. Only names are looked at,
// never the file. Threads: any. The texts stay where they are for as long as this lives, so that a hundred
// thousand rows share a few dozen.
class KindTexts {
  public:
    struct Kind {
        std::string text;
        std::string sortKey;  // text::collationKey of the text
    };

    // The names of types outlive this. The first kind asked for may read the table of types from disk.
    explicit KindTexts(const UTIAssistant& typeNames) : typeNames_(typeNames) {}

    const Kind& kindOf(std::string_view path, bool isDirectory) const;

    // Of a symbolic link, and of what has no file at all.
    static const Kind& alias();
    static const Kind& none();

  private:
    const Kind& kindOfExtension(std::string_view extension, std::string_view ending) const;

    const UTIAssistant& typeNames_;
    mutable Locked<std::map<std::string, std::unique_ptr<const Kind>, std::less<>>> kinds_;
};

}  // namespace kestrix
