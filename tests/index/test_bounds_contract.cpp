// The contract of EvalAndBound, on every row and in every form: what a fraction may be, which
// bounds are recorded, what counts as no range, and what happens when memory is short.
#include <doctest/doctest.h>

#include <cstdlib>
#include <cstring>

#include "support/values_of.h"

namespace {

using support::Bytes;
using support::Types;
using support::Values;

constexpr unsigned char kForms[] = {8, 0, 2, 9};
constexpr unsigned short kAny = kvPredicateEqual | kvPredicateLess | kvPredicateGreater;

// One value of a run in one form, as constant or bound.
struct Operand {
  Operand(const Values& values, unsigned index, unsigned char form) {
    if (form == 8) {
      const auto* at = static_cast<const unsigned char*>(values[index]);
      bytes.assign(at, at + Types().MemLenGet(values.Id(), 1));
    } else {
      bytes = values.Stored(form, index);
    }
  }
  unsigned char Length() const { return static_cast<unsigned char>(bytes.size()); }

  Bytes bytes;
};

struct Query {
  char id;
  unsigned char form;

  float operator()(unsigned short predicate, Operand constant, Operand lower, Operand upper) const {
    KvIdxBounds range{lower.bytes.data(), upper.bytes.data(), lower.Length(), upper.Length()};
    return Ask(&range, predicate, constant, nullptr);
  }
  float Ask(KvIdxBounds* range, unsigned short predicate, Operand& constant, KvIdxBounds* recorded,
            unsigned count = 1) const {
    const unsigned short before = predicate;
    const float fraction = Types().EvalAndBound(id, range, predicate, constant.bytes.data(), form,
                                                count, recorded, nullptr);
    CHECK(predicate == before);
    return fraction;
  }
};

bool IsFloating(char id) {
  const char base = support::BaseOf(id);
  return base == KvFLOAT_T || base == KvDOUBLE_T || base == D_INTERVAL_T;
}

// Whether differences with this value may have no finite double.
bool MayOverflow(char id, const void* value) {
  const char base = support::BaseOf(id);
  if (base == KvDOUBLE_T) {
    const double number = *static_cast<const double*>(value);
    return !(std::fabs(number) < 1e300);
  }
  return IsFloating(id) && !std::isfinite(*static_cast<const float*>(value));
}

int Order(const Values& values, unsigned a, unsigned b) {
  return Types().Cmp(values.Id(), values[a], values[b], 0, 1, 8);
}

struct Recorded {
  KvIdxBounds bounds;
  ~Recorded() {
    std::free(bounds.lower);
    std::free(bounds.upper);
  }
};

void CheckBound(const Query& query, const unsigned char* bound, unsigned char length,
                const Operand& constant) {
  REQUIRE(bound != nullptr);
  if (query.form != 8 || Types().IsFixed(query.id) != 0) {
    CHECK(Bytes(bound, bound + length) == constant.bytes);
    return;
  }
  // An object in memory is recorded as one that does not need the original.
  CHECK(length >= constant.bytes.size());
  CHECK(Types().Cmp(query.id, const_cast<unsigned char*>(bound),
                    const_cast<unsigned char*>(constant.bytes.data()), 0, 1, 8) == 0);
}

template <class Check>
void ForEachRowAndForm(const Check& check) {
  for (char id = 0; id < support::kRowCount; ++id) {
    for (const unsigned char form : kForms) {
      CAPTURE(int{id});
      CAPTURE(int{form});
      const Values values(id, support::OrdinaryValues(id, 40));
      REQUIRE(values.Count() == 40);
      check(Query{id, form}, values);
    }
  }
}

}  // namespace

