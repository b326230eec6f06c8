// Records as lines: CSV with a first line that names the columns, or a JSON array.
#pragma once

#include <string>

#include "record.h"

class RecordWriter {
 public:
  RecordWriter(const Table& table, bool json);
  void Write(const StoredRecord& record);
  void End();

 private:
  std::string CsvLine();
  std::string JsonLine();

  const Table& table_;
  bool json_;
  bool began_ = false;
  RecordValues values_;
};
