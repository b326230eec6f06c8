#include "query.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>

#include "catalogue.h"
#include "failure.h"
#include "kvsortkey.h"
#include "numbers.h"

namespace {

using engines::Range;
using engines::Snapshot;

constexpr char kAnyCharacters = '%';
constexpr char kOneCharacter = '_';
constexpr char kEscape = '\\';

// Hits of an index walk are fetched together, so that a far engine is asked seldom.
constexpr std::size_t kFetched = 256;

bool IsNameByte(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' ||
         static_cast<unsigned char>(c) >= 0x80;
}

class QueryReader {
 public:
  QueryReader(const Table& table, std::string_view text) : table_(table), text_(text) {}

  Query Read() {
    Query query;
    do {
      query.predicates.push_back(ReadPredicate());
    } while (TakeWord("and"));
    if (at_ < text_.size()) Fail(at_, "expected and, found " + Found());
    return query;
  }

 private:
  [[noreturn]] static void Fail(std::size_t place, const std::string& what) {
    FailUsage("query, at offset " + std::to_string(place) + ": " + what);
  }
  std::string Found() const {
    return at_ < text_.size() ? Quoted(text_.substr(at_, 20)) : "the end";
  }
  void SkipBlanks() {
    while (at_ < text_.size() && std::isspace(static_cast<unsigned char>(text_[at_])) != 0) ++at_;
  }

  std::string_view PeekName() {
    SkipBlanks();
    std::size_t end = at_;
    while (end < text_.size() && IsNameByte(text_[end])) ++end;
    return text_.substr(at_, end - at_);
  }
  bool TakeWord(std::string_view word) {
    const std::string_view name = PeekName();
    if (!EqualsIgnoringCase(name, word)) return false;
    at_ += name.size();
    return true;
  }

  unsigned short ReadOperator() {
    SkipBlanks();
    static constexpr std::pair<std::string_view, unsigned short> kOperators[] = {
        {"<=", kvPredicateLess | kvPredicateEqual},
        {">=", kvPredicateGreater | kvPredicateEqual},
        {"<", kvPredicateLess},
        {">", kvPredicateGreater},
        {"=", kvPredicateEqual}};
    for (const auto& [text, bits] : kOperators) {
      if (!text_.substr(at_).starts_with(text)) continue;
      at_ += text.size();
      return bits;
    }
    if (TakeWord("like")) return 0;
    Fail(at_, "expected one of < <= = >= > like, found " + Found());
  }

  std::string ReadQuoted() {
    const std::size_t start = at_++;
    std::string text;
    for (;;) {
      const std::size_t quote = text_.find('\'', at_);
      if (quote == std::string_view::npos) Fail(start, "a quote that is not closed");
      text += text_.substr(at_, quote - at_);
      at_ = quote + 1;
      if (at_ == text_.size() || text_[at_] != '\'') return text;
      text += '\'';
      ++at_;
    }
  }

  std::string ReadConstant() {
    SkipBlanks();
    if (at_ < text_.size() && text_[at_] == '\'') return ReadQuoted();
    const std::size_t start = at_;
    at_ = std::min(text_.find_first_of(" \t\n'<>=", at_), text_.size());
    if (at_ == start) Fail(at_, "expected a constant, found " + Found());
    return std::string(text_.substr(start, at_ - start));
  }

  Predicate ReadPredicate() {
    Predicate predicate;
    const std::string_view name = PeekName();
    const std::size_t start = at_;
    if (name.empty()) Fail(at_, "expected a field, found " + Found());
    const SchemaField* const field = table_.schema.Find(name);
    if (field == nullptr) Fail(at_, "there is no field " + Quoted(name));
    predicate.field = table_.Position(name);
    if (field->isRun) Fail(at_, Quoted(name) + " is a run of values, which no predicate takes");
    at_ += name.size();
    const std::size_t operatorPlace = at_;
    predicate.bits = ReadOperator();
    if (predicate.bits == 0 && field->type != KvSTRING_T) {
      Fail(operatorPlace,
           "like is for KvString fields; " + Quoted(name) + " is of type " + TypeName(field->type));
    }
    SkipBlanks();
    const std::size_t constantPlace = at_;
    FieldValue value(*field);
    try {
      value.Read(ReadConstant());
    } catch (const Failure& failure) {
      if (failure.what.starts_with("query,")) throw;
      Fail(constantPlace, failure.what);
    }
    value.AppendStored(predicate.constant);
    predicate.text = std::string(text_.substr(start, at_ - start));
    return predicate;
  }

