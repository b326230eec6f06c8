// The extension module kvtm._kvtm: a Type object over kvc, in Python's limited API.
//
// Buffers of others may be changed by other threads, above all while the interpreter's lock is
// given away over a long run. For values of one width that only makes wrong values; bytes with
// lengths inside are copied first, unless they are a bytes object, which nobody can change.
#define PY_SSIZE_T_CLEAN
#include <Python.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "kvc.h"

namespace {

// From that many bytes on other threads may run meanwhile.
constexpr std::size_t kLongRun = 16384;

PyObject* errorClass;
PyObject* dateClass;
PyObject* timeClass;
PyObject* datetimeClass;
PyObject* timedeltaClass;

// --- Failures: null is returned and an exception is set -----------------------------------------

std::nullptr_t Raise(std::int32_t status, const char* detail = nullptr, long long place = -1) {
  if (status == KVC_NO_MEMORY) {
    PyErr_NoMemory();
    return nullptr;
  }
  const char* const name = kvc_status_name(status);
  const char* const words = detail == nullptr || *detail == '\0' ? kvc_status_text(status) : detail;
  PyObject* message = place < 0 ? PyUnicode_FromFormat("%s: %s", name, words)
                                : PyUnicode_FromFormat("%s: %s, at byte %lld", name, words, place);
  PyObject* error =
      message == nullptr ? nullptr : PyObject_CallFunctionObjArgs(errorClass, message, nullptr);
  Py_XDECREF(message);
  if (error == nullptr) return nullptr;
  PyObject* number = PyLong_FromLong(status);
  PyObject* nameText = PyUnicode_FromString(name);
  PyObject* where = place < 0 ? (Py_INCREF(Py_None), Py_None) : PyLong_FromLongLong(place);
  if (number != nullptr && nameText != nullptr && where != nullptr &&
      PyObject_SetAttrString(error, "status", number) == 0 &&
      PyObject_SetAttrString(error, "name", nameText) == 0 &&
      PyObject_SetAttrString(error, "place", where) == 0) {
    PyErr_SetObject(errorClass, error);
  }
  Py_XDECREF(number);
  Py_XDECREF(nameText);
  Py_XDECREF(where);
  Py_DECREF(error);
  return nullptr;
}

// --- The object ---------------------------------------------------------------------------------

enum class Kind {
  kSigned,
  kUnsigned,
  kFloat,
  kDouble,
  kBoolean,
  kText,
  kBlob,
  kDate,
  kTime,
  kDateTime,
  kInterval,
  kPlain
};

struct TypeObject {
  PyObject_HEAD kvc_type info;
  kvc_key_kind kind;
  kvc_text_options text;
  Kind values;
  std::uint32_t width;  // of a number in memory, without the indicator of a null
};

TypeObject* Of(PyObject* self) {
  return reinterpret_cast<TypeObject*>(self);
}

struct NumberKind {
  int id;
  Kind kind;
  std::uint32_t width;
};

constexpr NumberKind kKinds[] = {
    {0, Kind::kSigned, 1},    {1, Kind::kSigned, 2},    {2, Kind::kSigned, 4},
    {3, Kind::kDouble, 8},    {4, Kind::kFloat, 4},     {5, Kind::kUnsigned, 2},
    {6, Kind::kUnsigned, 4},  {7, Kind::kSigned, 4},    {8, Kind::kUnsigned, 4},
    {9, Kind::kSigned, 4},    {10, Kind::kUnsigned, 1}, {11, Kind::kText, 0},
    {12, Kind::kDate, 0},     {13, Kind::kTime, 0},     {14, Kind::kUnsigned, 4},
    {18, Kind::kBlob, 0},     {19, Kind::kDateTime, 0}, {20, Kind::kText, 0},
    {21, Kind::kText, 0},     {22, Kind::kDate, 0},     {23, Kind::kTime, 0},
    {24, Kind::kDateTime, 0}, {25, Kind::kInterval, 4}, {26, Kind::kSigned, 8},
    {27, Kind::kBoolean, 0},  {28, Kind::kSigned, 1},   {29, Kind::kUnsigned, 1},
    {30, Kind::kSigned, 2},   {31, Kind::kUnsigned, 2}, {32, Kind::kSigned, 4},
    {33, Kind::kUnsigned, 4}, {34, Kind::kSigned, 4},   {35, Kind::kUnsigned, 4},
    {36, Kind::kFloat, 4},    {37, Kind::kDouble, 8},   {38, Kind::kSigned, 8},
    {40, Kind::kDateTime, 0}, {42, Kind::kSigned, 8},   {43, Kind::kUnsigned, 8},
    {44, Kind::kSigned, 8},   {45, Kind::kUnsigned, 8},
};

bool IsNumber(Kind kind) {
  return kind <= Kind::kDouble || kind == Kind::kInterval;
}

// The type that stands for none and has no values.
bool IsIllegal(const kvc_type& info) {
  return info.id == kvc_type_count() - 1;
}

// A name or a number, by one of kvc's look-ups; -1 for None.
bool ReadName(PyObject* object, std::int32_t& number, const char* what,
              std::int32_t (*find)(const char*, std::size_t, std::int32_t*)) {
  if (object == nullptr || object == Py_None) return true;
  if (PyLong_Check(object)) {
    number = static_cast<std::int32_t>(PyLong_AsLong(object));
    return !PyErr_Occurred();
  }
  Py_ssize_t size = 0;
  const char* text = PyUnicode_AsUTF8AndSize(object, &size);
  if (text == nullptr) return false;
  if (find(text, static_cast<std::size_t>(size), &number) == KVC_OK) return true;
  PyErr_Format(PyExc_LookupError, "no %s is called %R", what, object);
  return false;
}

int FillType(TypeObject& type, PyObject* name, PyObject* language, PyObject* codeSet,
             unsigned long compare, unsigned long options) {
  std::int32_t id = -1;
  type.text = {sizeof type.text, KVC_TEXT_LITERAL, -1, -1, nullptr};
  if (!ReadName(name, id, "type", kvc_find_type) ||
      !ReadName(language, type.text.language, "language", kvc_find_language) ||
      !ReadName(codeSet, type.text.code_set, "code set", kvc_find_code_set)) {
    return -1;
  }
  type.info.size = sizeof type.info;
  const std::int32_t status = kvc_type_info(id, &type.info);
  if (status != KVC_OK) {
    Raise(status);
    return -1;
  }
  if (IsIllegal(type.info)) {
    Raise(KVC_NOT_SUPPORTED);
    return -1;
  }
  type.kind = {sizeof type.kind, id, static_cast<std::uint32_t>(options),
               static_cast<std::uint32_t>(compare), KVC_KEY_VERSION};
  type.values = Kind::kPlain;
  for (const NumberKind& each : kKinds) {
    if (each.id != id) continue;
    type.values = each.kind;
    type.width = each.width;
  }
  return 0;
}

// A Type is complete from its making on and never changes.
PyObject* NewType(PyTypeObject* made, PyObject* arguments, PyObject* keywords) {
  static const char* const names[] = {"type",    "language", "code_set",
                                      "compare", "options",  nullptr};
  PyObject* name = nullptr;
  PyObject* language = nullptr;
  PyObject* codeSet = nullptr;
  unsigned long compare = KVC_EXACT;
  unsigned long options = 0;
  if (!PyArg_ParseTupleAndKeywords(arguments, keywords, "O|$OOkk:Type", const_cast<char**>(names),
                                   &name, &language, &codeSet, &compare, &options)) {
    return nullptr;
  }
  PyObject* self = PyType_GenericAlloc(made, 0);
  if (self != nullptr && FillType(*Of(self), name, language, codeSet, compare, options) != 0) {
    Py_CLEAR(self);
  }
  return self;
}

void DeallocType(PyObject* self) {
  PyTypeObject* const type = Py_TYPE(self);
  reinterpret_cast<freefunc>(PyType_GetSlot(type, Py_tp_free))(self);
  Py_DECREF(type);
}

PyObject* ReprType(PyObject* self) {
  return PyUnicode_FromFormat("kvtm.Type('%s')",
                              Of(self)->info.name == nullptr ? "" : Of(self)->info.name);
}

// --- Buffers ------------------------------------------------------------------------------------

// The bytes of an object, held until the end of the call.
class View {
 public:
  View() = default;
  ~View() {
    if (held_) PyBuffer_Release(&buffer_);
  }
  View(const View&) = delete;
  View& operator=(const View&) = delete;

