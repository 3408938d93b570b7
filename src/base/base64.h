// Bytes as letters (RFC 4648, section 4), as JSON stores them.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kestrix {

std::string base64(std::string_view bytes);
// Nothing for anything but what base64 gives.
std::optional<std::string> bytesOfBase64(std::string_view text);

}  // namespace kestrix
