// A column with its index, and the answer to a predicate on it.
//
// A planner asks the row first (KvTypeMgr::EvalAndBound): what fraction of the index range does the
// predicate select, and how does the constant narrow the range? A small part is found by walking
// the narrowed range of the index, a large one faster by looking at every value.
#pragma once

#include <string>
#include <vector>

#include "index.h"
#include "row.h"

// An index walk jumps from key to line; beyond this part of the column a scan is the cheaper way.
inline constexpr float kWalkLimit = 0.2f;

struct Predicate {
  std::string text;     // < <= = >= >
  unsigned short bits;  // as EvalAndBound takes them
};

// Fails for anything else.
Predicate ReadPredicate(const std::string& text);

struct Answer {
  float estimate = 0;  // fraction of the index range
  bool walked = false;
  std::vector<OrderedIndex::LineNumber> hits;  // in the order they were found
  double milliseconds = 0;                     // to find them
};

class Probe {
 public:
  // One value a line. `name` names the column in messages.
  Probe(const Row& row, const std::vector<std::string>& lines, std::string name,
        Ordering ordering = Ordering::kByKeys);

  Answer Ask(const Predicate& predicate, const Stored& constant) const;

  const std::string& Name() const { return name_; }
  const Row& ValueRow() const { return row_; }
  std::size_t Count() const { return column_.size(); }
  const Stored& Value(OrderedIndex::LineNumber line) const { return column_[line]; }
  Stored First() const { return index_.First(); }
  Stored Last() const { return index_.Last(); }

 private:
  void Walk(unsigned short bits, const Stored& constant, const KvIdxBounds& narrowed,
            Answer& answer) const;
  void Scan(unsigned short bits, const Stored& constant, Answer& answer) const;

  const Row& row_;
  std::string name_;
  std::vector<Stored> column_;
  OrderedIndex index_;
};