  bool Open(PyObject* object, bool writable = false) {
    if (!writable && PyBytes_Check(object)) {
      char* data = nullptr;
      Py_ssize_t size = 0;
      if (PyBytes_AsStringAndSize(object, &data, &size) != 0) return false;
      data_ = reinterpret_cast<unsigned char*>(data);
      size_ = static_cast<std::size_t>(size);
      return true;
    }
    if (PyObject_GetBuffer(object, &buffer_, writable ? PyBUF_WRITABLE : PyBUF_SIMPLE) != 0) {
      return false;
    }
    held_ = true;
    static unsigned char nothing;
    data_ = buffer_.buf == nullptr ? &nothing : static_cast<unsigned char*>(buffer_.buf);
    size_ = static_cast<std::size_t>(buffer_.len);
    return true;
  }
  // For bytes with lengths inside: what another thread writes must not be followed.
  void Settle() {
    if (!held_) return;
    copy_.assign(data_, data_ + size_);
    copy_.push_back(0);
    data_ = copy_.data();
  }
  unsigned char* Data() const { return data_; }
  std::size_t Size() const { return size_; }

 private:
  Py_buffer buffer_{};
  bool held_ = false;
  unsigned char* data_ = nullptr;
  std::size_t size_ = 0;
  std::vector<unsigned char> copy_;
};

// Gives the interpreter's lock away while it lives, for long runs alone.
class Unlocked {
 public:
  explicit Unlocked(std::size_t bytes)
      : state_(bytes >= kLongRun ? PyEval_SaveThread() : nullptr) {}
  ~Unlocked() {
    if (state_ != nullptr) PyEval_RestoreThread(state_);
  }
  Unlocked(const Unlocked&) = delete;
  Unlocked& operator=(const Unlocked&) = delete;

 private:
  PyThreadState* state_;
};

// Values in a buffer: how many they are, and their form.
struct Values {
  View view;
  std::uint32_t form = KVC_STORED;
  std::uint32_t count = 0;

  bool Open(const TypeObject& type, PyObject* object, std::uint32_t asForm) {
    form = asForm;
    return view.Open(object) && Count(type);
  }

 private:
  bool Count(const TypeObject& type) {
    const std::uint32_t width =
        form == KVC_MEMORY ? type.info.memory_width : type.info.stored_width;
    if (width == 0) {
      if (form == KVC_MEMORY) return Raise(KVC_NOT_SUPPORTED) != nullptr;
      view.Settle();
      return CountVarying(type);
    }
    const std::size_t whole = view.Size() / width;
    if (whole * width != view.Size()) {
      return Raise(KVC_BUFFER_SHORT, nullptr, static_cast<long long>(whole * width)) != nullptr;
    }
    if (whole > UINT32_MAX) return Raise(KVC_OUT_OF_RANGE) != nullptr;
    count = static_cast<std::uint32_t>(whole);
    return true;
  }

