// Code set mappings against iconv(3), case mapping against the C library's towupper, and the
// process-wide defaults.
#include <doctest/doctest.h>
#include <iconv.h>

#include <clocale>
#include <cwctype>
#include <initializer_list>
#include <iterator>
#include <string>

#include "support/host.h"
#include "zin.h"

namespace {

struct Peer {
  unsigned char number;
  const char* name;
};

constexpr Peer kPeers[] = {{1, "ISO-8859-1"}, {2, "CP1252"},      {3, "ISO-8859-15"},
                           {4, "CP850"},      {5, "MACINTOSH"},   {6, "ISO-8859-2"},
                           {7, "CP1250"},     {8, "ISO-8859-5"},  {9, "CP1251"},
                           {10, "KOI8-R"},    {11, "ISO-8859-7"}, {12, "ISO-8859-9"}};

class Converter {
 public:
  Converter(const char* target, const char* source) : handle_(iconv_open(target, source)) {}
  ~Converter() {
    if (IsOpen()) iconv_close(handle_);
  }
  bool IsOpen() const { return handle_ != reinterpret_cast<iconv_t>(-1); }

  // One character; -1 when the target lacks it or the source does.
  template <class Target, class Source>
  int Convert(Source character) {
    char* in = reinterpret_cast<char*>(&character);
    Target result = 0;
    char* out = reinterpret_cast<char*>(&result);
    std::size_t inLeft = sizeof character;
    std::size_t outLeft = sizeof result;
    iconv(handle_, nullptr, nullptr, nullptr, nullptr);
    const std::size_t irreversible = iconv(handle_, &in, &inLeft, &out, &outLeft);
    return irreversible == 0 && outLeft == 0 ? result : -1;
  }

 private:
  iconv_t handle_;
};

// Two units of Mac Roman where the peer keeps to an older table: the increment sign, which it reads
// as the Greek capital delta, and the private-use logo.
bool PeerDiffers(unsigned char codeSet, unsigned unit) {
  return codeSet == 5 && (unit == 0xC6 || unit == 0xF0);
}

unsigned CaseOf(unsigned (KvCodeSet::*map)(unsigned short, unsigned short*, unsigned char) const,
                unsigned char codeSet, unsigned short unit, unsigned short* mapped,
                unsigned char language = kvLanguageEnglish) {
  return (KvCodeSet(codeSet).*map)(unit, mapped, language);
}

}  // namespace

TEST_CASE("every unit of every 8-bit code set maps both ways as iconv has it") {
  for (const Peer& peer : kPeers) {
    CAPTURE(peer.name);
    Converter decode(support::kUnitsForIconv, peer.name);
    Converter encode(peer.name, support::kUnitsForIconv);
    if (!decode.IsOpen() || !encode.IsOpen()) {
      MESSAGE("iconv has no converter for this code set; not compared");
      continue;
    }
    const KvCodeSet& codeSet = *KvLanguageContext::QueryCodeSet(peer.number);
    for (unsigned unit = 0; unit < 256; ++unit) {
      CAPTURE(unit);
      const unsigned short unicode = codeSet.ToUnicode(static_cast<unsigned short>(unit));
      const int expected = decode.Convert<unsigned short>(static_cast<unsigned char>(unit));
      if (PeerDiffers(peer.number, unit)) continue;
      if (expected < 0) {
        // Unused: the control range keeps its number, the rest is no character.
        CHECK(unicode == (unit < 0xA0 ? unit : 0x3Fu));
      } else {
        CHECK(unicode == expected);
      }
    }
    for (unsigned unicode = 0; unicode < 0xD800; ++unicode) {
      const int expected = encode.Convert<unsigned char>(static_cast<unsigned short>(unicode));
      const unsigned short unit = codeSet.FromUnicode(static_cast<unsigned short>(unicode));
      const bool unusedControl =
          unicode >= 0x80 && unicode < 0xA0 && expected < 0 && unit == unicode;
      if (unusedControl || PeerDiffers(peer.number, unit)) continue;
      if (peer.number == 5 && unicode == 0x394) continue;
      if (unit != (expected < 0 ? 0x3F : expected)) {
        CAPTURE(unicode);
        CHECK(unit == (expected < 0 ? 0x3F : expected));
      }
    }
  }
}

TEST_CASE("units map between code sets through Unicode; what is lacking becomes a question mark") {
  const KvCodeSet ibm(4);
  CHECK(ibm.MapFrom(0xE4, 1) == 0x84);
  CHECK(ibm.MapFrom(0x84, 4) == 0x84);
  CHECK(KvCodeSet(11).MapFrom(0xAE, 11) == 0xAE);  // no character, and kept within its code set
  CHECK(KvCodeSet(1).MapFrom(0x20AC, 253) == '?');
  CHECK(KvCodeSet(3).MapFrom(0x20AC, 253) == 0xA4);
  CHECK(KvCodeSet(253).MapFrom(0x80, 2) == 0x20AC);
  CHECK(KvCodeSet(253).MapFrom(0xE4, 0) == 0xE4);   // plain bytes are ISO 8859-1 by default
  CHECK(KvCodeSet(99).MapFrom(0xE4, 253) == 0xE4);  // an unknown number is ISO 8859-1
  CHECK(KvCodeSet(230).MapFrom(0x0416, 253) == 0x0416);
}

