// Texts on the terminal and back. Bytes from strangers must not reach the terminal as commands to
// it, and what was printed must read back to the same text:
//
//   \\                 a backslash
//   \xNN               a control character, U+0001 to U+009F
//   \uNNNN             a surrogate, or a mark that turns or hides text around it
//   \n \r \t           also read, as line end, carriage return and tab
#pragma once

#include <string>
#include <string_view>

// Control characters and the marks as above; a backslash only with `backslashToo`, for texts that
// are meant to read back. Bytes that are no UTF-8 become \xNN too.
std::string Escaped(std::string_view utf8, bool backslashToo);

// The text that an escaped one stands for. Fails (Failure) on an escape that there is not.
std::string Unescaped(std::string_view text);