  bool CountVarying(const TypeObject& type) {
    if (view.Size() == 0) return true;
    kvc_measure measure{};
    measure.size = sizeof measure;
    const std::int32_t status =
        kvc_check(type.info.id, form, view.Data(), view.Size(), 0, &measure);
    if (status != KVC_OK) {
      Raise(status, measure.reason, static_cast<long long>(measure.offset));
      return false;
    }
    count = measure.count;
    return true;
  }
};

// Exactly one value.
bool OpenOne(Values& values, const TypeObject& type, PyObject* object, std::uint32_t form) {
  if (!values.Open(type, object, form)) return false;
  if (values.count == 1) return true;
  return Raise(KVC_BAD_ARGUMENT,
               values.count == 0 ? "no value" : "a run where one value is meant") != nullptr;
}

bool ReadForm(PyObject* const* arguments, Py_ssize_t count, Py_ssize_t index, std::uint32_t& form) {
  form = KVC_STORED;
  if (count <= index) return true;
  const long number = PyLong_AsLong(arguments[index]);
  if (number == -1 && PyErr_Occurred()) return false;
  form = static_cast<std::uint32_t>(number);
  if (form == KVC_STORED || form == KVC_REVERSED || form == KVC_MEMORY) return true;
  return Raise(KVC_BAD_ARGUMENT, "no form of that number") != nullptr;
}

bool HasArguments(const char* name, Py_ssize_t count, Py_ssize_t least, Py_ssize_t most) {
  if (count >= least && count <= most) return true;
  PyErr_Format(PyExc_TypeError, "%s takes %zd to %zd arguments (%zd given)", name, least, most,
               count);
  return false;
}

// Bytes that `write(buffer, capacity, &needed)` writes, in a buffer of the size that it asks for.
// `failed` is told the status.
template <typename Write>
PyObject* Bytes(Write write, std::int32_t& status) {
  char small[512];
  std::size_t size = 0;
  status = write(static_cast<void*>(small), sizeof small, &size);
  if (status == KVC_OK) return PyBytes_FromStringAndSize(small, static_cast<Py_ssize_t>(size));
  if (status != KVC_BUFFER_SHORT || size < sizeof small) return nullptr;
  // A text needs room for its end.
  PyObject* bytes = PyBytes_FromStringAndSize(nullptr, static_cast<Py_ssize_t>(size));
  if (bytes == nullptr) {
    status = KVC_OK;
    return nullptr;
  }
  status = write(PyBytes_AsString(bytes), size, &size);
  if (status == KVC_OK) return bytes;
  Py_DECREF(bytes);
  return nullptr;
}

template <typename Write>
PyObject* BytesOrRaise(Write write) {
  std::int32_t status = KVC_OK;
  PyObject* bytes = Bytes(write, status);
  return bytes != nullptr || PyErr_Occurred() ? bytes : Raise(status);
}

// --- Text ---------------------------------------------------------------------------------------

PyObject* PrintValues(const TypeObject& type, const Values& values, const char* format) {
  kvc_text_options options = type.text;
  options.format = format;
  std::vector<char> text(256);
  std::size_t size = 0;
  std::int32_t status = KVC_BUFFER_SHORT;
  while (status == KVC_BUFFER_SHORT) {
    status = kvc_print(type.info.id, &options, values.form, values.view.Data(), values.view.Size(),
                       values.count, text.data(), text.size(), &size);
    if (status == KVC_BUFFER_SHORT && size < text.size()) break;
    if (status == KVC_BUFFER_SHORT) text.resize(size + 1);
  }
  if (status != KVC_OK) return Raise(status);
  // A lone surrogate is a character of 16-bit code sets and has no place in UTF-8.
  return PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(size), "surrogatepass");
}

PyObject* ScanText(const TypeObject& type, PyObject* text, std::uint32_t form, const char* format) {
  PyObject* encoded = PyUnicode_AsEncodedString(text, "utf-8", "surrogatepass");
  if (encoded == nullptr) return nullptr;
  kvc_text_options options = type.text;
  options.format = format;
  char* utf8 = nullptr;
  Py_ssize_t length = 0;
  PyBytes_AsStringAndSize(encoded, &utf8, &length);
  std::size_t position = 0;
  std::int32_t status = KVC_OK;
  PyObject* stored = Bytes(
      [&](void* buffer, std::size_t capacity, std::size_t* needed) {
        return kvc_scan(type.info.id, &options, utf8, static_cast<std::size_t>(length), form,
                        buffer, capacity, needed, &position);
      },
      status);
  Py_DECREF(encoded);
  if (stored != nullptr || PyErr_Occurred()) return stored;
  return Raise(status, nullptr, static_cast<long long>(position));
}

// --- Python objects to values -------------------------------------------------------------------

PyObject* StoreMemory(const TypeObject& type, const void* value, std::uint32_t form) {
  return BytesOrRaise([&](void* buffer, std::size_t capacity, std::size_t* needed) {
    return kvc_translate(type.info.id, KVC_MEMORY, value, type.info.memory_width, 1, form, buffer,
                         capacity, needed);
  });
}

// A whole number within `width` bytes.
bool ReadWhole(PyObject* object, bool isSigned, std::uint32_t width, unsigned char* out) {
  unsigned long long bits = 0;
  const unsigned unused = 64 - 8 * width;
  if (isSigned) {
    const long long number = PyLong_AsLongLong(object);
    if (number == -1 && PyErr_Occurred()) return false;
    bits = static_cast<unsigned long long>(number);
    if (static_cast<long long>(bits << unused) >> unused != number) {
      return Raise(KVC_OUT_OF_RANGE) != nullptr;
    }
  } else {
    bits = PyLong_AsUnsignedLongLong(object);
    if (PyErr_Occurred()) return false;
    if (bits << unused >> unused != bits) return Raise(KVC_OUT_OF_RANGE) != nullptr;
  }
  std::memcpy(out, &bits, width);
  return true;
}