  const Table& table_;
  std::string_view text_;
  std::size_t at_ = 0;
};

int Compare(char type, std::string_view a, std::string_view b, unsigned short cmpOp) {
  int status = kvOk;
  return Types().Cmp(type, static_cast<unsigned>(a.size()), const_cast<char*>(a.data()),
                     static_cast<unsigned>(b.size()), const_cast<char*>(b.data()), cmpOp, 1,
                     kStoredFormat, status);
}

bool Matches(const Table& table, const Predicate& predicate, const StoredRecord& record) {
  const char type = table.schema.fields[predicate.field].type;
  const std::string_view value = record.Field(predicate.field);
  // Wildcards mean something in a pattern alone; in a constant they are characters.
  if (predicate.bits == 0) return Compare(type, value, predicate.constant, 0) == 0;
  const int order = Compare(type, value, predicate.constant, kvCompareExact);
  const unsigned short bit = order < 0   ? kvPredicateLess
                             : order > 0 ? kvPredicateGreater
                                         : kvPredicateEqual;
  return (predicate.bits & bit) != 0;
}

// The end of all keys that begin so. They begin with a tag, which is never FF: there is an end.
std::string PrefixEnd(const std::string& prefix) {
  return engines::WithPrefix(prefix).end;
}

// A constant of more bytes than a bound's length can say counts as one value.
unsigned char BoundLength(const std::string& value) {
  return value.size() <= 255 ? static_cast<unsigned char>(value.size()) : 0;
}

// A walk with its fields, before it is narrowed.
struct Candidate {
  Walk walk;
  char tag;
  Fields fields;
  std::string name;
};

std::vector<Candidate> CandidatesOf(const Table& table) {
  std::vector<Candidate> candidates;
  candidates.push_back({.walk = {}, .tag = kRecordTag, .fields = table.key, .name = "the key"});
  for (std::size_t i = 0; i < table.indexes.size(); ++i) {
    candidates.push_back({.walk = {.index = i, .isIndex = true, .range = {}},
                          .tag = IndexTag(i),
                          .fields = table.indexes[i],
                          .name = "index " + table.Names(table.indexes[i])});
  }
  return candidates;
}

class Planner {
 public:
  Planner(Snapshot& snapshot, const Table& table, const Query& query)
      : snapshot_(snapshot), table_(table), query_(query) {}

  Plan Make() {
    Plan plan;
    plan.estimates.resize(query_.predicates.size());
    std::vector<Candidate> candidates = CandidatesOf(table_);
    for (const Candidate& candidate : candidates) EstimateBy(candidate, plan);
    for (Candidate& candidate : candidates) Narrow(candidate, plan);
    plan.walk = std::min_element(candidates.begin(), candidates.end(), IsBetter)->walk;
    return plan;
  }

 private:
  static bool IsBetter(const Candidate& a, const Candidate& b) {
    if (a.walk.isNarrowed != b.walk.isNarrowed) return a.walk.isNarrowed;
    return a.walk.fraction < b.walk.fraction;
  }

  // The stored value at one end of an index, empty where there is none.
  std::string EndValue(const Candidate& candidate, bool last) {
    Range range = engines::WithPrefix(std::string(1, candidate.tag));
    const std::size_t position = candidate.fields[0];
    const SchemaField& field = table_.schema.fields[position];
    // Nulls bound nothing: behind them.
    if (!last && Types().SupportsNullValue(field.type) != 0) {
      FieldValue null(field);
      null.SetNull();
      std::string stored;
      null.AppendStored(stored);
      range.from = PrefixEnd(range.from + FieldKey(field, stored));
    }
    range.descending = last;
    range.limit = 1;
    std::string recordKey;
    snapshot_.Scan(range, [&](std::string_view key, std::string_view) {
      recordKey =
          candidate.walk.isIndex ? RecordKeyOfEntry(table_, candidate.walk.index, key) : key;
      return false;
    });
    if (recordKey.empty()) return {};
    const auto record = snapshot_.Get(recordKey);
    return record ? std::string(StoredRecord(table_, *record).Field(position)) : std::string();
  }

