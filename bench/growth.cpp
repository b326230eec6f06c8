// kv_growth: how the cost of an operation grows with its size. Prints "operation size nanoseconds"
// lines, a block an operation, for bench/growth.gp to draw. Runs go from 1 to 2^24 elements, texts
// to the string limit.

#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "kv.h"

namespace {

volatile long long sink;

// The fastest of a few timed repetitions, each long enough for the clock: what the work costs when
// nothing disturbs it.
template <class Function>
double Nanoseconds(Function function) {
  using Clock = std::chrono::steady_clock;
  constexpr double kLongEnough = 2e6;
  double best = 0;
  unsigned calls = 1;
  for (int repetition = 0; repetition < 3;) {
    const auto start = Clock::now();
    for (unsigned i = 0; i < calls; ++i) sink = sink + function();
    const double elapsed = std::chrono::duration<double, std::nano>(Clock::now() - start).count();
    if (elapsed < kLongEnough && calls < 1u << 30) {
      calls *= 2;
      continue;
    }
    const double each = elapsed / calls;
    if (repetition++ == 0 || each < best) best = each;
  }
  return best;
}

template <class Prepare>
void Measure(const char* operation, unsigned largest, unsigned factor, Prepare prepare) {
  std::printf("\"%s\"\n", operation);
  for (unsigned size = 1; size <= largest; size *= factor) {
    auto function = prepare(size);
    std::printf("%u %.4g\n", size, Nanoseconds(function));
    std::fflush(stdout);
  }
  std::printf("\n\n");
}

std::string Letters(unsigned size) {
  std::string text(size, 'a');
  for (unsigned i = 0; i < size; ++i) text[i] = static_cast<char>('a' + i * 7 % 25);
  return text;
}

KvString Text(const std::string& letters) {
  return KvString(letters.c_str(), static_cast<unsigned short>(letters.size()));
}

void MeasureRuns(KvTypeMgr* types) {
  constexpr unsigned kLargest = 1u << 24;
  static std::vector<o_4b> a(kLargest);
  static std::vector<o_4b> b(kLargest);
  for (unsigned i = 0; i < kLargest; ++i) a[i] = b[i] = static_cast<o_4b>(i * 2654435761u);
  Measure("compare o_4b", kLargest, 4, [=](unsigned size) {
    return [=] { return types->Cmp(Kv4B_T, a.data(), b.data(), 0, size, 8); };
  });
  Measure("hash o_4b", kLargest, 4, [=](unsigned size) {
    return [=] {
      int status;
      return types->Hash(Kv4B_T, 0, a.data(), size, 8, status);
    };
  });
  Measure("store o_4b reversed", kLargest, 4, [=](unsigned size) {
    return [=] { return types->Store(Kv4B_T, b.data(), a.data(), 2, size); };
  });
}

void MeasureTexts() {
  constexpr unsigned kLargest = 1u << 15;
  Measure("collate", kLargest, 2, [](unsigned size) {
    return
        [left = Text(Letters(size)), right = Text(Letters(size))] { return left.Compare(right); };
  });
  Measure("find", kLargest, 2, [](unsigned size) {
    return [text = Text(Letters(size)), pattern = KvString("zz")] { return text.Find(pattern); };
  });
  // Every second character is replaced: as many edits as there are characters, each a copy.
  Measure("replace all", 1u << 13, 2, [](unsigned size) {
    std::string letters(size, 'x');
    for (unsigned i = 0; i < size; i += 2) letters[i] = 'y';
    return [text = Text(letters)] {
      KvString edited(text);
      edited.ReplaceAll('y', 'z');
      return edited.Len();
    };
  });
  // The text almost matches everywhere, which is the worst a wildcard can meet.
  Measure("wildcard", 1u << 13, 2, [](unsigned size) {
    return [text = Text(std::string(size, 'a')), pattern = KvString("*aaaaaaaab")] {
      KvString::SetAsterisk(KvChar('*', 1, 1));
      const int order = text.Compare(pattern);
      KvString::SetAsterisk(KvChar(char{0}, 1, 1));
      return order;
    };
  });
}

}  // namespace

int main() {
  MeasureRuns(DefaultTypeMgr(nullptr));
  MeasureTexts();
  return 0;
}