bool ReadNumber(const TypeObject& type, PyObject* value, unsigned char* out) {
  if (type.values == Kind::kSigned || type.values == Kind::kUnsigned) {
    if (!PyLong_Check(value)) {
      PyErr_Format(PyExc_TypeError, "%s takes an int", type.info.name);
      return false;
    }
    if (ReadWhole(value, type.values == Kind::kSigned, type.width, out)) return true;
    // What Python's own numbers call an overflow has the library's name here.
    if (PyErr_ExceptionMatches(PyExc_OverflowError)) {
      PyErr_Clear();
      Raise(KVC_OUT_OF_RANGE);
    }
    return false;
  }
  const double number = PyFloat_AsDouble(value);
  if (number == -1 && PyErr_Occurred()) return false;
  if (type.values == Kind::kDouble) {
    std::memcpy(out, &number, sizeof number);
  } else {
    const auto rounded = static_cast<float>(number);
    std::memcpy(out, &rounded, sizeof rounded);
  }
  return true;
}

PyObject* StoreIso(const TypeObject& type, PyObject* value, std::uint32_t form) {
  PyObject* text = PyObject_CallMethod(value, "isoformat", nullptr);
  if (text == nullptr) return nullptr;
  PyObject* stored = ScanText(type, text, form, nullptr);
  Py_DECREF(text);
  return stored;
}

bool IsA(PyObject* value, PyObject* wanted) {
  return PyObject_IsInstance(value, wanted) == 1;
}

// Whether the value is of the class of `datetime` that the type goes with.
bool IsMoment(Kind kind, PyObject* value) {
  switch (kind) {
    case Kind::kDate:
      return IsA(value, dateClass) && !IsA(value, datetimeClass);
    case Kind::kTime:
      return IsA(value, timeClass);
    case Kind::kDateTime:
      return IsA(value, datetimeClass);
    default:
      return false;
  }
}

PyObject* StoreInterval(const TypeObject& type, PyObject* value, std::uint32_t form) {
  PyObject* seconds = PyObject_CallMethod(value, "total_seconds", nullptr);
  unsigned char memory[16] = {};
  const bool read = seconds != nullptr && ReadNumber(type, seconds, memory);
  Py_XDECREF(seconds);
  return read ? StoreMemory(type, memory, form) : nullptr;
}

PyObject* StoreNull(const TypeObject& type, std::uint32_t form) {
  return BytesOrRaise([&](void* buffer, std::size_t capacity, std::size_t* needed) {
    return kvc_null(type.info.id, form, buffer, capacity, needed);
  });
}

PyObject* StoreBlob(PyObject* value, std::uint32_t form) {
  View bytes;
  if (!bytes.Open(value)) return nullptr;
  return BytesOrRaise([&](void* buffer, std::size_t capacity, std::size_t* needed) {
    return kvc_blob_put(bytes.Data(), bytes.Size(), form, buffer, capacity, needed);
  });
}

PyObject* StoreObject(const TypeObject& type, PyObject* value, std::uint32_t form) {
  if (value == Py_None) return StoreNull(type, form);
  if (type.values == Kind::kBlob && !PyUnicode_Check(value)) return StoreBlob(value, form);
  if (PyUnicode_Check(value)) return ScanText(type, value, form, nullptr);
  if (IsMoment(type.values, value)) return StoreIso(type, value, form);
  if (type.values == Kind::kInterval && IsA(value, timedeltaClass)) {
    return StoreInterval(type, value, form);
  }
  if (type.values == Kind::kBoolean && PyBool_Check(value)) {
    PyObject* text = PyUnicode_FromString(value == Py_True ? "TRUE" : "FALSE");
    PyObject* stored = text == nullptr ? nullptr : ScanText(type, text, form, nullptr);
    Py_XDECREF(text);
    return stored;
  }
  if (IsNumber(type.values)) {
    alignas(16) unsigned char memory[16] = {};
    return ReadNumber(type, value, memory) ? StoreMemory(type, memory, form) : nullptr;
  }
  PyErr_Format(PyExc_TypeError, "%s does not take %R", type.info.name, value);
  return nullptr;
}

// --- Values to Python objects -------------------------------------------------------------------

// Seconds; those that no timedelta holds, a NaN among them, stay a float.
PyObject* Interval(double seconds) {
  PyObject* interval = PyObject_CallFunction(timedeltaClass, "id", 0, seconds);
  if (interval != nullptr ||
      !(PyErr_ExceptionMatches(PyExc_OverflowError) || PyErr_ExceptionMatches(PyExc_ValueError))) {
    return interval;
  }
  PyErr_Clear();
  return PyFloat_FromDouble(seconds);
}

PyObject* NumberObject(const TypeObject& type, const unsigned char* memory) {
  if (type.values == Kind::kDouble) {
    double number = 0;
    std::memcpy(&number, memory, sizeof number);
    return PyFloat_FromDouble(number);
  }
  if (type.values == Kind::kFloat || type.values == Kind::kInterval) {
    float number = 0;
    std::memcpy(&number, memory, sizeof number);
    if (type.values == Kind::kFloat) return PyFloat_FromDouble(number);
    return Interval(number);
  }
  unsigned long long bits = 0;
  std::memcpy(&bits, memory, type.width);
  const unsigned unused = 64 - 8 * type.width;
  if (type.values == Kind::kUnsigned) return PyLong_FromUnsignedLongLong(bits);
  return PyLong_FromLongLong(static_cast<long long>(bits << unused) >> unused);
}

