// A run of values that only the type manager knows.
#pragma once

#include "support/types.h"

namespace support {

// So many values in memory form, made and freed by the type manager.
class Run {
 public:
  Run(const KvTypeMgr& types, char id, unsigned count)
      : types_(types), id_(id), count_(count), values_(types.Create(id, count)) {}
  ~Run() { types_.Delete(id_, values_, count_); }
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;

  void* Values() const { return values_; }
  unsigned Count() const { return count_; }

 private:
  const KvTypeMgr& types_;
  char id_;
  unsigned count_;
  void* values_;
};

}  // namespace support
