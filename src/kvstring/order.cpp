// order.cpp - collation orders in words. kvorder.h draws the layout; the tables here are names.
// The spelling "o_double" in three of them is how they have always read, and callers compare them.
#include "kvorder.h"

#include <cstdio>

#include "kvstring.h"
#include "zinorder.h"

namespace kv {

namespace {

enum class OrderClass { kSpace, kSymbol, kDigit, kLetter, kIdeographic };

constexpr unsigned kUndefinedIndicator = 13;

OrderClass Classify(unsigned short order, unsigned char language) {
  if (order >= kFirstOtherOrder || (language & 0x7F) >= 20) return OrderClass::kIdeographic;
  if (order >= kFirstLetterOrder) return OrderClass::kLetter;
  if (order >= kFirstDigitOrder) return OrderClass::kDigit;
  return order >= kFirstSymbolOrder ? OrderClass::kSymbol : OrderClass::kSpace;
}

struct Letter {
  bool isUpper;
  unsigned accent;
  unsigned char character;  // in its case
  bool hasExtension;
};

Letter DecodeLetter(unsigned short order) {
  Letter letter;
  letter.isUpper = (order >> 12 & 3) == 0;
  letter.accent = order >> 7 & 31;
  letter.character = static_cast<unsigned char>((order >> 2 & 31) + 62 + (letter.isUpper ? 0 : 32));
  letter.hasExtension = (order & 3) != 0;
  return letter;
}

// By accent code. Those from 15 on have no name: null adds nothing to a text.
constexpr const char* kAccentNames[32] = {"",
                                          "cedilla",
                                          "accent acute",
                                          "accent grave",
                                          "accent circumflex",
                                          "tilde",
                                          "diaeresis",
                                          "ring above",
                                          "stroke",
                                          "accent caron",
                                          "accent macron",
                                          "accent breve",
                                          "dot above",
                                          "ogonek",
                                          "accent o_double acute"};

struct Symbol {
  unsigned number;
  const char* name;
  char character;  // "." where no single byte renders it, and for the reverse solidus
};

constexpr Symbol kSymbols[] = {
    {32, "_", '_'},
    {34, "macron sign", '.'},
    {35, "soft hyphen", '.'},
    {36, "-", '-'},
    {37, ",", ','},
    {38, ";", ';'},
    {39, ":", ':'},
    {40, "!", '!'},
    {41, "inverted exclamation mark", '.'},
    {42, "?", '?'},
    {44, "solidus", '/'},
    {46, "full stop", '.'},
    {49, "middle dot", '.'},
    {50, "cedilla", '.'},
    {52, "apostrophe", '\''},
    {55, "\"", '"'},
    {58, "left pointing o_double angle quotation mark", '.'},
    {59, "right pointing o_double angle quotation mark", '.'},
    {60, "(", '('},
    {62, ")", ')'},
    {64, "[", '['},
    {65, "]", ']'},
    {66, "{", '{'},
    {67, "}", '}'},
    {68, "section sign", '.'},
    {69, "pilcrow sign", '.'},
    {70, "copyright sign", '.'},
    {71, "registered sign", '.'},
    {73, "@", '@'},
    {74, "currency sign", '.'},
    {75, "cent sign", '.'},
    {76, "$", '$'},
    {77, "pound sign", '.'},
    {78, "yen sign", '.'},
    {79, "*", '*'},
    {80, "reverse solidus", '.'},
    {81, "&", '&'},
    {82, "#", '#'},
    {83, "%", '%'},
    {85, "+", '+'},
    {87, "plus minus sign", '.'},
    {88, "'", '\''},
    {89, "`", '`'},
    {91, "^", '^'},
    {94, "diaeresis", '.'},
    {96, "~", '~'},
    {98, "division sign", '.'},
    {99, "multiplication sign", '.'},
    {101, "<", '<'},
    {103, "=", '='},
    {105, ">", '>'},
    {106, "not sign", '.'},
    {107, "|", '|'},
    {108, "broken bar", '.'},
    {109, "degree sign", '.'},
    {110, "micron sign", '.'},
    {139, "inverted question mark", '.'},
};

// Null when the number has no entry.
const Symbol* FindSymbol(unsigned number) {
  for (const Symbol& symbol : kSymbols) {
    if (symbol.number == number) return &symbol;
  }
  return nullptr;
}

// Escape names of the characters 192 to 255; those from 128 to 191 have none.
constexpr const char* kLatinNames[64] = {
    "\\`A", "\\'A", "\\^A", "\\~A",  "\\\"A", "\\AA", "\\AE",  "\\,C",   // 192
    "\\`E", "\\'E", "\\^E", "\\\"E", "\\`I",  "\\'I", "\\^I",  "\\\"I",  // 200
    "\\-D", "\\~N", "\\`O", "\\'O",  "\\^O",  "\\~O", "\\\"O", "",       // 208
    "\\-O", "\\`U", "\\'U", "\\^U",  "\\\"U", "\\'Y", "\\TH",  "\\ss",   // 216
    "\\`a", "\\'a", "\\^a", "\\~a",  "\\\"a", "\\aa", "\\ae",  "\\,c",   // 224
    "\\`e", "\\'e", "\\^e", "\\\"e", "\\`i",  "\\'i", "\\^i",  "\\\"i",  // 232
    "\\-d", "\\~n", "\\`o", "\\'o",  "\\^o",  "\\~o", "\\\"o", "",       // 240
    "\\-o", "\\`u", "\\'u", "\\^u",  "\\\"u", "\\'y", "\\th",  "\\\"y",  // 248
};

const char* LatinName(unsigned char character) {
  return character < 192 ? "" : kLatinNames[character - 192];
}

// The first accented character of ISO 8859-1 with this order in English; 0 when there is none.
unsigned char FindAccented(unsigned short order) {
  const KvCodeSet latin(kvCodeSetLatin1);
  for (unsigned code = 128; code <= 255; ++code) {
    if (latin.Orders(static_cast<unsigned short>(code), kvLanguageEnglish).first == order) {
      return static_cast<unsigned char>(code);
    }
  }
  return 0;
}

unsigned DigitOfOrder(unsigned short order) {
  return ((order & 0xFFFEu) - kFirstDigitOrder) / 10;
}

void ConvertLetter(unsigned short order, unsigned char& ch, bool findAccented, const char** name) {
  const Letter letter = DecodeLetter(order);
  ch = letter.character;
  if (letter.accent == 0 || !findAccented) return;
  if (const unsigned char accented = FindAccented(order)) ch = accented;
  if (name != nullptr) *name = LatinName(ch);
}

void DescribeLetter(unsigned short order, KvString& text) {
  const Letter letter = DecodeLetter(order);
  text = letter.isUpper ? "upper " : "lower ";
  text << "letter " << static_cast<char>(letter.character);
  // Accents without a name still announce themselves.
  if (letter.accent != 0) text << " with " << kAccentNames[letter.accent];
  if (letter.hasExtension) text << " with extension";
}

void DescribeSymbol(unsigned short order, KvString& text) {
  text = "symbol ";
  const Symbol* symbol = FindSymbol(order - kFirstSymbolOrder);
  if (symbol != nullptr) text << symbol->name;
}

void DescribeDigit(unsigned short order, KvString& text) {
  text = "digit ";
  text << DigitOfOrder(order);
  if ((order & 1) != 0) text << " with expand";
}

void DescribeIdeograph(unsigned short order, KvString& text) {
  char line[32];
  std::snprintf(line, sizeof line, "HAN character 0x%04x\n", static_cast<unsigned>(order));
  text = line;
}

}  // namespace

}  // namespace kv