PyObject* LoadNumber(const TypeObject& type, const Values& value) {
  alignas(16) unsigned char memory[32];
  std::size_t size = 0;
  const std::int32_t status =
      kvc_translate(type.info.id, value.form, value.view.Data(), value.view.Size(), 1, KVC_MEMORY,
                    memory, sizeof memory, &size);
  return status != KVC_OK ? Raise(status) : NumberObject(type, memory);
}

PyObject* LoadBlob(const Values& value) {
  return BytesOrRaise([&](void* buffer, std::size_t capacity, std::size_t* needed) {
    return kvc_blob_get(value.form, value.view.Data(), value.view.Size(), buffer, capacity, needed);
  });
}

// A date or time that Python has not, such as one with a wildcard, stays a text.
PyObject* Moment(PyObject* wanted, PyObject* text) {
  PyObject* moment = PyObject_CallMethod(wanted, "fromisoformat", "O", text);
  if (moment != nullptr || !PyErr_ExceptionMatches(PyExc_ValueError)) return moment;
  PyErr_Clear();
  Py_INCREF(text);
  return text;
}

PyObject* LoadText(const TypeObject& type, const Values& value) {
  PyObject* text = PrintValues(type, value, nullptr);
  PyObject* wanted = type.values == Kind::kDate       ? dateClass
                     : type.values == Kind::kTime     ? timeClass
                     : type.values == Kind::kDateTime ? datetimeClass
                                                      : nullptr;
  if (text == nullptr || wanted == nullptr) return text;
  PyObject* moment = Moment(wanted, text);
  Py_DECREF(text);
  return moment;
}

PyObject* LoadObject(const TypeObject& type, const Values& value) {
  std::int32_t isNull = 0;
  if ((type.info.flags & KVC_TYPE_NULLABLE) != 0) {
    const std::int32_t status =
        kvc_is_null(type.info.id, value.form, value.view.Data(), value.view.Size(), &isNull);
    if (status != KVC_OK) return Raise(status);
  }
  if (isNull != 0) Py_RETURN_NONE;
  if (IsNumber(type.values)) return LoadNumber(type, value);
  if (type.values == Kind::kBlob) return LoadBlob(value);
  PyObject* loaded = LoadText(type, value);
  if (loaded == nullptr || type.values != Kind::kBoolean) return loaded;
  const int isTrue = PyUnicode_CompareWithASCIIString(loaded, "TRUE") == 0;
  Py_DECREF(loaded);
  return PyBool_FromLong(isTrue);
}

// --- Methods ------------------------------------------------------------------------------------

using Arguments = PyObject* const*;

PyObject* Store(PyObject* self, Arguments arguments, Py_ssize_t count) {
  std::uint32_t form = 0;
  if (!HasArguments("store", count, 1, 2) || !ReadForm(arguments, count, 1, form)) return nullptr;
  return StoreObject(*Of(self), arguments[0], form);
}

PyObject* Load(PyObject* self, Arguments arguments, Py_ssize_t count) {
  std::uint32_t form = 0;
  Values value;
  if (!HasArguments("load", count, 1, 2) || !ReadForm(arguments, count, 1, form) ||
      !OpenOne(value, *Of(self), arguments[0], form)) {
    return nullptr;
  }
  return LoadObject(*Of(self), value);
}

// The format of text and scan, null for None.
bool ReadFormat(Arguments arguments, Py_ssize_t count, const char*& format) {
  format = nullptr;
  if (count < 3 || arguments[2] == Py_None) return true;
  format = PyUnicode_AsUTF8AndSize(arguments[2], nullptr);
  return format != nullptr;
}

PyObject* Text(PyObject* self, Arguments arguments, Py_ssize_t count) {
  std::uint32_t form = 0;
  const char* format = nullptr;
  Values values;
  if (!HasArguments("text", count, 1, 3) || !ReadForm(arguments, count, 1, form) ||
      !ReadFormat(arguments, count, format) || !values.Open(*Of(self), arguments[0], form)) {
    return nullptr;
  }
  return PrintValues(*Of(self), values, format);
}

PyObject* Scan(PyObject* self, Arguments arguments, Py_ssize_t count) {
  std::uint32_t form = 0;
  const char* format = nullptr;
  if (!HasArguments("scan", count, 1, 3) || !ReadForm(arguments, count, 1, form) ||
      !ReadFormat(arguments, count, format)) {
    return nullptr;
  }
  if (!PyUnicode_Check(arguments[0])) {
    PyErr_SetString(PyExc_TypeError, "scan takes a str");
    return nullptr;
  }
  return ScanText(*Of(self), arguments[0], form, format);
}

PyObject* Check(PyObject* self, Arguments arguments, Py_ssize_t count) {
  std::uint32_t form = 0;
  Values values;
  if (!HasArguments("check", count, 1, 2) || !ReadForm(arguments, count, 1, form) ||
      !values.Open(*Of(self), arguments[0], form)) {
    return nullptr;
  }
  return PyLong_FromUnsignedLong(values.count);
}

PyObject* Compare(PyObject* self, Arguments arguments, Py_ssize_t count) {
  const TypeObject& type = *Of(self);
  std::uint32_t form = 0;
  Values a;
  Values b;
  if (!HasArguments("compare", count, 2, 3) || !ReadForm(arguments, count, 2, form) ||
      !a.Open(type, arguments[0], form) || !b.Open(type, arguments[1], form)) {
    return nullptr;
  }
  if (a.count != b.count) return Raise(KVC_BAD_ARGUMENT, "runs of different lengths");
  std::int32_t order = 0;
  std::int32_t status = KVC_OK;
  {
    const Unlocked unlocked(a.view.Size());
    status = kvc_compare(type.info.id, type.kind.compare, form, a.view.Data(), a.view.Size(),
                         b.view.Data(), b.view.Size(), a.count, &order);
  }
  return status != KVC_OK ? Raise(status) : PyLong_FromLong(order);
}

