#include "demo.h"

#include <cstdio>
#include <filesystem>
#include <random>

#include "report.h"

namespace {

struct Question {
  const char* predicate;
  const char* constant;
};

void Show(const Row& row, const std::vector<std::string>& lines, const std::string& name,
          std::initializer_list<Question> questions) {
  const Probe probe(row, lines, name);
  ShowColumn(probe);
  for (const Question& question : questions) {
    ShowAnswer(probe, ReadPredicate(question.predicate), row.Read(question.constant), 5);
  }
  std::puts("");
}

// Whole numbers below a limit, the same in every run.
class Random {
 public:
  unsigned Below(unsigned limit) { return static_cast<unsigned>(engine_() % limit); }

 private:
  std::mt19937 engine_{2024};
};

std::string MadeUpWord(Random& random) {
  static constexpr const char* kSyllables[] = {"ba", "de", "fi", "go", "hü", "ka", "le", "mi",
                                               "no", "ra", "se", "ta", "un", "wä", "za", "zw"};
  std::string word;
  for (unsigned left = 2 + random.Below(3); left > 0; --left) word += kSyllables[random.Below(16)];
  return word;
}

template <class Make>
std::vector<std::string> MakeLines(unsigned count, Make make) {
  std::vector<std::string> lines;
  for (unsigned i = 0; i < count; ++i) lines.push_back(make());
  return lines;
}

void ShowWords(Random& random) {
  constexpr unsigned char kGerman = 2;
  const std::string list = "/usr/share/dict/ngerman";
  const unsigned char language = KvString::GetDefaultLanguage();
  KvString::SetDefaultLanguage(kGerman);
  const bool isInstalled = std::filesystem::exists(list);
  Show(Row("KvString", ""),
       isInstalled ? ReadLines(list) : MakeLines(20000, [&] { return MadeUpWord(random); }),
       isInstalled ? list : "made-up words", {{">=", "zw"}, {"=", "wäre"}, {"<", "m"}});
  KvString::SetDefaultLanguage(language);
}

void ShowDates(Random& random) {
  const auto date = [&random] {
    char text[16];
    std::snprintf(text, sizeof text, "%04u-%02u-%02u", 1990 + random.Below(30),
                  1 + random.Below(12), 1 + random.Below(28));
    return std::string(text);
  };
  Show(Row("KvDate", ""), MakeLines(30000, date), "random dates of thirty years",
       {{"<", "1991-07-01"}, {"=", "2004-02-28"}, {">=", "2000-01-01"}});
}

void ShowNumbers(Random& random) {
  const auto number = [&random] {
    char text[16];
    std::snprintf(text, sizeof text, "%.3f", random.Below(800000) / 8.0);
    return std::string(text);
  };
  Show(Row("o_double", ""), MakeLines(50000, number), "random numbers up to 100,000",
       {{">", "99500"}, {"<=", "150.5"}, {">=", "25000"}});
}

}  // namespace

void RunDemo() {
  std::puts(
      "An index planner at work: what part of the index range does a predicate select (estimate),\n"
      "so is it quicker to walk the index or to scan the column, and what was there (truth)?\n");
  Random random;
  ShowWords(random);
  ShowDates(random);
  ShowNumbers(random);
}
