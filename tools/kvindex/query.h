// Predicates on the fields of a record, and the plan that answers them.
//
//   query      predicate { "and" predicate }
//   predicate  FIELD ( "=" | "<" | "<=" | ">" | ">=" ) CONSTANT
//              FIELD "like" PATTERN           of KvString fields
//   CONSTANT   a value as kvtm writes it; in quotes ('', twice for one) where it holds blanks
//   PATTERN    a text in quotes; % stands for any characters, _ for one, \ takes their meaning away
//
// A value compares as its type orders it, accents and case included. A null is below every value.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ordered_store.h"
#include "record.h"

struct Predicate {
  std::string text;  // as the user wrote it
  std::size_t field = 0;
  unsigned short bits = 0;  // as EvalAndBound takes them; 0: like
  std::string constant;     // in stored form
};

struct Query {
  std::vector<Predicate> predicates;
};

// Fails (Failure, usage) with what is wrong and at which offset of the text.
Query ParseQuery(const Table& table, std::string_view text);

bool Matches(const Table& table, const Query& query, const StoredRecord& record);

// A way to walk: the records in the order of their key, or an index.
struct Walk {
  std::size_t index = 0;
  bool isIndex = false;
  engines::Range range;     // of keys in the store
  double fraction = 1;      // what it selects, estimated
  bool isNarrowed = false;  // false: it goes over everything
};

// What part of an index a predicate selects.
struct Estimate {
  double fraction;
  std::string index;
};

struct Plan {
  std::vector<std::optional<Estimate>> estimates;  // none: no index begins with the field
  Walk walk;
};

// Asks each predicate's type what part of an index it selects and takes the walk that is smallest.
Plan MakePlan(engines::Snapshot& snapshot, const Table& table, const Query& query);

struct Walked {
  unsigned long long entries = 0;  // of the walk
  unsigned long long hits = 0;
};

// Calls `take` for every record that matches, in the order of the walk, until it answers false.
Walked Run(engines::Snapshot& snapshot, const Table& table, const Query& query, const Plan& plan,
           const std::function<bool(const StoredRecord&)>& take);

// All that a walk could go over.
engines::Range WholeRange(const Walk& walk);
