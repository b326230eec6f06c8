// The rows of KvIString and KvCaseIString, from one template: stored form, order, bounds and text.
//
// They are stored in the new form of KvString (kvstorage.h) with the default 8-bit code set and the
// default language; flags are not stored. Both stored forms are read, whoever wrote them.
#include <algorithm>
#include <array>
#include <cstring>

#include "kvcompare.h"
#include "kvistring.h"
#include "kvstorage.h"
#include "kvstring/istring_weights.h"
#include "kvstring/narrow_text.h"
#include "kvstring/string_edit.h"
#include "kvtext/format_pieces.h"
#include "kvtypevl/operations/row_handlers.h"
#include "kvtypevl/rows/istring_keys.h"
#include "kvtypevl/rows/string_runs.h"
#include "kvtypevl/rows/string_storage.h"
#include "kvtypevl/rows/strings.h"

namespace kv {
namespace {

// --- Texts in either form ---

// Yields the texts of a run, one after the other.
template <class Weights>
class WeightedRun {
 public:
  using Value = KvWeightedString<Weights>;

  WeightedRun(unsigned char format, unsigned length, const void* values, unsigned count)
      : memory_(Format{format}.IsMemory() ? static_cast<const Value*>(values) : nullptr),
        stored_(memory_ != nullptr ? nullptr : values, length, Format{format}, count) {}

  // 0; kvBufferShort when the buffer ends before the next stored text, kvNotSupported when its
  // length cannot be right. Values in memory are there.
  int Next(WeightedText& text) {
    if (memory_ == nullptr) return NextStored(text);
    text = TextOf(memory_->StrGet(), std::strlen(memory_->StrGet()), memory_->GetFlags());
    ++memory_;
    return kvOk;
  }

 private:
  static WeightedText TextOf(const void* bytes, std::size_t length, unsigned char flags) {
    return {length == 0 ? nullptr : static_cast<const unsigned char*>(bytes), length, flags};
  }

  int NextStored(WeightedText& text) {
    Text stored;
    const int status = stored_.Next(stored);
    if (status != kvOk) return status;
    if (KvIsWideCodeSet(stored.codeSet)) {
      const char* bytes = Narrow(stored);
      text = TextOf(bytes, std::strlen(bytes), 0);
    } else {
      text = TextOf(stored.units, TextLength(stored.units, false, stored.length), 0);
    }
    return kvOk;
  }

  // Nothing here writes 16-bit texts; a KvString's are read all the same.
  const char* Narrow(const Text& stored) {
    KvString wide;
    StringAccess::Assign(wide, stored.codeSet, stored.language, stored.units, stored.codeSet,
                         stored.length, stored.byteOrder);
    narrow_ = NarrowText(wide).Get();
    return narrow_.StrGet();
  }

  const Value* memory_;
  StoredStringRun stored_;
  KvString narrow_;
};

// --- Bounds ---

// What characters a weight may stand for, as bits. Without case a letter's weight is both.
enum WeightKind : unsigned char { kDigit = 1, kSmall = 2, kCapital = 4, kRest = 8, kAll = 15 };

template <class Weights>
constexpr std::array<unsigned char, 256> kKinds = [] {
  std::array<unsigned char, 256> kinds{};
  const auto add = [&kinds](unsigned first, unsigned last, WeightKind kind) {
    for (unsigned byte = first; byte <= last; ++byte) {
      kinds[WeightsOf<Weights>::kTable[byte].first] |= kind;
    }
  };
  add('0', '9', kDigit);
  add('a', 'z', kSmall);
  add('A', 'Z', kCapital);
  for (unsigned char& kind : kinds) {
    if (kind == 0) kind = kRest;
  }
  return kinds;
}();

// Where a text stands between two others, as a number. What both begin with is passed over; behind
// it the weights are digits, and the base is the number of weights of the kinds that occur there:
// 26 between "aaa" and "zzz", 10 between "100" and "999". Any other weight ends the number where it
// falls between two digits.
template <class Weights>
class WeightScale {
 public:
  WeightScale(const WeightedText& lower, const WeightedText& upper) : lower_(lower) {
    WeightWalk<Weights> low(lower);
    WeightWalk<Weights> high(upper);
    unsigned lowWeight = low.Next();
    unsigned highWeight = high.Next();
    for (; lowWeight != 0 && lowWeight == highWeight; ++shared_) {
      lowWeight = low.Next();
      highWeight = high.Next();
    }
    const bool isRaw = ((lower.flags | upper.flags) & KvWeightedString<Weights>::kRawBytes) != 0;
    unsigned kinds = isRaw || lowWeight == highWeight ? kAll : 0;
    for (; lowWeight != 0; lowWeight = low.Next()) kinds |= kKinds<Weights>[lowWeight];
    for (; highWeight != 0; highWeight = high.Next()) kinds |= kKinds<Weights>[highWeight];
    for (unsigned weight = 1; weight < 256; ++weight) {
      isDigit_[weight] = (kKinds<Weights>[weight] & kinds) != 0;
      digit_[weight] = base_;
      if (isDigit_[weight]) ++base_;
    }
    while (end_ * base_ < kLongest) {
      end_ *= base_;
      ++length_;
    }
  }

