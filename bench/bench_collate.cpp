// Collated compare of dictionary words, beside ICU (ucol_strcoll at its default strength) and the C
// library (strcoll_l), all for German. Two pairings of the word list: each word with its neighbour,
// which share a long beginning, and with a word from anywhere, which mostly differs in the first
// letter. Without the list (Debian's wngerman) words are made up; languages with contractions
// follow by the dictionaries of hunspell, where those are installed; without a German locale, which
// ./dev bench makes where it can, the C library has nothing to collate by and its line says so.
#include <benchmark/benchmark.h>
#include <string.h>

#include <locale.h>
#include <algorithm>
#include <deque>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "kv.h"
#include "pair.h"
#include "zin.h"
#ifdef KV_BENCH_ICU
#include <unicode/ucol.h>
#endif

namespace {

constexpr unsigned kPairs = 1 << 10;

struct Language {
  const char* name;
  const char* code;
  const char* list;
  unsigned char number;
  unsigned char codeSet;  // of bytes
};

constexpr Language kGerman = {"", "de", "/usr/share/dict/ngerman", 2, 1};
constexpr Language kContracting[] = {
    {"Czech ", "cs", "/usr/share/hunspell/cs_CZ.dic", 13, 7},
    {"Slovak ", "sk", "/usr/share/hunspell/sk_SK.dic", 16, 7},
    {"Hungarian ", "hu", "/usr/share/hunspell/hu_HU.dic", 14, 7},
    {"Croatian ", "hr", "/usr/share/hunspell/hr_HR.dic", 17, 7},
    {"Danish ", "da", "/usr/share/dict/danish", 8, 1},
};

using WideText = std::u16string;

// UTF-8 of the word list as 16-bit units; it holds nothing beyond two-byte sequences.
WideText Decode(const std::string& utf8) {
  WideText text;
  for (std::size_t i = 0; i < utf8.size(); ++i) {
    const auto lead = static_cast<unsigned char>(utf8[i]);
    if (lead < 0x80) {
      text += static_cast<char16_t>(lead);
    } else {
      text += static_cast<char16_t>((lead & 0x1F) << 6 | (utf8[++i] & 0x3F));
    }
  }
  return text;
}

// Lines of dictionaries have flags behind the word.
std::vector<WideText> ReadWords(const Language& language) {
  std::vector<WideText> words;
  std::ifstream file(language.list);
  for (std::string line; std::getline(file, line);) {
    words.push_back(Decode(line.substr(0, line.find_first_of("/\t "))));
  }
  std::sort(words.begin(), words.end(), [&](const WideText& a, const WideText& b) {
    return KvStrCmp(kvCodeSetUnicode, language.number, reinterpret_cast<const char*>(a.c_str()),
                    kvCodeSetUnicode, language.number, reinterpret_cast<const char*>(b.c_str()), 0,
                    -1, 1, nullptr) < 0;
  });
  return words;
}

std::vector<WideText> LoadWords(const Language& language) {
  std::vector<WideText> words = ReadWords(language);
  std::minstd_rand random(1);
  while (words.size() < 2 * kPairs) {
    WideText word;
    for (auto left = 3 + random() % 12; left > 0; --left) word += u"abcdeinrst"[random() % 10];
    words.push_back(word);
  }
  return words;
}

// The pairs in the three forms that the contestants read.
struct WordPairs {
  std::vector<WideText> wide[2];
  std::vector<std::string> latin[2];
  std::vector<std::string> utf8[2];
};

using SharedPairs = std::shared_ptr<const WordPairs>;

std::string InBytes(const WideText& text, unsigned char codeSet) {
  std::string bytes;
  for (char16_t unit : text) {
    bytes += static_cast<char>(KvCodeSet(codeSet).FromUnicode(unit));
  }
  return bytes;
}

std::string Utf8(const WideText& text) {
  std::string bytes;
  for (char16_t unit : text) {
    if (unit >= 0x80) bytes += static_cast<char>(0xC0 | unit >> 6);
    bytes += static_cast<char>(unit >= 0x80 ? 0x80 | (unit & 0x3F) : unit);
  }
  return bytes;
}

SharedPairs MakePairs(const Language& language, const std::vector<WideText>& words,
                      bool neighbours) {
  std::minstd_rand random(2);
  WordPairs pairs;
  for (unsigned i = 0; i < kPairs; ++i) {
    const std::size_t first = random() % (words.size() - 1);
    const std::size_t second = neighbours ? first + 1 : random() % words.size();
    for (int side = 0; side < 2; ++side) {
      const WideText& word = words[side == 0 ? first : second];
      pairs.wide[side].push_back(word);
      pairs.latin[side].push_back(InBytes(word, language.codeSet));
      pairs.utf8[side].push_back(Utf8(word));
    }
  }
  return std::make_shared<const WordPairs>(std::move(pairs));
}

const char* Bytes(const WideText& text) {
  return reinterpret_cast<const char*>(text.c_str());
}

// Every comparison of the pairs, once.
template <class Compare>
auto OverAll(Compare compare) {
  return [compare] {
    int sum = 0;
    for (unsigned i = 0; i < kPairs; ++i) sum += compare(i);
    benchmark::DoNotOptimize(sum);
  };
}

auto OursInBytes(const Language& language, SharedPairs pairs) {
  return OverAll([=](unsigned i) {
    return KvStrCmp(language.codeSet, language.number, pairs->latin[0][i].c_str(), language.codeSet,
                    language.number, pairs->latin[1][i].c_str(), 0, -1, 1, nullptr);
  });
}

// In 16 bits ICU alone is the peer.
[[maybe_unused]] auto OursIn253(const Language& language, SharedPairs pairs) {
  return OverAll([=](unsigned i) {
    return KvStrCmp(253, language.number, Bytes(pairs->wide[0][i]), 253, language.number,
                    Bytes(pairs->wide[1][i]), 0, -1, 1, nullptr);
  });
}

#ifdef KV_BENCH_ICU
// The zero-terminated form, as ours are, and the one with lengths, which suits it better.
auto IcuTerminated(const Language& language, SharedPairs pairs) {
  UErrorCode status = U_ZERO_ERROR;
  UCollator* collator = ucol_open(language.code, &status);  // for the life of the program
  return OverAll([=](unsigned i) {
    return static_cast<int>(
        ucol_strcoll(collator, pairs->wide[0][i].c_str(), -1, pairs->wide[1][i].c_str(), -1));
  });
}

auto IcuCounted(const Language& language, SharedPairs pairs) {
  UErrorCode status = U_ZERO_ERROR;
  UCollator* collator = ucol_open(language.code, &status);
  return OverAll([=](unsigned i) {
    const WideText& a = pairs->wide[0][i];
    const WideText& b = pairs->wide[1][i];
    return static_cast<int>(ucol_strcoll(collator, a.c_str(), static_cast<int>(a.size()), b.c_str(),
                                         static_cast<int>(b.size())));
  });
}
#endif

locale_t GermanLocale() {
  return newlocale(LC_ALL_MASK, "de_DE.UTF-8", nullptr);
}

auto Strcoll(SharedPairs pairs) {
  locale_t locale = GermanLocale();
  if (locale == nullptr) locale = newlocale(LC_ALL_MASK, "C.UTF-8", nullptr);
  return OverAll([=](unsigned i) {
    return strcoll_l(pairs->utf8[0][i].c_str(), pairs->utf8[1][i].c_str(), locale);
  });
}

// The same words as catalogue values, in memory and stored. Both are found through a list of
// pointers, so that only the comparison differs.
struct Values {
  Values(const WordPairs& pairs, int side, unsigned char format) {
    for (const std::string& word : pairs.latin[side]) {
      KvString& text = loaded.emplace_back(word.c_str());
      if (format == 2) text.MapToCodeSet(253);
      auto& block = stored.emplace_back(2 * text.GetBufferSize() + 8);
      DefaultTypeMgr(nullptr)->Store(KvSTRING_T, block.data(), &text, format, 1);
      inMemory.push_back(&text);
      inPlace.push_back(block.data());
    }
  }
  Values(const Values&) = delete;
  Values& operator=(const Values&) = delete;

