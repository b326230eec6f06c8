#include "parallel.h"

#include <algorithm>
#include <atomic>
#include <future>
#include <system_error>
#include <thread>
#include <vector>

unsigned Workers() {
  return std::clamp(std::thread::hardware_concurrency(), 1U, 8U);
}

void ForEachItem(std::size_t count, const std::function<void(std::size_t, unsigned)>& work,
                 const std::function<void(std::size_t)>& report) {
  std::atomic<std::size_t> next = 0;
  std::atomic<std::size_t> done = 0;
  const auto workAs = [&](unsigned worker, const auto& afterEach) {
    for (std::size_t item; (item = next++) < count;) {
      work(item, worker);
      ++done;
      afterEach();
    }
  };
  std::size_t reported = 0;
  const auto reportNew = [&] {
    const std::size_t now = done;
    report(now - reported);
    reported = now;
  };
  // They are waited for when they go out of scope, whatever is thrown before.
  std::vector<std::future<void>> others;
  try {
    for (unsigned worker = 1; worker < std::min<std::size_t>(Workers(), count); ++worker) {
      others.push_back(std::async(std::launch::async, [&, worker] { workAs(worker, [] {}); }));
    }
  } catch (const std::system_error&) {
    // Fewer threads do the same.
  }
  workAs(0, reportNew);
  for (std::future<void>& other : others) other.get();
  reportNew();
}
