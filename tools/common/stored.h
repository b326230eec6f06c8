// Measuring stored bytes that come from strangers.
//
// The library trusts the bytes it loads: it follows every length field it finds. So kvtm walks the
// length fields first, against the bytes that are really there, and refuses what would be read past
// their end.
#pragma once

#include "hex.h"

struct StoredRun {
  unsigned count;
  std::size_t bytes;         // of the run; what was given may be longer
  unsigned strange;          // values that no calendar or clock has
  std::size_t firstStrange;  // offset of the first of those
  bool oldForm;              // strings as old catalogues write them
};

// Measures a run of `count` values of type `id` at the front of `bytes`, in stored form of the byte
// order `order`; `count` 0 takes as many as there are. Fails (Failure) when the bytes hold less
// than that, are damaged, or (with `count` 0) do not end with a value.
StoredRun MeasureStored(char id, const Bytes& bytes, unsigned char order, unsigned count);

// The same for `size` bytes within others: messages count offsets from `place` bytes before them.
StoredRun MeasureStored(char id, const unsigned char* bytes, std::size_t size, unsigned char order,
                        unsigned count, std::size_t place);