TEST_CASE("a fraction lies in [0, 1], is the same in every form, and reads known bits only") {
  for (char id = 0; id < support::kRowCount; ++id) {
    CAPTURE(int{id});
    for (const auto& stored : {support::OrdinaryValues(id, 60), support::WildValues(id, 60)}) {
      const Values values(id, stored);
      support::Source source(7);
      for (unsigned round = 0; values.Count() != 0 && round < 600; ++round) {
        const unsigned constant = source.Below(values.Count());
        const unsigned lower = source.Below(values.Count());
        const unsigned upper = source.Below(values.Count());
        const auto predicate = static_cast<unsigned short>(source.Below(8));
        CAPTURE(constant);
        CAPTURE(lower);
        CAPTURE(upper);
        CAPTURE(predicate);
        const auto ask = [&](unsigned char form, unsigned short bits) {
          return Query{id, form}(bits, {values, constant, form}, {values, lower, form},
                                 {values, upper, form});
        };
        const float fraction = ask(8, predicate);
        CHECK(fraction >= 0);
        // Differences that have no number count as the largest one and may exceed the range.
        if (!MayOverflow(id, values[constant]) && !MayOverflow(id, values[lower]) &&
            !MayOverflow(id, values[upper])) {
          CHECK(fraction <= 1);
        }
        if (predicate == 0 && id != KvBOOLEAN_T) CHECK(fraction == 0);
        CHECK(ask(0, predicate) == fraction);
        CHECK(ask(2, predicate) == fraction);
        CHECK(ask(8, static_cast<unsigned short>(predicate | 0xFFF8)) == fraction);
      }
    }
  }
}

TEST_CASE("a value takes of a range what its steps from the ends say") {
  for (char id = 0; id < support::kRowCount; ++id) {
    const char base = support::BaseOf(id);
    // A span and a nanosecond stand by their seconds, and numbers beyond 2^53 not one by one.
    const bool counts = Types().IsFixed(id) != 0 && !IsFloating(id) && base != KvBOOLEAN_T &&
                        base != KvDATIME_N_T && base != KvTIMESPAN_T;
    const bool isLong = base == Kv8B_T || base == KvU8B_T || base == KvINT64_T;
    if (!counts) continue;
    CAPTURE(int{id});
    const Bytes near256 = support::Joined({Bytes(id == base ? 0 : 1), support::Little(253, 8)});
    const Values values(id, isLong ? std::vector<Bytes>{near256} : support::OrdinaryValues(id));
    unsigned tried = 0;
    for (unsigned i = 0; i < values.Count(); ++i) {
      CAPTURE(i);
      const auto stepped = [&](int steps) {
        Operand value(values, i, 8);
        while (steps-- > 0 && !value.bytes.empty()) {
          const int status = Types().GetValue(id, value.bytes.data(), 0, 8, 'M');
          if (status != kvOk) value.bytes.clear();
        }
        return value;
      };
      if (Types().IsNullValue(id, values[i]) != 0 || stepped(6).bytes.empty()) continue;
      ++tried;
      const auto share = [&](unsigned short predicate) {
        return Query{id, 8}(predicate, stepped(2), stepped(0), stepped(6));
      };
      CHECK(share(kvPredicateLess) == doctest::Approx(2 / 7.0));
      CHECK(share(kvPredicateEqual) == doctest::Approx(1 / 7.0));
      CHECK(share(kvPredicateGreater) == doctest::Approx(4 / 7.0));
    }
    CHECK(tried != 0);
  }
  // Blobs by six bytes, the moments of a day by their seconds, the zones each as a day of its own.
  const auto less = [](char id, const Bytes& constant, const Bytes& lower, const Bytes& upper) {
    const Values values(id, {constant, lower, upper});
    return Query{id, 8}(kvPredicateLess, {values, 0, 8}, {values, 1, 8}, {values, 2, 8});
  };
  const auto blob = [](char fifth, char sixth) {
    return support::BlobBytes({0, 0, 0, 0, fifth, sixth, 9});
  };
  CHECK(less(KvBLOB_T, blob(1, 0), blob(0, '\xFF'), blob(1, 3)) == doctest::Approx(0.2));
  CHECK(less(D_TIME_T, {1, 0, 1, 0, 0, 0}, {0, 255, 0, 0, 0, 0}, {1, 1, 1, 1, 0, 0}) ==
        doctest::Approx(0.5));
  CHECK(less(D_TIME_T, {255, 226, 0, 226, 0, 0}, {255, 226, 0, 0, 0, 0},
             {255, 226, 255, 0, 0, 0}) == doctest::Approx(1800 / 82801.0));
  CHECK(less(KvDATIME_N_T, {208, 7, 1, 2, 0, 0, 0, 0, 0, 0, 0}, {208, 7, 1, 1, 0, 0, 0, 0, 0, 0, 0},
             {208, 7, 1, 2, 23, 59, 59, 0, 0, 0, 0}) == 0.5f);
  // 8-bit strings by the characters of the kinds that the ends have, letters without their case.
  static constexpr struct {
    const char *lower, *upper, *constant;
    double place;
  } kTexts[] = {{"0", "9", "5", 5.0 / 9},
                {"000", "999", "500", 500.0 / 999},
                {"0", "z", "9", 9.0 / 35},
                {"0", "z", "a", 10.0 / 35},
                {"a", "z", "m", 12.0 / 25},
                {"xa", "xz", "xm", 12.0 / 25},
                {"xa", "xz", "w", 0},
                {"xa", "xz", "y", 1},
                {"A", "ZZ", "AZ", 25.0 / (26 * 26 - 1)},
                {"1", "1", "2", 1},
                {"a", "zz", "az", 25.0 / (26 * 26 - 1)}};
  // Beside raw bytes characters of all kinds count.
  KvIString low("a"), high("c");
  high.SetFlags(KvIString::kRawBytes);
  KvIdxBounds raw{reinterpret_cast<unsigned char*>(&low), reinterpret_cast<unsigned char*>(&high),
                  sizeof low, sizeof high};
  const auto below = [&](KvIString text) {
    unsigned short predicate = kvPredicateLess;
    return Types().EvalAndBound(KvISTRING_T, &raw, predicate, &text, 8, 1, nullptr, nullptr);
  };
  CHECK(below("b1") < below("b2"));
  CHECK(below("b-") != below("b+"));
  for (const char id : {KvISTRING_T, KvCASEISTRING_T}) {
    for (const auto& each : kTexts) {
      CAPTURE(each.constant);
      const auto text = [](const char* units) { return support::StringBytes(1, 1, units); };
      CHECK(less(id, text(each.constant), text(each.lower), text(each.upper)) ==
            doctest::Approx(each.place).epsilon(1e-6));
    }
  }
}

