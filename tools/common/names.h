// Code sets and languages as users name them: by number, by English name or, for a language, by its
// ISO 639-1 code.
#pragma once

#include <string>
#include <string_view>

// Both fail (Failure, usage) for a name that is not known.
unsigned char FindCodeSet(std::string_view text);
unsigned char FindLanguage(std::string_view text);

// "ISO-8859-1"; "code set 42" for a number without a name.
std::string CodeSetName(unsigned char codeSet);
// "German"; "language 42" for a number without a name.
std::string LanguageName(unsigned char language);

// All names, separated by blanks, for completions.
std::string CodeSetNames();
std::string LanguageNames();
