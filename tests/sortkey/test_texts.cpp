// Keys of texts against KvStrCmp, whose levels know nothing of keys.
#include <doctest/doctest.h>

#include <cstdlib>
#include <span>

#include "sortkey/sort_keys.h"

namespace {

using namespace sortkey;
using support::Source;

constexpr unsigned short kOptionSets[] = {0x10, 0x30, 0x50, 0x90, 0x210, 0x70, 0x2F0, 0xF0, 0x270};

// KV_SORTKEY_ROUNDS takes more rounds than a test run has time for.
unsigned Rounds() {
  const char* more = std::getenv("KV_SORTKEY_ROUNDS");
  return more != nullptr ? static_cast<unsigned>(std::atoi(more)) : 6;
}

// Characters that make trouble, by the ones that meet each other: letters with accents and their
// capitals, halves of contractions, ligatures and what they look like, digits, spaces of all kinds,
// symbols of one, two and three bytes, other scripts with and without case.
const std::u16string kAlphabets[] = {
    u"aAbBzZ\u00e4\u00c4\u00e9\u00e0",
    u"cChHsSzZdDgGyYtTnNlLjJ\u017e\u017d",
    u"sS\u00df\u017f\u1e9e\ufb01fFiI",
    u"aAeE\u00e6\u00c6oO\u0153\u0152\u00f8\u00d8\u00e5\u00c5",
    u"nN\u00f1\u00d1\u0144\u014b\u0149'\u00b2"
    u"2\u00b9"
    u"19",
    u"iI\u0131\u0130\u0133\u0132jJ\u01c6\u01c5\u01c4\u01c9",
    u"a \t\n\r\u00a0\u0001\u0008\u0012\u0085-_.,\u00bf\u2013\u20ac\u2026",
    u"\u03b1\u0391\u03b2\u0392\u03c3\u03c2\u0436\u0416\u0430\u0410\u0561\u0531",
    u"\u4e00\u4e01\u9fa5\u3042\u30a2\uac00\u05d0\u0627\u10a0\uff21\uff41",
    u"aA\u00aa\u00baoO\u0111\u00f0\u00d0\u00fe\u00de\u0142\u0141\u0167",
    u"0123456789"
    u"aZ~!\u00a7\u2122\u266b",
};

KvString Empty(unsigned char codeSet, unsigned char language) {
  return {codeSet, language};
}

KvString Unicode(const std::u16string& text, unsigned char language) {
  KvString string(reinterpret_cast<const unsigned short*>(text.c_str()));
  string.SetLanguage(language);
  return string;
}

// A text of collation orders: those of real letters, and any other number.
KvString OrderText(Source& source) {
  std::u16string orders;
  for (unsigned left = source.Below(5); left != 0; --left) {
    const unsigned any = static_cast<unsigned>(source.Random());
    const unsigned order =
        source.Pick({any & 0xFFFF, 0x4000 | (any & 0x3FFF), 0x500C | (any & 0x3003),
                     0x3F00 | (any & 0xFF), 1 + any % 80, 80 + any % 140, 0x8000 | (any & 3),
                     0x8000 | (any & 0x43), 0xFFFFu, 0x81B8 + any % 16, 0x400Cu, 0x507Cu});
    orders += static_cast<char16_t>(order == 0 ? 1 : order);
  }
  KvString string = Unicode(orders, source.Pick<unsigned char>({1, 1, 20}));
  // Converting would make letters of orders: the number is put into its stored form instead.
  Bytes stored(orders.size() * 2 + 6);
  Types().Store(KvSTRING_T, stored.data(), &string, 0, 1);
  stored[2] = 254;
  Types().Load(KvSTRING_T, &string, stored.data(), 0, 1);
  return string;
}

// Mostly small letters, which are taken in runs.
KvString LongWord(Source& source, unsigned char language) {
  std::u16string text;
  for (unsigned left = source.Below(24); left != 0; --left) {
    const char16_t small = static_cast<char16_t>(u'a' + source.Below(26));
    text +=
        source.Below(12) != 0 ? small : source.Pick({u'A', u'`', u'{', u'\u00e4', u'\u0161', u'0'});
  }
  KvString string = Unicode(text, language);
  if (source.Below(2) != 0) string.SetCodeSetCode(6);
  return string;
}

KvString NextText(Source& source, unsigned char language) {
  if (source.Below(12) == 0) return OrderText(source);
  if (source.Below(6) == 0) return LongWord(source, language);
  const std::u16string& letters = kAlphabets[source.Below(std::size(kAlphabets))];
  std::u16string text;
  for (unsigned left = source.Below(6); left != 0; --left) {
    const auto& from =
        source.Below(5) == 0 ? kAlphabets[source.Below(std::size(kAlphabets))] : letters;
    text += from[source.Below(static_cast<unsigned>(from.size()))];
  }
  KvString string = Unicode(text, language);
  if (source.Below(3) != 0) string.SetCodeSetCode(static_cast<unsigned char>(1 + source.Below(12)));
  return string;
}

std::vector<KvString> Texts(Source& source, unsigned char language, unsigned count) {
  std::vector<KvString> texts;
  texts.push_back(Empty(1, 254));  // null
  texts.push_back(Empty(1, language));
  while (texts.size() < count) texts.push_back(NextText(source, language));
  return texts;
}

std::vector<Bytes> KeysOf(const std::vector<KvString>& texts, const KvSortKeyKind& kind) {
  std::vector<Bytes> keys;
  for (const KvString& text : texts) {
    keys.push_back(KeyOf(kind, &text));
    CHECK(!keys.back().empty());
  }
  return keys;
}

std::string Describe(const KvString& text) {
  Bytes stored(text.GetBufferSize() + 8u);
  stored.resize(Types().Store(KvSTRING_T, stored.data(), &text, 2, 1));
  return Hex(stored);
}

void CheckPairs(const std::vector<KvString>& texts, unsigned short cmpOp) {
  const KvSortKeyKind kind{.type = KvSTRING_T, .cmpOp = cmpOp};
  const std::vector<Bytes> keys = KeysOf(texts, kind);
  unsigned wrong = 0;
  std::string first;
  for (std::size_t a = 0; a < texts.size(); ++a) {
    for (std::size_t b = 0; b < texts.size(); ++b) {
      int status;
      auto* left = const_cast<KvString*>(&texts[a]);
      auto* right = const_cast<KvString*>(&texts[b]);
      const int order = Sign(Types().Cmp(KvSTRING_T, 0, left, 0, right, cmpOp, 1, 8, status));
      if (order == Order(keys[a], keys[b])) continue;
      if (wrong++ == 0) {
        first = Describe(texts[a]) + " " + Describe(texts[b]) + " are " + std::to_string(order) +
                ", keys " + Hex(keys[a]) + " " + Hex(keys[b]);
      }
    }
  }
  CHECK_MESSAGE(wrong == 0, first);
}

// The range of keys that belongs to a text.
class KeyRange {
 public:
  KeyRange(const KvSortKeyKind& kind, unsigned char range, const KvString& wanted) : kind_(kind) {
    std::size_t lowerSize = 0, upperSize = 0;
    REQUIRE(KvSortKeyRange(kind, range, &wanted, 0, 8, lower_.size(), lower_.data(), lowerSize,
                           upper_.data(), upperSize) == kvOk);
    lower_.resize(lowerSize);
    upper_.resize(upperSize);
  }
  bool Holds(const KvString& text) const {
    const Bytes key = KeyOf(kind_, &text);
    return key >= lower_ && key < upper_;
  }