TEST_CASE("case mapping is the C library's, but for what expands") {
  if (std::setlocale(LC_CTYPE, "C.UTF-8") == nullptr) {
    MESSAGE("no UTF-8 locale; case mapping is not compared");
    return;
  }
  const KvCodeSet wide(253);
  unsigned differing = 0;
  for (unsigned unit = 1; unit < 0xD800; ++unit) {
    unsigned short upper[3];
    unsigned short lower[3];
    const bool single = wide.ToUpper(static_cast<unsigned short>(unit), upper) == 1 &&
                        wide.ToLower(static_cast<unsigned short>(unit), lower) == 1;
    if (!single) continue;
    const bool same = upper[0] == std::towupper(unit) && lower[0] == std::towlower(unit);
    differing += same ? 0 : 1;
  }
  std::setlocale(LC_CTYPE, "C");
  // The C library may know letters of another Unicode version.
  CHECK(differing < 10);
}

TEST_CASE("case mapping within a code set") {
  unsigned short mapped[3] = {};
  CHECK(CaseOf(&KvCodeSet::ToUpper, 1, 0xDF, mapped) == 2);  // sharp s
  CHECK(mapped[0] == 'S');
  CHECK(mapped[1] == 'S');
  CHECK(CaseOf(&KvCodeSet::ToUpper, 1, 0xFF, mapped) == 1);  // y diaeresis has no capital there
  CHECK(mapped[0] == 0xFF);
  CHECK(CaseOf(&KvCodeSet::ToUpper, 2, 0xFF, mapped) == 1);
  CHECK(mapped[0] == 0x9F);
  CHECK(CaseOf(&KvCodeSet::ToUpper, 4, 0x84, mapped) == 1);
  CHECK(mapped[0] == 0x8E);
  CHECK(CaseOf(&KvCodeSet::ToLower, 10, 0xF6, mapped) == 1);  // Cyrillic zhe
  CHECK(mapped[0] == 0xD6);
  CHECK(CaseOf(&KvCodeSet::ToUpper, 11, 0xC0, mapped) == 1);  // needs marks that it does not have
  CHECK(mapped[0] == 0xC0);
  CHECK(CaseOf(&KvCodeSet::ToUpper, 253, 0xFB03, mapped) == 3);  // the ligature ffi
  CHECK(mapped[2] == 'I');
  CHECK(CaseOf(&KvCodeSet::ToLower, 253, 0x130, mapped) == 2);  // I with dot: i and the dot
  CHECK(mapped[1] == 0x307);
  CHECK(CaseOf(&KvCodeSet::ToLower, 12, 0xDD, mapped) == 1);  // no dot to spare: plain i
  CHECK(mapped[0] == 'i');
}

TEST_CASE("Turkish letters i have their own capitals where the code set has all four") {
  struct {
    unsigned char codeSet;
    unsigned short small, capital, dotless, dotted;
  } const cases[] = {
      {253, 'i', 'I', 0x131, 0x130},
      {12, 'i', 'I', 0xFD, 0xDD},
      {1, 'i', 'I', 'i', 'I'},  // has neither
      {5, 'i', 'I', 'i', 'I'},  // has the dotless one only, which would not come back
  };
  for (const auto& each : cases) {
    CAPTURE(int{each.codeSet});
    const auto map = [&](auto direction, unsigned short unit) {
      unsigned short mapped[3] = {};
      CHECK(CaseOf(direction, each.codeSet, unit, mapped, 15) == 1);
      return mapped[0];
    };
    CHECK(map(&KvCodeSet::ToUpper, each.small) == each.dotted);
    CHECK(map(&KvCodeSet::ToLower, each.dotted) == each.small);
    CHECK(map(&KvCodeSet::ToUpper, each.dotless) == each.capital);
    CHECK(map(&KvCodeSet::ToLower, each.capital) == each.dotless);
    CHECK(map(&KvCodeSet::ToUpper, 'a') == 'A');
  }
}

