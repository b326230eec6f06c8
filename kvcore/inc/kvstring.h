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

  KvString();  // empty, in the default code set
  constexpr KvString(unsigned char codeSet, unsigned char language)  // empty
      : buffer_(nullptr), bufferSize_(0), codeSet_(codeSet), language_(language) {}
  KvString(const KvString& source);      // with its code set and language
  KvString(KvString&& source) noexcept;  // `source` keeps its two numbers

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
  // To an 8-bit string the decimal number, to a 16-bit string the one character.
  KvString& operator<<(unsigned short unit);
  KvString& operator<<(short number);
  KvString& operator<<(int number);
  KvString& operator<<(unsigned int number);
  KvString& operator<<(long number);
  KvString& operator<<(unsigned long number);
  KvString& operator<<(long long number);
  KvString& operator<<(unsigned long long number);
  KvString& operator<<(float number);  // printed as the double it widens to
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

  // --- Parts and edits. Positions past the text do nothing, counts are clamped. ---

  // The `count` characters from `position` on; past the end a copy of EmptyString().
  KvString Copy(unsigned short position, unsigned short count) const;
  KvString Left(unsigned short count) const;
  KvString Right(unsigned short count) const;

  void Cut(unsigned short position, unsigned short count);
  // `position` may be the length.
  void Insert(const KvString& text, unsigned short position);
  // Overwrites and never lengthens: "XYZW" at 1 of "abc" gives "aXY".
  void Replace(const KvString& text, unsigned short position);
  // Pads the end up to `length` characters; the unit is in the default 8-bit or 16-bit code set.
  void Expand(unsigned short length, char unit);
  void Expand(unsigned short length, unsigned short unit);
  // The text becomes `count` copies of the unit.
  void Fill(unsigned short count, char unit);
  void Fill(unsigned short count, unsigned short unit);

  // Remove leading and trailing blanks (KvChar::IsSpace). RightTrim never looks at the first
  // character, so a text of blanks keeps one. It walks back from the end of the buffer: each unit
  // that a buffer is longer than its text (CopyMapped) takes a character more away, and where there
  // are not so many, nothing is. Stored texts depend on it; Copy gives an exact buffer.
  void LeftTrim();
  void RightTrim();
  void Trim();

  void ToLower();
  void ToUpper();
  // Applies the operation to each character, see KvStringIterator::Transform.
  void Transform(KvCharOperation& operation);

  // --- Numbers. Leading blanks are skipped, reading ends at the first character that does not
  //     belong; no number is 0. Values out of range give the nearest end of the 32-bit (64-bit)
  //     range. ---

  // 8-bit text: 0x and 0 in front mean hexadecimal and octal, unless bit 0 of
  // ___KvTypeMgrOptions() asks for plain decimal. 16-bit text: always decimal.
  operator int() const;
  operator short() const;  // the low 16 bits of the int
  operator long long() const;
  // As the o_double row scans it: "Infinity", "-Infinity" and "NaN" included.
  operator double() const;

  // 0, or -1 with `out` 0 when the text does not begin with a digit or "-": blanks and "+" are
  // refused here. Atol and Atoll read decimal, the others tell the radix from the
  // prefix (8-bit text only).
  int Atol(int& out) const;
  int Atoll(long long& out) const;
  int Strtol(int& out) const;
  int Strtoll(long long& out) const;

  // --- Code sets ---

  // Labels the text as being in `codeSet`, and converts it only when the width changes (to the
  // native code set when `codeSet` is 0).
  void SetCodeSet(unsigned char codeSet);
  // Labels only: 0, or kvBadArgument and no change when the widths differ.
  int SetCodeSetCode(unsigned char codeSet);
  // Converts the text whatever the widths: 0, or kvBadArgument for code set 0.
  int MapToCodeSet(unsigned char codeSet);
  // Becomes the first `count` characters of `source` (-1: all) in `codeSet`, with its language.
  // A buffer that is large enough is kept, its rest zeroed. Result: the characters converted, or
  // kvBadArgument when `source` is this string.
  int CopyMapped(const KvString& source, unsigned char codeSet, short count);

  // --- Process-wide, see KvLanguageContext ---

  static unsigned char GetDefaultCodeSet();
  static unsigned char GetDefault8CodeSet();
  static unsigned char GetDefault16CodeSet();
  static unsigned char GetDefaultLanguage();
  static unsigned short GetDefaultCmpOp();
  static int SetDefaultCodeSet(unsigned char codeSet);
  static int SetDefaultLanguage(unsigned char language);
  static int SetDefaultCmpOp(unsigned short compareOperation);
  // The wildcards of comparison, off until set here; the character 0 turns one off again. Always 0.
  static int SetAsterisk(const KvChar& character);
  static int SetQuestion(const KvChar& character);
  static int SetEscape(const KvChar& character);
  // An empty string of code set and language 0.
  static const KvString& EmptyString();

  // --- Comparing, as KvStrCmp (kvcollate.h) orders the whole texts under the process's default
  //     compare operation. ---

  bool operator==(const KvString& other) const;
  // The order itself as KvStrCmp has it: under a default operation of key order, or of exact bytes
  // for two strings of code set 0, a difference, else -1, 0 or 1.
  int operator!=(const KvString& other) const;
  bool operator<(const KvString& other) const;
  bool operator<=(const KvString& other) const;
  bool operator>(const KvString& other) const;
  bool operator>=(const KvString& other) const;
  // The order of the first `maximumLength` characters (-1: all); operation 65535 is the default.
  int Compare(const KvString& other, short maximumLength = -1,
              unsigned short compareOperation = 65535) const;
  // Equal in key order, texts of different languages as if both were of language 0.
  bool EqualsIgnoreLanguage(const KvString& other) const;

  // --- Searching. Texts match as they compare; operation 65535 is the default. ---

  // The first position from `start` on where the text continues with `pattern`, -1 when there is
  // none or the text is empty. The result is 16 bits wide: positions from 32,768 on come out
  // negative, and only -1 means absent. A lone unit is taken in code set 0 or the default 16-bit
  // one, and in this string's language; 0 is the empty pattern.
  short Find(const KvString& pattern, unsigned short start = 0,
             unsigned short compareOperation = 65535) const;
  short Find(char unit, unsigned short start = 0, unsigned short compareOperation = 65535) const;
  short Find(unsigned short unit, unsigned short start = 0,
             unsigned short compareOperation = 65535) const;
  short SubStringPos(const KvString& pattern, unsigned short compareOperation = 65535) const;

  // Replaces every occurrence from `start` on, each by the pattern's number of characters. Nothing
  // happens for an empty pattern. A replacement unit of 0 deletes.
  void ReplaceAll(const KvString& pattern, const KvString& replacement, unsigned short start = 0);
  void ReplaceAll(char from, char to, unsigned short start = 0);
  void ReplaceAll(unsigned short from, unsigned short to, unsigned short start = 0);

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

// Takes the next item of a delimited list: the text from `position` up to the next delimiter,
// blanks trimmed at both ends. A delimiter at the very start of the list is passed over. Result: 0
// with `position` one character behind where the delimiter begins, so what a longer delimiter has
// more stands at the front of the next item; or kvListEnd when there is no further item.
//
//   KvString list("a, b,,c"), item;
//   for (unsigned short at = 0; KvSplitList(list, item, ",", at) == 0;) ...   // "a" "b" "" "c"
KV_EXPORT int KvSplitList(KvString& list, KvString& item, const KvString& delimiter,
                          unsigned short& position);