int KvConvertOrderToChar(unsigned short order, unsigned char language, unsigned char& ch,
                         int findAccented, const char** name) {
  ch = 7;
  switch (kv::Classify(order, language)) {
    case kv::OrderClass::kIdeographic:
      ch = 127;
      break;
    case kv::OrderClass::kSpace:
      ch = ' ';
      break;
    case kv::OrderClass::kSymbol: {
      const kv::Symbol* symbol = kv::FindSymbol(order - kv::kFirstSymbolOrder);
      if (symbol != nullptr) ch = static_cast<unsigned char>(symbol->character);
      break;
    }
    case kv::OrderClass::kDigit:
      ch = static_cast<unsigned char>('0' + kv::DigitOfOrder(order));
      break;
    case kv::OrderClass::kLetter:
      kv::ConvertLetter(order, ch, findAccented != 0, name);
      break;
  }
  return kvOk;
}

int KvConvertOrderToString(unsigned short order, unsigned char language, KvString& text) {
  text = "unknown";
  switch (kv::Classify(order, language)) {
    case kv::OrderClass::kIdeographic:
      kv::DescribeIdeograph(order, text);
      break;
    case kv::OrderClass::kSpace:
      text = order == kv::kUndefinedIndicator ? "undefined ordering indicator" : "space";
      break;
    case kv::OrderClass::kSymbol:
      kv::DescribeSymbol(order, text);
      break;
    case kv::OrderClass::kDigit:
      kv::DescribeDigit(order, text);
      break;
    case kv::OrderClass::kLetter:
      kv::DescribeLetter(order, text);
      break;
  }
  return kvOk;
}

int KvExtractDigitFromOrder(unsigned short order, unsigned short& digit, unsigned short& expand) {
  if (order < kv::kFirstDigitOrder || order >= kv::kFirstLetterOrder) return kvBadArgument;
  digit = static_cast<unsigned short>(kv::DigitOfOrder(order));
  expand = order & 1;
  return kvOk;
}

int KvExtractSymbolFromOrder(unsigned short order, unsigned short& symbol) {
  if (order < kv::kFirstSymbolOrder || order >= kv::kFirstDigitOrder) return kvBadArgument;
  symbol = static_cast<unsigned short>(order - kv::kFirstSymbolOrder);
  return kvOk;
}