TEST_CASE("property records tell what sort of character each is") {
  const KvUnicodeProps& props = *KvLanguageContext::QueryCodeSet(1)->GetUnicodeProps();
  const auto order = [&](unsigned unicode) {
    const KvUnicodeRecord* record = props.Lookup(static_cast<unsigned short>(unicode));
    return record == nullptr ? -1 : static_cast<int>(record->field[40]);
  };
  CHECK(order(0) < 80);
  CHECK(order(' ') < 80);
  CHECK(order(0x3000) < 80);
  CHECK(order(0x378) == -1);  // not assigned
  for (unsigned unicode = 0; unicode < 512; ++unicode) {
    CHECK(order(unicode) >= 0);
  }
  const auto isLetter = [&](unsigned unicode) {
    return order(unicode) >= 16384 && order(unicode) < 32768;
  };
  for (unsigned letter : {0x41U, 0xE9U, 0xDFU, 0x3B1U, 0x416U, 0x5D0U, 0x3042U, 0xAC00U}) {
    CHECK(isLetter(letter));
  }
  for (unsigned digit = 0; digit < 10; ++digit) {
    CHECK(order('0' + digit) == static_cast<int>(16128 + 10 * digit));
    CHECK(order(0x0660 + digit) == static_cast<int>(16128 + 10 * digit));
  }
  for (unsigned symbol : {0x21U, 0x7EU, 0x20ACU, 0xB2U, 0x2014U, 0x3001U}) {
    CHECK(order(symbol) >= 80);
    CHECK(order(symbol) < 16128);
  }
  CHECK(order(0x4E00) >= 0x8000);
  CHECK(order(0xF900) >= 0x8000);
}

TEST_CASE("the defaults refuse numbers that cannot play their part, and attaching resets them") {
  CHECK(KvLanguageContext::SetDefaultCodeSet(254) == kvBadArgument);
  CHECK(KvLanguageContext::SetDefault8CodeSet(253) == kvBadArgument);
  CHECK(KvLanguageContext::SetDefault16CodeSet(1) == kvBadArgument);
  CHECK(KvLanguageContext::SetNativeCodeSet(0) == kvBadArgument);
  CHECK(KvLanguageContext::SetDefaultLanguage(254) == kvBadArgument);
  CHECK(KvLanguageContext::GetDefaultLanguage() == 1);

  CHECK(KvLanguageContext::SetNativeCodeSet(4) == kvOk);
  CHECK(KvLanguageContext::SetDefaultLanguage(10) == kvOk);
  CHECK(KvLanguageContext::SetDefaultCmpOp(0x60) == kvOk);
  CHECK(KvLanguageContext::QueryCodeSet(0)->Number() == 4);
  CHECK(KvCodeSet(253).MapFrom(0x84, 0) == 0xE4);
  CHECK(KvLanguageContext::QueryLanguage(255)->Number() == 10);
  CHECK(KvLanguageContext::SetDefaultLanguage(15) == kvOk);
  unsigned short mapped[3] = {};
  CHECK(CaseOf(&KvCodeSet::ToUpper, 253, 'i', mapped, 255) == 1);
  CHECK(mapped[0] == 0x130);
  CHECK(KvLanguageContext::SetDefaultCodeSet(255) == kvBadArgument);
  CHECK(KvLanguageContext::SetDefaultCodeSet(253) == kvOk);
  CHECK(KvLanguageContext::SetDefault8CodeSet(224) == kvOk);

  ___KvI18NContext(1);
  CHECK(KvLanguageContext::GetNativeCodeSet() == 1);
  CHECK(KvLanguageContext::GetDefault16CodeSet() == 253);
  CHECK(KvLanguageContext::GetDefaultCmpOp() == 0);
}

// The names are what people give to kvtm, the numbers what strings are stored with.
TEST_CASE("languages have their names") {
  const char* const names[] = {"English",    "German", "French", "Spanish",   "Italian",
                               "Portuguese", "Dutch",  "Danish", "Norwegian", "Swedish",
                               "Finnish",    "Polish", "Czech",  "Hungarian", "Turkish"};
  for (unsigned i = 0; i < std::size(names); ++i) {
    const KvLanguage* language =
        KvLanguageContext::QueryLanguage(static_cast<unsigned char>(i + 1));
    CHECK(std::string(language->Name()) == names[i]);
    CHECK(language->Number() == i + 1);
  }
}

TEST_CASE("unknown numbers have an answer") {
  CHECK(KvLanguageContext::QueryCodeSet(77)->Number() == 1);
  CHECK(KvLanguageContext::QueryCodeSet(224)->Number() == 1);
  CHECK(KvLanguageContext::QueryCodeSet(225)->Number() == 253);
  CHECK(KvLanguageContext::QueryCodeSet(254)->Number() == 253);
  CHECK(KvLanguageContext::QueryLanguage(0)->Number() == 1);
  CHECK(KvLanguageContext::QueryLanguage(19)->Number() == 19);
  CHECK(KvLanguageContext::QueryLanguage(20)->Number() == 20);
  CHECK(KvLanguageContext::QueryLanguage(200)->Number() == 20);
  CHECK(KvCodeSet(1).SortClass(19) == 1);
  CHECK(KvCodeSet(1).SortClass(20) == 20);
}
