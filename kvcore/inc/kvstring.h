// kvstring.h - KvString, a text that carries its code set and its language.
//
// The code set number says what the units of the text mean: above 224 they are 16 bits wide, else
// bytes; 0 stands for the native code set. The language number governs how the text sorts. zin.h
// lists both. Appending, inserting and comparing convert as needed.
//
//   KvString name("Stra");
//   name << static_cast<char>(0xDF) << 'e';   // ISO 8859-1 by default
//   name.ToUpper();                           // "STRASSE"
//   name.Find("sse", 0, 0x20);                // 4: the compare operation ignores case
//   int number = KvString("0x1F");            // 31
//
// Positions and counts are in characters, 16 bits wide. A buffer has at most kMaximumBytes bytes,
// terminator included: 65,531 characters of 8 bits or 32,765 of 16 bits. What goes beyond is cut
// without an error; set "stringOverflow" of section "debug" in DefaultConfig() to have KIVO_assert
// told. Every change allocates exactly what the text needs. When memory is short,
// KvCallMemoryHandler is called and the string stays as it was.
//
// Null. The null string orders before every other: its language is 254, or its code set is 254 and
// its language 0. It is a state of its own and not the empty text.
//
// Strings with embedded zero units can be built from a count, but every operation here takes the
// text to end at its first zero unit.
#pragma once

#include "kvbase.h"
#include "kvchar.h"
#include "zin.h"

namespace kv {
class StringAccess;
}

class KV_EXPORT KvString {
 public:
  static constexpr unsigned kMaximumBytes = 65532;

  // --- Making. Code set and language are the process's defaults unless said otherwise. ---

  KvString();                                               // empty, in the default code set
  KvString(unsigned char codeSet, unsigned char language);  // empty
  KvString(const KvString& source);                         // with its code set and language
  KvString(KvString&& source) noexcept;                     // `source` keeps its two numbers

  // One character in the default 8-bit code set, for the last the default 16-bit one; 0 is empty.
  KvString(char unit);
  KvString(unsigned char unit);
  KvString(unsigned short unit);

  // A number in the default 8-bit code set: decimal, for double as "%.17g" prints it.
  KvString(short number);
  KvString(int number);
  KvString(unsigned int number);
  KvString(long number);
  KvString(unsigned long number);
  KvString(long long number);
  KvString(unsigned long long number);
  KvString(double number);

  // A text in the default 8-bit or 16-bit code set. A null pointer is the empty text.
  KvString(const char* text);
  KvString(const unsigned short* text);
  // The first `count` units, which `text` must have; 65535 means up to the terminator.
  KvString(const char* text, unsigned short count);
  KvString(const unsigned short* text, unsigned short count);

  ~KvString();

  // --- Assigning. A plain text brings the defaults with it; a null pointer leaves it empty. ---

  KvString& operator=(const KvString& source);
  KvString& operator=(KvString&& source) noexcept;
  KvString& operator=(const char* text);
  KvString& operator=(const unsigned short* text);

  // --- Appending. What is appended is converted to this string's code set. ---

  KvString& operator<<(const KvString& text);
  KvString& operator<<(char unit);  // 0 appends nothing
  // To an 8-bit string the decimal number, to a 16-bit string the one character; deliberate.
  KvString& operator<<(unsigned short unit);
  KvString& operator<<(short number);
  KvString& operator<<(int number);
  KvString& operator<<(unsigned int number);
  KvString& operator<<(long number);
  KvString& operator<<(unsigned long number);
  KvString& operator<<(long long number);
  KvString& operator<<(unsigned long long number);
  KvString& operator<<(float number);  // printed as the double it widens to, deliberately
  KvString& operator<<(double number);
  KvString& operator<<(const char* text);
  KvString& operator<<(const unsigned short* text);
  void operator+=(const KvString& text);

  // --- Asking ---

  // Units before the terminator. Counted on each call: loops take it once.
  unsigned short Len() const;
  bool IsEmpty() const;
  bool operator!() const { return IsEmpty(); }
  bool IsNullValue() const;
  // The text with its terminator, never null. It stays this string's own and lives until the next
  // change. Of a 16-bit string it is a run of unsigned short.
  const char* StrGet() const;
  unsigned char GetCodeSet() const { return codeSet_; }
  unsigned char GetLanguage() const { return language_; }
  // Bytes allocated, terminator included; 0 when there is no buffer.
  unsigned short GetBufferSize() const { return bufferSize_; }
  void SetLanguage(unsigned char language) { language_ = language; }

  // The character at `index`, through which it can be changed; the terminator's place counts.
  // Beyond: a detached character of value 0.
  KvChar operator[](int index);

  // --- Lifecycle, for values that live in raw memory ---

  void Init();          // makes raw memory an empty string in the default code set and language
  void Destroy();       // frees the buffer; size, code set and language become 0
  void d_deactivate();  // frees the buffer; code set and language stay
  // Moves the text, code set and language of `other` here. `other` keeps its code set and language.
  void Destruct(KvString& other);
  int SetNullValue();  // 0

 private:
  friend class kv::StringAccess;

  unsigned char* buffer_;
  unsigned short bufferSize_;
  unsigned char codeSet_;
  unsigned char language_;
};

// The text of `a` followed by that of `b`, in the code set and language of `a`. (The overloads for
// plain texts keep `string + "text"` from being taken for arithmetic.)
KV_EXPORT KvString operator+(const KvString& a, const KvString& b);
KV_EXPORT KvString operator+(const KvString& a, const char* b);
KV_EXPORT KvString operator+(const char* a, const KvString& b);
