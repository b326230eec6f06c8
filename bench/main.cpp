// kv_bench: prints a table of every registered pair: operation, this library, the peer, the ratio
// of their lower quartiles and the ratio asked for, from one run in which all repetitions are
// interleaved at random. Options are Google Benchmark's (--benchmark_filter=REGEX ...), and
// --markdown prints the table for a page.

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <map>

#include "pair.h"

namespace bench {

std::vector<PairInfo>& Pairs() {
  static std::vector<PairInfo> pairs;
  return pairs;
}

namespace {

struct Times {
  std::vector<double> ours;
  std::vector<double> peer;
};

// The lower quartile. Whatever else runs on a machine only adds time, on a shared one to every
// second repetition and more, so that medians come from a quiet moment on one side and from a busy
// one on the other.
double Quartile(std::vector<double> times) {
  const auto place = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 4);
  std::nth_element(times.begin(), place, times.end());
  return *place;
}

std::string Duration(double nanoseconds) {
  char text[32];
  if (nanoseconds < 1e3) {
    std::snprintf(text, sizeof text, "%.3g ns", nanoseconds);
  } else if (nanoseconds < 1e6) {
    std::snprintf(text, sizeof text, "%.3g us", nanoseconds / 1e3);
  } else {
    std::snprintf(text, sizeof text, "%.3g ms", nanoseconds / 1e6);
  }
  return text;
}

class PairReporter : public benchmark::BenchmarkReporter {
 public:
  explicit PairReporter(bool markdown) : markdown_(markdown) {}

  bool ReportContext(const Context&) override { return true; }

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
      const std::string name = run.run_name.function_name;
      const std::size_t mark = name.rfind('#');
      if (mark == std::string::npos) continue;
      Times& times = times_[std::stoul(name.substr(mark + 1))];
      const bool ours = name.compare(mark - 4, 4, "ours") == 0;
      (ours ? times.ours : times.peer)
          .push_back(run.GetAdjustedRealTime() * 1e9 /
                     benchmark::GetTimeUnitMultiplier(run.time_unit));
    }
  }

  void Finalize() override {
    Line("operation", "this library", "peer", "peer's time", "ratio", "asked for");
    if (markdown_) std::puts("|---|---:|---|---:|---:|---:|");
    for (const auto& [index, times] : times_) {
      const PairInfo& pair = Pairs()[index];
      if (times.ours.empty() || times.peer.empty()) continue;
      const double ours = Quartile(times.ours) / pair.items;
      const double peer = Quartile(times.peer) / pair.items;
      char ratio[16];
      char goal[24] = "-";
      std::snprintf(ratio, sizeof ratio, "%.2f", peer / ours);
      if (pair.goal > 0) {
        std::snprintf(goal, sizeof goal, "%.3g%s", pair.goal,
                      peer / ours >= pair.goal ? "" : " (short)");
      }
      Line(pair.operation, Duration(ours), pair.peer, Duration(peer), ratio, goal);
    }
  }

 private:
  void Line(const std::string& operation, const std::string& ours, const std::string& peer,
            const std::string& peerTime, const std::string& ratio, const std::string& goal) {
    const char* layout =
        markdown_ ? "| %s | %s | %s | %s | %s | %s |\n" : "%-46s %12s  %-28s %12s %8s  %s\n";
    std::printf(layout, operation.c_str(), ours.c_str(), peer.c_str(), peerTime.c_str(),
                ratio.c_str(), goal.c_str());
  }

  bool markdown_;
  std::map<std::size_t, Times> times_;
};

}  // namespace
}  // namespace bench

int main(int count, char** arguments) {
  // Defaults first, so that the caller's own options win.
  std::vector<char*> all{arguments[0]};
  static char repetitions[] = "--benchmark_repetitions=20";
  static char interleaving[] = "--benchmark_enable_random_interleaving=true";
  static char minimum[] = "--benchmark_min_time=0.01";
  all.insert(all.end(), {repetitions, interleaving, minimum});
  bool markdown = false;
  for (int i = 1; i < count; ++i) {
    if (std::strcmp(arguments[i], "--markdown") == 0) {
      markdown = true;
    } else {
      all.push_back(arguments[i]);
    }
  }
  int total = static_cast<int>(all.size());
  benchmark::Initialize(&total, all.data());
  if (benchmark::ReportUnrecognizedArguments(total, all.data())) return 2;
  bench::PairReporter reporter(markdown);
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}