 private:
  KvSortKeyKind kind_;
  Bytes lower_ = Bytes(200), upper_ = Bytes(200);
};

}  // namespace

TEST_CASE("keys of texts order as the texts do, in every language and under every option") {
  for (unsigned round = 0; round < Rounds(); ++round) {
    for (unsigned language = 1; language < 22; ++language) {
      CAPTURE(language);
      Source source(round * 100 + language);
      const std::vector<KvString> texts = Texts(source, static_cast<unsigned char>(language), 90);
      for (const unsigned short cmpOp : kOptionSets) {
        CAPTURE(cmpOp);
        CheckPairs(texts, cmpOp);
      }
    }
  }
}

TEST_CASE("keys of texts of different languages order as the texts do") {
  Source source(3);
  for (unsigned round = 0; round < Rounds() * 2; ++round) {
    std::vector<KvString> texts;
    while (texts.size() < 250) {
      texts.push_back(NextText(source, static_cast<unsigned char>(1 + source.Below(22))));
    }
    CheckPairs(texts, 0x10);
  }
}

TEST_CASE("every order has a place of its own") {
  const auto textOf = [](unsigned order) {
    const auto low = static_cast<unsigned char>(order);
    const auto high = static_cast<unsigned char>(order >> 8);
    return Bytes{6, 0, 254, 1, low, high, 0, 0xFF};
  };
  // As the first of two orders, the second of which says that it is small.
  const auto markedSize = [](unsigned order, unsigned char isSmall) {
    const auto low = static_cast<unsigned char>(order);
    const auto high = static_cast<unsigned char>(order >> 8);
    const Bytes text{8, 0, 254, 1, low, high, isSmall, 0x80, 0, 0xFF};
    return KeyOf({.type = KvSTRING_T}, text.data(), 0).size();
  };
  Source source(12);
  const KvSortKeyKind kind{.type = KvSTRING_T};
  unsigned wrong = 0;
  for (unsigned order = 1; order < 0x10000; ++order) {
    const Bytes text = textOf(order);
    const Bytes key = KeyOf(kind, text.data(), 0);
    for (const unsigned other : {order % 0xFFFF + 1, 1 + source.Below(0xFFFF)}) {
      Bytes left = text, right = textOf(other);
      const int expected = Sign(Types().Cmp(KvSTRING_T, left.data(), right.data(), 0x10, 1, 0));
      if (expected != Order(key, KeyOf(kind, right.data(), 0))) ++wrong;
    }
    // Without spaces, what is none is still there.
    if ((KeyOf({.type = KvSTRING_T, .cmpOp = 0x90}, text.data(), 0).size() > 3) != (order >= 80)) {
      ++wrong;
    }
    // Where there are capitals, small letters have no mark; elsewhere what is not small has none.
    const unsigned unit = 2 * (order - 0x8000);
    const bool hasCapitals = (unit >= 0x180 && unit <= 0x24F) || (unit >= 0x370 && unit <= 0x58F) ||
                             (unit >= 0x1E00 && unit <= 0x1FFF);
    if (order > 0x8003 && hasCapitals != (markedSize(order, 1) < markedSize(order, 0))) ++wrong;
  }
  CHECK(wrong == 0);
}

