// Runs of values to texts and back (slots 12 and 13), over a row policy's text of one value.
//
// A policy that says ToText and FromText converts by them; any other through its print and scan
// functions with its default format, kFormat.
#pragma once

#include <type_traits>
#include <utility>

#include "kvbase/lifetime.h"
#include "kvstring.h"
#include "kvtypemgr.h"
#include "kvtypevl/operations/scan.h"

namespace kv {

template <class Row, class Value>
void ValueToText(KvString& text, const Value& value) {
  if constexpr (requires { Row::ToText(text, value); }) {
    Row::ToText(text, value);
  } else {
    Value copy = value;
    Row::Print(text, &copy, Row::kFormat, 1);
  }
}

template <class Row, class Value>
void TextToValue(Value& value, KvString& text) {
  if constexpr (requires { Row::FromText(value, text); }) {
    Row::FromText(value, text);
  } else {
    ScanValue<Row>(&value, text, Row::kFormat, 1);
  }
}

// A text as appending it to an empty KvString gives it: in the default code set. Values that are
// strings keep theirs where the default is an 8-bit one, which may not have their characters.
template <class Value>
void ToDefaultCodeSet(KvString& text) {
  constexpr bool kIsString = std::is_same_v<Value, KvString>;
  const unsigned char codeSet = KvLanguageContext::GetDefaultCodeSet();
  if (text.GetCodeSet() == codeSet || (kIsString && !KvIsWideCodeSet(codeSet))) return;
  KvString converted(codeSet, text.GetLanguage());
  converted << text;
  if (converted.Len() == text.Len()) text = std::move(converted);
}

// A record of `count` texts that nobody owns yet; null when memory is short.
template <class Row>
KvTypeConvertData* ConvertRunToText(const void* values, unsigned count) {
  auto* texts = static_cast<KvString*>(CreateRun<KvString>(count));
  if (texts == nullptr) return nullptr;
  const auto* run = static_cast<const typename Row::Codec::Value*>(values);
  for (unsigned i = 0; i < count; ++i) {
    KvString text(KvLanguageContext::GetDefault8CodeSet(), KvLanguageContext::GetDefaultLanguage());
    ValueToText<Row>(text, run[i]);
    ToDefaultCodeSet<typename Row::Codec::Value>(text);
    texts[i] = std::move(text);
  }
  KvTypeConvertData* record = KvTypeConvertData::Make(KvSTRING_T, count, texts, nullptr);
  if (record == nullptr) DeleteRun<KvString>(texts, count);
  return record;
}

// A run of `count` values, owned by the caller; null when memory is short. A text that is missing
// or null reads as an empty one, and so do all texts when there is no record.
template <class Row>
void* ConvertRunFromText(const KvTypeConvertData* record, unsigned count) {
  using Value = typename Row::Codec::Value;
  auto* values = static_cast<Value*>(CreateRun<Value>(count));
  if (values == nullptr) return nullptr;
  for (unsigned i = 0; i < count; ++i) {
    KvString* text = record == nullptr ? nullptr : record->GetString(static_cast<int>(i));
    KvString empty;
    TextToValue<Row>(values[i], text == nullptr || text->IsNullValue() ? empty : *text);
  }
  return values;
}

}  // namespace kv
