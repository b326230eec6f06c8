// Every comparison operator that a value class has, with what is less, equal and more; and moments
// with intervals, from either side.
#include <doctest/doctest.h>

#include "kv.h"

namespace {

template <class A, class B>
void CheckOperators(const A& a, const B& b, int order) {
  CAPTURE(order);
  CHECK((a == b) == (order == 0));
  CHECK(((a != b) != 0) == (order != 0));  // some classes tell the order
  if constexpr (requires { a < b; }) CHECK((a < b) == (order < 0));
  if constexpr (requires { a <= b; }) CHECK((a <= b) == (order <= 0));
  if constexpr (requires { a > b; }) CHECK((a > b) == (order > 0));
  if constexpr (requires { a >= b; }) CHECK((a >= b) == (order >= 0));
}

template <class T>
void CheckPair(const char* type, const T& less, const T& more) {
  CAPTURE(type);
  CheckOperators(less, T(less), 0);
  CheckOperators(less, more, -1);
  CheckOperators(more, less, 1);
}

template <class T>
void CheckSums(const T& moment, const T& later, const d_Interval& between) {
  CHECK(moment + between == later);
  CHECK(between + moment == later);
  CHECK(later - between == moment);
  T stepped = moment;
  CHECK((stepped += between) == later);
  CHECK((stepped -= between) == moment);
}

KvLocalRef LocalRef(o_u4b low) {
  KvLocalRef ref;
  ref = KvObjId{low, 0, 0};
  return ref;
}

KvSeal Seal(o_u2b low) {
  KvSeal seal;
  seal.low = low;
  return seal;
}

}  // namespace

TEST_CASE("comparison operators agree with each other in every class") {
  CheckPair("KvDate", KvDate(2000, 2, 29), KvDate(2000, 3, 1));
  CheckPair("KvTime", KvTime(1, 59, 59), KvTime(2, 0, 0));
  CheckPair("KvDateTime", KvDateTime(KvDate(1, 1, 1), KvTime(0, 0, 1)),
            KvDateTime(KvDate(1, 1, 2), KvTime(0, 0, 0)));
  CheckPair("d_Date", d_Date(1999, 12, 31), d_Date(2000, 1, 1));
  CheckPair("d_Time", d_Time(1, 59, 59.0f, 0, 0), d_Time(2, 0, 0.0f, 0, 0));
  CheckPair("d_Timestamp", d_Timestamp(1999, 12, 31, 23), d_Timestamp(2000, 1, 1));
  CheckPair("KvInt64", KvInt64(-1), KvInt64(0));
  CheckPair("KvNullable", KvNullable<int>(), KvNullable<int>(-5));
  CheckPair("KvNullable", KvNullable<int>(), KvNullable<int>(0));
  KvNullable<int> hidden(7);
  hidden.null = 5;
  CheckOperators(hidden, KvNullable<int>(), 0);
  CheckOperators(KvNullable<int>(), hidden, 0);
  CheckPair("KvBoolean", KvBoolean(0), KvBoolean(1));
  CheckPair("KvSeal", Seal(1), Seal(2));
  CheckPair("KvObjId", KvObjId{1, 2, 3}, KvObjId{2, 2, 3});
  CheckPair("KvClassId", KvClassId{1, 2}, KvClassId{2, 1});
  CheckPair("KvRef", KvRef(0, 1, 0, 1, 1, 0), KvRef(0, 2, 0, 1, 1, 0));
  CheckPair("KvLocalRef", LocalRef(1), LocalRef(2));
  CheckPair("KvBlob", KvBlob("a", 1), KvBlob("b", 1));
  CheckPair("KvIString", KvIString("a"), KvIString("b"));
  CheckPair("KvCaseIString", KvCaseIString("A"), KvCaseIString("b"));
  CheckPair("KvString", KvString("a"), KvString("b"));
  CheckPair("KvChar", KvChar('a'), KvChar('b'));
  CheckOperators(LocalRef(1), KvRef(LocalRef(1)), 0);
  CheckOperators(LocalRef(1), KvRef(LocalRef(2)), 1);
}

TEST_CASE("a moment and an interval add up from either side") {
  CheckSums(d_Date(1999, 12, 30), d_Date(2000, 1, 1), d_Interval(2));
  CheckSums(d_Time(1, 0, 0.0f, 0, 0), d_Time(3, 30, 0.0f, 0, 0), d_Interval(0, 2, 30));
  CheckSums(d_Timestamp(1999, 12, 31, 23), d_Timestamp(2000, 1, 1, 1), d_Interval(0, 2));
}
