// Faults that are all compiled into one build and switched on one at a time when it runs. The build
// includes this file before everything else; tools/together.py writes the calls of it into a copy
// of the sources. A fault has a number from 1; KV_MUTANT=17 in the environment switches on
// fault 17.
//
// A binary sign is doubled around a `Sign`: `a < b` becomes `a < Sign{17} < b`. Precedence and
// grouping stay what they were, so nobody has to find where the operands begin and end. One trap:
// the index in `(c ? a : b)[i & 7]` is a temporary here, and g++ 12 computes it for the first array
// only. Tests that this breaks are told as not used; the choice is better made before.
#pragma once

#ifdef __cplusplus

// Which fault is on, and a byte for each that is set when control comes by. In mutants.cpp.
extern "C" unsigned kv_mutant;
extern "C" volatile unsigned char* kv_mutant_reached;

namespace kvmutant {
// Constants are always as without the fault: what needs one cannot ask the environment.
[[gnu::always_inline]] constexpr bool On(unsigned fault) {
  return !__builtin_is_constant_evaluated() && fault != 0 &&
         (kv_mutant_reached[fault] = 1, kv_mutant == fault);
}

struct Sign {
  unsigned fault;
};

template <class... T>
struct Void {
  using Type = void;
};

template <class T>
constexpr T&& Make() noexcept;

// `sign` becomes `other`. Where the operands have no `other` there is no such fault.
#define KV_MUTANT_SIGN(Name, sign, other)                                                          \
  template <class L>                                                                               \
  struct Name##Left {                                                                              \
    L&& left;                                                                                      \
    unsigned fault;                                                                                \
  };                                                                                               \
  template <class L, class R, class = void>                                                        \
  struct Name##Other {                                                                             \
    static constexpr bool is = false;                                                              \
  };                                                                                               \
  template <class L, class R>                                                                      \
  struct Name##Other<L, R,                                                                         \
                     typename Void<decltype(static_cast<decltype(Make<L>() sign Make<R>())>(       \
                         Make<L>() other Make<R>()))>::Type> {                                     \
    static constexpr bool is = true;                                                               \
  };                                                                                               \
  template <class L>                                                                               \
  [[gnu::always_inline]] constexpr Name##Left<L> operator sign(L&& left, Sign mark) {              \
    return {static_cast<L&&>(left), mark.fault};                                                   \
  }                                                                                                \
  template <class L, class R>                                                                      \
  [[gnu::always_inline]] constexpr auto operator sign(Name##Left<L> l, R&& right)                  \
      ->decltype(Make<L>() sign Make<R>()) {                                                       \
    if constexpr (Name##Other<L, R>::is)                                                           \
      if (On(l.fault))                                                                             \
        return static_cast<decltype(Make<L>() sign Make<R>())>(static_cast<L&&>(l.left)            \
                                                                   other static_cast<R&&>(right)); \
    return static_cast<L&&>(l.left) sign static_cast<R&&>(right);                                  \
  }

KV_MUTANT_SIGN(Less, <, <=)
KV_MUTANT_SIGN(LessEqual, <=, <)
KV_MUTANT_SIGN(Greater, >, >=)
KV_MUTANT_SIGN(GreaterEqual, >=, >)
KV_MUTANT_SIGN(Equal, ==, !=)
KV_MUTANT_SIGN(Unequal, !=, ==)
KV_MUTANT_SIGN(Plus, +, -)
KV_MUTANT_SIGN(Minus, -, +)
KV_MUTANT_SIGN(Times, *, /)
KV_MUTANT_SIGN(Over, /, *)
KV_MUTANT_SIGN(Modulo, %, /)
KV_MUTANT_SIGN(And, &, |)
KV_MUTANT_SIGN(Or, |, &)
KV_MUTANT_SIGN(ExclusiveOr, ^, &)
KV_MUTANT_SIGN(ShiftLeft, <<, >>)
KV_MUTANT_SIGN(ShiftRight, >>, <<)
#undef KV_MUTANT_SIGN

// An assignment groups from the right: `a += Sign{17} += b` is `a += (Sign{17} += b)`.
#define KV_MUTANT_ASSIGN(Name, sign, other)                                             \
  template <class R>                                                                    \
  struct Name##Right {                                                                  \
    R&& right;                                                                          \
    unsigned fault;                                                                     \
  };                                                                                    \
  template <class L, class R, class = void>                                             \
  struct Name##Other {                                                                  \
    static constexpr bool is = false;                                                   \
  };                                                                                    \
  template <class L, class R>                                                           \
  struct Name##Other<L, R, typename Void<decltype(Make<L&>() other Make<R>())>::Type> { \
    static constexpr bool is = true;                                                    \
  };                                                                                    \
  template <class R>                                                                    \
  [[gnu::always_inline]] constexpr Name##Right<R> operator sign(Sign mark, R&& right) { \
    return {static_cast<R&&>(right), mark.fault};                                       \
  }                                                                                     \
  template <class L, class R>                                                           \
  [[gnu::always_inline]] constexpr L& operator sign(L& left, Name##Right<R> r) {        \
    if constexpr (Name##Other<L, R>::is)                                                \
      if (On(r.fault)) {                                                                \
        left other static_cast<R&&>(r.right);                                           \
        return left;                                                                    \
      }                                                                                 \
    left sign static_cast<R&&>(r.right);                                                \
    return left;                                                                        \
  }

KV_MUTANT_ASSIGN(Add, +=, -=)
KV_MUTANT_ASSIGN(Subtract, -=, +=)
KV_MUTANT_ASSIGN(Intersect, &=, |=)
KV_MUTANT_ASSIGN(Unite, |=, &=)
#undef KV_MUTANT_ASSIGN

// ++ and --, before and after their operand.
#define KV_MUTANT_STEP(Name, sign, other)                                                   \
  template <class T, class = void>                                                          \
  struct Name##Other {                                                                      \
    static constexpr bool is = false;                                                       \
  };                                                                                        \
  template <class T>                                                                        \
  struct Name##Other<T, typename Void<decltype(other Make<T&>())>::Type> {                  \
    static constexpr bool is = true;                                                        \
  };                                                                                        \
  template <class T>                                                                        \
  [[gnu::always_inline]] constexpr decltype(auto) Name##Before(unsigned fault, T&& value) { \
    if constexpr (Name##Other<T>::is)                                                       \
      if (On(fault)) return other value;                                                    \
    return sign value;                                                                      \
  }                                                                                         \
  template <class T>                                                                        \
  [[gnu::always_inline]] constexpr auto Name##After(unsigned fault, T&& value) {            \
    if constexpr (Name##Other<T>::is)                                                       \
      if (On(fault)) return value other;                                                    \
    return value sign;                                                                      \
  }

KV_MUTANT_STEP(Up, ++, --)
KV_MUTANT_STEP(Down, --, ++)
#undef KV_MUTANT_STEP

// A whole number, one more by a fault, one less by another; 0 for no such fault.
template <class T>
[[gnu::always_inline]] constexpr T Number(unsigned more, unsigned less, T value) {
  if (On(more)) return static_cast<T>(value + 1);
  if (On(less)) return static_cast<T>(value - 1);
  return value;
}
}  // namespace kvmutant

#endif
