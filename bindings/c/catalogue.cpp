// kvc: the library, its types, its languages and code sets.
#include <algorithm>
#include <string>
#include <string_view>

#include "names.h"
#include "run.h"

using namespace kvc;

namespace {

std::uint32_t FlagsOf(char id) {
  const TypeFacts& facts = kFacts[static_cast<int>(id)];
  std::uint32_t flags = 0;
  if (facts.storedWidth != 0) flags |= KVC_TYPE_FIXED;
  if (facts.hasValues && kTypes.SupportsNullValue(id)) flags |= KVC_TYPE_NULLABLE;
  if (facts.hasValues && kTypes.SupportsCapability(id, 2)) flags |= KVC_TYPE_STEPPABLE;
  if (facts.memoryWidth != 0) flags |= KVC_TYPE_MEMORY;
  return flags;
}

// Looks a name up by one of the functions that throw a Failure.
template <typename LookUp>
std::int32_t Find(const char* name, std::size_t length, std::int32_t* number, LookUp lookUp) {
  if (name == nullptr || number == nullptr) return kvBadArgument;
  try {
    *number = lookUp(std::string_view(name, length));
    return kvOk;
  } catch (const Failure&) {
    return kvNoSuchType;
  } catch (...) {
    return kvNoMemory;
  }
}

template <typename Name>
std::int32_t WriteName(std::int32_t number, const Output& out, Name name) {
  out.Clear();
  if (number < 0 || number > 253) return kvNoSuchType;
  return Guarded([&] {
    const std::string text = name(static_cast<unsigned char>(number));
    return out.WriteText(text.data(), text.size());
  });
}

}  // namespace

uint32_t kvc_abi_version(void) {
  return KVC_ABI_VERSION;
}

const char* kvc_library_version(void) {
  return KVC_LIBRARY_VERSION;
}

const char* kvc_status_name(int32_t status) {
  return KvStatusName(status);
}

const char* kvc_status_text(int32_t status) {
  return KvStatusText(status);
}

int32_t kvc_type_count(void) {
  return kTypeCount;
}

int32_t kvc_find_type(const char* name, size_t length, int32_t* type) {
  if (name == nullptr || type == nullptr) return kvBadArgument;
  char id = 0;
  const int status = KvFindType(kTypes, std::string_view(name, length), id);
  if (status == kvOk) *type = id;
  return status;
}

int32_t kvc_type_info(int32_t type, kvc_type* info) {
  if (!IsStructure(info)) return kvBadArgument;
  if (type < 0 || type >= kTypeCount) return kvNoSuchType;
  const char id = static_cast<char>(type);
  const TypeFacts& facts = kFacts[type];
  info->id = type;
  info->name = kTypes.NameGet(id, nullptr);
  info->id_name = kTypes.TypeIdNameGet(id, nullptr);
  // The exchange with null only reads; it is no const member because it may write.
  info->format = KvTypeMgr(kTypes).ExchangeFormat(id, nullptr);
  info->flags = FlagsOf(id);
  info->stored_width = facts.storedWidth;
  info->memory_width = facts.memoryWidth;
  info->memory_alignment = facts.memoryAlignment;
  return kvOk;
}

int32_t kvc_find_language(const char* name, size_t length, int32_t* language) {
  return Find(name, length, language, FindLanguage);
}

int32_t kvc_find_code_set(const char* name, size_t length, int32_t* code_set) {
  return Find(name, length, code_set, FindCodeSet);
}

int32_t kvc_language_name(int32_t language, char* name, size_t capacity, size_t* needed) {
  return WriteName(language, {name, capacity, needed}, LanguageName);
}

int32_t kvc_code_set_name(int32_t code_set, char* name, size_t capacity, size_t* needed) {
  return WriteName(code_set, {name, capacity, needed}, CodeSetName);
}