TEST_CASE("a wide unit is no letter by one of its bytes") {
  std::vector<KvString> texts{Unicode(u"bbbbbbbbbb", 1),
                              Unicode(u"bbbb\u6100\u6100\u6100\u6100", 1)};
  for (unsigned bit = 0; bit < 8; ++bit) {
    for (unsigned place = 0; place < 10; ++place) {
      std::u16string units(10, u'b');
      units[place] = static_cast<char16_t>(u'a' | 0x100u << bit);
      texts.push_back(Unicode(units, 1));
    }
  }
  CheckPairs(texts, 0x10);
}

TEST_CASE("long texts have marks at any distance") {
  Source source(4);
  std::vector<KvString> texts;
  for (const unsigned length : {20u, 60u, 300u, 3000u, 24000u, 65531u}) {
    for (unsigned variation = 0; variation < 8; ++variation) {
      std::string text(length, 'a');
      for (unsigned marks = source.Below(4); marks != 0; --marks) {
        const unsigned at = source.Below(2) == 0 ? source.Below(length) : length - 1;
        text[at] = source.Pick({'\xE4', 'A', '\xC4', '\xE6', '\xDF', '\xE1'});
      }
      texts.emplace_back(text.c_str());
    }
    // More marks than are kept aside.
    texts.emplace_back(std::string(length, '\xE6').c_str());
    texts.emplace_back(std::string(length, '\xC6').c_str());
    texts.emplace_back(std::string(length, '\xE4').c_str());
    texts.emplace_back((std::string(length - 1, '\xC6') + '\xE6').c_str());
    for (const char16_t alpha : {u'\u0391', u'\u03B1'})
      texts.push_back(Unicode(std::u16string(length / 2, alpha), 1));
  }
  for (const unsigned short cmpOp : std::initializer_list<unsigned short>{0x10, 0x70})
    CheckPairs(texts, cmpOp);
  for (const KvString& text : texts) {
    const KvSortKeyKind kind{.type = KvSTRING_T};
    const Bytes key = KeyOf(kind, &text);
    CHECK(key.size() <= KvSortKeyBound(kind, text.Len()));
    KvString back;
    std::size_t size;
    const int status = KvSortKeyValue(kind, key.data(), key.size(), &back, size);
    CHECK((status == kvOverflow ? text.Len() > 16000 : KeyOf(kind, &back) == key));
  }
}