TEST_CASE("a step leads to what is behind, or nowhere") {
  for (char id = 0; id < support::kRowCount; ++id) {
    CAPTURE(int{id});
    for (const auto& stored : {support::OrdinaryValues(id, 300), support::WildValues(id, 5000)}) {
      const Values before(id, stored), after(id, stored);
      for (unsigned i = 0; i < before.Count(); ++i) {
        const int status = Types().GetValue(id, after[i], 0, 8, 'M');
        const int order = Types().Cmp(id, before[i], after[i], kvCompareExact, 1, 8);
        const bool leads = status == kvOk ? order < 0 : order == 0;
        if (!leads) CAPTURE(i);
        CHECK(leads);
      }
    }
  }
  // Without a length a stored text has the room of its block.
  Bytes roomy = {8, 0, 1, 1, 'a', 0, 0, 0, 0, 0xFF};
  CHECK(Types().GetValue(KvSTRING_T, roomy.data(), 0, 0, 'M') == kvOk);
  CHECK(roomy[5] != 0);
  // 23:14:59 is the last second where the zone is 75 minutes west.
  CHECK(Types().GetValue(D_TIME_T, Values(D_TIME_T, {{0, 181, 23, 195, 59, 0}})[0], 6, 8, 'M') ==
        kvOverflow);
  unsigned char old[] = {2, 0, 'a', 0};
  CHECK(Types().GetValue(KvISTRING_T, old, sizeof old, 0, 'O') == kvOk);
}

