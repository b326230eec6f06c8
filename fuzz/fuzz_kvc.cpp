// Every function of kvc.h with arbitrary numbers over arbitrary buffers. Each buffer is a heap
// block of exactly the length that is told, so the address sanitizer sees a byte too far.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>

#include "kvc.h"
#include "require.h"

namespace {

// Numbers and blocks from the front of the input.
class Source {
 public:
  Source(const std::uint8_t* data, std::size_t size) : at_(data), left_(size) {}

  std::uint32_t Number() {
    std::uint32_t number = 0;
    const std::size_t taken = std::min<std::size_t>(left_, 2);
    std::memcpy(&number, at_, taken);
    at_ += taken;
    left_ -= taken;
    // The small numbers are those with a meaning; now and then an enormous one.
    return number > 0xFF00 ? number * 0x10001u : number & 0xFF;
  }
  struct Block {
    std::unique_ptr<unsigned char[]> bytes;
    std::size_t size;
  };
  Block Rest(std::size_t divisor) {
    const std::size_t size = left_ / divisor;
    Block block{std::make_unique<unsigned char[]>(size), size};
    std::copy_n(at_, size, block.bytes.get());
    at_ += size;
    left_ -= size;
    return block;
  }

 private:
  const std::uint8_t* at_;
  std::size_t left_;
};

struct Room {
  explicit Room(std::size_t capacity)
      : bytes(std::make_unique<unsigned char[]>(capacity)), size(capacity) {}
  // By reference: what the call that gives the status writes counts, whichever is evaluated first.
  void Check(std::int32_t status, const std::size_t& needed) const {
    Require(status != KVC_OK || needed <= size);
    Require(std::strcmp(kvc_status_name(status), "unknown status") != 0);
  }
  std::unique_ptr<unsigned char[]> bytes;
  std::size_t size;
};

void TryValues(std::int32_t type, std::uint32_t form, std::uint32_t number, std::uint32_t count,
               Source::Block& a, const Source::Block& b, const Room& room) {
  kvc_measure measure{};
  measure.size = sizeof measure;
  std::size_t needed = 0;
  const std::int32_t sound = kvc_check(type, form, a.bytes.get(), a.size, count, &measure);
  Require(measure.bytes <= a.size);
  Room typed(room.size);
  room.Check(kvc_translate(type, form, a.bytes.get(), a.size, count, number & 10, typed.bytes.get(),
                           typed.size, &needed),
             needed);
  room.Check(
      kvc_store(type, form, a.bytes.get(), a.size, count, typed.bytes.get(), typed.size, &needed),
      needed);
  room.Check(
      kvc_load(type, form, a.bytes.get(), a.size, count, typed.bytes.get(), typed.size, &needed),
      needed);
  kvc_stored_size(type, form, a.bytes.get(), a.size, count, &needed);
  std::int32_t order = 7;
  const std::int32_t compared =
      kvc_compare(type, number, form, a.bytes.get(), a.size, b.bytes.get(), b.size, count, &order);
  Require(compared == KVC_OK ? order >= -1 && order <= 1 : order == 7);
  std::uint32_t hash = 0;
  const std::int32_t hashed = kvc_hash(type, form, a.bytes.get(), a.size, count, &hash);
  if (sound == KVC_OK && count != 0) Require(hashed == KVC_OK);
  kvc_is_null(type, form, a.bytes.get(), a.size, &order);
  float fraction = 0;
  kvc_bounds(type, form, number & 15, a.bytes.get(), a.size, b.bytes.get(), b.size, b.bytes.get(),
             b.size, &fraction);
  room.Check(kvc_null(type, form, room.bytes.get(), room.size, &needed), needed);
  room.Check(kvc_default(type, form, room.bytes.get(), room.size, &needed), needed);
}

void TryTexts(std::int32_t type, std::uint32_t form, std::uint32_t number, std::uint32_t count,
              const Source::Block& a, const Source::Block& b, const Room& room) {
  char format[32] = {};
  std::memcpy(format, b.bytes.get(), std::min<std::size_t>(b.size, sizeof format - 1));
  kvc_text_options options{sizeof options, number & 1, static_cast<std::int32_t>(number) - 1,
                           static_cast<std::int32_t>(count) - 1, b.size == 0 ? nullptr : format};
  auto* const text = reinterpret_cast<char*>(room.bytes.get());
  std::size_t needed = 0;
  std::size_t position = 0;
  for (const kvc_text_options* each : {static_cast<const kvc_text_options*>(nullptr),
                                       static_cast<const kvc_text_options*>(&options)}) {
    room.Check(kvc_print(type, each, form, a.bytes.get(), a.size, count, text, room.size, &needed),
               needed);
    room.Check(kvc_scan(type, each, reinterpret_cast<const char*>(a.bytes.get()), a.size, form,
                        room.bytes.get(), room.size, &needed, &position),
               needed);
    Require(position <= a.size);
  }
  std::int32_t traits[2] = {};
  kvc_text_traits(form, a.bytes.get(), a.size, &traits[0], &traits[1]);
  room.Check(kvc_blob_get(form, a.bytes.get(), a.size, room.bytes.get(), room.size, &needed),
             needed);
  room.Check(kvc_blob_put(a.bytes.get(), a.size, form, room.bytes.get(), room.size, &needed),
             needed);
}

void TryKeys(std::int32_t type, std::uint32_t form, std::uint32_t number, std::uint32_t count,
             const Source::Block& a, const Room& room) {
  const kvc_key_kind kind{sizeof kind, type, number & 31, 0x10u | (number & 0x3E0), number % 3};
  std::size_t needed = 0;
  std::size_t used = 0;
  kvc_key_bound(&kind, a.size, count);
  room.Check(kvc_key(&kind, form, a.bytes.get(), a.size, room.bytes.get(), room.size, &needed),
             needed);
  const std::uint32_t few = count % 64;
  const auto offsets = std::make_unique<std::size_t[]>(few + 1);
  room.Check(kvc_key_run(&kind, form, a.bytes.get(), a.size, few, room.bytes.get(), room.size,
                         offsets.get(), &needed),
             needed);
  kvc_key_run(&kind, form, a.bytes.get(), a.size, count, room.bytes.get(), room.size, nullptr,
              &needed);
  room.Check(
      kvc_unkey(&kind, a.bytes.get(), a.size, form, room.bytes.get(), room.size, &needed, &used),
      needed);
  Require(used <= a.size);
  kvc_key_length(&kind, a.bytes.get(), a.size, &used);
  kvc_text_key(&kind, nullptr, reinterpret_cast<const char*>(a.bytes.get()), a.size,
               room.bytes.get(), room.size, &needed);
  const kvc_part parts[2] = {{sizeof(kvc_part), form, &kind, a.bytes.get(), a.size},
                             {sizeof(kvc_part), form, &kind, a.bytes.get(), a.size}};
  room.Check(kvc_key_tuple(parts, 2, room.bytes.get(), room.size, &needed), needed);
  const Room upper(room.size);
  kvc_key_range(&kind, number & 3, form, a.bytes.get(), a.size, room.size, room.bytes.get(),
                &needed, upper.bytes.get(), &used);
  const Room end(a.size);
  kvc_key_prefix_end(a.bytes.get(), a.size, end.bytes.get(), &used);
  Require(used <= a.size);
}

void TryNames(std::int32_t number, const Source::Block& a, const Room& room) {
  const auto* const text = reinterpret_cast<const char*>(a.bytes.get());
  auto* const name = reinterpret_cast<char*>(room.bytes.get());
  std::int32_t found = 0;
  std::size_t needed = 0;
  kvc_find_type(text, a.size, &found);
  kvc_find_language(text, a.size, &found);
  kvc_find_code_set(text, a.size, &found);
  kvc_language_name(number, name, room.size, &needed);
  kvc_code_set_name(number, name, room.size, &needed);
  kvc_type info{};
  info.size = sizeof info;
  kvc_type_info(number, &info);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Source source(data, size);
  const auto type = static_cast<std::int32_t>(source.Number()) % 64 - 1;
  const std::uint32_t form = source.Number() % 10;
  const std::uint32_t number = source.Number();
  const std::uint32_t count = source.Number();
  const Room room(source.Number() % 1000);
  const Source::Block b = source.Rest(3);
  Source::Block a = source.Rest(1);
  TryValues(type, form, number, count, a, b, room);
  TryTexts(type, form, number, count, a, b, room);
  TryKeys(type, form, number, count, a, room);
  TryNames(type, a, room);
  kvc_step(type, form, a.bytes.get(), a.size);
  return 0;
}
