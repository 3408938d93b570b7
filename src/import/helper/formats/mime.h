// The syntax of mail messages: fields, encoded words, transfer encodings.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kestrix {

// A field as it stands in a message; `value` is unfolded and otherwise raw.
struct MailField {
    std::string name;  // lower case
    std::string value;
};

// Reads fields up to the empty line that ends them, or to the first line that is none, and moves `offset`
// behind.
std::vector<MailField> readFields(std::string_view message, std::size_t& offset);

// The raw value of the first such field; empty if there is none.
std::string_view fieldValue(const std::vector<MailField>& fields, std::string_view name);

// A value with its encoded words (=?charset?B?...?=) decoded; bytes outside ASCII are UTF-8 or windows-1252.
std::string decodedField(std::string_view value);

// A text whose paragraphs are broken into lines by a blank at the end of each but the last (format=flowed),
// with the paragraphs as lines. What is quoted (>) joins what is quoted alike. That blank is part of the
// text, or only the sign of a broken line (delsp=yes).
enum class FlowBlank { text, sign };
std::string joinedFlow(std::string_view text, FlowBlank blank);

// "text/plain; charset=utf-8" up to the first semicolon, in lower case.
std::string mainValue(std::string_view value);

// A parameter behind it, in whichever of the three ways that are in use it is written: charset="a b",
// name*=utf-8''a%20b, name*0="a "; name*1="b". Empty if there is none.
std::string parameter(std::string_view value, std::string_view name);

// What the field Content-Transfer-Encoding says was done to a body, undone: `body` itself, or a view into
// `memory` where the result is put. What does not fit is passed over.
std::string_view undoneEncoding(std::string_view body, std::string_view encoding, std::string& memory);

}  // namespace kestrix