TEST_CASE("the key of a stored text is that of the loaded one") {
  Source source(6);
  const KvSortKeyKind kind{.type = KvSTRING_T, .options = kvSortKeyDescending};
  const std::vector<KvString> texts = Texts(source, 14, 400);
  for (const unsigned char format : std::initializer_list<unsigned char>{0, 2}) {
    Bytes stored(texts.size() * 64);
    stored.resize(Types().Store(KvSTRING_T, stored.data(), texts.data(), format,
                                static_cast<unsigned>(texts.size())));
    Bytes keys(KvSortKeyBound(kind, stored.size(), static_cast<unsigned>(texts.size())));
    std::vector<std::size_t> offsets(texts.size() + 1);
    std::size_t size = 0;
    REQUIRE(KvSortKeyRun(kind, stored.data(), static_cast<unsigned>(stored.size()), format,
                         static_cast<unsigned>(texts.size()), keys.data(), keys.size(),
                         offsets.data(), size) == kvOk);
    for (std::size_t i = 0; i < texts.size(); ++i) {
      const Bytes key(keys.begin() + static_cast<long>(offsets[i]),
                      keys.begin() + static_cast<long>(offsets[i + 1]));
      CHECK(key == KeyOf(kind, &texts[i]));
    }
    CHECK(offsets.back() == size);
    // Cut anywhere, the run has no keys.
    CHECK(KvSortKeyRun(kind, stored.data(), static_cast<unsigned>(stored.size() - 1), format,
                       static_cast<unsigned>(texts.size()), keys.data(), keys.size(), nullptr,
                       size) == kvBadArgument);
  }
}

TEST_CASE("a text of orders comes back that compares equal and has the same key") {
  for (const unsigned short cmpOp : kOptionSets) {
    for (const unsigned char options : std::initializer_list<unsigned char>{0, 1, 2, 5}) {
      CAPTURE(cmpOp);
      const KvSortKeyKind kind{.type = KvSTRING_T, .options = options, .cmpOp = cmpOp};
      Source source(8);
      for (unsigned i = 0; i < 300; ++i) {
        KvString text = NextText(source, static_cast<unsigned char>(1 + source.Below(22)));
        const Bytes key = KeyOf(kind, &text);
        KvString back("before");
        std::size_t size = 0;
        REQUIRE_MESSAGE(KvSortKeyValue(kind, key.data(), key.size(), &back, size) == kvOk,
                        Describe(text), " ", Hex(key));
        CHECK(size == key.size());
        CHECK((back.GetCodeSet() == 254 && (back.GetLanguage() == 1 || back.GetLanguage() == 20)));
        int status;
        CHECK(Types().Cmp(KvSTRING_T, 0, &text, 0, &back, cmpOp, 1, 8, status) == 0);
        CHECK_MESSAGE(KeyOf(kind, &back) == key, Describe(text), " ", Hex(key));
        CHECK(KvSortKeyLength(kind, key.data(), key.size(), size) == kvOk);
        CHECK(size == key.size());
        for (std::size_t cut = 0; cut < key.size(); ++cut) {
          CHECK(KvSortKeyValue(kind, key.data(), cut, &back, size) == kvBadArgument);
        }
      }
    }
  }
}

