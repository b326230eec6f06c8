#include "nearest.h"

#include <algorithm>

#include "numbers.h"

namespace {

constexpr std::size_t kFarthest = 3;  // edits of a name that is still a misspelling
constexpr std::size_t kMostShown = 4;
constexpr std::size_t kLongestLookedAt = 40;

std::string Lowered(std::string_view text) {
  std::string lowered(text);
  for (char& c : lowered) c = LowerAscii(c);
  return lowered;
}

// Edits (insert, remove, replace) that turn one text into the other.
std::size_t EditDistance(std::string_view from, std::string_view to) {
  std::vector<std::size_t> row(to.size() + 1);
  for (std::size_t j = 0; j <= to.size(); ++j) row[j] = j;
  for (std::size_t i = 0; i < from.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i + 1;
    for (std::size_t j = 0; j < to.size(); ++j) {
      const std::size_t replaced = diagonal + (from[i] == to[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({row[j] + 1, row[j + 1] + 1, replaced});
    }
  }
  return row[to.size()];
}

std::string Listed(const std::vector<std::string>& names) {
  std::string text;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (i > 0) text += i + 1 < names.size() ? ", " : " or ";
    text += names[i];
  }
  return text;
}

}  // namespace

std::string NearestOf(std::string_view text, const std::vector<std::string>& names) {
  const std::string wanted = Lowered(text.substr(0, kLongestLookedAt));
  std::vector<std::string> nearest;
  std::size_t least = std::min(kFarthest, wanted.size() / 2);
  for (const std::string& name : names) {
    const std::size_t distance = EditDistance(wanted, Lowered(name));
    if (distance > least) continue;
    if (distance < least) nearest.clear();
    least = distance;
    if (nearest.size() < kMostShown) nearest.push_back(name);
  }
  return Listed(nearest);
}
