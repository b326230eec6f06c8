// Loading a file of lines into a table.
#pragma once

#include <string>

#include "ordered_store.h"
#include "table.h"

struct LoadOptions {
  std::string file;  // "-": the standard input; it cannot be resumed, nor can a pipe
  std::string badFile;
  char delimiter = ',';
  bool replace = false;   // a record whose key is taken replaces the one that is there
  bool progress = false;  // a line on stderr for every batch, where that is no terminal
};

struct LoadCounts {
  unsigned long long lines = 0;  // records in the file, good and bad, loads before included
  unsigned long long records = 0;
  unsigned long long there = 0;  // were there already, the same
  unsigned long long bad = 0;
};

// Where this run of the program began, and how far the load has come.
struct LoadSpan {
  unsigned long long firstLines;
  unsigned long long lines;
  unsigned long long firstOffset;
  unsigned long long offset;  // in the file
  unsigned long long size;    // of the file, 0: not known
  double seconds;
};

// What a load says of itself, as much of it as leaves a column free: a full line would wrap.
std::string ProgressText(const LoadSpan& span, std::size_t columns);

// Loads what the file holds from where an interrupted load of it left off.
LoadCounts LoadFile(engines::OrderedStore& store, const Table& table, const LoadOptions& options);
