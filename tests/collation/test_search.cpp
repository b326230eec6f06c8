// Wildcards against a plain recursive matcher, and Find against trying every position.
#include <doctest/doctest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "kvcollate.h"
#include "kvstring.h"
#include "random_text.h"

namespace {

// The characters that play the wildcards while it lives.
class WildcardSetting {
 public:
  explicit WildcardSetting(char asterisk, char question, char escape) {
    Set(asterisk, question, escape);
  }
  ~WildcardSetting() { Set(0, 0, 0); }
  WildcardSetting(const WildcardSetting&) = delete;
  WildcardSetting& operator=(const WildcardSetting&) = delete;

 private:
  static void Set(char asterisk, char question, char escape) {
    KvString::SetAsterisk(KvChar(asterisk, 1, 1));
    KvString::SetQuestion(KvChar(question, 1, 1));
    KvString::SetEscape(KvChar(escape, 1, 1));
  }
};

// One order of a text, and whether it begins a character.
struct Order {
  unsigned order;
  bool first;
};

std::vector<Order> OrdersOf(const std::string& text, bool skipSpaces) {
  std::vector<Order> result;
  for (char unit : text) {
    const KvCollationOrders pair = KvCodeSet(1).Orders(static_cast<unsigned char>(unit), 1);
    if (skipSpaces && pair.first < 80) continue;
    result.push_back({pair.first, true});
    if (pair.second != 0) result.push_back({pair.second, false});
  }
  return result;
}

bool SameUnder(unsigned a, unsigned b, unsigned cmpOp) {
  const auto reduced = [cmpOp](unsigned order) {
    if (order >= 0x4000 && (cmpOp & kvCompareIgnoreCase) != 0) order &= ~0x3000u;
    if (order >= 0x4000 && (cmpOp & kvCompareIgnoreAccents) != 0) order &= ~0x0F80u;
    const bool part = order >= 0x4000 && (order & 3) == 3;
    if (part && (cmpOp & kvCompareIgnoreVariants) != 0) order &= ~3u;
    if (order < 0x4000 && order >= 0x3F00 && (cmpOp & kvCompareIgnoreVariants) != 0) order &= ~1u;
    return order;
  };
  return reduced(a) == reduced(b);
}

// * is any run, ? one character or what is left of one, \ makes the next order ordinary.
bool MatchesPlainly(const std::vector<Order>& text, std::size_t at,
                    const std::vector<Order>& pattern, std::size_t with, unsigned cmpOp,
                    bool prefix) {
  const auto is = [&](char wildcard) {
    return pattern[with].order ==
           KvCodeSet(1).Orders(static_cast<unsigned char>(wildcard), 1).first;
  };
  if (with == pattern.size()) return prefix || at == text.size();
  if (is('*')) {
    return MatchesPlainly(text, at, pattern, with + 1, cmpOp, prefix) ||
           (at < text.size() && MatchesPlainly(text, at + 1, pattern, with, cmpOp, prefix));
  }
  if (at == text.size()) return false;
  if (is('?')) {
    std::size_t next = at + 1;
    while (next < text.size() && !text[next].first) ++next;
    return MatchesPlainly(text, next, pattern, with + 1, cmpOp, prefix);
  }
  if (is('\\') && with + 1 < pattern.size()) ++with;
  return SameUnder(text[at].order, pattern[with].order, cmpOp) &&
         MatchesPlainly(text, at + 1, pattern, with + 1, cmpOp, prefix);
}

std::string RandomPattern(kvtest::RandomText& random, const std::string& text) {
  std::string pattern = random.Mutated(text);
  for (unsigned left = random.Below(4); left > 0; --left) {
    const unsigned at = random.Below(static_cast<unsigned>(pattern.size()) + 1);
    const char wildcard = "*?\\"[random.Below(3)];
    if (random.Below(2) == 0 || at == pattern.size()) {
      pattern.insert(at, 1, wildcard);
    } else {
      pattern[at] = wildcard;
    }
  }
  return pattern;
}

int Compare(const std::string& text, const std::string& pattern, unsigned cmpOp) {
  return KvStrCmp(1, 1, text.c_str(), 1, 1, pattern.c_str(), static_cast<unsigned short>(cmpOp), -1,
                  1, nullptr);
}

unsigned RandomOperation(kvtest::RandomText& random) {
  return random.Below(2) == 0 ? 0 : (random.Below(64) << 4 & 0x2E0);
}

}  // namespace

TEST_CASE("wildcards match as a plain matcher has it") {
  const WildcardSetting setting('*', '?', '\\');
  kvtest::RandomText random(31);
  int matching = 0;
  for (int round = 0; round < 30000; ++round) {
    const std::string text = random.Latin(7);
    const std::string pattern = RandomPattern(random, text);
    const unsigned cmpOp = RandomOperation(random);
    const bool skip = (cmpOp & kvCompareSkipSpaces) != 0;
    const bool expected =
        MatchesPlainly(OrdersOf(text, skip), 0, OrdersOf(pattern, skip), 0, cmpOp, false);
    matching += expected;
    CHECK((Compare(text, pattern, cmpOp) == 0) == expected);
  }
  CHECK(matching > 3000);
}

