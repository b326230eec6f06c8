/* Every function of kvc.h as a C program uses it: what it is for, and what it answers to a
 * stranger. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "kvc.h"

static int failures;

#define CHECK(holds) check((holds) != 0, #holds, __LINE__)
#define STATUS(wanted, call) status((wanted), (call), #call, __LINE__)

static void check(int holds, const char* what, int line) {
  if (holds) return;
  ++failures;
  printf("line %d: %s\n", line, what);
}

static void status(int32_t wanted, int32_t got, const char* call, int line) {
  if (wanted == got) return;
  ++failures;
  printf("line %d: %s: %s, wanted %s\n", line, call, kvc_status_name(got), kvc_status_name(wanted));
}

static int32_t type_of(const char* name) {
  int32_t type = -1;
  STATUS(KVC_OK, kvc_find_type(name, strlen(name), &type));
  return type;
}

typedef struct stored {
  unsigned char bytes[256];
  size_t size;
} stored;

static stored scan(const char* type, const char* text) {
  stored value = {{0}, 0};
  STATUS(KVC_OK, kvc_scan(type_of(type), NULL, text, strlen(text), KVC_STORED, value.bytes,
                          sizeof value.bytes, &value.size, NULL));
  return value;
}

static kvc_key_kind kind_of(const char* type, uint32_t options) {
  const kvc_key_kind kind = {sizeof kind, type_of(type), options, KVC_EXACT, KVC_KEY_VERSION};
  return kind;
}

static void test_library(void) {
  CHECK(kvc_abi_version() >= KVC_ABI_VERSION);
  CHECK(strchr(kvc_library_version(), '.') != NULL);
  CHECK(strcmp(kvc_status_name(KVC_BUFFER_SHORT), "kvBufferShort") == 0 &&
        strcmp(kvc_status_name(KVC_NO_SUCH_TYPE), "kvNoSuchType") == 0);
  CHECK(strcmp(kvc_status_name(KVC_NO_MEMORY), "kvNoMemory") == 0);
  CHECK(strcmp(kvc_status_name(12345), kvc_status_text(12345)) == 0 &&
        strcmp(kvc_status_text(12345), "unknown status") == 0);
}

static void test_catalogue(void) {
  kvc_type info;
  int32_t type, names = 0;
  for (type = 0; type < kvc_type_count(); ++type) {
    int32_t found = -1;
    info.size = sizeof info;
    STATUS(KVC_OK, kvc_type_info(type, &info));
    STATUS(KVC_OK, kvc_find_type(info.id_name, strlen(info.id_name), &found));
    CHECK(found == type && info.id == type);
    names += strcmp(info.name, "illegal") != 0;
    CHECK(((info.flags & KVC_TYPE_MEMORY) != 0) == (info.memory_width != 0));
    CHECK(info.memory_width == 0 || info.memory_width % info.memory_alignment == 0);
  }
  CHECK(names == kvc_type_count() - 1);
  info.size = sizeof info;
  STATUS(KVC_OK, kvc_type_info(type_of("KvDate"), &info));
  CHECK(info.stored_width == 4 && info.memory_width == 4 && info.memory_alignment == 2);
  CHECK(info.flags == (KVC_TYPE_FIXED | KVC_TYPE_NULLABLE | KVC_TYPE_MEMORY));
  STATUS(KVC_NO_SUCH_TYPE, kvc_type_info(kvc_type_count(), &info));
  STATUS(KVC_NO_SUCH_TYPE, kvc_type_info(-1, &info));
  STATUS(KVC_BAD_ARGUMENT, kvc_type_info(0, NULL));
  info.size = 8;
  STATUS(KVC_BAD_ARGUMENT, kvc_type_info(0, &info));
  STATUS(KVC_NO_SUCH_TYPE, kvc_find_type("kvdate", 6, &type));
  STATUS(KVC_BAD_ARGUMENT, kvc_find_type(NULL, 6, &type));
}

static void test_names(void) {
  int32_t number = -1;
  size_t size;
  char name[32];
  STATUS(KVC_OK, kvc_find_language("swedish", 7, &number));
  CHECK(number == 10);
  STATUS(KVC_OK, kvc_find_language("de", 2, &number));
  CHECK(number == 2);
  STATUS(KVC_NO_SUCH_TYPE, kvc_find_language("Klingon", 7, &number));
  CHECK(number == 2);
  STATUS(KVC_OK, kvc_find_code_set("cp1252", 6, &number));
  CHECK(number == 2);
  STATUS(KVC_OK, kvc_language_name(10, name, sizeof name, &size));
  CHECK(strcmp(name, "Swedish") == 0 && size == 7);
  STATUS(KVC_BUFFER_SHORT, kvc_language_name(10, name, 7, &size));
  STATUS(KVC_OK, kvc_code_set_name(1, name, sizeof name, &size));
  CHECK(strcmp(name, "ISO-8859-1") == 0);
  STATUS(KVC_NO_SUCH_TYPE, kvc_code_set_name(300, name, sizeof name, &size));
}

/* The C layout of a date, stored by hand in both orders. */
static void test_forms(void) {
  struct {
    int16_t year;
    int8_t month, day;
  } days[2] = {{2024, 2, 29}, {-5, 12, 1}}, back[2];
  static const unsigned char little[8] = {0xE8, 0x07, 2, 29, 0xFB, 0xFF, 12, 1};
  static const unsigned char big[8] = {0x07, 0xE8, 2, 29, 0xFF, 0xFB, 12, 1};
  const int32_t date = type_of("KvDate");
  unsigned char bytes[8];
  size_t size = 99;
  STATUS(KVC_OK, kvc_store(date, KVC_STORED, days, sizeof days, 2, bytes, sizeof bytes, &size));
  CHECK(size == 8 && memcmp(bytes, little, 8) == 0);
  STATUS(KVC_OK, kvc_load(date, KVC_REVERSED, big, 8, 2, back, sizeof back, &size));
  CHECK(size == 8 && memcmp(back, days, 8) == 0);
  STATUS(KVC_OK, kvc_translate(date, KVC_STORED, little, 8, 2, KVC_REVERSED, bytes, 8, NULL));
  CHECK(memcmp(bytes, big, 8) == 0);
  STATUS(KVC_OK, kvc_stored_size(date, KVC_MEMORY, days, sizeof days, 2, &size));
  CHECK(size == 8);
  memset(bytes, 0x55, sizeof bytes);
  STATUS(KVC_BUFFER_SHORT, kvc_store(date, KVC_STORED, days, sizeof days, 2, bytes, 7, &size));
  CHECK(size == 8 && bytes[0] == 0x55);
  STATUS(KVC_BUFFER_SHORT, kvc_store(date, KVC_STORED, days, 7, 2, bytes, 8, &size));
  CHECK(size == 0);
  STATUS(KVC_BUFFER_SHORT, kvc_store(date, 0, days, 8, UINT32_MAX, bytes, 8, &size));
  STATUS(KVC_BAD_ARGUMENT, kvc_load(date, 0, bytes, 4, 1, (char*)back + 1, 4, &size));
  STATUS(KVC_BAD_ARGUMENT, kvc_store(date, KVC_MEMORY, days, 8, 2, bytes, 8, &size));
  STATUS(KVC_BAD_ARGUMENT, kvc_store(date, 5, days, 8, 2, bytes, 8, &size));
  STATUS(KVC_BAD_ARGUMENT, kvc_store(date, 0, NULL, 8, 2, bytes, 8, &size));
  STATUS(KVC_NOT_SUPPORTED, kvc_store(type_of("KvString"), 0, days, 8, 1, bytes, 8, &size));
  STATUS(KVC_NOT_SUPPORTED, kvc_store(type_of("illegal"), 0, days, 8, 1, bytes, 8, &size));
  STATUS(KVC_NO_SUCH_TYPE, kvc_store(256, 0, days, 8, 1, bytes, 8, &size));
}

