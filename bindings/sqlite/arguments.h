// What SQL gives to the functions: TYPE, STORED and ORDER.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <sqlite3ext.h>

#include "kvc.h"

// Each file that calls SQLite sees the table of its functions, which the entry point sets.
extern const sqlite3_api_routines* sqlite3_api;

namespace kvsqlite {

// "KvDate", "KvDATE_T" or "12"; "KvString/swedish" for texts to be stored.
struct Type {
  std::int32_t id = 0;
  std::int32_t language = -1;
};

struct Bytes {
  const unsigned char* data = nullptr;
  std::size_t size = 0;
};

// Each of these throws a Failure with what is wrong.
Type ReadType(std::string_view text);
// 0, 1 or "memory", "little"; 2 or "reversed", "big".
std::uint32_t ReadForm(sqlite3_value* value);
Bytes ReadBlob(sqlite3_value* value, const char* what);
std::string_view ReadText(sqlite3_value* value, const char* what);

// Fails with the name of the status and what the place is.
[[noreturn]] void FailStatus(std::int32_t status);
[[noreturn]] void FailStatus(std::int32_t status, const kvc_measure& measure);

// How many values stored bytes are, to the last byte; fails when they are not sound.
std::uint32_t CountOf(std::int32_t type, std::uint32_t form, Bytes stored);

// What a function of kvc writes, in a buffer that is large enough for it.
class Result {
 public:
  // Calls `write(buffer, capacity, &needed)`, once more when the first buffer was too short.
  template <typename Write>
  explicit Result(Write write) {
    std::int32_t status = write(static_cast<void*>(small_), sizeof small_, &size_);
    if (status == KVC_BUFFER_SHORT && size_ >= sizeof small_) {
      large_.resize(size_ + 1);
      status = write(static_cast<void*>(large_.data()), large_.size(), &size_);
    }
    status_ = status;
  }
  std::int32_t Status() const { return status_; }
  const char* Data() const { return large_.empty() ? small_ : large_.data(); }
  std::size_t Size() const { return size_; }

 private:
  char small_[512];
  std::vector<char> large_;
  std::size_t size_ = 0;
  std::int32_t status_ = KVC_OK;
};

// The text of stored values; none for a single null.
std::optional<std::string> TextOf(std::int32_t type, std::uint32_t form, Bytes stored);

// The table-valued function kv_each.
int RegisterEach(sqlite3* database);

}  // namespace kvsqlite