  double Position(const WeightedText& text) const {
    WeightWalk<Weights> walk(text);
    WeightWalk<Weights> begin(lower_);
    for (unsigned i = 0; i < shared_; ++i) {
      const int order = static_cast<int>(walk.Next()) - static_cast<int>(begin.Next());
      if (order != 0) return order < 0 ? -1 : end_;
    }
    double position = 0;
    double unit = end_;
    for (unsigned i = 0; i < length_; ++i) {
      const unsigned weight = walk.Next();
      if (weight == 0) break;
      unit /= base_;
      position += digit_[weight] * unit;
      if (!isDigit_[weight]) break;
    }
    return position;
  }

 private:
  static constexpr double kLongest = 0x1p50;  // a double tells the numbers up to here apart

  WeightedText lower_;
  unsigned shared_ = 0;
  bool isDigit_[256] = {};
  unsigned digit_[256] = {};
  unsigned base_ = 0;
  unsigned length_ = 0;  // digits of a number
  double end_ = 1;       // behind every text with the shared beginning
};

// A text of one, whichever form it is in; false when there is none. A stored run minds its end.
template <class Weights>
bool FirstText(unsigned char format, const unsigned char* values, unsigned length,
               WeightedRun<Weights>& run, WeightedText& text) {
  const bool isCut =
      Format{format}.IsMemory() && length != 0 && length < sizeof(KvWeightedString<Weights>);
  if (values == nullptr || isCut) return false;
  return run.Next(text) == kvOk;
}

template <class Weights>
float WeightedFraction(const KvIdxBounds& bounds, unsigned short predicate, const void* value,
                       unsigned char format) {
  WeightedRun<Weights> lowerRun(format, bounds.lowerLength, bounds.lower, 1);
  WeightedRun<Weights> upperRun(format, bounds.upperLength, bounds.upper, 1);
  WeightedRun<Weights> constantRun(format, 0, value, 1);
  WeightedText lower, upper, constant;
  if (!FirstText(format, bounds.lower, bounds.lowerLength, lowerRun, lower) ||
      !FirstText(format, bounds.upper, bounds.upperLength, upperRun, upper) ||
      constantRun.Next(constant) != kvOk) {
    return 0;
  }
  const WeightScale<Weights> scale(lower, upper);
  const double position = scale.Position(constant);
  const IndexRange range{scale.Position(lower), scale.Position(upper)};
  const double measure = RangeMeasure(predicate, {position, position}, range, 1.0);
  return std::clamp(IntegerFraction(measure, range), 0.0f, 1.0f);
}

// --- Stored form ---

// Bytes of a stored run; 0 for one that begins with a length of 0, which holds nothing.
unsigned StoredTextsSize(const void* stored, unsigned char format, unsigned count) {
  const unsigned first = StringSizeGet(stored, 0, format, 1);
  if (first <= 2) return 0;
  const bool old = static_cast<const unsigned char*>(stored)[first - 1] == 0;
  return old ? first : StringSizeGet(stored, 0, format, count);
}

template <class Weights>
int CompareInMemory(const KvWeightedString<Weights>* values1,
                    const KvWeightedString<Weights>* values2, unsigned length1, unsigned length2,
                    unsigned count, int& status) {
  constexpr unsigned kStride = sizeof(KvWeightedString<Weights>);
  const unsigned visible =
      std::min(VisibleElements(length1, kStride, count), VisibleElements(length2, kStride, count));
  for (unsigned i = 0; i < visible; ++i) {
    const int order = values1[i].Compare(values2[i]);
    if (order != 0) return ThreeWay(order, 0);
  }
  if (visible < count) status = kvBufferShort;
  return 0;
}

// A "%" with nothing behind it makes a format unknown.
bool EndsInPercent(const char* format) {
  FormatPieces pieces(format);
  while (pieces.Next()) {
  }
  return pieces.IsLiteral('%');
}

// The first character of a 16-bit text that the default 8-bit code set does not have; the length of
// the text when there is none.
unsigned FirstWithoutPlace(const KvString& text) {
  const unsigned length = text.Len();
  if (!KvIsWideCodeSet(text.GetCodeSet())) return length;
  const unsigned char plain = KvString::GetDefault8CodeSet();
  for (unsigned i = 0; i < length; ++i) {
    const unsigned short unit = UnitAt(text.StrGet(), true, i);
    unsigned char byte[2] = {};
    unsigned short back[2] = {};
    ConvertUnits(byte, plain, &unit, text.GetCodeSet(), 1);
    ConvertUnits(back, text.GetCodeSet(), byte, plain, 1);
    if (back[0] != unit) return i;
  }
  return length;
}

}  // namespace

template <class Weights>
struct WeightedStringRow {
  struct Codec {
    using Value = KvWeightedString<Weights>;
  };
  using Value = KvWeightedString<Weights>;
  using SortKeys = WeightedKeys<Weights>;