TEST_CASE("arbitrary bytes are the key of a text, or none") {
  Source source(9);
  unsigned texts = 0;
  for (unsigned i = 0; i < 200000; ++i) {
    const auto cmpOp = kOptionSets[source.Below(std::size(kOptionSets))];
    const KvSortKeyKind kind{.type = KvSTRING_T, .cmpOp = cmpOp};
    Bytes bytes = source.Noise(source.Below(7));
    if (i < 0x10000) bytes = {static_cast<unsigned char>(i), static_cast<unsigned char>(i >> 8)};
    bytes.insert(bytes.begin(), 0x01);
    bytes.push_back(0x00);
    for (unsigned marks = source.Below(3); marks != 0; --marks) {
      const auto any = static_cast<unsigned char>(source.Random());
      bytes.push_back(source.Pick<unsigned char>({any, 0x00, 0x3F, 0xF0, 0x42}));
    }
    bytes.push_back(0x30);
    KvString back;
    std::size_t size = 0;
    const int status = KvSortKeyValue(kind, bytes.data(), bytes.size(), &back, size);
    if (status != kvOk) continue;
    ++texts;
    bytes.resize(size);
    CHECK_MESSAGE(KeyOf(kind, &back) == bytes, Hex(bytes), " ", Describe(back));
  }
  CHECK(texts > 10000);

  // An accent on the second order of a text of one: who only passes the key refuses it, too.
  const unsigned char beyond[] = {0x01, 0x78, 0x00, 0xE0, 0x30};
  std::size_t size = 9;
  CHECK(KvSortKeyLength({.type = KvSTRING_T}, beyond, sizeof beyond, size) == kvBadArgument);
  CHECK(size == 0);
  const unsigned char noOrder[] = {0x01, 0xFE, 0xD2, 0x00, 0x00, 0x30};  // 10000 is beyond them
  CHECK(KvSortKeyLength({.type = KvSTRING_T}, noOrder, sizeof noOrder, size) == kvBadArgument);

  // More orders, or bytes, than a text may have.
  Bytes longest(70000, 0x78);
  longest.front() = 0x01;
  longest.insert(longest.end(), {0x00, 0x30});
  KvString back;
  for (const unsigned char options : std::initializer_list<unsigned char>{0, kvSortKeyPlainBytes}) {
    const KvSortKeyKind kind{.type = KvSTRING_T, .options = options};
    CHECK(KvSortKeyLength(kind, longest.data(), longest.size(), size) == kvOk);
    CHECK(KvSortKeyValue(kind, longest.data(), longest.size(), &back, size) == kvOverflow);
  }
  KvIString letter("a");
  for (const unsigned over : {0U, 1U}) {
    Bytes key(KvString::kMaximumBytes + 1 + over, 0x78);
    key.front() = 0x01;
    key.back() = 0x00;
    CHECK(KvSortKeyValue({.type = KvSTRING_T, .options = kvSortKeyPlainBytes}, key.data(),
                         key.size(), &back, size) == (over == 0 ? kvOk : kvOverflow));
    key = KeyOf({.type = KvISTRING_T}, &letter);
    key.insert(key.begin() + 1, 65534 + over, key[1]);
    CHECK(KvSortKeyLength({.type = KvISTRING_T}, key.data(), key.size(), size) ==
          (over == 0 ? kvOk : kvBadArgument));
  }
}

