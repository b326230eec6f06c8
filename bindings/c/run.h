// What every function of kvc needs: the type manager, what is known of each type, and the check of
// a run that a stranger describes.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>

#include "failure.h"
#include "kv.h"
#include "kvc.h"

namespace kvc {

inline constexpr int kTypeCount = KvRES_T + 1;

// What the border asks about a type, looked up once: a call costs little more than the call of the
// type manager behind it.
struct TypeFacts {
  std::uint32_t storedWidth;  // 0: varies
  std::uint32_t memoryWidth;  // 0: the memory form is a C++ object with storage of its own
  std::uint32_t memoryAlignment;
  bool hasValues;
  // By form, so that one look tells whether type and form are such that arithmetic is all the check
  // there is: the width, 0 where that varies or the form is none; and the bits of an address that
  // have to be zero.
  std::uint8_t widths[KVC_MEMORY + 1];
  std::uint8_t unaligned[KVC_MEMORY + 1];
};

extern const KvTypeMgr kTypes;
extern TypeFacts kFacts[kTypeCount];

inline int CheckType(std::int32_t type) {
  if (static_cast<std::uint32_t>(type) < kTypeCount && kFacts[type].hasValues) return kvOk;
  return type < -128 || type > 127 ? kvNoSuchType : KvCheckType(kTypes, static_cast<char>(type));
}

inline bool IsForm(std::uint32_t form) {
  return form <= KVC_REVERSED || form == KVC_MEMORY;
}

inline bool IsAligned(const void* pointer, std::uint32_t alignment) {
  return reinterpret_cast<std::uintptr_t>(pointer) % alignment == 0;
}

// A run as the caller describes it. Nothing of it is believed before Check.
struct Run {
  std::int32_t type;
  std::uint32_t form;
  const void* values;
  std::size_t length;
  std::uint32_t count;

  char Id() const { return static_cast<char>(type); }
  unsigned char Format() const { return static_cast<unsigned char>(form); }
  const TypeFacts& Facts() const { return kFacts[type]; }

  // Whether the run is sound, and that was told at a glance: values of one width, or one string of
  // the present form. Of any other run, sound or not, Check tells.
  bool IsPlain() const { return IsPlainFixed() || PlainStringSize() != 0; }
  bool IsPlainFixed() const;
  std::size_t PlainStringSize() const;

  // kvOk when all values lie within the length and may be given to the type manager; `bytes` is
  // then what they take.
  int Check(std::size_t& bytes) const;
  int Check() const {
    std::size_t bytes = 0;
    return Check(bytes);
  }

