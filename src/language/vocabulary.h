// The language as it is shipped: the sentence templates, and all that gives them meaning.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "language/language_parse.h"
#include "language/variables.h"

namespace kestrix {

// The template file compiled into the program.
std::string_view shippedSentences();

// The file that KESTRIX_SENTENCES names; empty if it names none.
std::string sentencesPath();

// The template file in force: that which the environment variable KESTRIX_SENTENCES names by its path, or the
// shipped one. Throws Error if the named file cannot be read.
std::string sentencesInForce();

// The shipped name of every command, in the order of their factories. Commands whose factory is not there are
// recognised and make nothing.
const std::vector<std::string>& knownCommandNames();

// Throws Error that names the line for a template without words or command, with an unknown command or
// variable or completor, or with a keyword that no typed word can equal.
LanguageParse::Vocabulary makeVocabulary(std::string_view sentences,
                                         std::vector<std::shared_ptr<const CommandFactory>> factories,
                                         const VariableLookups& lookups);

}  // namespace kestrix