TEST_CASE("texts whose order depends on the process have no keys") {
  const auto status = [](const KvString& text, unsigned char options) {
    std::size_t size = 9;
    const int result =
        KvSortKey({.type = KvSTRING_T, .options = options}, &text, 0, 8, nullptr, 0, size);
    return result == kvBufferShort ? kvOk : result;
  };
  KvString text("abc");
  CHECK(status(text, 0) == kvOk);
  CHECK(status(text, kvSortKeyPlainBytes) == kvNotSupported);
  text.SetLanguage(255);
  CHECK(status(text, 0) == kvNotSupported);
  text.SetLanguage(254);
  CHECK(status(text, 0) == kvOk);  // null
  CHECK(status(Empty(255, 1), 0) == kvNotSupported);
  CHECK(status(Empty(0, 1), 0) == kvNotSupported);
  CHECK(status(Empty(0, 1), kvSortKeyPlainBytes) == kvOk);
  CHECK(status(Empty(1, 254), kvSortKeyPlainBytes) == kvOk);

  // The old stored form, which has neither code set nor language.
  const unsigned char old[] = {3, 0, 'a', 'b', 0};
  std::size_t size;
  CHECK(KvSortKey({.type = KvSTRING_T}, old, sizeof old, 0, nullptr, 0, size) == kvNotSupported);
}

TEST_CASE("plain bytes order by their bytes and come back") {
  const KvSortKeyKind kind{.type = KvSTRING_T, .options = kvSortKeyPlainBytes};
  Source source(10);
  std::vector<KvString> texts;
  texts.push_back(Empty(0, 254));
  for (unsigned i = 0; i < 200; ++i) {
    std::string bytes;
    for (unsigned left = source.Below(4); left != 0; --left) {
      bytes += source.Pick({'a', 'A', '\xFF', '\x01', '\x80'});
    }
    const Bytes stored = support::StringBytes(0, 1, bytes);
    KvString text;
    Types().Load(KvSTRING_T, &text, stored.data(), 0, 1);
    texts.push_back(text);
  }
  const std::vector<Bytes> keys = KeysOf(texts, kind);
  for (std::size_t a = 0; a < texts.size(); ++a) {
    KvString back;
    std::size_t size;
    CHECK(KvSortKeyValue(kind, keys[a].data(), keys[a].size(), &back, size) == kvOk);
    CHECK(KeyOf(kind, &back) == keys[a]);
    CHECK(KvSortKeyLength(kind, keys[a].data(), keys[a].size(), size) == kvOk);
    CHECK(KvSortKeyLength(kind, keys[a].data(), keys[a].size() - 1, size) == kvBadArgument);
    Bytes lower(16), upper(16);
    std::size_t upperSize;
    CHECK(KvSortKeyRange(kind, kvSortKeySameBase, &texts[a], 0, 8, 16, lower.data(), size,
                         upper.data(), upperSize) == kvOk);
    lower.resize(size);
    CHECK(lower == keys[a]);  // whose bytes are all base
    for (std::size_t b = 0; b < texts.size(); ++b) {
      CHECK(Sign(Types().Cmp(KvSTRING_T, &texts[a], &texts[b], 0x10, 1, 8)) ==
            Order(keys[a], keys[b]));
    }
  }
}