  static unsigned Store(void* destination, const void* source, unsigned char format,
                        unsigned count);
  static unsigned Load(void* destination, const void* source, unsigned char format, unsigned count);
  static constexpr KvNullSizeFunc NullSize = StringNullSize;
  static constexpr KvSizeFunc Size = StringSizeGet;
  static constexpr KvMemFileSizeFunc MemFileSize = StringMemFileSize;
  static int Compare(unsigned char format, unsigned length1, const void* value1, unsigned length2,
                     const void* value2, unsigned short cmpOp, unsigned count, int& status);
  static float Evaluate(KvIdxBounds* bounds, unsigned short& predicate, void* value,
                        unsigned char format, unsigned count, KvIdxBounds* newBounds);
  // Values that compare equal have many texts, so all share one bucket.
  static unsigned Hash(unsigned char, unsigned, void*, unsigned, int& status) {
    status = kvOk;
    return 0;
  }
  // The lowest weight of all is that of byte 1.
  static int Successor(Value& value) {
    const unsigned short length = value.Len();
    value += Value('\x01');
    return value.Len() != length ? kvOk : kvNotSupported;  // memory was short
  }
  static Value Smallest() { return Value(); }
  static Value Default() { return Value(); }

  static KvString& Print(KvString& out, void* values, const char* format, unsigned count);
  static void* Scan(void* values, KvString& text, const char* /*format*/, unsigned /*count*/) {
    if (values != nullptr) FromText(*static_cast<Value*>(values), text);
    return values;
  }
  static KvScanned ScanChecked(void* value, const KvString& text, const char* format);
  static void ToText(KvString& text, const Value& value) { text = value.StrGet(); }
  static void FromText(Value& value, const KvString& text) { value = NarrowText(text).Get(); }
};

template <class Weights>
unsigned WeightedStringRow<Weights>::Store(void* destination, const void* source,
                                           unsigned char format, unsigned count) {
  auto* stored = static_cast<unsigned char*>(destination);
  const auto* values = static_cast<const Value*>(source);
  unsigned total = 0;
  for (unsigned i = 0; i < count; ++i) {
    total += StoreByteText(stored + total, values[i].StrGet(), Format{format});
  }
  return total;
}

template <class Weights>
unsigned WeightedStringRow<Weights>::Load(void* destination, const void* source,
                                          unsigned char format, unsigned count) {
  if (count == 0) return 0;
  const unsigned size = StoredTextsSize(source, format, count);
  if (size == 0) return 0;
  WeightedRun<Weights> run(Format{format}.AsStored().byte, size, source, count);
  auto* values = static_cast<Value*>(destination);
  for (unsigned i = 0; i < count; ++i) {
    WeightedText text{};
    // Values that an old run does not hold become empty.
    if (run.Next(text) != kvOk) text = {};
    Value loaded(reinterpret_cast<const char*>(text.bytes),
                 static_cast<unsigned short>(text.length));
    if (text.length != 0 && loaded.IsEmpty()) return 0;  // memory was short
    values[i] = std::move(loaded);
  }
  return size;
}

template <class Weights>
int WeightedStringRow<Weights>::Compare(unsigned char format, unsigned length1, const void* value1,
                                        unsigned length2, const void* value2,
                                        unsigned short /*cmpOp*/, unsigned count, int& status) {
  status = kvOk;
  if (Format{format}.IsMemory()) {
    return CompareInMemory<Weights>(static_cast<const Value*>(value1),
                                    static_cast<const Value*>(value2), length1, length2, count,
                                    status);
  }
  WeightedRun<Weights> run1(format, length1, value1, count);
  WeightedRun<Weights> run2(format, length2, value2, count);
  for (unsigned i = 0; i < count; ++i) {
    WeightedText text1, text2;
    status = run1.Next(text1);
    if (status == kvOk) status = run2.Next(text2);
    if (status != kvOk) return 0;
    const int order = CompareWeighted<Weights>(text1, text2);
    if (order != 0) return ThreeWay(order, 0);
  }
  return 0;
}

template <class Weights>
float WeightedStringRow<Weights>::Evaluate(KvIdxBounds* bounds, unsigned short& predicate,
                                           void* value, unsigned char format, unsigned count,
                                           KvIdxBounds* newBounds) {
  if (count == 0 || value == nullptr) return 0;
  const float fraction =
      bounds == nullptr ? 0 : WeightedFraction<Weights>(*bounds, predicate, value, format);
  // A bound in memory form shares the constant's text and is good for as long as that lives.
  const bool inMemory = Format{format}.IsMemory();
  const unsigned size = inMemory ? std::min(count, 256u) * static_cast<unsigned>(sizeof(Value))
                                 : StringSizeGet(value, 0, format, count);
  RecordBounds(newBounds, predicate, value, size);
  return fraction;
}

template <class Weights>
KvString& WeightedStringRow<Weights>::Print(KvString& out, void* values, const char* format,
                                            unsigned count) {
  out = static_cast<const Value*>(values)->StrGet();
  if (out.IsEmpty() || format == nullptr || std::strcmp(format, "%s") == 0) return out;
  if (EndsInPercent(format)) return out;
  KvString text(out);
  return PrintString(out, &text, format, count);
}

template <class Weights>
KvScanned WeightedStringRow<Weights>::ScanChecked(void* value, const KvString& text,
                                                  const char* /*format*/) {
  const unsigned length = text.Len();
  if (const unsigned place = FirstWithoutPlace(text); place < length) return {kvOutOfRange, place};
  Value read(NarrowText(text).Get());
  if (std::strlen(read.StrGet()) != length) return {kvNoMemory, 0};
  *static_cast<Value*>(value) = std::move(read);
  return {kvOk, length};
}

template struct RowHandlers<WeightedStringRow<KvIStringWeights>>;
template struct RowHandlers<WeightedStringRow<KvCaseIStringWeights>>;

}  // namespace kv

int KvIStringCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                     void* value2, unsigned short cmpOp, unsigned count, int& status) {
  return kv::WeightedStringRow<KvIStringWeights>::Compare(format, length1, value1, length2, value2,
                                                          cmpOp, count, status);
}

int KvCaseIStringCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                         void* value2, unsigned short cmpOp, unsigned count, int& status) {
  return kv::WeightedStringRow<KvCaseIStringWeights>::Compare(format, length1, value1, length2,
                                                              value2, cmpOp, count, status);
}