static void test_check(void) {
  static const unsigned char text[] = {7, 0, 1, 1, 'a', 'b', 'c', 0, 0xFF};
  const int32_t type = type_of("KvString");
  kvc_measure measure;
  measure.size = sizeof measure;
  STATUS(KVC_OK, kvc_check(type, KVC_STORED, text, sizeof text, 0, &measure));
  CHECK(measure.count == 1 && measure.bytes == 9 && measure.strange == 0);
  STATUS(KVC_BUFFER_SHORT, kvc_check(type, KVC_STORED, text, 8, 1, &measure));
  CHECK(measure.count == 0 && measure.wanted > 0 && *measure.reason != '\0');
  STATUS(KVC_BUFFER_SHORT, kvc_check(type_of("o_2b"), KVC_STORED, text, 9, 0, &measure));
  STATUS(KVC_OK, kvc_check(type_of("KvTime"), KVC_STORED, "\x19\0\0", 3, 0, &measure));
  CHECK(measure.strange == 1);
  STATUS(KVC_BAD_ARGUMENT, kvc_check(type, KVC_MEMORY, text, 9, 0, NULL));
  STATUS(KVC_BAD_ARGUMENT, kvc_check(type, KVC_STORED, NULL, 9, 0, NULL));
}

static int32_t order_of(const char* type, uint32_t compare, const char* text1, const char* text2) {
  const stored a = scan(type, text1), b = scan(type, text2);
  int32_t order = 99;
  STATUS(KVC_OK, kvc_compare(type_of(type), compare, KVC_STORED, a.bytes, a.size, b.bytes, b.size,
                             1, &order));
  return order;
}

