// Writes golden files anew: golden_write FILE... keeps each file's values and comments and fills in
// what the library makes of them, in the row's order. A new value is a line "+ FIELDS". Whatever
// this changes in a line that was there before is a change of stored data; git diff shows it.
//
// golden_write FOLDER writes a first file for each row that has none there, of values that take any
// bytes. A row with members that are turned needs a file that names its fields.
#include <cstdio>
#include <filesystem>
#include <set>

#include "golden_check/golden.h"
#include "golden_check/golden_keys.h"
#include "support/values_of.h"

namespace {

int Order(const KvTypeMgr& types, const golden::File& file, unsigned char* a, unsigned char* b) {
  return types.Cmp(static_cast<char>(file.typeId), a, b, file.operation, 1, golden::kMemory);
}

void SortLines(golden::File& file, const KvTypeMgr& types) {
  const golden::Values values(types, file);
  std::vector<unsigned> places(values.Count());
  for (unsigned i = 0; i < places.size(); ++i) places[i] = i;
  std::stable_sort(places.begin(), places.end(), [&](unsigned a, unsigned b) {
    return Order(types, file, values.At(a), values.At(b)) < 0;
  });
  std::vector<golden::Line> sorted;
  for (const unsigned place : places) sorted.push_back(file.lines[place]);
  file.lines = std::move(sorted);
}

std::string Relation(const golden::File& file, const KvTypeMgr& types, const golden::Values& values,
                     unsigned index) {
  if (index == 0) return ".";
  return Order(types, file, values.At(index - 1), values.At(index)) == 0 ? "=" : "<";
}

golden::Line Filled(const golden::File& file, const KvTypeMgr& types, const golden::Line& line,
                    const unsigned char* values, unsigned count) {
  using namespace golden;
  return {line.relation, line.value, Hex(Stored(types, file, values, kMemoryOrder, count)),
          Hex(Stored(types, file, values, kReversed, count)),
          HashText(types, file, 0, values, count, kMemory)};
}

void WriteLines(const std::string& path, const std::vector<std::string>& lines) {
  std::ofstream out(path);
  for (const std::string& line : lines) out << line << '\n';
}

void Regenerate(const std::string& path) {
  golden::File file = golden::Parse(path);
  const KvTypeMgr types(file.Factory());
  SortLines(file, types);
  const golden::Values values(types, file);
  for (unsigned i = 0; i < values.Count(); ++i) {
    golden::Line& line = file.lines[i];
    line = Filled(file, types, line, values.At(i), 1);
    line.relation = Relation(file, types, values, i);
  }
  file.run.value = std::to_string(file.RunCount());
  file.run = Filled(file, types, file.run, values.At(0), file.RunCount());
  golden::Write(file);
  WriteLines(golden::KeysPath(path), golden::KeyLines(file));
}

// The file of a row whose bytes are the same in every form.
golden::File FirstFile(const std::string& folder, char id) {
  const std::string name = support::Types().NameGet(id, nullptr);
  golden::File file;
  file.path = folder + "/" + std::to_string(id) + "_" + name + ".txt";
  file.comments = {"# " + name + " (" + support::Types().TypeIdNameGet(id, nullptr) + ")"};
  file.typeId = id;
  const unsigned width = support::Types().MemLenGet(id, 1);
  file.fieldsText = "value:x" + std::to_string(width);
  file.fields = golden::ParseFields(file.fieldsText);
  std::set<std::string> texts;
  const support::Values values(id, support::OrdinaryValues(id, 12));
  for (unsigned i = 0; i < values.Count(); ++i) {
    const auto* memory = static_cast<const unsigned char*>(values[i]);
    const support::Bytes bytes(memory, memory + width);
    if (values.Stored(golden::kMemoryOrder, i) != bytes ||
        values.Stored(golden::kReversed, i) != bytes) {
      throw std::runtime_error("has members that are turned: name its fields");
    }
    texts.insert(golden::Hex(bytes));
  }
  for (const std::string& text : texts) file.lines.push_back({"+", text, "", "", ""});
  return file;
}

void WriteFirstFiles(const std::string& folder) {
  std::set<int> present;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.is_regular_file() && entry.path().extension() == ".txt") {
      present.insert(golden::Parse(entry.path().string()).typeId);
    }
  }
  for (char id = 0; id < support::kRowCount; ++id) {
    if (present.contains(id)) continue;
    const golden::File file = FirstFile(folder, id);
    golden::Write(file);
    Regenerate(file.path);
  }
}

}  // namespace

int main(int count, char** paths) {
  for (int i = 1; i < count; ++i) {
    try {
      const std::string path = paths[i];
      if (std::filesystem::is_directory(path)) {
        WriteFirstFiles(path);
      } else if (path.ends_with("/orders.txt")) {
        WriteLines(path, golden::OrdersLines(path));
      } else {
        Regenerate(path);
      }
    } catch (const std::exception& error) {
      std::fprintf(stderr, "golden_write: %s: %s\n", paths[i], error.what());
      return 1;
    }
  }
}