  void EstimateBy(const Candidate& candidate, Plan& plan) {
    const std::size_t position = candidate.fields[0];
    const bool asked =
        std::any_of(query_.predicates.begin(), query_.predicates.end(),
                    [&](const Predicate& predicate) { return predicate.field == position; });
    if (!asked || table_.schema.fields[position].isRun) return;
    std::string lowest = EndValue(candidate, false);
    std::string highest = EndValue(candidate, true);
    for (std::size_t i = 0; i < query_.predicates.size(); ++i) {
      const Predicate& predicate = query_.predicates[i];
      if (predicate.field != position || plan.estimates[i]) continue;
      plan.estimates[i] = {Fraction(predicate, lowest, highest), candidate.name};
    }
  }

  double Fraction(const Predicate& predicate, std::string& lowest, std::string& highest) const {
    if (lowest.empty() || highest.empty()) return 0;
    KvIdxBounds bounds{reinterpret_cast<unsigned char*>(lowest.data()),
                       reinterpret_cast<unsigned char*>(highest.data()), BoundLength(lowest),
                       BoundLength(highest)};
    std::string constant = predicate.constant;
    unsigned short op = predicate.bits == 0 ? kvPredicateEqual : predicate.bits;
    const float fraction =
        Types().EvalAndBound(table_.schema.fields[predicate.field].type, &bounds, op,
                             constant.data(), kStoredFormat, 1, nullptr, nullptr);
    // Infinite bounds may have it come out above 1.
    return std::min<double>(fraction, 1);
  }

  // Equal fields one after the other, then a range of the next: what one walk can be narrowed to.
  void Narrow(Candidate& candidate, const Plan& plan) {
    std::string prefix(1, candidate.tag);
    Walk& walk = candidate.walk;
    walk.range = engines::WithPrefix(prefix);
    for (const std::size_t position : candidate.fields) {
      const Predicate* const equal = Find(position, kvPredicateEqual);
      if (equal == nullptr) {
        NarrowToRange(candidate, prefix, position, plan);
        return;
      }
      prefix += FieldKey(table_.schema.fields[position], equal->constant);
      walk.range = engines::WithPrefix(prefix);
      walk.isNarrowed = true;
      TakeShare(walk, plan, *equal);
    }
  }

  const Predicate* Find(std::size_t position, unsigned short bits) const {
    for (const Predicate& predicate : query_.predicates) {
      if (predicate.field == position && predicate.bits == bits) return &predicate;
    }
    return nullptr;
  }

  void TakeShare(Walk& walk, const Plan& plan, const Predicate& predicate) const {
    const auto at = static_cast<std::size_t>(&predicate - query_.predicates.data());
    if (plan.estimates[at]) walk.fraction *= plan.estimates[at]->fraction;
  }

  void NarrowToRange(Candidate& candidate, const std::string& prefix, std::size_t position,
                     const Plan& plan) const {
    Walk& walk = candidate.walk;
    // What two predicates on one field leave over is what both have: a + b - 1.
    double share = 1;
    for (std::size_t i = 0; i < query_.predicates.size(); ++i) {
      const Predicate& predicate = query_.predicates[i];
      if (predicate.field != position) continue;
      const Range range = RangeOf(prefix, predicate);
      walk.range.from = std::max(walk.range.from, range.from);
      if (!range.end.empty()) walk.range.end = std::min(walk.range.end, range.end);
      walk.isNarrowed = true;
      if (plan.estimates[i]) share = std::max(share + plan.estimates[i]->fraction - 1, 0.0);
    }
    walk.fraction *= share;
  }

  // The keys that a predicate selects behind `prefix`.
  Range RangeOf(const std::string& prefix, const Predicate& predicate) const {
    const SchemaField& field = table_.schema.fields[predicate.field];
    if (predicate.bits == 0) return RangeOfPattern(field, prefix, predicate.constant);
    const std::string key = prefix + FieldKey(field, predicate.constant);
    Range range;
    if ((predicate.bits & kvPredicateGreater) != 0) {
      const bool equal = (predicate.bits & kvPredicateEqual) != 0;
      range.from = equal ? key : PrefixEnd(key);
    }
    if ((predicate.bits & kvPredicateLess) != 0) {
      range.end = (predicate.bits & kvPredicateEqual) != 0 ? PrefixEnd(key) : key;
    }
    return range;
  }