static void test_order(void) {
  const int32_t numbers[2] = {-1, 5};
  const unsigned char reversed[8] = {0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 5};
  uint32_t hash1, hash2;
  int32_t order, type = type_of("o_4b");
  CHECK(order_of("o_4b", 0, "-1", "1") == -1);
  CHECK(order_of("KvDate", KVC_EXACT, "2024-03-01", "2024-02-29") == 1);
  CHECK(order_of("KvString", KVC_IGNORE_CASE, "ABC", "abc") == 0);
  CHECK(order_of("KvString", KVC_EXACT, "ABC", "abc") != 0);
  STATUS(KVC_OK, kvc_hash(type, KVC_MEMORY, numbers, sizeof numbers, 2, &hash1));
  STATUS(KVC_OK, kvc_hash(type, KVC_REVERSED, reversed, 8, 2, &hash2));
  CHECK(hash1 == hash2);
  STATUS(KVC_BUFFER_SHORT, kvc_hash(type, KVC_REVERSED, reversed, 8, 3, &hash2));
  STATUS(KVC_BAD_ARGUMENT, kvc_hash(type, KVC_REVERSED, NULL, 8, 2, &hash2));
  STATUS(KVC_BAD_ARGUMENT, kvc_hash(type, KVC_REVERSED, reversed, 8, 2, NULL));
  STATUS(KVC_OK, kvc_compare(type, 0, KVC_STORED, NULL, 0, NULL, 0, 0, &order));
  CHECK(order == 0);
  STATUS(KVC_BAD_ARGUMENT, kvc_compare(type, 1, KVC_STORED, reversed, 8, reversed, 8, 1, &order));
  STATUS(KVC_BUFFER_SHORT, kvc_compare(type, 0, KVC_STORED, reversed, 8, reversed, 3, 1, &order));
}

