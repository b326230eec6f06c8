#include "probe.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>

#include "failure.h"

namespace {

// The predicate bit that an order of value and constant answers to.
unsigned short BitOf(int order) {
  return order < 0 ? kvPredicateLess : order > 0 ? kvPredicateGreater : kvPredicateEqual;
}

// A bound's length is one byte wide; 0 stands for "one value".
unsigned char LengthOf(const Stored& value) {
  return value.size() <= 255 ? static_cast<unsigned char>(value.size()) : 0;
}

std::vector<Stored> ReadColumn(const Row& row, const std::vector<std::string>& lines,
                               const std::string& name) {
  if (lines.empty()) throw Failure(name + " holds no values");
  std::vector<Stored> column;
  column.reserve(lines.size());
  for (const std::string& line : lines) {
    try {
      column.push_back(row.Read(line));
    } catch (const Failure& failure) {
      throw Failure(name + ", line " + std::to_string(column.size() + 1) + ": " + failure.what());
    }
  }
  return column;
}

}  // namespace

Predicate ReadPredicate(const std::string& text) {
  if (text == "<") return {text, kvPredicateLess};
  if (text == "<=") return {text, kvPredicateLess | kvPredicateEqual};
  if (text == "=") return {text, kvPredicateEqual};
  if (text == ">=") return {text, kvPredicateGreater | kvPredicateEqual};
  if (text == ">") return {text, kvPredicateGreater};
  throw Failure("'" + text + "' is no predicate; it is one of < <= = >= >", Failure::kBadUsage);
}

Probe::Probe(const Row& row, const std::vector<std::string>& lines, std::string name,
             Ordering ordering)
    : row_(row),
      name_(std::move(name)),
      column_(ReadColumn(row, lines, name_)),
      index_(row, column_, ordering) {
  index_.Fill(name_);
}

Answer Probe::Ask(const Predicate& predicate, const Stored& constant) const {
  Stored first = First();
  Stored last = Last();
  Stored value = constant;
  KvIdxBounds range{first.data(), last.data(), LengthOf(first), LengthOf(last)};
  KvIdxBounds narrowed;
  unsigned short bits = predicate.bits;
  Answer answer;
  const float fraction = DefaultTypeMgr(nullptr)->EvalAndBound(
      row_.Id(), &range, bits, value.data(), kKeyFormat, 1, &narrowed, nullptr);
  // Infinite bounds may have it come out above 1.
  answer.estimate = std::min(fraction, 1.0f);
  answer.walked = answer.estimate < kWalkLimit;
  const auto begin = std::chrono::steady_clock::now();
  if (answer.walked) {
    Walk(bits, constant, narrowed, answer);
  } else {
    Scan(bits, constant, answer);
  }
  const std::chrono::duration<double, std::milli> passed = std::chrono::steady_clock::now() - begin;
  answer.milliseconds = passed.count();
  std::free(narrowed.lower);
  std::free(narrowed.upper);
  return answer;
}

void Probe::Walk(unsigned short bits, const Stored& constant, const KvIdxBounds& narrowed,
                 Answer& answer) const {
  const auto length = static_cast<unsigned>(constant.size());
  index_.WalkFrom(narrowed.lower, narrowed.lowerLength, [&](auto line) {
    const Stored& value = column_[line];
    const auto valueLength = static_cast<unsigned>(value.size());
    // No value behind the upper bound can be a hit.
    if (narrowed.upper != nullptr &&
        row_.Compare(value.data(), valueLength, narrowed.upper, narrowed.upperLength) > 0) {
      return false;
    }
    const int order = row_.Compare(value.data(), valueLength, constant.data(), length);
    if ((bits & BitOf(order)) != 0) answer.hits.push_back(line);
    return true;
  });
}

void Probe::Scan(unsigned short bits, const Stored& constant, Answer& answer) const {
  for (OrderedIndex::LineNumber line = 0; line < column_.size(); ++line) {
    const int order = row_.Compare(column_[line].data(), 0, constant.data(), 0);
    if ((bits & BitOf(order)) != 0) answer.hits.push_back(line);
  }
}
