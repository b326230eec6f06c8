// Base 64 with padding, as JSON carries bytes.
#pragma once

#include <string>
#include <string_view>

namespace engines {

void AppendBase64(std::string& text, std::string_view bytes);

// What is no base 64 ends the bytes.
std::string FromBase64(std::string_view text);

}  // namespace engines