static void test_null_default_step(void) {
  stored value;
  unsigned char empty[] = {4, 0, 1, 1, 0, 0xFF};
  int32_t is_null = 9, type = type_of("KvNull_int");
  STATUS(KVC_OK, kvc_null(type, KVC_STORED, value.bytes, sizeof value.bytes, &value.size));
  STATUS(KVC_OK, kvc_is_null(type, KVC_STORED, value.bytes, value.size, &is_null));
  CHECK(is_null == 1 && value.size == 5);
  STATUS(KVC_NOT_SUPPORTED, kvc_null(type_of("o_4b"), 0, value.bytes, 256, NULL));
  STATUS(KVC_OK, kvc_default(type_of("o_4b"), 0, value.bytes, 256, &value.size));
  STATUS(KVC_OK, kvc_is_null(type_of("o_4b"), 0, value.bytes, value.size, &is_null));
  CHECK(is_null == 0 && value.size == 4 && value.bytes[0] == 0);
  memcpy(value.bytes, "\0\0\0\xFF", 4);
  STATUS(KVC_OK, kvc_step(type_of("o_u4b"), KVC_REVERSED, value.bytes, 4));
  CHECK(memcmp(value.bytes, "\0\0\1\0", 4) == 0);
  memset(value.bytes, 0xFF, 4);
  STATUS(KVC_OVERFLOW, kvc_step(type_of("o_u4b"), KVC_REVERSED, value.bytes, 4));
  STATUS(KVC_NOT_SUPPORTED, kvc_step(type_of("KvString"), 0, empty, sizeof empty));
}

static void test_bounds(void) {
  const int32_t low = 0, high = 100, value = 25;
  float fraction = -1;
  const int32_t type = type_of("o_4b");
  STATUS(KVC_OK, kvc_bounds(type, KVC_MEMORY, KVC_LESS, &value, 4, &low, 4, &high, 4, &fraction));
  CHECK(fraction > 0.2f && fraction < 0.3f);
  STATUS(KVC_OK, kvc_bounds(type, KVC_MEMORY, KVC_LESS, &value, 4, NULL, 0, &high, 4, &fraction));
  CHECK(fraction == 0);
  STATUS(KVC_BUFFER_SHORT,
         kvc_bounds(type, KVC_MEMORY, KVC_LESS, &value, 4, &low, 3, &high, 4, &fraction));
  STATUS(KVC_BAD_ARGUMENT,
         kvc_bounds(type, KVC_MEMORY, 8, &value, 4, &low, 4, &high, 4, &fraction));
}

static void test_texts(void) {
  const int32_t number = type_of("o_4b"), string = type_of("KvString");
  static const char name[] = "Stra\303\237e";
  kvc_text_options options = {sizeof options, 0, -1, 10, NULL};
  int32_t run[3] = {1, -2, 3}, code_set, language, is_null;
  char text[64];
  stored value;
  size_t size, position;
  STATUS(KVC_OK, kvc_print(number, NULL, KVC_MEMORY, run, sizeof run, 3, text, 7, &size));
  CHECK(size == 6 && strcmp(text, "1,-2,3") == 0);
  STATUS(KVC_BUFFER_SHORT, kvc_print(number, NULL, KVC_MEMORY, run, sizeof run, 3, text, 6, &size));
  STATUS(KVC_OK, kvc_scan(string, &options, name, sizeof name - 1, KVC_REVERSED, value.bytes, 256,
                          &value.size, NULL));
  STATUS(KVC_OK, kvc_text_traits(KVC_REVERSED, value.bytes, value.size, &code_set, &language));
  CHECK(code_set == 1 && language == 10);
  STATUS(KVC_OK, kvc_print(string, NULL, KVC_REVERSED, value.bytes, value.size, 1, text,
                           sizeof text, &size));
  CHECK(strcmp(text, name) == 0);
  STATUS(KVC_OK, kvc_scan(string, NULL, "{NULL}", 6, 0, value.bytes, 256, &value.size, NULL));
  STATUS(KVC_OK, kvc_is_null(string, 0, value.bytes, value.size, &is_null));
  CHECK(is_null == 1);
  options.flags = KVC_TEXT_LITERAL;
  STATUS(KVC_OK, kvc_scan(string, &options, "{NULL}", 6, 0, value.bytes, 256, &value.size, NULL));
  STATUS(KVC_OK, kvc_is_null(string, 0, value.bytes, value.size, &is_null));
  CHECK(is_null == 0);
  STATUS(KVC_MISMATCH, kvc_scan(string, NULL, "ab\xFF", 3, 0, value.bytes, 256, NULL, &position));
  CHECK(position == 2);
  STATUS(KVC_OUT_OF_RANGE,
         kvc_scan(string, NULL, "ab\0c", 4, 0, value.bytes, 256, NULL, &position));
  CHECK(position == 2);
  options.code_set = 1;
  STATUS(KVC_OUT_OF_RANGE,
         kvc_scan(string, &options, "\xC3\xA9\xC5\x82", 4, 0, value.bytes, 256, NULL, &position));
  CHECK(position == 2);
  STATUS(KVC_MISMATCH,
         kvc_scan(type_of("KvDate"), NULL, "2024-xx", 7, 0, value.bytes, 256, NULL, &position));
  CHECK(position == 5);
  STATUS(KVC_OUT_OF_RANGE,
         kvc_scan(type_of("KvDate"), NULL, "2023-02-29", 10, 0, value.bytes, 256, NULL, &position));
  options.format = "%e.%m.%Y";
  options.code_set = -1;
  STATUS(KVC_OK, kvc_scan(type_of("KvDate"), &options, "29.2.2024", 9, KVC_REVERSED, value.bytes,
                          256, &size, NULL));
  CHECK(memcmp(value.bytes, "\x07\xE8\x02\x1D", 4) == 0);
  options.size = 4;
  STATUS(KVC_BAD_ARGUMENT, kvc_scan(number, &options, "1", 1, 0, value.bytes, 256, NULL, NULL));
  STATUS(KVC_BAD_ARGUMENT, kvc_scan(number, NULL, NULL, 1, 0, value.bytes, 256, NULL, NULL));
}

