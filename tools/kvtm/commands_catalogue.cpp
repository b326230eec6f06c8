// kvtm types and kvtm describe: what the library knows, and which library it is.
#include "catalogue.h"
#include "commands.h"
#include "failure.h"
#include "families.h"

namespace {

std::string StoredSize(char id) {
  if (!Types().IsFixed(id)) return "varies";
  return std::to_string(Types().DiskLenGet(id, nullptr, 0, 1, 0));
}

Cell TruthCell(bool holds) {
  return {holds ? "yes" : "no", holds ? "true" : "false"};
}

// The columns of the catalogue, the same for the table and for a type's card.
const std::vector<std::string> kColumns = {"id",          "name",  "idName",   "memoryBytes",
                                           "storedBytes", "fixed", "nullable", "format"};

std::vector<Cell> CatalogueRow(char id) {
  const bool fixed = Types().IsFixed(id) != 0;
  return {NumberCell(std::to_string(id)),
          TextCell(TypeName(id)),
          TextCell(TypeIdName(id)),
          NumberCell(std::to_string(Types().MemLenGet(id, 1))),
          {StoredSize(id), fixed ? StoredSize(id) : "null"},
          TruthCell(fixed),
          TruthCell(Types().SupportsNullValue(id) != 0),
          TextCell(Types().ExchangeFormat(id, nullptr))};
}

// ---------------------------------------------------------------------------------------------
// The card of one type

std::string SpacedHex(const Bytes& bytes) {
  std::string text;
  for (const unsigned char byte : bytes) text += (text.empty() ? "" : " ") + ToHex(&byte, 1);
  return text;
}

// What a value of zero bytes is as text; empty for types of variable length.
std::string ZeroText(char id) {
  if (!Types().IsFixed(id)) return "";
  ValueRun run(id, 1);
  LoadValue(id, run.Data(), Bytes(Types().DiskLenGet(id, nullptr, 0, 1, 0)), 0);
  return TextOf(id, run.Data(), {});
}

// What a new value is as text. New dates and times are those of the clock.
std::string DefaultText(char id) {
  ValueRun run(id, 1);
  const std::string text = TextOf(id, run.Data(), {});
  const bool byClock = FactsOf(id).kind == TextKind::kPattern && text != ZeroText(id) &&
                       !Types().IsNullValue(id, run.Data());
  return byClock ? "the present time" : text;
}

std::string FieldKind(const StoredField& field) {
  const std::string bits = std::to_string(8 * field.width) + " bits";
  const char* const kind = field.kind == 'f'   ? "IEEE 754, "
                           : field.kind == 'i' ? "signed, "
                                               : "unsigned, ";
  return kind + bits + (field.turns ? "" : ", most significant byte first in either order");
}

std::string FieldsAsJson(const TypeFacts& facts) {
  std::string json;
  for (const StoredField& field : facts.StoredFields()) {
    json += (json.empty() ? "" : ", ") + std::string("{\"name\": ") + JsonText(field.name) +
            ", \"kind\": " + JsonText(std::string(1, field.kind)) +
            ", \"bytes\": " + std::to_string(field.width) +
            ", \"offset\": " + std::to_string(field.offset) +
            ", \"memoryOffset\": " + std::to_string(field.memoryOffset) +
            ", \"turns\": " + (field.turns ? "true" : "false") + "}";
  }
  return "[" + json + "]";
}

std::vector<std::vector<std::string>> FieldRows(const TypeFacts& facts) {
  std::vector<std::vector<std::string>> rows = {{"  field", "stored at", "in memory at", "is"}};
  for (const StoredField& field : facts.StoredFields()) {
    rows.push_back({"  " + field.name, std::to_string(field.offset),
                    std::to_string(field.memoryOffset), FieldKind(field)});
  }
  return rows;
}

// The facts of a card behind the catalogue's own columns.
std::vector<std::vector<std::string>> CardFacts(char id) {
  const TypeFacts& facts = FactsOf(id);
  const auto example = ReadValues(id, {facts.example}, {});
  std::vector<std::vector<std::string>> rows = {{"meaning", facts.meaning}, {"range", facts.range}};
  if (*facts.null != '\0') rows.push_back({"nullStored", facts.null});
  rows.push_back({"default", DefaultText(id)});
  if (Types().IsFixed(id)) rows.push_back({"zero", ZeroText(id)});
  rows.push_back({"example", facts.example});
  rows.push_back({"exampleStored", SpacedHex(StoredForm(*example, 0))});
  rows.push_back({"exampleReversed", SpacedHex(StoredForm(*example, 2))});
  return rows;
}

struct ModuleIdentity {
  unsigned major, minor, release, build, patch, buildNumber;
  const char* name;
  const char* internalName;
  const char* buildDateAndTime;
  const char* further;
  const char* compiler;
  const void* reserved;
};

ModuleIdentity DescribeModule() {
  ModuleIdentity module{};
  module.name = KvDescribeDll(module.major, module.minor, module.release, module.build,
                              module.patch, module.internalName, module.buildDateAndTime,
                              module.further, module.buildNumber, module.compiler, module.reserved);
  return module;
}

}  // namespace