TEST_CASE("without a setting, or under exact comparison, wildcards are characters") {
  CHECK(Compare("abc", "a*", 0) != 0);
  const WildcardSetting setting('%', '_', 0);
  CHECK(Compare("abc", "a%", 0) == 0);
  CHECK(Compare("abc", "a__", 0) == 0);
  CHECK(Compare("a%", "a%", 0) == 0);
  CHECK(Compare("abc", "a*", 0) != 0);
  CHECK(Compare("abc", "a%", kvCompareExact) != 0);
  CHECK(Compare("abc", "a%", kvCompareKeyOrder) != 0);
  CHECK(Compare("a%", "abc", 0) != 0);  // in the second text only
  CHECK(Compare("Stra\337e", "stras%e", kvCompareIgnoreCase | kvCompareIgnoreVariants) == 0);
}

TEST_CASE("each wildcard counts alone") {
  const auto matches = [](char asterisk, char question, char escape) {
    const WildcardSetting setting(asterisk, question, escape);
    return std::string(Compare("abc", "a*", 0) == 0 ? "*" : "") +
           (Compare("abc", "a?c", 0) == 0 ? "?" : "") + (Compare("ax", "a!x", 0) == 0 ? "!" : "");
  };
  CHECK(matches('*', 0, 0) == "*");
  CHECK(matches(0, '?', 0) == "?");
  CHECK(matches(0, 0, '!') == "!");
  CHECK(matches(0, 0, 0) == "");
}

TEST_CASE("a pattern that does not match orders as plain text") {
  const WildcardSetting setting('*', 0, '\\');
  CHECK(Compare("aa", "ab*", 0) == -1);
  CHECK(Compare("ab", "*a", 0) == 1);
  CHECK(Compare("ac", "ab*", 0) == 1);
  CHECK(Compare("a\\*", "a\\*", 0) == -1);  // equal as plain text, but no match
}

TEST_CASE("many asterisks cost no more than the product of the lengths") {
  const WildcardSetting setting('*', 0, 0);
  const std::string text(20000, 'a');
  std::string pattern;
  for (int i = 0; i < 50; ++i) pattern += "a*";
  CHECK(Compare(text, pattern + "b", 0) != 0);
  CHECK(Compare(text, pattern + "a", 0) == 0);
}

namespace {

// Find without any skipping: each position on its own.
int FindPlainly(const std::string& text, const std::string& pattern, unsigned cmpOp,
                unsigned start) {
  const bool skip = (cmpOp & kvCompareSkipSpaces) != 0;
  const std::vector<Order> orders = OrdersOf(text, skip);
  const std::vector<Order> wanted = OrdersOf(pattern, skip);
  std::size_t order = OrdersOf(text.substr(0, start), skip).size();
  for (std::size_t at = start; at + pattern.size() <= text.size(); ++at) {
    bool found = false;
    if ((cmpOp & (kvCompareExact | kvCompareKeyOrder)) != 0) {
      found = KvStrCmp(1, 1, text.c_str() + at, 1, 1, pattern.c_str(),
                       static_cast<unsigned short>(cmpOp), static_cast<short>(pattern.size()), 1,
                       nullptr) == 0;
    } else {
      found = MatchesPlainly(orders, order, wanted, 0, cmpOp, true);
    }
    order += OrdersOf(text.substr(at, 1), skip).size();
    if (found) return static_cast<int>(at);
  }
  return -1;
}

}  // namespace

TEST_CASE("finding tries every position, in short texts and in long ones") {
  kvtest::RandomText random(77);
  int hits = 0;
  const int rounds = support::Rounds(6000);
  for (int round = 0; round < rounds; ++round) {
    std::string text = random.Latin(20);
    if (round % 8 == 0) {  // long enough for whole blocks to be passed over
      text = std::string(400 + random.Below(700), "xX"[random.Below(2)]) + text;
    }
    std::string pattern = random.Mutated(random.Latin(3));
    pattern.erase(std::remove_if(pattern.begin(), pattern.end(),
                                 [](char unit) { return unit == '*' || unit == '?'; }),
                  pattern.end());
    const unsigned cmpOp =
        random.Below(3) == 0 ? (random.Below(2) == 0 ? 0x10u : 0x100u) : RandomOperation(random);
    const unsigned start = random.Below(4) == 0 ? random.Below(5) : 0;
    if (text.empty() || start > text.size()) continue;
    const int expected = FindPlainly(text, pattern, cmpOp, start);
    hits += expected > 0;
    CAPTURE(pattern);
    CAPTURE(cmpOp);
    const KvString narrow(text.c_str());
    const KvString narrowPattern(pattern.c_str());
    KvString wide(narrow);
    wide.MapToCodeSet(253);
    KvString widePattern(narrowPattern);
    widePattern.MapToCodeSet(253);
    const auto op = static_cast<unsigned short>(cmpOp);
    const auto from = static_cast<unsigned short>(start);
    CHECK(narrow.Find(narrowPattern, from, op) == expected);
    CHECK(wide.Find(widePattern, from, op) == expected);
    CHECK(wide.Find(narrowPattern, from, op) == expected);
    CHECK(narrow.Find(widePattern, from, op) == expected);
  }
  CHECK(hits > rounds / 12);
}