TEST_CASE("within a range, parts add up to the whole and grow with the constant") {
  for (char id = 0; id < support::kRowCount; ++id) {
    if (id == KvBOOLEAN_T) continue;  // always a third
    CAPTURE(int{id});
    const Values values(id, support::OrdinaryValues(id, 60));
    support::Source source(11);
    for (unsigned round = 0; round < 2000; ++round) {
      unsigned picks[4];
      for (unsigned& pick : picks) pick = source.Below(values.Count());
      std::stable_sort(picks, picks + 4,
                       [&](unsigned a, unsigned b) { return Order(values, a, b) < 0; });
      if (std::any_of(picks, picks + 4, [&](unsigned pick) {
            return MayOverflow(id, values[pick]) || Types().IsNullValue(id, values[pick]) != 0;
          })) {
        continue;
      }
      CAPTURE(picks[0]);
      CAPTURE(picks[1]);
      CAPTURE(picks[2]);
      CAPTURE(picks[3]);
      const auto ask = [&](unsigned short predicate, unsigned constant) {
        return Query{id, 8}(predicate, {values, constant, 8}, {values, picks[0], 8},
                            {values, picks[3], 8});
      };
      CHECK(ask(kAny, picks[1]) == doctest::Approx(1));
      CHECK(ask(kvPredicateLess, picks[1]) + ask(kvPredicateEqual, picks[1]) +
                ask(kvPredicateGreater, picks[1]) ==
            doctest::Approx(1).epsilon(1e-5));
      // The scale of a string range depends on the constant too, on the kinds of its characters.
      if (id == KvSTRING_T) continue;
      // Zones count among the times of one day, which a time stamp's place leaves out.
      const float tolerance = id == D_TIMESTAMP_T ? 1e-5f : 0;
      CHECK(ask(kvPredicateLess, picks[1]) <= ask(kvPredicateLess, picks[2]) + tolerance);
      CHECK(ask(kvPredicateGreater, picks[1]) >= ask(kvPredicateGreater, picks[2]) - tolerance);
    }
  }
}

TEST_CASE("the constant becomes the bounds that the predicate narrows, once") {
  ForEachRowAndForm([](const Query& query, const Values& values) {
    const Operand none(values, 0, query.form);
    for (unsigned index = 0; index + 1 < values.Count(); ++index) {
      for (unsigned short predicate = 0; predicate <= kAny; ++predicate) {
        CAPTURE(index);
        CAPTURE(predicate);
        Operand constant(values, index, query.form);
        Recorded recorded;
        query.Ask(nullptr, predicate, constant, &recorded.bounds);
        KvIdxBounds& bounds = recorded.bounds;
        REQUIRE((bounds.lower != nullptr) == ((predicate & kvPredicateLess) == 0));
        REQUIRE((bounds.upper != nullptr) == ((predicate & kvPredicateGreater) == 0));
        if (bounds.lower != nullptr) CheckBound(query, bounds.lower, bounds.lowerLength, constant);
        if (bounds.upper != nullptr) CheckBound(query, bounds.upper, bounds.upperLength, constant);

        // Another constant fills what is still open and replaces nothing.
        const KvIdxBounds before = bounds;
        Operand other(values, index + 1, query.form);
        query.Ask(nullptr, kvPredicateEqual, other, &bounds);
        if (before.lower != nullptr) CHECK(bounds.lower == before.lower);
        if (before.upper != nullptr) CHECK(bounds.upper == before.upper);
        const bool hadLower = before.lower != nullptr;
        const bool hadUpper = before.upper != nullptr;
        CheckBound(query, bounds.lower, bounds.lowerLength, hadLower ? constant : other);
        CheckBound(query, bounds.upper, bounds.upperLength, hadUpper ? constant : other);
      }
    }
  });
}

