// Stored bytes from strangers: walked by their length fields, against the bytes that are there,
// before anybody follows one of them.
#include <algorithm>
#include <array>
#include <climits>
#include <cstdint>
#include <cstring>

#include "kvbase/three_way.h"
#include "kvchecked.h"
#include "kvcollate.h"
#include "kvdate/parts.h"
#include "kvdate/real.h"
#include "kvtypes/catalogue.h"
#include "kvtypevl/rows/string_runs.h"

namespace {

using kv::Format;
using kv::StringBlock;

// Runs are measured in 32 bits wherever a type's own functions measure them.
constexpr std::uint64_t kLongestRun = UINT_MAX;
constexpr unsigned char kBlockMark = 0xFF;  // ends every block of the present string form
constexpr unsigned kBlobLength = 4;
constexpr o_u4b kNullBlob = 0xFFFFFFFF;

// The bytes that a walk may look at.
struct Bytes {
  const unsigned char* begin;
  std::size_t size;
  Format format;

  std::size_t Behind(std::size_t position) const { return size - position; }
};

void Fail(KvMeasured& run, int status, std::size_t offset, const char* reason) {
  run.status = status;
  run.offset = offset;
  run.reason = reason;
}

// False when the bytes end before the `width` bytes at `position` do.
bool Holds(KvMeasured& run, const Bytes& bytes, std::size_t position, std::size_t width,
           const char* what) {
  if (width <= bytes.Behind(position)) return true;
  run.needed = width;
  Fail(run, kvBufferShort, position, what);
  return false;
}

// --- Values of one width ---

void MeasureFixed(KvMeasured& run, const Bytes& bytes, std::size_t width, unsigned count) {
  const bool all = count == 0;
  const std::size_t wanted = all ? bytes.size / width : count;
  const std::size_t whole = std::min(wanted, bytes.size / width);
  if (std::uint64_t{whole} * width > kLongestRun) {
    return Fail(run, kvOutOfRange, 0, "a run of 4 GiB and more");
  }
  run.count = static_cast<unsigned>(whole);
  run.bytes = whole * width;
  if (whole == wanted && whole != 0 && (!all || run.bytes == bytes.size)) return;
  Holds(run, bytes, run.bytes, width, "a value");
}

// --- Strings, drawn in kvstorage.h ---

// The old form, one block for the whole run: `body` bytes of texts, each ended by a zero byte.
void MeasureOldBlock(KvMeasured& run, const Bytes& bytes, unsigned body, unsigned count) {
  const unsigned char* texts = bytes.begin + StringBlock::kLengthField;
  const auto held = static_cast<unsigned>(std::count(texts, texts + body, 0));
  if (count != 0 && held != count) {
    return Fail(run, kvDamaged, StringBlock::kLengthField + body - 1,
                held < count ? "a block in the old form with fewer texts than values"
                             : "a block that does not end in its mark");
  }
  run.count = held;
  run.bytes = StringBlock::kLengthField + body;
  run.oldForm = true;
}

// Passes the leading blocks in which nothing is wrong, at most `count` and not beyond 4 GiB. Where
// a block begins follows from the length of the one before, so that a walk is as fast as it gets
// from a length to the next: the place is a pointer of its own, and one addition moves it on.
template <bool reversed, bool wideAllowed>
void PassSoundBlocks(KvMeasured& run, const Bytes& bytes, unsigned count) {
  constexpr std::ptrdiff_t kField = StringBlock::kLengthField;
  constexpr std::ptrdiff_t kLeast = StringBlock::kHeader;
  const unsigned char* const begin = bytes.begin;
  const unsigned char* const end = begin + std::min<std::uint64_t>(bytes.size, kLongestRun);
  const unsigned char* block = begin;
  unsigned passed = 0;
  for (; passed < count && end - block >= kField + kLeast; ++passed) {
    const auto body = static_cast<std::ptrdiff_t>(StringBlock::ReadLength(block, reversed));
    if (body < kLeast || body > end - block - kField || block[body + 1] != kBlockMark) break;
    // Half a unit at the end is no damage: a 16-bit text may sit in a buffer that once held bytes.
    if (!wideAllowed && KvIsWideCodeSet(block[2])) break;
    block += kField + body;
  }
  run.count = passed;
  run.bytes = static_cast<std::size_t>(block - begin);
}

void PassSoundBlocks(KvMeasured& run, const Bytes& bytes, unsigned count, bool wideAllowed) {
  const unsigned most = count != 0 ? count : UINT_MAX;
  if (bytes.format.IsReversed()) {
    wideAllowed ? PassSoundBlocks<true, true>(run, bytes, most)
                : PassSoundBlocks<true, false>(run, bytes, most);
  } else {
    wideAllowed ? PassSoundBlocks<false, true>(run, bytes, most)
                : PassSoundBlocks<false, false>(run, bytes, most);
  }
}

// What stops short of the end is either one block of the old form or a block with something wrong.
void MeasureStrings(KvMeasured& run, const Bytes& bytes, unsigned count, bool wideAllowed) {
  PassSoundBlocks(run, bytes, count, wideAllowed);
  if (run.count != 0 && (count != 0 ? run.count == count : run.bytes == bytes.size)) return;
  const std::size_t at = run.bytes;
  if (!Holds(run, bytes, at, StringBlock::kLengthField, "a block length")) return;
  const unsigned body = StringBlock::ReadLength(bytes.begin + at, bytes.format.IsReversed());
  const std::size_t text = at + StringBlock::kLengthField;
  if (!Holds(run, bytes, text, body, "a block")) return;
  const std::size_t last = text + body - 1;
  if (at == 0 && body != 0 && bytes.begin[last] == 0) {
    return MeasureOldBlock(run, bytes, body, count);
  }
  if (last >= kLongestRun) return Fail(run, kvOutOfRange, at, "a run of 4 GiB and more");
  if (body < StringBlock::kHeader) return Fail(run, kvDamaged, at, "a block of less than 4 bytes");
  if (bytes.begin[last] != kBlockMark) {
    return Fail(run, kvDamaged, last, "a block that does not end in its mark");
  }
  return Fail(run, kvDamaged, at + 2, "16-bit characters where there can be none");
}

// --- Blobs: one total for the run, then for each blob its length and bytes ---

o_u4b ReadBlobLength(const Bytes& bytes, std::size_t position) {
  o_u4b length;
  kv::CopyNumber<kBlobLength>(reinterpret_cast<unsigned char*>(&length), bytes.begin + position,
                              bytes.format.IsReversed());
  return length;
}

void MeasureBlob(KvMeasured& run, const Bytes& bytes, std::size_t& position) {
  if (bytes.Behind(position) < kBlobLength) {
    return Fail(run, kvDamaged, position, "a run of blobs that ends before its last");
  }
  const o_u4b length = ReadBlobLength(bytes, position);
  if (length > INT_MAX && length != kNullBlob) {
    return Fail(run, kvDamaged, position, "a length that no blob has");
  }
  const std::size_t taken = length == kNullBlob ? 0 : length;
  if (taken > bytes.Behind(position) - kBlobLength) {
    return Fail(run, kvDamaged, position, "a blob past the end of its run");
  }
  position += kBlobLength + taken;
  ++run.count;
}

void MeasureBlobs(KvMeasured& run, const Bytes& bytes, unsigned count) {
  if (!Holds(run, bytes, 0, kBlobLength, "the length of a run")) return;
  const o_u4b total = ReadBlobLength(bytes, 0);
  if (std::uint64_t{total} + kBlobLength > kLongestRun) {
    return Fail(run, kvOutOfRange, 0, "a run of 4 GiB and more");
  }
  if (!Holds(run, bytes, kBlobLength, total, "a run of blobs")) return;
  const Bytes inRun{bytes.begin, kBlobLength + std::size_t{total}, bytes.format};
  std::size_t position = kBlobLength;
  do {
    MeasureBlob(run, inRun, position);
    if (run.status != kvOk) return;
  } while (count == 0 ? position < inRun.size : run.count < count);
  run.bytes = inRun.size;
}

// --- Any type ---

bool IsText(char id) {
  return id == KvSTRING_T || id == KvISTRING_T || id == KvCASEISTRING_T;
}

KvMeasured Measure(const KvTypeMgr& types, char id, const void* stored, std::size_t length,
                   unsigned char format, unsigned count) {
  KvMeasured run;
  run.status = KvCheckType(types, id);
  if (run.status != kvOk) {
    run.reason = KvStatusText(run.status);
  } else if (Format{format}.HasMemoryBit() || (stored == nullptr && length != 0)) {
    Fail(run, kvBadArgument, 0, "bytes that are not stored ones");
  } else {
    const Bytes bytes{static_cast<const unsigned char*>(stored), length, Format{format}};
    if (IsText(id)) {
      MeasureStrings(run, bytes, count, id == KvSTRING_T);
    } else if (id == KvBLOB_T) {
      MeasureBlobs(run, bytes, count);
    } else {
      MeasureFixed(run, bytes, types.DiskLenGet(id, nullptr, format, 1, 0), count);
    }
  }
  if (run.status == kvOk && count == 0 && run.bytes < length) {
    Fail(run, kvDamaged, run.bytes, "bytes after the last value");
  }
  return run;
}

// --- Dates that there are not ---

template <class T>
bool IsStrange(const T& value) {
  if constexpr (requires { value.IsNullValue(); }) {
    if (value.IsNullValue()) return false;
  }
  return !kv::IsReal(value);
}

template <class T>
void CountStrange(KvMeasured& run, const KvTypeMgr& types, char id, const void* stored,
                  unsigned char format) {
  const auto* at = static_cast<const unsigned char*>(stored);
  const std::size_t width = run.bytes / run.count;
  T value = kv::ZeroOf<T>();
  for (unsigned i = 0; i < run.count; ++i) {
    types.Load(id, &value, at + i * width, format, 1);
    if (IsStrange(value) && run.strange++ == 0) run.firstStrange = i * width;
  }
}

void TellStrange(KvMeasured& run, const KvTypeMgr& types, char id, const void* stored,
                 unsigned char format) {
  switch (id) {
    case KvDATE_T:
      return CountStrange<KvDate>(run, types, id, stored, format);
    case KvTIME_T:
      return CountStrange<KvTime>(run, types, id, stored, format);
    case KvDATIME_T:
      return CountStrange<KvDateTime>(run, types, id, stored, format);
    case KvDATIME_N_T:
      return CountStrange<KvDateTimeN>(run, types, id, stored, format);
    case D_DATE_T:
      return CountStrange<d_Date>(run, types, id, stored, format);
    case D_TIME_T:
      return CountStrange<d_Time>(run, types, id, stored, format);
    case D_TIMESTAMP_T:
      return CountStrange<d_Timestamp>(run, types, id, stored, format);
    default:
      return;
  }
}

// --- Loading ---

// The stored widths of the current catalogue's rows, 0 where they vary. Read from the rows when the
// library is loaded; an initialiser that runs before it sees zeros and is answered by a walk.
const std::array<unsigned char, kv::kRowCount> storedWidths = [] {
  std::array<unsigned char, kv::kRowCount> widths{};
  for (std::size_t row = 0; row < kv::kIllegalRow; ++row) {
    const KvTypeDescriptor& slots = *kv::currentCatalogue[row];
    const bool isFixed = slots.sizeWord >> 16 != 0;
    if (isFixed) widths[row] = static_cast<unsigned char>(slots.nullSize(1));
  }
  return widths;
}();

// Whether a run is sound by arithmetic alone, and its arguments are. That takes a nanosecond, where
// loading a thousand numbers takes thirty.
[[gnu::always_inline]] inline bool IsFixedRun(const KvTypeMgr& types, char id, const void* values,
                                              const void* stored, std::size_t length,
                                              unsigned char format, unsigned count) {
  const auto row = static_cast<unsigned char>(id);
  if (row >= kv::kIllegalRow || types.FormatVersion() < 4) return false;
  const std::uint64_t bytes = std::uint64_t{storedWidths[row]} * count;
  if (bytes == 0 || bytes > length || bytes > kLongestRun) return false;
  return !Format{format}.HasMemoryBit() && stored != nullptr && values != nullptr;
}

[[gnu::noinline]] KvMeasured LoadMeasured(const KvTypeMgr& types, char id, void* values,
                                          const void* stored, std::size_t length,
                                          unsigned char format, unsigned count) {
  KvMeasured run;
  if (count == 0) {
    run.status = KvCheckType(types, id);
    return run;
  }
  run = Measure(types, id, stored, length, format, count);
  if (run.status != kvOk) return run;
  if (values == nullptr) {
    Fail(run, kvBadArgument, 0, "no values to load over");
  } else if (types.Load(id, values, stored, format, count) == 0) {
    Fail(run, kvNoMemory, 0, KvStatusText(kvNoMemory));
  }
  return run;
}

// --- A total order of stored values ---

int OrderBytes(const void* bytes1, std::size_t length1, const void* bytes2, std::size_t length2) {
  const std::size_t shared = std::min(length1, length2);
  const int order = shared == 0 ? 0 : std::memcmp(bytes1, bytes2, shared);
  return order != 0 ? kv::ThreeWay(order, 0) : kv::ThreeWay(length1, length2);
}

// How a stored value is ordered: by its row, or by its bytes alone.
enum class Standing { kByRow, kBytesText, kDefaultsText, kUnsound };

// Plain bytes among other texts, and what means the process's defaults, have no place in one order
// with the rest: "a" in plain bytes is equal to "a" and before "B", which is before "a" in letters.
Standing StandingOf(const KvTypeMgr& types, char id, const void* stored, std::size_t length,
                    unsigned char format) {
  const KvMeasured value = Measure(types, id, stored, length, format, 1);
  if (value.status != kvOk || value.bytes != length) return Standing::kUnsound;
  if (id != KvSTRING_T || value.oldForm) return Standing::kByRow;
  const auto* block = static_cast<const unsigned char*>(stored);
  const unsigned char codeSet = block[2];
  const unsigned char language = block[3];
  if (language == 255 || codeSet == 255) return Standing::kDefaultsText;
  return codeSet == kvCodeSetBytes && language != 254 ? Standing::kBytesText : Standing::kByRow;
}

}  // namespace