TEST_CASE("ranges of texts hold what begins with or equals a text without accents and case") {
  Source source(11);
  const KvSortKeyKind kinds[] = {{.type = KvSTRING_T},
                                 {.type = KvSTRING_T, .options = kvSortKeyDescending},
                                 {.type = KvSTRING_T, .cmpOp = 0x90}};
  for (const KvSortKeyKind& kind : kinds) {
    std::vector<KvString> texts;
    while (texts.size() < 300) {
      KvString text = NextText(source, 2);
      if (text.GetCodeSet() != 254) texts.push_back(text);
    }
    const auto base = static_cast<unsigned short>(kind.cmpOp | 0x260);
    for (const KvString& wanted : texts) {
      for (const unsigned char range : {kvSortKeyBeginning, kvSortKeySameBase}) {
        const KeyRange keys(kind, range, wanted);
        for (const KvString& text : texts) {
          const bool inside = keys.Holds(text);
          int status;
          auto* left = const_cast<KvString*>(&text);
          auto* right = const_cast<KvString*>(&wanted);
          if (range == kvSortKeySameBase) {
            CHECK(inside == (Types().Cmp(KvSTRING_T, 0, left, 0, right, base, 1, 8, status) == 0));
          } else {
            // Texts of one code set find each other at their front.
            if (text.GetCodeSet() != wanted.GetCodeSet() || (kind.cmpOp & 0x80) != 0) continue;
            const KvString part = text.Copy(0, wanted.Len());
            const bool same = part.Compare(wanted, -1, base) == 0;
            if (same) CHECK(inside);
          }
        }
      }
    }
  }
}

TEST_CASE("the range of a beginning in one script holds no text of another") {
  const auto isInside = [](const char16_t* wanted, const char16_t* text,
                           unsigned char codeSet = kvCodeSetUnicode) {
    KvString beginning = Unicode(wanted, 1), found = Unicode(text, 1);
    beginning.SetCodeSetCode(codeSet);
    found.SetCodeSetCode(codeSet);
    return KeyRange({.type = KvSTRING_T}, kvSortKeyBeginning, beginning).Holds(found);
  };
  CHECK(isInside(u"\u03b1", u"\u03b1\u03b2"));
  CHECK(isInside(u"a\u4e00", u"a\u4e00a"));
  CHECK(!isInside(u"\u03b1", u"\u0436"));
  CHECK(!isInside(u"\u03b1", u"\u4e00"));
  CHECK(!isInside(u"a\u4e00", u"a\uac00"));
  // The first of a character's two orders alone.
  CHECK(isInside(u"\u81d8", u"\u81d8\u8003", kvCodeSetOrders));
  CHECK(!isInside(u"\u81d8", u"\ua700\u8000", kvCodeSetOrders));
}

TEST_CASE("the pieces of a key tell its parts in order, and on which character they are") {
  struct Piece {
    KvSortKeyPart part;
    unsigned position, value;
    bool operator==(const Piece&) const = default;
  };
  // e and E with an acute accent, sharp s as its two letters.
  const KvString text = Unicode(u"a\u00c9\u00df", 1);
  const KvSortKeyKind kind{.type = KvSTRING_T};
  const Bytes key = KeyOf(kind, &text);
  KvSortKeyPiece pieces[20];
  std::size_t count = 0;
  REQUIRE(KvSortKeyPieces(kind, key.data(), key.size(), pieces, std::size(pieces), count) == kvOk);
  std::vector<Piece> found;
  std::size_t end = 0;
  for (const KvSortKeyPiece& each : std::span(pieces, count)) {
    const bool hasValue = each.part >= kvKeyOrder && each.part <= kvKeyCase;
    found.push_back({each.part, each.position, hasValue ? each.value : 0});
    CHECK(each.offset == end);
    end += each.size;
  }
  CHECK(end == key.size());
  CHECK(found == std::vector<Piece>{{kvKeyPresent, 0, 0},
                                    {kvKeyOrder, 0, 0x500C},
                                    {kvKeyOrder, 1, 0x501C},
                                    {kvKeyOrder, 2, 0x5054},
                                    {kvKeyOrder, 3, 0x5054},
                                    {kvKeyBase, 4, 0},
                                    {kvKeyAccent, 1, 2},
                                    {kvKeyCase, 1, 0},
                                    {kvKeyVariant, 2, 0},
                                    {kvKeyVariant, 3, 0},
                                    {kvKeyEnd, 0, 0}});
}
