// What people call kinds of files, and which files they mean by it.
#pragma once

#include <array>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "base/lock.h"
#include "platform/file_types.h"

namespace kestrix {

// Over the file types, which outlive it. One lives as long as the application. Threads: any.
class UTIAssistant {
  public:
    using WordPair = std::pair<std::string_view, std::string_view>;

    // Words that stand for a class of types, whatever a type is called.
    static constexpr std::array<WordPair, 5> kSpecialCaseToUTI = {{{"video", "public.video"},
                                                                   {"movie", "public.movie"},
                                                                   {"audio", "public.audio"},
                                                                   {"text", "public.text"},
                                                                   {"image", "public.image"}}};
    // What is looked for as well as the word.
    static constexpr std::array<WordPair, 5> kUtiSubstitutions = {{{"video", "movie"},
                                                                   {"sound", "audio"},
                                                                   {"music", "audio"},
                                                                   {"app", "com.apple.application"},
                                                                   {"pdf", "com.adobe.pdf"}}};
    // The other side of a pair; empty without one.
    static std::string_view specialCaseToUTI(std::string_view word);
    static std::string_view utiSubstitution(std::string_view word);

    explicit UTIAssistant(const FileTypes& types) : types_(types) {}

    const FileTypes& types() const { return types_; }

    // "PNG image" for "png", of the extension as it is; nothing for one that nobody knows. Remembered, misses
    // too.
    std::optional<std::string> kindStringForExtension(std::string_view extension) const;

    // How a file browser would call the kind of a file or folder; nothing if nobody knows. Reads the first
    // bytes of a file whose extension leaves its type open.
    std::optional<std::string> finderKindStringForFile(const std::string& path, bool isDirectory) const;

    // Whether what is known of the type of an extension mentions the word, in lower case, anywhere: its name,
    // its description, its parents, its other extensions and MIME names.
    bool utiInformationIncludesWord(std::string_view extension, std::string_view word) const;
    bool utiInformationIncludesWord(FileTypeId type, std::string_view word) const;

  private:
    const FileTypes& types_;
    mutable Locked<std::map<std::string, std::optional<std::string>, std::less<>>> kindStringCache_;
};

}  // namespace kestrix
