// One thread reads lines and makes records and keys of them, the other writes batches. How far the
// load has come is written in the batch itself, so that neither a crash nor a full disk makes a
// load lose a line or take one twice.
#include "load.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <filesystem>
#include <mutex>
#include <nlohmann/json.hpp>
#include <queue>
#include <set>
#include <span>
#include <thread>
#include <utility>

#include "changes.h"
#include "csv_reader.h"
#include "failure.h"

namespace {

using Clock = std::chrono::steady_clock;
using Json = nlohmann::json;

constexpr std::size_t kQueued = 2;
constexpr unsigned kReported = 20;  // bad lines on stderr; the file has all of them
constexpr std::size_t kIdentified = 1 << 16;
constexpr unsigned kTries = 20;  // against others who write the same records

struct Good {
  std::string stored;
  std::string raw;
  unsigned long long line;
};

struct Bad {
  std::string reason;
  std::string raw;
  unsigned long long line;
};

// Where a load stands: behind which byte and line, and what it has counted.
struct Place {
  unsigned long long offset = 0;
  unsigned long long line = 1;
  unsigned long long badBytes = 0;
  LoadCounts counts;
};

struct Batch {
  Batch(engines::OrderedStore& store, const Table& table) : changes(store, table) {}
  Changes changes;
  std::vector<Good> good;
  std::vector<Bad> bad;
  unsigned long long offset = 0;
  unsigned long long line = 0;
};

// Batches from the one thread to the other, a few at a time. An end or a fault comes in turn too.
class Pipe {
 public:
  // False when nobody takes any more.
  bool Put(std::unique_ptr<Batch> batch) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return queue_.size() < kQueued || closed_; });
    if (closed_) return false;
    queue_.push(std::move(batch));
    changed_.notify_all();
    return true;
  }
  void End(std::exception_ptr fault) {
    const std::lock_guard lock(mutex_);
    ended_ = true;
    fault_ = std::move(fault);
    changed_.notify_all();
  }
  // Null at the end.
  std::unique_ptr<Batch> Take() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return !queue_.empty() || ended_; });
    if (queue_.empty()) {
      if (fault_) std::rethrow_exception(fault_);
      return nullptr;
    }
    auto batch = std::move(queue_.front());
    queue_.pop();
    changed_.notify_all();
    return batch;
  }
  void Close() {
    const std::lock_guard lock(mutex_);
    closed_ = true;
    changed_.notify_all();
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::queue<std::unique_ptr<Batch>> queue_;
  std::exception_ptr fault_;
  bool ended_ = false;
  bool closed_ = false;
};

// Which field each cell of a line is: as the first line names them, else in the schema's order.
struct Columns {
  Fields fields;
  bool hasHeader = false;
};

Columns ColumnsOf(const Table& table, const CsvLine& first) {
  Columns columns;
  for (std::size_t i = 0; i < table.schema.fields.size(); ++i) columns.fields.push_back(i);
  if (!first.fault.empty()) return columns;
  Fields named;
  for (const std::string& cell : first.cells) {
    if (table.schema.Find(cell) == nullptr) return columns;
    named.push_back(table.Position(cell));
  }
  for (const std::size_t position : columns.fields) {
    const auto count = std::count(named.begin(), named.end(), position);
    const std::string name = Quoted(table.schema.fields[position].name);
    if (count == 0) FailValue("the first line names columns, but not " + name);
    if (count > 1) FailValue("the first line names column " + name + " twice");
  }
  return {named, true};
}

Columns ReadColumns(const Table& table, const LoadOptions& options) {
  CsvReader reader(options.file, options.delimiter, 0, 1);
  CsvLine line;
  reader.Next(line);
  return ColumnsOf(table, line);
}

// The thread that reads.
class Reader {
 public:
  Reader(engines::OrderedStore& store, const Table& table, const LoadOptions& options,
         const Place& begin, Pipe& pipe)
      : store_(store),
        table_(table),
        values_(table),
        csv_(options.file, options.delimiter, begin.offset, begin.line),
        atBegin_(begin.offset == 0),
        pipe_(pipe) {
    if (!atBegin_) columns_ = ReadColumns(table, options);
  }

  unsigned long long FileSize() const { return csv_.FileSize(); }

  void Run() {
    try {
      ReadAll();
      pipe_.End(nullptr);
    } catch (...) {
      pipe_.End(std::current_exception());
    }
  }