  std::deque<KvString> loaded;
  std::deque<std::vector<unsigned char>> stored;
  std::vector<void*> inMemory, inPlace;
};

// Compares values through the type manager, stored where they lie against loaded.
void RegisterStored(const SharedPairs& pairs, const char* operation, unsigned char format) {
  const auto first = std::make_shared<Values>(*pairs, 0, format);
  const auto second = std::make_shared<Values>(*pairs, 1, format);
  const auto over = [=](std::vector<void*> Values::*list, unsigned char order) {
    void* const* left = ((*first).*list).data();
    void* const* right = ((*second).*list).data();
    KvTypeMgr* types = DefaultTypeMgr(nullptr);
    return OverAll([=, owners = std::pair(first, second)](unsigned i) {
      int status;
      return types->Cmp(KvSTRING_T, 0, left[i], 0, right[i], 0, 1, order, status);
    });
  };
  bench::Pair(operation, "the same, loaded", 1, over(&Values::inPlace, format),
              over(&Values::inMemory, 8), kPairs);
}

void RegisterIcu(const Language& language, const SharedPairs& pairs, const std::string& operation,
                 double goal) {
#ifdef KV_BENCH_ICU
  const std::string bytes = operation + ", code set " + std::to_string(unsigned{language.codeSet});
  const std::string wide = operation + ", code set 253";
  const auto ours = OursInBytes(language, pairs);
  const auto oursWide = OursIn253(language, pairs);
  bench::Pair(bytes, "ucol_strcoll", goal, ours, IcuTerminated(language, pairs), kPairs);
  bench::Pair(wide, "ucol_strcoll", goal, oursWide, IcuTerminated(language, pairs), kPairs);
  bench::Pair(bytes, "ucol_strcoll, counted", goal, ours, IcuCounted(language, pairs), kPairs);
  bench::Pair(wide, "ucol_strcoll, counted", goal, oursWide, IcuCounted(language, pairs), kPairs);
#else
  (void)language, (void)pairs, (void)operation, (void)goal;
#endif
}

void RegisterGerman(const SharedPairs& pairs, const std::string& operation) {
  RegisterIcu(kGerman, pairs, operation, 3);
  const char* library = GermanLocale() != nullptr ? "strcoll_l, German" : "strcoll_l, byte order";
  bench::Pair(operation + ", code set 1", library, 0, OursInBytes(kGerman, pairs), Strcoll(pairs),
              kPairs);
  RegisterStored(pairs, (operation + ", stored bytes").c_str(), 1);
  RegisterStored(pairs, (operation + ", stored reversed 16-bit").c_str(), 2);
}

const bool registered = [] {
  const std::vector<WideText> words = LoadWords(kGerman);
  RegisterGerman(MakePairs(kGerman, words, true), "collate neighbours");
  RegisterGerman(MakePairs(kGerman, words, false), "collate any two words");
  for (const Language& each : kContracting) {
    const std::vector<WideText> list = LoadWords(each);
    const std::string name = std::string("collate ") + each.name;
    RegisterIcu(each, MakePairs(each, list, true), name + "neighbours", 2);
    RegisterIcu(each, MakePairs(each, list, false), name + "any two words", 2);
  }
  return true;
}();

}  // namespace