PyObject* Hash(PyObject* self, Arguments arguments, Py_ssize_t count) {
  const TypeObject& type = *Of(self);
  std::uint32_t form = 0;
  Values values;
  if (!HasArguments("hash", count, 1, 2) || !ReadForm(arguments, count, 1, form) ||
      !values.Open(type, arguments[0], form)) {
    return nullptr;
  }
  std::uint32_t hash = 0;
  std::int32_t status = KVC_OK;
  {
    const Unlocked unlocked(values.view.Size());
    status =
        kvc_hash(type.info.id, form, values.view.Data(), values.view.Size(), values.count, &hash);
  }
  return status != KVC_OK ? Raise(status) : PyLong_FromUnsignedLong(hash);
}

PyObject* IsNull(PyObject* self, Arguments arguments, Py_ssize_t count) {
  const TypeObject& type = *Of(self);
  std::uint32_t form = 0;
  Values value;
  if (!HasArguments("is_null", count, 1, 2) || !ReadForm(arguments, count, 1, form) ||
      !OpenOne(value, type, arguments[0], form)) {
    return nullptr;
  }
  std::int32_t isNull = 0;
  const std::int32_t status =
      kvc_is_null(type.info.id, form, value.view.Data(), value.view.Size(), &isNull);
  return status != KVC_OK ? Raise(status) : PyBool_FromLong(isNull);
}

PyObject* Step(PyObject* self, Arguments arguments, Py_ssize_t count) {
  const TypeObject& type = *Of(self);
  std::uint32_t form = 0;
  Values value;
  if (!HasArguments("step", count, 1, 2) || !ReadForm(arguments, count, 1, form) ||
      !OpenOne(value, type, arguments[0], form)) {
    return nullptr;
  }
  std::vector<unsigned char> stepped(value.view.Data(), value.view.Data() + value.view.Size());
  const std::int32_t status = kvc_step(type.info.id, form, stepped.data(), stepped.size());
  if (status != KVC_OK) return Raise(status);
  return PyBytes_FromStringAndSize(reinterpret_cast<const char*>(stepped.data()),
                                   static_cast<Py_ssize_t>(stepped.size()));
}

// A result of known size: into a new bytes object, or into the caller's buffer, of which then the
// bytes written are returned.
template <typename Write>
PyObject* WriteRun(PyObject* into, std::size_t size, Write write) {
  if (into != nullptr && into != Py_None) {
    View out;
    if (!out.Open(into, true)) return nullptr;
    std::int32_t status = KVC_OK;
    {
      const Unlocked unlocked(size);
      status = write(out.Data(), out.Size(), &size);
    }
    return status != KVC_OK ? Raise(status) : PyLong_FromSize_t(size);
  }
  PyObject* bytes = PyBytes_FromStringAndSize(nullptr, static_cast<Py_ssize_t>(size));
  if (bytes == nullptr) return nullptr;
  auto* const data = reinterpret_cast<unsigned char*>(PyBytes_AsString(bytes));
  std::int32_t status = KVC_OK;
  {
    const Unlocked unlocked(size);
    status = write(data, size, &size);
  }
  if (status == KVC_OK && size == static_cast<std::size_t>(PyBytes_Size(bytes))) return bytes;
  PyObject* shorter = status == KVC_OK ? PyBytes_FromStringAndSize(PyBytes_AsString(bytes),
                                                                   static_cast<Py_ssize_t>(size))
                                       : Raise(status);
  Py_DECREF(bytes);
  return shorter;
}

PyObject* Translate(PyObject* self, Arguments arguments, Py_ssize_t count) {
  const TypeObject& type = *Of(self);
  std::uint32_t from = 0;
  std::uint32_t to = 0;
  Values values;
  if (!HasArguments("translate", count, 3, 4) || !ReadForm(arguments, count, 1, from) ||
      !ReadForm(arguments, count, 2, to) || !values.Open(type, arguments[0], from)) {
    return nullptr;
  }
  const std::size_t width = to == KVC_MEMORY ? type.info.memory_width : type.info.stored_width;
  const std::size_t size = width == 0 ? values.view.Size() : width * values.count;
  return WriteRun(count > 3 ? arguments[3] : nullptr, size,
                  [&](void* out, std::size_t capacity, std::size_t* needed) {
                    return kvc_translate(type.info.id, from, values.view.Data(), values.view.Size(),
                                         values.count, to, out, capacity, needed);
                  });
}

PyObject* Key(PyObject* self, Arguments arguments, Py_ssize_t count) {
  const TypeObject& type = *Of(self);
  std::uint32_t form = 0;
  Values value;
  if (!HasArguments("key", count, 1, 2) || !ReadForm(arguments, count, 1, form) ||
      !OpenOne(value, type, arguments[0], form)) {
    return nullptr;
  }
  return BytesOrRaise([&](void* buffer, std::size_t capacity, std::size_t* needed) {
    return kvc_key(&type.kind, form, value.view.Data(), value.view.Size(), buffer, capacity,
                   needed);
  });
}

PyObject* KeyRun(PyObject* self, Arguments arguments, Py_ssize_t count) {
  const TypeObject& type = *Of(self);
  std::uint32_t form = 0;
  Values values;
  if (!HasArguments("key_run", count, 1, 3) || !ReadForm(arguments, count, 1, form) ||
      !values.Open(type, arguments[0], form)) {
    return nullptr;
  }
  const std::size_t bound = kvc_key_bound(&type.kind, values.view.Size(), values.count);
  return WriteRun(count > 2 ? arguments[2] : nullptr, bound,
                  [&](void* out, std::size_t capacity, std::size_t* needed) {
                    return kvc_key_run(&type.kind, form, values.view.Data(), values.view.Size(),
                                       values.count, out, capacity, nullptr, needed);
                  });
}