TEST_CASE("a side missing, a short bound and a null bound are no range") {
  ForEachRowAndForm([](const Query& query, const Values& values) {
    const bool hasNull = Types().SupportsNullValue(query.id) != 0;
    // The null, where there is one, is the first value.
    unsigned first = 0;
    while (Types().IsNullValue(query.id, values[first]) != 0) ++first;
    Operand constant(values, first, query.form);
    Operand bound(values, first, query.form);
    unsigned char* at = bound.bytes.data();
    const unsigned char length = bound.Length();
    CHECK(query.Ask(nullptr, kAny, constant, nullptr) == 0);
    if (query.id == KvBOOLEAN_T) return;  // looks at no bound
    const auto nearly = static_cast<unsigned char>(length > 1 ? 1 : 0);
    KvIdxBounds broken[] = {{nullptr, at, 0, length},
                            {at, nullptr, length, 0},
                            {nullptr, nullptr, 0, 0},
                            {at, at, nearly, length},
                            {at, at, length, nearly}};
    for (unsigned i = 0; i < (nearly == 0 ? 3u : 5u); ++i) {
      CAPTURE(i);
      Recorded recorded;
      CHECK(query.Ask(&broken[i], kAny, constant, &recorded.bounds) == 0);
      Recorded equal;
      query.Ask(&broken[i], kvPredicateEqual, constant, &equal.bounds);
      CHECK(equal.bounds.lower != nullptr);  // recorded all the same
    }
    if (!hasNull) return;
    const Operand null(values, 0, query.form);
    CHECK(query(kAny, constant, null, bound) == 0);
    CHECK(query(kAny, constant, bound, null) == 0);
    // A null constant lies below every value.
    CHECK(query(kvPredicateEqual | kvPredicateLess, null, bound, bound) == 0);
    CHECK(query(kvPredicateGreater, null, bound, bound) == 1);
  });
}

TEST_CASE("a run as constant records all of it, up to 255 bytes") {
  for (char id = 0; id < support::kRowCount; ++id) {
    if (Types().IsFixed(id) == 0) continue;
    const Values values(id, support::OrdinaryValues(id, 256));
    for (const unsigned char form : kForms) {
      CAPTURE(int{id});
      CAPTURE(int{form});
      const auto width = static_cast<unsigned>(Operand(values, 0, form).bytes.size());
      Operand run(values, 0, form);
      run.bytes.clear();
      for (unsigned i = 0; i < values.Count(); ++i) {
        const Bytes next = Operand(values, i, form).bytes;
        run.bytes.insert(run.bytes.end(), next.begin(), next.end());
      }
      const unsigned most = 255 / width;
      Recorded recorded;
      Query{id, form}.Ask(nullptr, 0, run, &recorded.bounds, most);
      REQUIRE(recorded.bounds.lower != nullptr);
      CHECK(recorded.bounds.upperLength == most * width);
      CHECK(std::memcmp(recorded.bounds.lower, run.bytes.data(), most * width) == 0);
      Recorded none;
      CHECK(Query{id, form}.Ask(nullptr, 0, run, &none.bounds, most + 1) == 0);
      CHECK(Query{id, form}.Ask(nullptr, 0, run, &none.bounds, 0x40000001) == 0);
      CHECK(Query{id, form}.Ask(nullptr, 0, run, &none.bounds, 0) == 0);
      CHECK(none.bounds.lower == nullptr);
    }
  }
  // Texts in a block each, and in the one of the old form.
  Operand run(Values(KvSTRING_T, {{}}), 0, 0);
  for (const Bytes& texts :
       {support::Joined({support::StringBytes(1, 1, "ab"), support::StringBytes(1, 1, "c")}),
        Bytes{4, 0, 'a', 0, 'b', 0}}) {
    run.bytes = texts;
    Recorded recorded;
    Query{KvSTRING_T, 0}.Ask(nullptr, 0, run, &recorded.bounds, 2);
    REQUIRE(recorded.bounds.lower != nullptr);
    CHECK(Bytes(recorded.bounds.lower, recorded.bounds.lower + recorded.bounds.lowerLength) ==
          texts);
  }
}
