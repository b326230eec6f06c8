#include "commands.h"

#include <algorithm>
#include <cstdio>
#include <limits>

#include "catalogue.h"
#include "changes.h"
#include "failure.h"
#include "load.h"
#include "ordered_store.h"
#include "output.h"
#include "query.h"
#include "record.h"
#include "table.h"
#include "verify.h"

namespace {

using engines::OrderedStore;

constexpr unsigned kMostSeconds = 86400;

// What an engine says as a failure of the command.
template <class Body>
int Guarded(const Body& body) {
  try {
    return body();
  } catch (const engines::StoreError& error) {
    const bool usage = error.Why() == engines::Fault::kBadUrl;
    throw Failure{usage ? kExitBadUsage : kExitBadValue, Printable(error.what())};
  }
}

std::unique_ptr<OrderedStore> Open(const Arguments& arguments, bool create = false) {
  const std::string durability = arguments.Value("durability");
  if (!durability.empty() && durability != "process" && durability != "machine") {
    FailUsage("--durability is process or machine, not " + Quoted(durability));
  }
  engines::OpenOptions options{.create = create};
  if (durability == "process") options.durability = engines::Durability::kProcess;
  if (arguments.Has("timeout")) {
    options.patience = std::chrono::seconds(arguments.Number("timeout", 1, kMostSeconds, 1));
  }
  return engines::OpenStore(arguments[0], options);
}

// The record with the key that the operands from the second on name.
struct Found {
  std::string key;
  std::optional<std::string> record;
};

Found Find(OrderedStore& store, const Table& table, const Arguments& arguments) {
  const std::vector<std::string> texts = arguments.From(1);
  if (texts.size() != table.key.size()) {
    FailUsage(std::to_string(texts.size()) + " values, the key " + table.Names(table.key) +
              " has " + std::to_string(table.key.size()));
  }
  std::string key(1, kRecordTag);
  for (std::size_t i = 0; i < texts.size(); ++i) {
    const SchemaField& field = table.schema.fields[table.key[i]];
    FieldValue value(field);
    value.Read(texts[i]);
    std::string stored;
    value.AppendStored(stored);
    key += FieldKey(field, stored);
  }
  auto record = store.Get(key);
  return {std::move(key), std::move(record)};
}

char DelimiterOf(const Arguments& arguments, const std::string& file) {
  const std::string format = arguments.Value("format");
  if (format.empty()) return file.ends_with(".tsv") || file.ends_with(".tab") ? '\t' : ',';
  if (format == "csv") return ',';
  if (format == "tsv") return '\t';
  FailUsage("--format is csv or tsv, not " + Quoted(format));
}

std::string Percent(double share) {
  char text[32];
  std::snprintf(text, sizeof text, "%.3g %%", 100 * share);
  return text;
}

unsigned long long Count(engines::Snapshot& snapshot, const engines::Range& range) {
  unsigned long long count = 0;
  snapshot.Scan(range, [&](std::string_view, std::string_view) {
    ++count;
    return true;
  });
  return count;
}

void ShowPlan(engines::Snapshot& snapshot, const Table& table, const Query& query, const Plan& plan,
              const Walked& walked) {
  std::string text;
  for (std::size_t i = 0; i < query.predicates.size(); ++i) {
    const std::optional<Estimate>& estimate = plan.estimates[i];
    text += "predicate  " + Printable(query.predicates[i].text) + ": ";
    text += estimate ? "estimate " + Percent(estimate->fraction) + " of " + estimate->index + "\n"
                     : "no index begins with its field\n";
  }
  const std::string name =
      plan.walk.isIndex ? "index " + table.Names(table.indexes[plan.walk.index]) : "the key";
  text += "plan       " +
          (plan.walk.isNarrowed ? "walk a range of " + name : std::string("look at every record")) +
          "\n";
  const auto all = Count(snapshot, WholeRange(plan.walk));
  const double truth =
      all == 0 ? 0 : static_cast<double>(walked.entries) / static_cast<double>(all);
  text += "estimate   " + Percent(plan.walk.fraction) + "\n";
  text += "truth      " + Percent(truth) + ", " + std::to_string(walked.entries) + " of " +
          std::to_string(all) + " entries\n";
  text += "hits       " + std::to_string(walked.hits) + "\n";
  Print(text);
}

}  // namespace

int RunCreate(const Arguments& arguments) {
  return Guarded([&] {
    if (!arguments.Has("schema") || !arguments.Has("key")) {
      FailUsage("--schema and --key say what is to be kept");
    }
    const Table table =
        MakeTable(arguments.Value("schema"), arguments.Value("key"), arguments.Values("index"));
    // Before the store is made, so that nothing is left of one that cannot hold the table.
    RequireRoom(table, engines::LongestKey(arguments[0]));
    SaveTable(*Open(arguments, true), table);
    return kExitGood;
  });
}