 private:
  void ReadAll() {
    auto batch = std::make_unique<Batch>(store_, table_);
    CsvLine line;
    while (csv_.Next(line)) {
      batch->offset = line.end;
      batch->line = line.next;
      if (std::exchange(atBegin_, false)) {
        columns_ = ColumnsOf(table_, line);
        if (columns_.hasHeader) continue;
      }
      TakeLine(*batch, line);
      if (batch->changes.HasRoom() && batch->bad.size() < 1000) continue;
      if (!pipe_.Put(std::move(batch))) return;
      batch = std::make_unique<Batch>(store_, table_);
    }
    if (batch->offset != 0) pipe_.Put(std::move(batch));
  }

  void TakeLine(Batch& batch, CsvLine& line) {
    try {
      std::string stored = Record(line);
      batch.changes.Insert(stored);
      batch.good.push_back({std::move(stored), std::move(line.raw), line.line});
    } catch (const Failure& failure) {
      batch.bad.push_back({failure.what, std::move(line.raw), line.line});
    }
  }

  std::string Record(const CsvLine& line) {
    if (!line.fault.empty()) FailValue(line.fault);
    if (line.cells.size() != columns_.fields.size()) {
      FailValue(std::to_string(line.cells.size()) + " columns, expected " +
                std::to_string(columns_.fields.size()));
    }
    for (std::size_t i = 0; i < line.cells.size(); ++i) {
      FieldValue& field = values_[columns_.fields[i]];
      try {
        field.Read(line.cells[i]);
      } catch (const Failure& failure) {
        FailValue("column " + field.Field().name + ": " + failure.what);
      }
    }
    return values_.Stored();
  }

  engines::OrderedStore& store_;
  const Table& table_;
  Columns columns_;
  RecordValues values_;
  CsvReader csv_;
  bool atBegin_;
  Pipe& pipe_;
};

// The lines that were left out, as they stood in the file. Made when there is one.
class BadFile {
 public:
  // What a load wrote there behind `keep` bytes, before it was interrupted, it finds again.
  BadFile(const std::string& name, unsigned long long keep) : name_(name) {
    if (keep > 0 && std::filesystem::exists(name_)) {
      std::filesystem::resize_file(name_, keep);
      Open("ab");
    }
  }
  ~BadFile() {
    if (file_ != nullptr) std::fclose(file_);
  }
  BadFile(const BadFile&) = delete;
  BadFile& operator=(const BadFile&) = delete;

  // The bytes that were written.
  unsigned long long Add(const std::string& raw) {
    if (file_ == nullptr) Open("wb");
    std::fwrite(raw.data(), 1, raw.size(), file_);
    const bool ended = raw.ends_with('\n');
    if (!ended) std::fputc('\n', file_);
    return raw.size() + (ended ? 0 : 1);
  }
  void Flush() {
    if (file_ != nullptr && std::fflush(file_) != 0) FailValue("cannot write " + name_);
  }

 private:
  void Open(const char* mode) {
    file_ = std::fopen(name_.c_str(), mode);
    if (file_ == nullptr) FailValue("cannot write " + name_);
  }
  std::string name_;
  std::FILE* file_ = nullptr;
};

// Rate and time left, on a terminal in one line.
class LoadProgress {
 public:
  LoadProgress(const Place& begin, unsigned long long size, bool lines)
      : begin_(begin), size_(size), lines_(lines), onTerminal_(isatty(STDERR_FILENO) != 0) {}
  ~LoadProgress() { Clear(); }
  LoadProgress(const LoadProgress&) = delete;
  LoadProgress& operator=(const LoadProgress&) = delete;

  void Show(const Place& place) {
    const bool always = lines_ && !onTerminal_;
    const auto now = Clock::now();
    if (!always && (!onTerminal_ || now < next_)) return;
    next_ = now + std::chrono::milliseconds(200);
    const std::chrono::duration<double> passed = now - start_;
    const std::string text = TextOf(place, passed.count());
    std::fputs((onTerminal_ ? "\r\x1b[K" + text : text + "\n").c_str(), stderr);
    std::fflush(stderr);
    drawn_ = onTerminal_;
  }
  void Clear() {
    if (drawn_) std::fputs("\r\x1b[K", stderr);
    drawn_ = false;
  }

 private:
  std::string TextOf(const Place& place, double seconds) const {
    return ProgressText(
        {.firstLines = begin_.counts.lines,
         .lines = place.counts.lines,
         .firstOffset = begin_.offset,
         .offset = place.offset,
         .size = size_,
         .seconds = seconds},
        onTerminal_ ? static_cast<std::size_t>(TerminalColumns(STDERR_FILENO)) : std::string::npos);
  }

