// Where the null, zero and default value of a date or time class come from. The file of a class
// gives the three and instantiates the accessors:
//
//   template <>
//   constinit const kv::Distinguished<KvDate> kv::kDistinguished<KvDate>{...};
//   template class KvDistinguishedValues<KvDate>;
#pragma once

#include "kvdate.h"

namespace kv {

template <class Value>
struct Distinguished {
  Value null;
  Value zero;
  Value initial;  // the default value
};

template <class Value>
extern const Distinguished<Value> kDistinguished;

}  // namespace kv

template <class Value>
const Value& KvDistinguishedValues<Value>::NullValue() {
  return kv::kDistinguished<Value>.null;
}

template <class Value>
const Value& KvDistinguishedValues<Value>::ZeroValue() {
  return kv::kDistinguished<Value>.zero;
}

template <class Value>
const Value& KvDistinguishedValues<Value>::DefaultValue() {
  return kv::kDistinguished<Value>.initial;
}

template <class Value>
int KvDistinguishedValues<Value>::Become(const Value& value) {
  const auto& [null, zero, initial] = kv::kDistinguished<Value>;
  if (this != &null && this != &zero && this != &initial) static_cast<Value&>(*this) = value;
  return kvOk;
}