int RunInfo(const Arguments& arguments) {
  return Guarded([&] {
    const auto store = Open(arguments);
    const Table table = LoadTable(*store);
    const engines::Limits limits = store->GetLimits();
    std::string text =
        "schema   " + SchemaText(table.schema) + "\nkey      " + table.Names(table.key) + "\n";
    for (const Fields& index : table.indexes) text += "index    " + table.Names(index) + "\n";
    text += "longest  " + std::to_string(limits.keyBytes) + " bytes in a key\nbatches  " +
            (limits.atomicBatches ? "atomic" : "not atomic: spread over servers") + "\n";
    Print(text);
    return kExitGood;
  });
}

int RunLoad(const Arguments& arguments) {
  return Guarded([&] {
    const std::string file = arguments.Count() > 1 ? arguments[1] : "-";
    LoadOptions options{.file = file,
                        .badFile = arguments.Value("bad"),
                        .delimiter = DelimiterOf(arguments, file),
                        .replace = arguments.Has("replace"),
                        .progress = arguments.Has("progress")};
    if (options.badFile.empty()) options.badFile = file == "-" ? "kvindex.bad" : file + ".bad";
    const auto store = Open(arguments);
    const Table table = LoadTable(*store);
    const LoadCounts counts = LoadFile(*store, table, options);
    std::string text = std::to_string(counts.records) + " records";
    if (counts.there > 0) text += ", " + std::to_string(counts.there) + " were there already";
    if (counts.bad > 0) {
      text += ", " + std::to_string(counts.bad) + " bad lines are in " + options.badFile;
    }
    Print(text + "\n");
    return counts.bad > 0 ? kExitBadValue : kExitGood;
  });
}

int RunQuery(const Arguments& arguments) {
  return Guarded([&] {
    const auto store = Open(arguments);
    const Table table = LoadTable(*store);
    const Query query = ParseQuery(table, arguments[1]);
    constexpr unsigned kMost = std::numeric_limits<unsigned>::max();
    const unsigned limit = arguments.Number("limit", 1, kMost, kMost);
    const bool explain = arguments.Has("explain");
    const bool count = arguments.Has("count");
    const auto snapshot = store->TakeSnapshot();
    const Plan plan = MakePlan(*snapshot, table, query);
    if (explain || count) {
      const auto any = [](const StoredRecord&) { return true; };
      const Walked walked = Run(*snapshot, table, query, plan, any);
      if (explain) ShowPlan(*snapshot, table, query, plan, walked);
      if (!explain) Print(std::to_string(walked.hits) + "\n");
      return kExitGood;
    }
    RecordWriter writer(table, arguments.Has("json"));
    unsigned shown = 0;
    Run(*snapshot, table, query, plan, [&](const StoredRecord& record) {
      writer.Write(record);
      return ++shown < limit;
    });
    writer.End();
    return kExitGood;
  });
}

int RunGet(const Arguments& arguments) {
  return Guarded([&] {
    const auto store = Open(arguments);
    const Table table = LoadTable(*store);
    const Found found = Find(*store, table, arguments);
    if (!found.record) FailValue("there is no such record");
    RecordWriter writer(table, arguments.Has("json"));
    writer.Write(StoredRecord(table, *found.record));
    writer.End();
    return kExitGood;
  });
}

int RunDelete(const Arguments& arguments) {
  return Guarded([&] {
    const auto store = Open(arguments);
    const Table table = LoadTable(*store);
    // Somebody may change the record between the look and the removal.
    for (;;) {
      const Found found = Find(*store, table, arguments);
      if (!found.record) FailValue("there is no such record");
      Changes changes(*store, table);
      changes.Remove(*found.record);
      if (changes.Apply()) return kExitGood;
    }
  });
}

int RunVerify(const Arguments& arguments) {
  return Guarded([&] {
    const auto store = Open(arguments);
    const Table table = LoadTable(*store);
    const bool repair = arguments.Has("repair");
    const Verified result = Verify(*store, table, repair);
    for (const std::string& report : result.reports) {
      std::fprintf(stderr, "kvindex: verify: %s\n", report.c_str());
    }
    std::string text = std::to_string(result.records) + " records, " +
                       std::to_string(result.entries) + " entries, " +
                       std::to_string(result.faults) + " faults";
    if (repair) text += ", " + std::to_string(result.repaired) + " repaired";
    Print(text + "\n");
    const unsigned long long left = result.faults - (repair ? result.repaired : 0);
    return left > 0 ? kExitBadValue : kExitGood;
  });
}

int RunDump(const Arguments& arguments) {
  return Guarded([&] {
    const auto store = Open(arguments);
    const Table table = LoadTable(*store);
    const auto snapshot = store->TakeSnapshot();
    RecordWriter writer(table, arguments.Has("json"));
    snapshot->Scan(engines::WithPrefix(std::string(1, kRecordTag)),
                   [&](std::string_view, std::string_view value) {
                     writer.Write(StoredRecord(table, value));
                     return true;
                   });
    writer.End();
    return kExitGood;
  });
}