  Place begin_;
  unsigned long long size_;
  bool lines_;
  bool onTerminal_;
  bool drawn_ = false;
  Clock::time_point start_ = Clock::now();
  Clock::time_point next_ = start_;
};

// The same file again: its size and its beginning.
std::string IdentityOf(const std::string& name) {
  InputFile file(name);
  std::string begin(kIdentified, '\0');
  std::size_t size = 0;
  while (const std::size_t count = file.Read(begin.data() + size, begin.size() - size)) {
    size += count;
  }
  // FNV-1a
  unsigned long long hash = 0xCBF29CE484222325;
  for (std::size_t i = 0; i < size; ++i) {
    hash = (hash ^ static_cast<unsigned char>(begin[i])) * 0x100000001B3;
  }
  return std::to_string(file.Size()) + "-" + std::to_string(hash);
}

// The key of a file's mark, empty for what cannot be read a second time: what is looked at here
// of a pipe would be missing when its lines are read.
std::string MarkOf(const std::string& name) {
  std::error_code none;
  const bool isFile = name != "-" && std::filesystem::is_regular_file(name, none);
  return isFile ? LoadMarkKey(IdentityOf(name)) : "";
}

Place ReadPlace(const std::optional<std::string>& mark) {
  Place place;
  if (!mark) return place;
  const Json json = Json::parse(*mark, nullptr, false);
  if (!json.is_object()) return place;
  place.offset = json.value("offset", 0ULL);
  place.line = json.value("line", 1ULL);
  place.badBytes = json.value("badBytes", 0ULL);
  place.counts = {.lines = json.value("lines", 0ULL),
                  .records = json.value("records", 0ULL),
                  .there = json.value("there", 0ULL),
                  .bad = json.value("bad", 0ULL)};
  return place;
}

std::string PlaceText(const Place& place) {
  return Json{{"offset", place.offset},          {"line", place.line},
              {"badBytes", place.badBytes},      {"lines", place.counts.lines},
              {"records", place.counts.records}, {"there", place.counts.there},
              {"bad", place.counts.bad}}
      .dump();
}

// The thread that writes.
class Loader {
 public:
  Loader(engines::OrderedStore& store, const Table& table, const LoadOptions& options,
         std::string mark, const Place& begin, unsigned long long size)
      : store_(store),
        table_(table),
        options_(options),
        mark_(std::move(mark)),
        place_(begin),
        bad_(options.badFile, begin.badBytes),
        progress_(begin, size, options.progress),
        atomic_(store.GetLimits().atomicBatches) {}

  void Take(Batch& batch) {
    const Place before = place_;
    const std::size_t lines = batch.good.size() + batch.bad.size();
    for (const Bad& bad : batch.bad) Report(bad);
    place_.offset = batch.offset;
    place_.line = batch.line;
    place_.counts.lines += lines;
    try {
      if (!ApplyHopefully(batch)) ApplyCarefully(batch.good);
    } catch (const engines::StoreError&) {
      place_ = before;
      throw;
    }
    bad_.Flush();
    progress_.Show(place_);
  }

  LoadCounts Finish() {
    if (!mark_.empty()) store_.Erase(mark_);
    return place_.counts;
  }

 private:
  // Most records are new. False when one is not, or is twice in the batch.
  bool ApplyHopefully(Batch& batch) {
    // Where pieces of a batch stay, what cannot go through whole is not tried.
    if (!atomic_) return false;
    place_.counts.records += batch.good.size();
    if (!mark_.empty()) batch.changes.Mark(mark_, PlaceText(place_));
    bool applied = false;
    try {
      applied = batch.changes.Apply();
    } catch (const engines::StoreError& error) {
      if (error.Why() != engines::Fault::kBadBatch) throw;
    }
    if (!applied) place_.counts.records -= batch.good.size();
    return applied;
  }