TEST_CASE("plain bytes are found by collation unless all options rule that out") {
  KvString bytes("ABC"), small("b");
  bytes.SetCodeSetCode(0);
  small.SetCodeSetCode(0);
  CHECK(bytes.Find(small, 0, kvCompareIgnoreCase) == 1);
  CHECK(bytes.Find('b', 0, kvCompareIgnoreCase) == 1);
  CHECK(bytes.Find(small, 0, kvCompareIgnoreCase | kvCompareExact) == -1);
  CHECK(bytes.Find(small, 0, 0) == -1);
}

TEST_CASE("finding among characters that share an order, and in plain bytes") {
  std::vector<unsigned short> units(900, 'x');
  units[700] = 0x212A;  // the kelvin sign is the letter K
  units.push_back(0);
  KvString text(units.data());
  CHECK(text.Find(KvString("K"), 0, 0) == 700);
  CHECK(text.Find(KvString("k"), 0, 0) == -1);
  CHECK(text.Find(KvString("k"), 0, kvCompareIgnoreCase) == 700);

  KvString bytes(kvCodeSetBytes, kvLanguageEnglish);
  bytes << "xxabxxabc";
  KvString pattern(kvCodeSetBytes, kvLanguageEnglish);
  pattern << "abc";
  CHECK(bytes.Find(pattern, 0, kvCompareExact) == 6);
  CHECK(bytes.Find(pattern, 7, kvCompareExact) == -1);
  CHECK(bytes.Find(pattern, 0, 0) == 6);
  const KvString nothing(kvCodeSetBytes, kvLanguageEnglish);
  CHECK(bytes.Find(nothing, 4, kvCompareExact) == 4);
  CHECK(bytes.Find(nothing, 9, kvCompareExact) == 9);
  CHECK(bytes.Find(nothing, 10, kvCompareExact) == -1);
}

TEST_CASE("a text that ends before its block does is searched to its end") {
  for (const unsigned char codeSet : {kvCodeSetBytes, kvCodeSetLatin1}) {
    KvString text("abc xyzxyz");
    text.SetCodeSetCode(codeSet);
    text[3] = '\0';
    KvString pattern("xyzxy");
    pattern.SetCodeSetCode(codeSet);
    for (const int cmpOp : {0, int{kvCompareExact}, int{kvCompareSkipSpaces}}) {
      for (const unsigned short start : std::initializer_list<unsigned short>{0, 2, 3}) {
        CHECK(text.Find(pattern, start, static_cast<unsigned short>(cmpOp)) == -1);
      }
    }
  }
}

TEST_CASE("a text of orders is searched by its orders") {
  const auto orders = [](const char* letters) {
    std::vector<unsigned short> units;
    for (; *letters != 0; ++letters) {
      units.push_back(KvCodeSet(1).Orders(static_cast<unsigned char>(*letters), 1).first);
    }
    units.push_back(0);
    KvString text(units.data());
    CHECK(text.SetCodeSetCode(kvCodeSetOrders) == kvOk);
    return text;
  };
  CHECK(orders("abc").Find(orders("bc"), 0, 0) == 1);
  CHECK(orders("abc").Find(KvString("bc"), 0, 0) == 1);
  CHECK(KvString("abc").Find(orders("bc"), 0, 0) == 1);
  CHECK(orders("abc").Find(KvString("d"), 0, 0) == -1);
  // Of different languages they are compared as of none, and are then null.
  KvString swedish = orders("b");
  swedish.SetLanguage(10);
  CHECK(orders("a").EqualsIgnoreLanguage(swedish));
  CHECK(!orders("a").EqualsIgnoreLanguage(orders("b")));
}

TEST_CASE("a null is found nowhere, and nothing in a null") {
  KvString null;
  null.SetNullValue();
  const KvString text("ab");
  for (const int option : {0, int{kvCompareExact}}) {
    const auto cmpOp = static_cast<unsigned short>(option);
    CHECK(text.Find(null, 0, cmpOp) == -1);
    CHECK(null.Find(text, 0, cmpOp) == -1);
  }
  CHECK(null.Find(KvString(""), 0, kvCompareExact) == -1);
}

TEST_CASE("the wildcards of the process count in a pattern that is searched for") {
  const KvString text("xxa1b");
  CHECK(text.Find(KvString("a?b"), 0, 0) == -1);
  const WildcardSetting setting('*', '?', 0);
  CHECK(text.Find(KvString("a?b"), 0, 0) == 2);
  CHECK(text.Find(KvString("*b"), 0, 0) == 0);
}