KvMeasured KvMeasureStored(const KvTypeMgr& types, char id, const void* stored, std::size_t length,
                           unsigned char format, unsigned count) {
  KvMeasured run = Measure(types, id, stored, length, format, count);
  if (run.count != 0) TellStrange(run, types, id, stored, format);
  return run;
}

KvMeasured KvLoadChecked(const KvTypeMgr& types, char id, void* values, const void* stored,
                         std::size_t length, unsigned char format, unsigned count) {
  if (!IsFixedRun(types, id, values, stored, length, format, count)) {
    return LoadMeasured(types, id, values, stored, length, format, count);
  }
  KvMeasured run;
  run.count = count;
  // As many as were measured: a row of one width reads no other number.
  run.bytes =
      kv::currentCatalogue[static_cast<unsigned char>(id)]->load(values, stored, format, count);
  return run;
}

int KvOrderStored(const KvTypeMgr& types, char id, const void* stored1, std::size_t length1,
                  const void* stored2, std::size_t length2, unsigned char format) {
  const Standing standing1 = StandingOf(types, id, stored1, length1, format);
  const Standing standing2 = StandingOf(types, id, stored2, length2, format);
  if (standing1 != standing2) return kv::ThreeWay(standing1, standing2);
  if (standing1 == Standing::kByRow) {
    int status = kvOk;
    const int order =
        types.Cmp(id, static_cast<unsigned>(length1), stored1, static_cast<unsigned>(length2),
                  stored2, kvCompareExact, 1, format, status);
    if (order != 0) return kv::ThreeWay(order, 0);
  }
  return OrderBytes(stored1, length1, stored2, length2);
}
