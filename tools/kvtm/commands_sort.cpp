// kvtm sort: lines in the order of a type.
//
// The input is read whole and every line parsed once into one run of values; then an index of the
// good lines is sorted with the row's compare function, and the lines go out as they came in.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "catalogue.h"
#include "commands.h"
#include "failure.h"
#include "input.h"

namespace {

constexpr unsigned char kMemoryForm = 8;
constexpr unsigned long long kLinesWorthProgress = 20000;
constexpr unsigned kProgressEvery = 4096;

std::vector<std::string_view> SplitLines(std::string_view text) {
  std::vector<std::string_view> lines;
  lines.reserve(static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1);
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    lines.push_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return lines;
}

// Parses every line; returns the indexes of the good ones and reports the others.
std::vector<unsigned> ParseLines(const std::vector<std::string_view>& lines, ValueRun& run,
                                 const ValueStyle& style, Progress& progress) {
  std::vector<unsigned> good;
  good.reserve(lines.size());
  progress.Begin("reading", lines.size(), kLinesWorthProgress);
  for (unsigned i = 0; i < lines.size(); ++i) {
    try {
      ReadValue(run.Id(), run.At(i), lines[i], style);
      good.push_back(i);
    } catch (const Failure& failure) {
      progress.Clear();
      std::fprintf(stderr, "kvtm: sort: line %u: %s\n", i + 1, failure.what.c_str());
    }
    if (i % kProgressEvery == 0) progress.Advance(kProgressEvery);
  }
  return good;
}

void SortIndexes(std::vector<unsigned>& indexes, const ValueRun& run, unsigned short operation,
                 Progress& progress) {
  const KvCompareFunc compare = Types().CmpFuncPtrGet(run.Id());
  const double count = static_cast<double>(indexes.size());
  const double comparisons = count < 2 ? 0 : count * std::log2(count);
  progress.Begin("sorting", static_cast<unsigned long long>(comparisons), kLinesWorthProgress * 10);
  unsigned calls = 0;
  int status = 0;
  std::stable_sort(indexes.begin(), indexes.end(), [&](unsigned left, unsigned right) {
    if (++calls % kProgressEvery == 0) progress.Advance(kProgressEvery);
    return compare(kMemoryForm, 0, run.At(left), 0, run.At(right), operation, 1, status) < 0;
  });
}

}  // namespace

int RunSort(const Arguments& arguments) {
  const char id = FindValueType(arguments[0]);
  ValueStyle style = StyleOf(arguments);
  style.stringsAreBytes = style.strings.codeSet.has_value();
  if (style.stringsAreBytes && KvIsWideCodeSet(*style.strings.codeSet)) {
    FailUsage("lines of 16-bit characters cannot be read; kvtm convert makes them UTF-8");
  }
  const unsigned short operation = CompareOperationOf(arguments);
  const std::string text = ReadWhole(arguments.Count() > 1 ? arguments[1] : "-");
  const std::vector<std::string_view> lines = SplitLines(text);
  if (lines.empty()) return kExitGood;
  if (lines.size() > 0xFFFFFFFFU) FailValue("more than 4294967295 lines");
  ValueRun run(id, static_cast<unsigned>(lines.size()));
  std::vector<unsigned> good;
  {
    Progress progress("sort");
    good = ParseLines(lines, run, style, progress);
    SortIndexes(good, run, operation, progress);
  }
  std::string out;
  out.reserve(text.size() + 1);
  for (const unsigned index : good) {
    out += lines[index];
    out += '\n';
  }
  Print(out);
  return good.size() == lines.size() ? kExitGood : kExitBadValue;
}
