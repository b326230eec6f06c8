// zin.h - internationalisation: code sets, languages, character properties and collation orders.
// Library ZM140Zin142.
//
// A *code set* says what the units of a text mean: bytes below and at number 224, 16-bit units
// above. A *language* says how text sorts. Both are one-byte numbers that strings carry and
// stored strings keep, so they never change:
//
//   code sets   0 plain bytes (characters resolve through the native code set)
//               1 ISO 8859-1     2 Windows-1252    3 ISO 8859-15    4 IBM 850
//               5 Mac Roman      6 ISO 8859-2      7 Windows-1250   8 ISO 8859-5
//               9 Windows-1251  10 KOI8-R         11 ISO 8859-7    12 ISO 8859-9
//             253 16-bit Unicode; 254 and 255 are markers, not code sets
//               any other number behaves as 1 (up to 224) or as 253 (above)
//   languages   1 English        2 German          3 French         4 Spanish
//               5 Italian        6 Portuguese      7 Dutch          8 Danish
//               9 Norwegian     10 Swedish        11 Finnish       12 Polish
//              13 Czech         14 Hungarian      15 Turkish       16 Slovak
//              17 Croatian      18 Romanian       19 Icelandic     20 and above: ideographic
//
// All tables are constant data; reading them needs no lock. The defaults of KvLanguageContext are
// process-wide and meant to be set before threads start.
#pragma once

#include "kvbase.h"

// The single test for the width of a text's characters.
inline constexpr bool KvIsWideCodeSet(unsigned char codeSet) {
  return codeSet > 224;
}

inline constexpr unsigned char kvCodeSetBytes = 0;
inline constexpr unsigned char kvCodeSetLatin1 = 1;
inline constexpr unsigned char kvCodeSetUnicode = 253;
inline constexpr unsigned char kvCodeSetOrders = 254;  // the marker of texts of collation orders
inline constexpr unsigned char kvLanguageEnglish = 1;
inline constexpr unsigned char kvLanguageNull = 254;

// The collation orders of one character: one, or two when it expands (ligatures, sharp s, and
// every character of other scripts).
struct KvCollationOrders {
  unsigned short first;
  unsigned short second;  // 0 when there is none
};

// What is known about one character. A table of 16-bit fields; the 41st (index 40) is the property
// order that the classification of KvChar tests.
struct KvUnicodeRecord {
  unsigned short field[48];
  unsigned short PropertyOrder() const { return field[40]; }
};

// The per-character records of a code set.
class KV_EXPORT KvUnicodeProps {
 public:
  // The record of a Unicode character, null when the character is not assigned.
  const KvUnicodeRecord* Lookup(unsigned short unicode) const;
};

// One code set: how its units map to Unicode and sort.
class KV_EXPORT KvCodeSet {
 public:
  constexpr explicit KvCodeSet(unsigned char number) : number_(number) {}

  unsigned char Number() const { return number_; }
  bool IsWide() const { return KvIsWideCodeSet(number_); }

  // A unit's Unicode character, and back. A character that this code set lacks is "?" (0x3F). An
  // unused unit of the range 0x80 to 0x9F keeps its number both ways; any other unused unit is "?".
  unsigned short ToUnicode(unsigned short unit) const;
  unsigned short FromUnicode(unsigned short unicode) const;

  // A unit of `sourceCodeSet` (0: the native code set) as a unit of this one.
  unsigned short MapFrom(unsigned short unit, unsigned char sourceCodeSet) const;

  // 20 for ideographic languages (20 and above), else 1.
  unsigned char SortClass(unsigned char language) const;

  // The character property table, never null here.
  const KvUnicodeProps* GetUnicodeProps() const;

  // Collation orders of one unit in a language, by itself: what it sorts as together with the units
  // behind it (Czech ch) is for KvStringIterator::GetNextOrder to say.
  KvCollationOrders Orders(unsigned short unit, unsigned char language) const;

  // Case mapping within this code set. Writes one to three units to `mapped` and returns how many;
  // a mapping that the code set lacks leaves the unit as it is. Language 255 is the default one.
  unsigned ToLower(unsigned short unit, unsigned short mapped[3],
                   unsigned char language = kvLanguageEnglish) const;
  unsigned ToUpper(unsigned short unit, unsigned short mapped[3],
                   unsigned char language = kvLanguageEnglish) const;

  // Whether case mapping in a language differs from that in the others: in Turkish, where i goes
  // with a dotted capital and I with a dotless small letter, if this code set has both of them.
  bool HasCaseOf(unsigned char language) const;

 private:
  unsigned char number_;
};

// One language.
class KV_EXPORT KvLanguage {
 public:
  constexpr KvLanguage(unsigned char number, const char* name, const char* code)
      : number_(number), name_(name), code_(code) {}
  unsigned char Number() const { return number_; }
  const char* Name() const { return name_; }  // English name
  const char* Code() const { return code_; }  // ISO 639-1; "" for the ideographic languages

  // The letter that an order stands for, in UTF-8, where the order by itself says it badly or not
  // at all: letters of the language's own ("\xC3\xA5" for the Swedish letter after z), contractions
  // in their case ("Ch") and variants ("\xC2\xBA"). Null for all other orders.
  const char* LetterName(unsigned short order) const;

 private:
  unsigned char number_;
  const char* name_;
  const char* code_;
};

// Process-wide defaults. Initially: native and default 8-bit code set 1, default code set 1,
// default 16-bit code set 253, language 1 (English), compare operation 0.
class KV_EXPORT KvLanguageContext {
 public:
  static unsigned char GetNativeCodeSet();
  static unsigned char GetDefaultCodeSet();
  static unsigned char GetDefault8CodeSet();
  static unsigned char GetDefault16CodeSet();
  static unsigned char GetDefaultLanguage();
  static unsigned short GetDefaultCmpOp();

  // Each setter takes a number of the right width and returns 0; kvBadArgument and no change for
  // a marker (254, 255) or, for the 8-bit and 16-bit defaults, a number of the other width. The
  // native code set is one of bytes (1 to 224), since plain bytes resolve through it.
  static int SetNativeCodeSet(unsigned char codeSet);
  static int SetDefaultCodeSet(unsigned char codeSet);
  static int SetDefault8CodeSet(unsigned char codeSet);
  static int SetDefault16CodeSet(unsigned char codeSet);
  static int SetDefaultLanguage(unsigned char language);
  static int SetDefaultCmpOp(unsigned short cmpOp);

  // Never null; unknown numbers as the table above has it. 0 answers as the native code set.
  static const KvCodeSet* QueryCodeSet(unsigned char codeSet);
  // Never null; 255 is the default language, an unknown number English or, from 20 on, ideographic.
  static const KvLanguage* QueryLanguage(unsigned char language);
};

// Attaches (non-zero) or detaches (0) the process-wide context: both put the defaults back to
// their initial values.
extern "C" KV_EXPORT void ___KvI18NContext(int attach);