void PrintTypeCard(char id, Output output) {
  TextTable card{kColumns, {CatalogueRow(id)}};
  for (const std::vector<std::string>& fact : CardFacts(id)) {
    card.columns.push_back(fact[0]);
    card.rows[0].push_back(TextCell(fact[1]));
  }
  const TypeFacts& facts = FactsOf(id);
  if (output == Output::kJson) {
    card.columns.push_back("fields");
    card.rows[0].push_back({"", FieldsAsJson(facts)});
  }
  PrintCard(card, output);
  if (output == Output::kText && *facts.fields != '\0') Print(Aligned(FieldRows(facts)));
}

int RunTypes(const Arguments& arguments) {
  const Output output = OutputOf(arguments);
  for (const std::string& type : arguments.From(0)) PrintTypeCard(FindValueType(type), output);
  if (arguments.Count() > 0) return kExitGood;
  TextTable table{kColumns, {}};
  for (char id = 0; id < TypeCount(); ++id) table.rows.push_back(CatalogueRow(id));
  if (output != Output::kText) {
    PrintJsonOrCsv(table, output);
    return kExitGood;
  }
  // For people, without the column that "stored" tells already.
  std::vector<std::vector<std::string>> rows = {
      {"id", "type", "id name", "memory", "stored", "null", "format"}};
  for (const std::vector<Cell>& row : table.rows) {
    rows.push_back({row[0].text, row[1].text, row[2].text, row[3].text, row[4].text, row[6].text,
                    row[7].text});
  }
  Print(Aligned(rows));
  return kExitGood;
}

std::string ModuleVersion() {
  const ModuleIdentity module = DescribeModule();
  std::string version = module.name;
  char separator = ' ';
  for (const unsigned number :
       {module.major, module.minor, module.release, module.build, module.patch}) {
    version += separator + std::to_string(number);
    separator = '.';
  }
  return version;
}

int RunDescribe(const Arguments& arguments) {
  const Output output = OutputOf(arguments);
  for (const std::string& type : arguments.From(0)) PrintTypeCard(FindValueType(type), output);
  if (arguments.Count() > 0) return kExitGood;
  const ModuleIdentity module = DescribeModule();
  const std::string version = ModuleVersion().substr(std::string(module.name).size() + 1);
  const bool fits = KvCheckDll(0) == 0;
  PrintCard({{"name", "internalName", "version", "build", "built", "compiler", "formatVersion",
              "pointerBits", "fitsPlatform"},
             {{TextCell(module.name), TextCell(module.internalName), TextCell(version),
               NumberCell(std::to_string(module.buildNumber)), TextCell(module.buildDateAndTime),
               TextCell(module.compiler), NumberCell(std::to_string(Types().FormatVersion())),
               NumberCell(std::to_string(8 * sizeof(void*))), TruthCell(fits)}}},
            output);
  return kExitGood;
}