PyObject* KeyList(const unsigned char* keys, const std::vector<std::size_t>& offsets) {
  const std::size_t count = offsets.size() - 1;
  PyObject* list = PyList_New(static_cast<Py_ssize_t>(count));
  for (std::size_t i = 0; list != nullptr && i < count; ++i) {
    PyObject* key = PyBytes_FromStringAndSize(reinterpret_cast<const char*>(keys + offsets[i]),
                                              static_cast<Py_ssize_t>(offsets[i + 1] - offsets[i]));
    if (key == nullptr || PyList_SetItem(list, static_cast<Py_ssize_t>(i), key) != 0) {
      Py_CLEAR(list);
    }
  }
  return list;
}

PyObject* Keys(PyObject* self, Arguments arguments, Py_ssize_t count) {
  const TypeObject& type = *Of(self);
  std::uint32_t form = 0;
  Values values;
  if (!HasArguments("keys", count, 1, 2) || !ReadForm(arguments, count, 1, form) ||
      !values.Open(type, arguments[0], form)) {
    return nullptr;
  }
  std::vector<std::size_t> offsets(std::size_t{values.count} + 1);
  std::vector<unsigned char> keys(kvc_key_bound(&type.kind, values.view.Size(), values.count) + 1);
  std::size_t size = 0;
  std::int32_t status = KVC_OK;
  {
    const Unlocked unlocked(values.view.Size());
    status = kvc_key_run(&type.kind, form, values.view.Data(), values.view.Size(), values.count,
                         keys.data(), keys.size(), offsets.data(), &size);
  }
  return status != KVC_OK ? Raise(status) : KeyList(keys.data(), offsets);
}

PyObject* Unkey(PyObject* self, Arguments arguments, Py_ssize_t count) {
  const TypeObject& type = *Of(self);
  std::uint32_t form = 0;
  View key;
  if (!HasArguments("unkey", count, 1, 2) || !ReadForm(arguments, count, 1, form) ||
      !key.Open(arguments[0])) {
    return nullptr;
  }
  key.Settle();
  std::size_t used = 0;
  PyObject* stored = BytesOrRaise([&](void* buffer, std::size_t capacity, std::size_t* needed) {
    return kvc_unkey(&type.kind, key.Data(), key.Size(), form, buffer, capacity, needed, &used);
  });
  if (stored == nullptr || used == key.Size()) return stored;
  Py_DECREF(stored);
  return Raise(KVC_TEXT_LEFT, "bytes behind the key", static_cast<long long>(used));
}

PyObject* TextKey(PyObject* self, PyObject* text) {
  const TypeObject& type = *Of(self);
  if (!PyUnicode_Check(text)) {
    PyErr_SetString(PyExc_TypeError, "text_key takes a str");
    return nullptr;
  }
  Py_ssize_t length = 0;
  const char* utf8 = PyUnicode_AsUTF8AndSize(text, &length);
  if (utf8 == nullptr) return nullptr;
  return BytesOrRaise([&](void* buffer, std::size_t capacity, std::size_t* needed) {
    return kvc_text_key(&type.kind, &type.text, utf8, static_cast<std::size_t>(length), buffer,
                        capacity, needed);
  });
}

// --- Attributes ---------------------------------------------------------------------------------

PyObject* GetText(PyObject* self, void* which) {
  const kvc_type& info = Of(self)->info;
  const char* const texts[] = {info.name, info.id_name, info.format};
  return PyUnicode_FromString(texts[reinterpret_cast<std::intptr_t>(which)]);
}

PyObject* GetFlag(PyObject* self, void* bit) {
  const auto mask = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(bit));
  return PyBool_FromLong((Of(self)->info.flags & mask) != 0);
}

PyObject* GetNumber(PyObject* self, void* which) {
  const kvc_type& info = Of(self)->info;
  const long numbers[] = {info.id, static_cast<long>(info.stored_width),
                          static_cast<long>(info.memory_width)};
  return PyLong_FromLong(numbers[reinterpret_cast<std::intptr_t>(which)]);
}

void* Closure(std::uintptr_t number) {
  return reinterpret_cast<void*>(number);
}

using Fast = PyObject* (*)(PyObject*, Arguments, Py_ssize_t);

PyMethodDef Method(const char* name, Fast function, const char* text) {
  return {name, reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(function)),
          METH_FASTCALL, text};
}

PyMethodDef methods[] = {
    Method(
        "store", Store,
        "store(value, form=STORED, /)\n--\n\nThe bytes of a value: None for a null, an int, float, "
        "bool, str, bytes,\ndate, time, datetime or timedelta, as the type has it."),
    Method("load", Load,
           "load(stored, form=STORED, /)\n--\n\nThe value of stored bytes as Python's own object. "
           "A date "
           "that Python\nhas not, such as one with a wildcard, is a str."),
    Method(
        "text", Text,
        "text(stored, form=STORED, format=None, /)\n--\n\nA value, or a run with commas, as text."),
    Method("scan", Scan,
           "scan(text, form=STORED, format=None, /)\n--\n\nThe bytes of a value that is given as "
           "text."),
    Method("check", Check,
           "check(stored, form=STORED, /)\n--\n\nHow many values the bytes are; raises Error when "
           "they "
           "are not sound."),
    Method("compare", Compare,
           "compare(a, b, form=STORED, /)\n--\n\nThe order of two values or runs: -1, 0 or 1."),
    Method("hash", Hash, "hash(values, form=STORED, /)\n--\n\nThe hash of a value or a run."),
    Method("is_null", IsNull, "is_null(stored, form=STORED, /)\n--\n\nWhether the value is null."),
    Method("step", Step, "step(stored, form=STORED, /)\n--\n\nThe next value."),
    Method("translate", Translate,
           "translate(values, source, to, into=None, /)\n--\n\nA run in another form: as bytes, or "
           "written into a buffer, and then\nhow many bytes were written."),
    Method("key", Key, "key(stored, form=STORED, /)\n--\n\nThe sort key of a value."),
    Method(
        "key_run", KeyRun,
        "key_run(values, form=STORED, into=None, /)\n--\n\nThe sort keys of a run, back to back."),
    Method("keys", Keys, "keys(values, form=STORED, /)\n--\n\nThe sort keys of a run, as a list."),
    Method("unkey", Unkey, "unkey(key, form=STORED, /)\n--\n\nThe bytes of a sort key's value."),
    {"text_key", TextKey, METH_O,
     "text_key(text, /)\n--\n\nThe sort key of a value that is given as text."},
    {nullptr, nullptr, 0, nullptr},
};