static void test_blobs(void) {
  stored value;
  unsigned char bytes[8];
  size_t size;
  STATUS(KVC_OK, kvc_blob_put("a\0b", 3, KVC_STORED, value.bytes, 256, &value.size));
  STATUS(KVC_OK, kvc_blob_get(KVC_STORED, value.bytes, value.size, bytes, sizeof bytes, &size));
  CHECK(size == 3 && memcmp(bytes, "a\0b", 3) == 0);
  STATUS(KVC_BUFFER_SHORT, kvc_blob_get(KVC_STORED, value.bytes, value.size, bytes, 2, &size));
  STATUS(KVC_BUFFER_SHORT, kvc_blob_get(KVC_STORED, value.bytes, value.size - 1, bytes, 8, &size));
  STATUS(KVC_BAD_ARGUMENT, kvc_blob_put(NULL, 3, KVC_STORED, value.bytes, 256, NULL));
}

static size_t key_of(const char* type, uint32_t options, const char* text, unsigned char* key) {
  const kvc_key_kind kind = kind_of(type, options);
  const stored value = scan(type, text);
  size_t size = 0;
  STATUS(KVC_OK, kvc_key(&kind, KVC_STORED, value.bytes, value.size, key, 256, &size));
  return size;
}

static void test_keys(void) {
  const kvc_key_kind number = kind_of("o_4b", 0), day = kind_of("KvDate", KVC_KEY_DESCENDING);
  kvc_key_kind wrong = number;
  const int32_t run[3] = {-1, 0, 7};
  unsigned char key1[256], key2[256], text_key[256];
  size_t offsets[4], size, used;
  int32_t back;
  CHECK(key_of("o_4b", 0, "-5", key1) == 4 && key_of("o_4b", 0, "3", key2) == 4);
  CHECK(memcmp(key1, key2, 4) < 0);
  size = key_of("KvString", 0, "Zebra", key1);
  STATUS(KVC_OK, kvc_key_check(&day));
  STATUS(KVC_OK, kvc_key_run(&number, KVC_MEMORY, run, sizeof run, 3, key1, 256, offsets, &size));
  CHECK(size == 12 && offsets[1] == 4 && offsets[3] == 12 && memcmp(key1, key1 + 4, 4) < 0);
  CHECK(kvc_key_bound(&number, 12, 3) == 12);
  STATUS(KVC_OK, kvc_key_length(&number, key1, 12, &size));
  CHECK(size == 4);
  STATUS(KVC_OK, kvc_unkey(&number, key1 + 8, 4, KVC_MEMORY, &back, 4, &size, &used));
  CHECK(back == 7 && size == 4 && used == 4);
  STATUS(KVC_BAD_ARGUMENT, kvc_unkey(&number, key1, 3, KVC_MEMORY, &back, 4, &size, &used));
  STATUS(KVC_OK, kvc_text_key(&number, NULL, "7", 1, text_key, 256, &size));
  CHECK(size == 4 && memcmp(text_key, key1 + 8, 4) == 0);
  wrong = kind_of("KvString", 0);
  STATUS(KVC_OK, kvc_key_check(&wrong));
  wrong.compare = KVC_EXACT | KVC_KEY_ORDER;
  STATUS(KVC_NOT_SUPPORTED, kvc_key_check(&wrong));
  wrong.compare = 0x10010;
  STATUS(KVC_BAD_ARGUMENT, kvc_key_check(&wrong));
  wrong = number;
  wrong.options = 0x100;
  STATUS(KVC_BAD_ARGUMENT, kvc_key_check(&wrong));
  wrong = number;
  wrong.size = 4;
  STATUS(KVC_BAD_ARGUMENT, kvc_key_check(&wrong));
  STATUS(KVC_BUFFER_SHORT, kvc_key(&number, KVC_MEMORY, run, 4, NULL, 0, &size));
  CHECK(size == 4);
}