  // What begins as the pattern does up to its first wildcard.
  static Range RangeOfPattern(const SchemaField& field, const std::string& prefix,
                              const std::string& pattern) {
    KvString text;
    Types().Load(field.type, &text, pattern.data(), kStoredFormat, 1);
    const std::string utf8 = Utf8FromString(text);
    const std::size_t literal =
        utf8.find_first_of(std::string{kAnyCharacters, kOneCharacter, kEscape});
    FieldValue beginning(field);
    beginning.Read(std::string_view(utf8).substr(0, literal));
    std::string stored;
    beginning.AppendStored(stored);
    const KvSortKeyKind kind{.type = field.type};
    const std::size_t room = KvSortKeyBound(kind, stored.size());
    std::string lower(room, '\0');
    std::string upper(room, '\0');
    std::size_t lowerSize = 0;
    std::size_t upperSize = 0;
    const int status = KvSortKeyRange(kind, kvSortKeyBeginning, stored.data(),
                                      static_cast<unsigned>(stored.size()), kStoredFormat, room,
                                      lower.data(), lowerSize, upper.data(), upperSize);
    if (status != kvOk) return {};
    // Keys of texts begin with 00 or 01, so there is an end.
    return {.from = prefix + lower.substr(0, lowerSize),
            .end = prefix + upper.substr(0, upperSize)};
  }

  Snapshot& snapshot_;
  const Table& table_;
  const Query& query_;
};

void SetWildcards() {
  KvString::SetAsterisk(KvChar(kAnyCharacters));
  KvString::SetQuestion(KvChar(kOneCharacter));
  KvString::SetEscape(KvChar(kEscape));
}

// An index walk: entries by the hundred, then their records.
class IndexWalk {
 public:
  IndexWalk(Snapshot& snapshot, const Table& table, const Query& query, std::size_t index,
            const std::function<bool(const StoredRecord&)>& take)
      : snapshot_(snapshot), table_(table), query_(query), index_(index), take_(take) {}

  Walked Run(const Range& range) {
    snapshot_.Scan(range, [&](std::string_view entry, std::string_view) {
      ++walked_.entries;
      entries_.emplace_back(entry);
      keys_.push_back(RecordKeyOfEntry(table_, index_, entry));
      return entries_.size() < kFetched || Fetch();
    });
    Fetch();
    return walked_;
  }

 private:
  bool Fetch() {
    snapshot_.GetEach(keys_, [&](std::size_t place, const std::string_view* stored) {
      if (stored == nullptr) return true;  // an entry that a crash left
      record_.Read(*stored);
      if (!Matches(table_, query_, record_)) return true;
      // An entry of what the record was before would show it a second time.
      if (EntryKey(table_, index_, record_, keys_[place]) != entries_[place]) return true;
      ++walked_.hits;
      goesOn_ = take_(record_);
      return goesOn_;
    });
    entries_.clear();
    keys_.clear();
    return goesOn_;
  }

  Snapshot& snapshot_;
  const Table& table_;
  const Query& query_;
  std::size_t index_;
  const std::function<bool(const StoredRecord&)>& take_;
  StoredRecord record_{table_};
  std::vector<std::string> entries_;
  std::vector<std::string> keys_;
  Walked walked_;
  bool goesOn_ = true;
};

}  // namespace

Query ParseQuery(const Table& table, std::string_view text) {
  SetWildcards();
  return QueryReader(table, text).Read();
}

bool Matches(const Table& table, const Query& query, const StoredRecord& record) {
  return std::all_of(query.predicates.begin(), query.predicates.end(),
                     [&](const Predicate& predicate) { return Matches(table, predicate, record); });
}

Plan MakePlan(Snapshot& snapshot, const Table& table, const Query& query) {
  return Planner(snapshot, table, query).Make();
}

Walked Run(Snapshot& snapshot, const Table& table, const Query& query, const Plan& plan,
           const std::function<bool(const StoredRecord&)>& take) {
  if (plan.walk.isIndex) {
    return IndexWalk(snapshot, table, query, plan.walk.index, take).Run(plan.walk.range);
  }
  Walked walked;
  snapshot.Scan(plan.walk.range, [&](std::string_view, std::string_view value) {
    ++walked.entries;
    const StoredRecord record(table, value);
    if (!Matches(table, query, record)) return true;
    ++walked.hits;
    return take(record);
  });
  return walked;
}

Range WholeRange(const Walk& walk) {
  return engines::WithPrefix(std::string(1, walk.isIndex ? IndexTag(walk.index) : kRecordTag));
}
