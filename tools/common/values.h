// Values between the command line and memory form.
//
// A value's text is what the type prints, as long as that reads back to the same value. For dates,
// times and blobs, whose print formats are made for people and leave things out, kvtm
// has its own: 2024-02-29, 13:05:00, 2024-02-29T13:05:00, an interval as its seconds, a blob as
// hex. A null is "{NULL}".
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "hex.h"
#include "kv.h"
#include "text.h"

// How a command wants its values read and shown.
struct ValueStyle {
  std::string format;  // a format of the type, empty: kvtm's own choice
  StringTraits strings;
  bool stringsAreBytes = false;  // texts of strings are in their 8-bit code set, not in UTF-8
  bool escapes = true;           // texts of strings have the escapes of escape.h
  bool number = false;           // characters are written as numbers
};

// A run of values in memory form, made and freed by the type manager.
class ValueRun {
 public:
  ValueRun(char id, unsigned count);
  ~ValueRun();
  ValueRun(const ValueRun&) = delete;
  ValueRun& operator=(const ValueRun&) = delete;

  char Id() const { return id_; }
  unsigned Count() const { return count_; }
  void* Data() const { return values_; }
  void* At(unsigned index) const { return static_cast<char*>(values_) + index * width_; }

 private:
  char id_;
  unsigned count_;
  std::size_t width_;
  void* values_;
};

// Reads one value. Fails (Failure) unless the whole text is one value of the type, in its range.
void ReadValue(char id, void* value, std::string_view text, const ValueStyle& style);

// The values of a list of texts.
std::unique_ptr<ValueRun> ReadValues(char id, const std::vector<std::string>& texts,
                                     const ValueStyle& style);

// The value's text, in UTF-8, fit for a terminal: control characters are escaped. It reads back to
// the value with the same style, but for print formats that leave something out.
std::string TextOf(char id, void* value, const ValueStyle& style);

// The stored form of a run; fails (Failure) for more than 4 GiB.
Bytes StoredForm(const ValueRun& run, unsigned char order);
// The stored form of one of its values.
Bytes StoredForm(const ValueRun& run, unsigned index, unsigned char order);

// The value as JSON: null, a number, true or false, an object of text, code set and language for a
// KvString, else its text. Infinities and NaNs are texts, as JSON has no such numbers.
std::string JsonOf(char id, void* value, const ValueStyle& style);

// A run from stored bytes that were measured (stored.h).
void LoadRun(const ValueRun& run, const unsigned char* stored, unsigned char order);
// One value from stored bytes, which must be that value and no more. Fails (Failure) otherwise.
void LoadValue(char id, void* value, const Bytes& stored, unsigned char order);

// Whether a calendar and a clock have what a date or time says, wildcards included; true for values
// of other types.
bool IsSensible(char id, const void* value);