static void test_tuples_and_ranges(void) {
  const kvc_key_kind name = kind_of("KvString", 0), day = kind_of("KvDate", KVC_KEY_DESCENDING);
  const stored who = scan("KvString", "Muller"), when = scan("KvDate", "2024-02-29");
  const stored more = scan("KvString", "M\xC3\xBCllerin");
  kvc_part parts[2] = {{sizeof parts[0], KVC_STORED, &name, who.bytes, who.size},
                       {sizeof parts[0], KVC_STORED, &day, when.bytes, when.size}};
  unsigned char tuple[256], key[256], low[256], high[256];
  size_t size, first, low_size, high_size;
  STATUS(KVC_OK, kvc_key_tuple(parts, 2, tuple, sizeof tuple, &size));
  STATUS(KVC_OK, kvc_key_length(&name, tuple, size, &first));
  CHECK(size == first + 4);
  CHECK(key_of("KvDate", KVC_KEY_DESCENDING, "2024-02-29", key) == 4);
  CHECK(memcmp(tuple + first, key, 4) == 0);
  STATUS(KVC_BUFFER_SHORT, kvc_key_tuple(parts, 2, tuple, size - 1, &size));
  parts[1].length = 3;
  STATUS(KVC_BUFFER_SHORT, kvc_key_tuple(parts, 2, tuple, sizeof tuple, &size));
  STATUS(KVC_OK, kvc_key_range(&name, KVC_RANGE_BEGINNING, KVC_STORED, who.bytes, who.size, 256,
                               low, &low_size, high, &high_size));
  STATUS(KVC_OK, kvc_key(&name, KVC_STORED, more.bytes, more.size, key, 256, &size));
  CHECK(memcmp(low, key, low_size < size ? low_size : size) <= 0);
  CHECK(memcmp(key, high, high_size < size ? high_size : size) < 0);
  STATUS(KVC_NOT_SUPPORTED, kvc_key_range(&day, 0, KVC_STORED, when.bytes, when.size, 256, low,
                                          &low_size, high, &high_size));
  STATUS(KVC_OK, kvc_key_prefix_end("\x01m\xFF", 3, low, &low_size));
  CHECK(low_size == 2 && memcmp(low, "\x01n", 2) == 0);
  STATUS(KVC_OK, kvc_key_prefix_end("\xFF", 1, low, &low_size));
  CHECK(low_size == 0);
}

int main(void) {
  static void (*const tests[])(void) = {
      test_library, test_catalogue,         test_names,  test_forms, test_check,
      test_order,   test_null_default_step, test_bounds, test_texts, test_blobs,
      test_keys,    test_tuples_and_ranges};
  for (size_t i = 0; i < sizeof tests / sizeof tests[0]; ++i) tests[i]();
  if (failures != 0) printf("%d checks failed\n", failures);
  return failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
