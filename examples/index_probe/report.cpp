#include "report.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>

#include "failure.h"

std::vector<std::string> ReadLines(const std::string& path) {
  std::ifstream file(path);
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);) {
    if (line.ends_with('\r')) line.pop_back();
    lines.push_back(line);
  }
  if (!file.is_open() || file.bad()) {
    throw Failure("cannot read " + path + ": " + std::strerror(errno));
  }
  return lines;
}

namespace {

std::string CountText(const char* before, double count) {
  if (count == 1) return before + std::string("1 value");
  char text[32];
  std::snprintf(text, sizeof text, "%.0f values", count);
  return count > 0 ? before + std::string(text) : "no value";
}

}  // namespace

void ShowColumn(const Probe& probe) {
  const Row& row = probe.ValueRow();
  std::printf("%s: %zu values of %s, from %s to %s\n", probe.Name().c_str(), probe.Count(),
              row.Name().c_str(), row.Print(probe.First()).c_str(),
              row.Print(probe.Last()).c_str());
}

void ShowAnswer(const Probe& probe, const Predicate& predicate, const Stored& constant,
                unsigned limit) {
  const Row& row = probe.ValueRow();
  const Answer answer = probe.Ask(predicate, constant);
  const auto total = static_cast<double>(probe.Count());
  const auto found = static_cast<double>(answer.hits.size());
  const double estimate = static_cast<double>(answer.estimate);
  std::printf("\n  %s %s\n", predicate.text.c_str(), row.Print(constant).c_str());
  std::printf("    estimate  %.3g %%, %s: %s\n", 100 * estimate,
              CountText("about ", std::round(estimate * total)).c_str(),
              answer.walked ? "index walk" : "full scan");
  std::printf("    truth     %.3g %%, %s in %.3g ms\n", 100 * found / total,
              CountText("", found).c_str(), answer.milliseconds);
  if (answer.hits.empty() || limit == 0) return;
  std::printf("    hits      ");
  unsigned shown = 0;
  for (const auto line : answer.hits) {
    if (shown == limit) break;
    std::printf("%s%s", shown++ != 0 ? ", " : "", row.Print(probe.Value(line)).c_str());
  }
  std::puts(answer.hits.size() > shown ? ", ..." : "");
}