PyGetSetDef attributes[] = {
    {"name", GetText, nullptr, "the type's name, 'KvDate'", Closure(0)},
    {"id_name", GetText, nullptr, "the name of its id, 'KvDATE_T'", Closure(1)},
    {"format", GetText, nullptr, "its own print format", Closure(2)},
    {"id", GetNumber, nullptr, "the type id", Closure(0)},
    {"stored_width", GetNumber, nullptr, "bytes stored, 0 where they vary", Closure(1)},
    {"memory_width", GetNumber, nullptr, "bytes in memory, 0 for strings and blobs", Closure(2)},
    {"fixed", GetFlag, nullptr, "whether all values take as many bytes", Closure(KVC_TYPE_FIXED)},
    {"nullable", GetFlag, nullptr, "whether there is a null", Closure(KVC_TYPE_NULLABLE)},
    {nullptr, nullptr, nullptr, nullptr, nullptr},
};

PyType_Slot slots[] = {
    {Py_tp_doc,
     const_cast<char*>(
         "Type(type, *, language=None, code_set=None, compare=EXACT, options=0)\n--\n\nA type "
         "of the catalogue, by name or number.")},
    {Py_tp_new, reinterpret_cast<void*>(NewType)},
    {Py_tp_dealloc, reinterpret_cast<void*>(DeallocType)},
    {Py_tp_repr, reinterpret_cast<void*>(ReprType)},
    {Py_tp_methods, methods},
    {Py_tp_getset, attributes},
    {0, nullptr},
};

PyType_Spec spec = {"kvtm.Type", sizeof(TypeObject), 0, Py_TPFLAGS_DEFAULT, slots};

// --- The module ---------------------------------------------------------------------------------

PyObject* Types(PyObject*, PyObject*) {
  PyObject* list = PyList_New(0);
  for (std::int32_t id = 0; list != nullptr && id < kvc_type_count(); ++id) {
    kvc_type info{};
    info.size = sizeof info;
    if (kvc_type_info(id, &info) != KVC_OK || IsIllegal(info)) continue;
    PyObject* name = PyUnicode_FromString(info.name);
    if (name == nullptr || PyList_Append(list, name) != 0) Py_CLEAR(list);
    Py_XDECREF(name);
  }
  return list;
}

PyObject* Version(PyObject*, PyObject*) {
  return PyUnicode_FromString(kvc_library_version());
}

PyMethodDef functions[] = {
    {"types", Types, METH_NOARGS, "types()\n--\n\nThe names of all types that have values."},
    {"version", Version, METH_NOARGS, "version()\n--\n\nThe version of the library."},
    {nullptr, nullptr, 0, nullptr},
};

PyModuleDef definition = {PyModuleDef_HEAD_INIT,
                          "_kvtm",
                          "The extension behind kvtm.",
                          -1,
                          functions,
                          nullptr,
                          nullptr,
                          nullptr,
                          nullptr};

bool ImportMoments() {
  PyObject* datetime = PyImport_ImportModule("datetime");
  if (datetime == nullptr) return false;
  dateClass = PyObject_GetAttrString(datetime, "date");
  timeClass = PyObject_GetAttrString(datetime, "time");
  datetimeClass = PyObject_GetAttrString(datetime, "datetime");
  timedeltaClass = PyObject_GetAttrString(datetime, "timedelta");
  Py_DECREF(datetime);
  return dateClass != nullptr && timeClass != nullptr && datetimeClass != nullptr &&
         timedeltaClass != nullptr;
}

bool AddMembers(PyObject* module) {
  static const struct {
    const char* name;
    long number;
  } constants[] = {{"STORED", KVC_STORED},           {"REVERSED", KVC_REVERSED},
                   {"MEMORY", KVC_MEMORY},           {"EXACT", KVC_EXACT},
                   {"IGNORE_CASE", KVC_IGNORE_CASE}, {"IGNORE_ACCENTS", KVC_IGNORE_ACCENTS},
                   {"SKIP_SPACES", KVC_SKIP_SPACES}, {"IGNORE_VARIANTS", KVC_IGNORE_VARIANTS}};
  for (const auto& each : constants) {
    if (PyModule_AddIntConstant(module, each.name, each.number) != 0) return false;
  }
  PyObject* type = PyType_FromSpec(&spec);
  return type != nullptr && PyModule_AddObjectRef(module, "Type", type) == 0 &&
         PyModule_AddObjectRef(module, "Error", errorClass) == 0;
}

}  // namespace

PyMODINIT_FUNC PyInit__kvtm() {
  errorClass = PyErr_NewExceptionWithDoc(
      "kvtm.Error", "What the library refused: status, its name, and the place (or None).",
      PyExc_ValueError, nullptr);
  if (errorClass == nullptr || !ImportMoments()) return nullptr;
  PyObject* module = PyModule_Create(&definition);
  if (module != nullptr && !AddMembers(module)) Py_CLEAR(module);
  return module;
}