  // Looks at what is there first. A key that comes twice begins another piece, as does what might
  // not fit a batch if every record replaced one.
  void ApplyCarefully(const std::vector<Good>& good) {
    const std::size_t writes = 2 * table_.indexes.size() + 1;
    const std::size_t most = std::max<std::size_t>(store_.GetLimits().batchWrites / writes, 1);
    std::vector<std::string> keys;
    std::set<std::string> seen;
    std::size_t from = 0;
    for (std::size_t i = 0; i < good.size(); ++i) {
      std::string key = RecordKey(table_, StoredRecord(table_, good[i].stored));
      if (keys.size() == most || !seen.insert(key).second) {
        ApplyPiece(std::span(good).subspan(from, i - from), keys, false);
        from = i;
        keys.clear();
        seen = {key};
      }
      keys.push_back(std::move(key));
    }
    ApplyPiece(std::span(good).subspan(from), keys, true);
  }

  void ApplyPiece(std::span<const Good> good, const std::vector<std::string>& keys, bool isLast) {
    for (unsigned tries = 0; tries < kTries; ++tries) {
      Changes changes(store_, table_);
      LoadCounts counts;
      std::vector<Bad> taken;
      const auto there = store_.TakeSnapshot()->GetMany(keys);
      for (std::size_t i = 0; i < good.size(); ++i) {
        Sort(good[i], there[i], changes, counts, taken);
      }
      if (!changes.IsEmpty() && !changes.Apply()) continue;
      place_.counts.records += counts.records;
      place_.counts.there += counts.there;
      for (const Bad& bad : taken) Report(bad);
      if (isLast && !mark_.empty()) store_.Put(mark_, PlaceText(place_));
      return;
    }
    FailValue("somebody else keeps changing the same records");
  }

  void Sort(const Good& good, const std::optional<std::string>& there, Changes& changes,
            LoadCounts& counts, std::vector<Bad>& taken) {
    if (!there) {
      changes.Insert(good.stored);
      ++counts.records;
    } else if (*there == good.stored) {
      ++counts.there;
    } else if (options_.replace) {
      changes.Replace(*there, good.stored);
      ++counts.records;
    } else {
      taken.push_back({"another record has its key", good.raw, good.line});
    }
  }

  void Report(const Bad& bad) {
    ++place_.counts.bad;
    place_.badBytes += bad_.Add(bad.raw);
    if (reported_++ >= kReported) return;
    progress_.Clear();
    const std::string file = options_.file == "-" ? "the standard input" : options_.file;
    std::fprintf(stderr, "kvindex: load: %s, line %llu: %s\n", Printable(file).c_str(), bad.line,
                 bad.reason.c_str());
  }

  engines::OrderedStore& store_;
  const Table& table_;
  const LoadOptions& options_;
  std::string mark_;  // the key of the load's mark; empty: it cannot be resumed
  Place place_;
  BadFile bad_;
  LoadProgress progress_;
  bool atomic_;
  unsigned reported_ = 0;
};

}  // namespace

std::string ProgressText(const LoadSpan& span, std::size_t columns) {
  const double perSecond = static_cast<double>(span.lines - span.firstLines) / span.seconds;
  const std::string rate = std::to_string(static_cast<unsigned long long>(perSecond)) + " a second";
  const std::string start = "kvindex: load: " + std::to_string(span.lines) + " lines, " + rate;
  std::vector<std::string> texts = {start, rate};
  if (span.size != 0) {
    const auto left = static_cast<double>(span.size - std::min(span.size, span.offset));
    const auto passed = static_cast<double>(span.offset - span.firstOffset);
    const auto seconds = static_cast<unsigned long long>(left * span.seconds / passed);
    char rest[64];
    std::snprintf(rest, sizeof rest, "%3llu %%, %llu:%02llu left", 100 * span.offset / span.size,
                  seconds / 60, seconds % 60);
    texts = {start + ", " + rest, rate + ", " + rest, rest};
  }
  for (const std::string& text : texts) {
    if (text.size() < columns) return text;
  }
  return texts.back().substr(0, columns - 1);
}

LoadCounts LoadFile(engines::OrderedStore& store, const Table& table, const LoadOptions& options) {
  const std::string mark = MarkOf(options.file);
  const Place begin = mark.empty() ? Place{} : ReadPlace(store.Get(mark));
  if (begin.offset > 0) {
    std::fprintf(stderr, "kvindex: load: an earlier load ended before line %llu; going on there\n",
                 begin.line);
  }
  Pipe pipe;
  Reader reader(store, table, options, begin, pipe);
  Loader loader(store, table, options, mark, begin, reader.FileSize());
  std::thread thread([&] { reader.Run(); });
  try {
    while (const auto batch = pipe.Take()) loader.Take(*batch);
  } catch (...) {
    pipe.Close();
    thread.join();
    throw;
  }
  thread.join();
  return loader.Finish();
}
