// kvtm types and kvtm describe: what the library knows, and which library it is.
#include <cstdio>

#include "catalogue.h"
#include "commands.h"

namespace {

std::string StoredSize(char id) {
  if (!Types().IsFixed(id)) return "varies";
  const unsigned char anything[32] = {};
  return std::to_string(Types().DiskLenGet(id, anything, 0, 1, 0));
}

void PrintTypesAsJson() {
  std::string json = "[\n";
  for (char id = 0; id < TypeCount(); ++id) {
    const std::string stored = StoredSize(id);
    json += "  {\"id\": " + std::to_string(id) + ", \"name\": " + JsonText(TypeName(id)) +
            ", \"idName\": " + JsonText(TypeIdName(id)) +
            ", \"memoryBytes\": " + std::to_string(Types().MemLenGet(id, 1)) +
            ", \"storedBytes\": " + (Types().IsFixed(id) ? stored : "null") +
            ", \"fixed\": " + (Types().IsFixed(id) ? "true" : "false") +
            ", \"nullable\": " + (Types().SupportsNullValue(id) ? "true" : "false") +
            ", \"format\": " + JsonText(Types().ExchangeFormat(id, nullptr)) + "}" +
            (id + 1 < TypeCount() ? ",\n" : "\n");
  }
  Print(json + "]\n");
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

int RunTypes(const Arguments& arguments) {
  if (arguments.Has("json")) {
    PrintTypesAsJson();
    return 0;
  }
  std::vector<std::vector<std::string>> rows = {
      {"id", "type", "id name", "memory", "stored", "null", "format"}};
  for (char id = 0; id < TypeCount(); ++id) {
    rows.push_back({std::to_string(id), TypeName(id), TypeIdName(id),
                    std::to_string(Types().MemLenGet(id, 1)), StoredSize(id),
                    Types().SupportsNullValue(id) ? "yes" : "no",
                    Types().ExchangeFormat(id, nullptr)});
  }
  PrintTable(rows);
  return 0;
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
  const ModuleIdentity module = DescribeModule();
  const std::string version = ModuleVersion().substr(std::string(module.name).size() + 1);
  const std::vector<std::vector<std::string>> facts = {
      {"name", module.name},
      {"internalName", module.internalName},
      {"version", version},
      {"build", std::to_string(module.buildNumber)},
      {"built", module.buildDateAndTime},
      {"compiler", module.compiler},
      {"formatVersion", std::to_string(Types().FormatVersion())},
      {"pointerBits", std::to_string(8 * sizeof(void*))},
      {"fitsPlatform", KvCheckDll(0) == 0 ? "yes" : "no"}};
  if (!arguments.Has("json")) {
    PrintTable(facts);
    return 0;
  }
  std::string json = "{";
  for (const std::vector<std::string>& fact : facts) {
    json += (json.size() > 1 ? ", " : "") + JsonText(fact[0]) + ": " + JsonText(fact[1]);
  }
  Print(json + "}\n");
  return 0;
}