 private:
  int CheckVarying(std::size_t& bytes) const;
};

inline bool Run::IsPlainFixed() const {
  if (static_cast<std::uint32_t>(type) >= kTypeCount || form > KVC_MEMORY) return false;
  const TypeFacts& facts = kFacts[type];
  const std::uint64_t size = std::uint64_t{facts.widths[form]} * count;
  if (size == 0 || size > length || values == nullptr) return false;
  return (reinterpret_cast<std::uintptr_t>(values) & facts.unaligned[form]) == 0;
}

// The same of two runs of one type, form and count.
inline bool ArePlain(const Run& run1, const Run& run2) {
  if (run1.type == KvSTRING_T) return run1.PlainStringSize() != 0 && run2.PlainStringSize() != 0;
  const Run shorter{run1.type, run1.form, run1.values, std::min(run1.length, run2.length),
                    run1.count};
  if (!shorter.IsPlainFixed() || run2.values == nullptr) return false;
  const auto address2 = reinterpret_cast<std::uintptr_t>(run2.values);
  return (address2 & kFacts[run2.type].unaligned[run2.form]) == 0;
}

// The size of one string, 0 where it takes more than a look: a block as kvstorage.h draws it, with
// the length of the rest, code set and language, the text with its zero, the mark.
inline std::size_t Run::PlainStringSize() const {
  constexpr std::size_t kField = 2;
  constexpr std::size_t kLeastBody = 4;
  constexpr unsigned char kMark = 0xFF;
  if (type != KvSTRING_T || form > KVC_REVERSED || count != 1 || values == nullptr) return 0;
  if (length < kField + kLeastBody) return 0;
  const auto* const block = static_cast<const unsigned char*>(values);
  const bool highFirst = form == KVC_REVERSED;
  const std::size_t body =
      static_cast<std::size_t>(block[highFirst ? 0 : 1]) << 8 | block[highFirst ? 1 : 0];
  if (body < kLeastBody || body > length - kField || block[body + 1] != kMark) return 0;
  return kField + body;
}

inline int Run::Check(std::size_t& bytes) const {
  if (const int status = CheckType(type); status != kvOk) return status;
  if (!IsForm(form)) return kvBadArgument;
  const bool inMemory = form == KVC_MEMORY;
  const std::uint32_t width = inMemory ? Facts().memoryWidth : Facts().storedWidth;
  if (width == 0) {
    if (inMemory) return kvNotSupported;
    bytes = PlainStringSize();
    return bytes != 0 ? kvOk : CheckVarying(bytes);
  }
  const std::uint64_t size = std::uint64_t{width} * count;
  if (size > length) return kvBufferShort;
  if (size != 0 && values == nullptr) return kvBadArgument;
  if (inMemory && !IsAligned(values, Facts().memoryAlignment)) return kvBadArgument;
  bytes = static_cast<std::size_t>(size);
  return kvOk;
}

// A buffer that the caller gives for a result.
struct Output {
  void* buffer;
  std::size_t capacity;
  std::size_t* needed;

  // For the beginning of a call: no size is known.
  void Clear() const {
    if (needed != nullptr) *needed = 0;
  }
  // Tells the size; kvOk when the buffer has room for it.
  int Take(std::size_t size) const {
    if (needed != nullptr) *needed = size;
    if (size > capacity) return kvBufferShort;
    return size != 0 && buffer == nullptr ? kvBadArgument : kvOk;
  }
  int Write(const void* bytes, std::size_t size) const {
    const int status = Take(size);
    if (status == kvOk && size != 0) std::memcpy(buffer, bytes, size);
    return status;
  }
  // With a zero behind it, which the size does not count.
  int WriteText(const char* text, std::size_t length) const {
    const int status = Take(length);
    if (status != kvOk) return status;
    if (length == capacity || buffer == nullptr) {
      return buffer == nullptr && length < capacity ? kvBadArgument : kvBufferShort;
    }
    std::memcpy(buffer, text, length);
    static_cast<char*>(buffer)[length] = '\0';
    return kvOk;
  }
};

// Values in memory form. Those without storage of their own lie here when they are few; others are
// made and freed by the type manager.
class Values {
 public:
  Values(char id, unsigned count);
  ~Values() {
    if (data_ != here_) kTypes.Delete(id_, data_, count_);
  }
  Values(const Values&) = delete;
  Values& operator=(const Values&) = delete;

  void* Data() const { return data_; }
  // From a run that has been checked.
  int Load(const Run& run) const;
  // To any form.
  int Write(std::uint32_t form, const Output& out) const;

 private:
  char id_;
  unsigned count_;
  void* data_;
  alignas(16) unsigned char here_[32];
};

// Values in any form to any other; the run has been checked and takes `bytes`.
int Translate(const Run& run, std::size_t bytes, std::uint32_t to, const Output& out);

// Calls what may throw; no exception crosses the border.
template <typename Call>
int Guarded(Call call) noexcept {
  try {
    return call();
  } catch (const std::bad_alloc&) {
    return kvNoMemory;
  } catch (const Failure&) {
    return kvBadArgument;
  } catch (...) {
    return kvNoMemory;
  }
}

// A structure of the caller: null, or with a size that no version had, is refused.
template <typename Structure>
bool IsStructure(const Structure* structure) {
  return structure != nullptr && structure->size >= sizeof(Structure);
}

}  // namespace kvc
