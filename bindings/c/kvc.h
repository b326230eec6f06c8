/* kvc.h - the type manager for every language: plain C, by type id, over the caller's buffers.
 *
 *   int32_t type;
 *   unsigned char day[4], key[4];
 *   char text[32];
 *   size_t size;
 *   kvc_find_type("KvDate", 6, &type);
 *   kvc_scan(type, NULL, "2024-02-29", 10, KVC_STORED, day, sizeof day, &size, NULL);
 *   kvc_print(type, NULL, KVC_STORED, day, size, 1, text, sizeof text, &size);   // "2024-02-29"
 *
 * Forms. A run is `count` values of one type, back to back, in one of three forms:
 *
 *   KVC_STORED    the bytes of a persistent record, least significant byte first
 *   KVC_REVERSED  the same fields, most significant byte first
 *   KVC_MEMORY    as C variables: int32_t for o_4b, {int16_t, int8_t, int8_t} for KvDate. The
 *                 pointer is aligned as kvc_type_info says. Strings and blobs have no such form
 *                 here (kvNotSupported); kvc_print and kvc_scan, kvc_blob_get and kvc_blob_put
 * reach what is in them.
 *
 * Ownership. The caller owns every buffer. Nothing is allocated that the caller would have to free,
 * and no pointer is kept after a call. Texts that are returned as `const char*` are static. Buffers
 * that are read must not overlap those that are written, except where a function says so.
 *
 * Errors. A function that can fail returns a status: KVC_OK, or a number that kvc_status_name
 * names. After a failure the output buffer is as it was. Where an output is a buffer with a
 * capacity, `needed` receives the bytes that it takes, with KVC_OK and with KVC_BUFFER_SHORT, and 0
 * with all others; so one calls with capacity 0 (the buffer may then be null) to learn the size.
 * `needed` may be null. Every argument may come from a stranger: null pointers, unknown numbers,
 * and bytes that are cut or damaged are answered by a status. What cannot be checked is that a
 * pointer has the length that is given with it.
 *
 * Threads. Every function may be called from all threads at once, on buffers of their own. No
 * exception leaves the library and it calls nothing back.
 *
 * Versions. Functions are only ever added, and none changes its meaning. Every structure begins
 * with its size, which the caller sets to sizeof; a library that is newer than its caller fills and
 * reads no more than that. kvc_abi_version is the number of additions so far.
 */
#ifndef KVC_H
#define KVC_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define KVC_API __attribute__((visibility("default")))

/* What this header describes. A program may ask that kvc_abi_version() is at least this. */
#define KVC_ABI_VERSION 1u

/* Statuses. */
enum {
  KVC_OK = 0,
  KVC_BUFFER_SHORT = 2101,   /* a buffer ends too soon: the one to read, or the one to write */
  KVC_OVERFLOW = 2091,       /* the last value has no successor; a key's text is too long */
  KVC_NOT_SUPPORTED = -2999, /* the type has no such operation */
  KVC_BAD_ARGUMENT = -2002,  /* null pointers, undefined numbers, sizes of no structure */
  KVC_NO_SUCH_TYPE = -3001,  /* no type, language or code set of that name or number */
  KVC_DAMAGED = -3002,       /* stored bytes break a rule of their layout */
  KVC_MISMATCH = -3003,      /* a text does not go on as its format asks, or is not UTF-8 */
  KVC_TEXT_LEFT = -3004,     /* a text goes on behind the value */
  KVC_OUT_OF_RANGE = -3005,  /* more than the type holds, or no such day, hour or character */
  KVC_NOTHING_READ = -3006,  /* no value in a text */
  KVC_NO_MEMORY = -3007      /* memory was short */
};

/* Forms. */
enum { KVC_STORED = 0, KVC_REVERSED = 2, KVC_MEMORY = 8 };

/* Bits of a compare operation, which may be combined; any other bit is KVC_BAD_ARGUMENT. */
enum {
  KVC_EXACT = 0x10, /* wildcards are ordinary values, plain bytes order by value */
  KVC_IGNORE_CASE = 0x20,
  KVC_IGNORE_ACCENTS = 0x40,
  KVC_SKIP_SPACES = 0x80,
  KVC_KEY_ORDER = 0x100, /* order by order, as hashes are made; has no sort keys */
  KVC_IGNORE_VARIANTS = 0x200
};

/* --- The library ------------------------------------------------------------------------------ */

KVC_API uint32_t kvc_abi_version(void);
/* "14.0.1.57" */
KVC_API const char* kvc_library_version(void);
/* "kvBufferShort" and a few words on it; for a number that is no status "unknown status". */
KVC_API const char* kvc_status_name(int32_t status);
KVC_API const char* kvc_status_text(int32_t status);

/* --- The catalogue ---------------------------------------------------------------------------- */

enum {
  KVC_TYPE_FIXED = 1,     /* every value takes stored_width bytes */
  KVC_TYPE_NULLABLE = 2,  /* has a null value */
  KVC_TYPE_STEPPABLE = 4, /* a whole number, whose successor is the next number */
  KVC_TYPE_MEMORY = 8     /* has a memory form here: memory_width and memory_alignment */
};

typedef struct kvc_type {
  uint32_t size; /* sizeof(kvc_type), set by the caller */
  int32_t id;
  const char* name;    /* "KvDate" */
  const char* id_name; /* "KvDATE_T" */
  const char* format;  /* the print format of the type's own, "%a %e.%b %Y" */
  uint32_t flags;      /* KVC_TYPE_ bits */
  uint32_t stored_width;
  uint32_t memory_width;
  uint32_t memory_alignment;
} kvc_type;

/* Types are numbered from 0 to this less 1; the last has no values (KVC_NOT_SUPPORTED everywhere).
 */
KVC_API int32_t kvc_type_count(void);
/* Looks a type up by its name or id name; case matters. KVC_NO_SUCH_TYPE leaves `type`. */
KVC_API int32_t kvc_find_type(const char* name, size_t length, int32_t* type);
KVC_API int32_t kvc_type_info(int32_t type, kvc_type* info);

/* Languages and code sets by number, by English name in any case, or by code ("sv", "latin1"). */
KVC_API int32_t kvc_find_language(const char* name, size_t length, int32_t* language);
KVC_API int32_t kvc_find_code_set(const char* name, size_t length, int32_t* code_set);
/* The English names, with a terminating zero that `capacity` has to have room for and that
 * `needed` does not count. */
KVC_API int32_t kvc_language_name(int32_t language, char* name, size_t capacity, size_t* needed);
KVC_API int32_t kvc_code_set_name(int32_t code_set, char* name, size_t capacity, size_t* needed);

/* --- Stored bytes ----------------------------------------------------------------------------- */

typedef struct kvc_measure {
  uint32_t size;      /* sizeof(kvc_measure), set by the caller */
  uint32_t count;     /* sound values from the front on */
  size_t bytes;       /* what they take */
  size_t offset;      /* of the fault */
  size_t wanted;      /* bytes of the field that the bytes end in */
  const char* reason; /* in words; "" when there is none */
  uint32_t strange;   /* values that are no date or time there is; they are no fault */
  size_t first_strange;
} kvc_measure;

/* Checks `count` values in KVC_STORED or KVC_REVERSED form at the front of `length` bytes; a count
 * of 0 takes as many as there are, to the last byte. `result` (which may be null) tells where the
 * fault is and why it is one. */
KVC_API int32_t kvc_check(int32_t type, uint32_t form, const void* stored, size_t length,
                          uint32_t count, kvc_measure* result);

/* The stored bytes of a run in any form. */
KVC_API int32_t kvc_stored_size(int32_t type, uint32_t form, const void* values, size_t length,
                                uint32_t count, size_t* needed);

/* Memory form to stored form, and back. `form` is the stored side's. */
KVC_API int32_t kvc_store(int32_t type, uint32_t form, const void* values, size_t length,
                          uint32_t count, void* stored, size_t capacity, size_t* needed);
KVC_API int32_t kvc_load(int32_t type, uint32_t form, const void* stored, size_t length,
                         uint32_t count, void* values, size_t capacity, size_t* needed);
/* Any form to any form. Between the two stored forms fields are turned. */
KVC_API int32_t kvc_translate(int32_t type, uint32_t from, const void* source, size_t length,
                              uint32_t count, uint32_t to, void* destination, size_t capacity,
                              size_t* needed);

/* --- Order, hash, null ------------------------------------------------------------------------ */

/* Orders two runs of `count` values: `order` is -1, 0 or 1. A count of 0 is equal. */
KVC_API int32_t kvc_compare(int32_t type, uint32_t compare, uint32_t form, const void* values1,
                            size_t length1, const void* values2, size_t length2, uint32_t count,
                            int32_t* order);
/* The hash of a run, the same in every form. */
KVC_API int32_t kvc_hash(int32_t type, uint32_t form, const void* values, size_t length,
                         uint32_t count, uint32_t* hash);
/* Whether the value at the front is null: 1 or 0. */
KVC_API int32_t kvc_is_null(int32_t type, uint32_t form, const void* value, size_t length,
                            int32_t* is_null);
/* A null, and the type's default value. KVC_NOT_SUPPORTED where a type has no null. */
KVC_API int32_t kvc_null(int32_t type, uint32_t form, void* value, size_t capacity, size_t* needed);
KVC_API int32_t kvc_default(int32_t type, uint32_t form, void* value, size_t capacity,
                            size_t* needed);

/* Replaces the value by its successor, in place. KVC_OVERFLOW leaves the last value. */
KVC_API int32_t kvc_step(int32_t type, uint32_t form, void* value, size_t length);

/* What fraction of an index range a predicate selects, 0 to 1. The range goes from `lower` to
 * `upper`; all three are single values in `form`, of at most 255 bytes. Either end may be null,
 * with length 0: it is not known, and the fraction is 0. */
enum { KVC_EQUAL = 1, KVC_LESS = 2, KVC_GREATER = 4 };
KVC_API int32_t kvc_bounds(int32_t type, uint32_t form, uint32_t predicate, const void* constant,
                           size_t constant_length, const void* lower, size_t lower_length,
                           const void* upper, size_t upper_length, float* fraction);

/* --- Texts, in UTF-8 -------------------------------------------------------------------------- */

/* A text {NULL} is those six characters of a string, not its null. */
enum { KVC_TEXT_LITERAL = 1 };

typedef struct kvc_text_options {
  uint32_t size;    /* sizeof(kvc_text_options), set by the caller */
  uint32_t flags;   /* KVC_TEXT_ bits */
  int32_t code_set; /* of a KvString to scan; -1: ISO 8859-1 where it holds the text, else 16-bit */
  int32_t language; /* of a KvString to scan; -1: the default language */
  const char* format; /* a print format of the type; null: the text that reads back, 2024-02-29 */
} kvc_text_options;

/* Prints a run, with "," between its values, and ends it with a zero that `needed` does not count
 * but `capacity` has to have room for. `options` may be null; code set and language are not read. A
 * null prints as {NULL}. */
KVC_API int32_t kvc_print(int32_t type, const kvc_text_options* options, uint32_t form,
                          const void* values, size_t length, uint32_t count, char* text,
                          size_t capacity, size_t* needed);
/* Reads one value, which must be the whole text. `position`, unless null, receives the byte of the
 * text at which reading failed. {NULL} reads as null where the type has one. */
KVC_API int32_t kvc_scan(int32_t type, const kvc_text_options* options, const char* text,
                         size_t length, uint32_t form, void* value, size_t capacity, size_t* needed,
                         size_t* position);
/* Code set and language of a stored KvString. */
KVC_API int32_t kvc_text_traits(uint32_t form, const void* stored, size_t length, int32_t* code_set,
                                int32_t* language);

/* The bytes in a stored KvBlob, and a stored blob of bytes. The null blob has no bytes. */
KVC_API int32_t kvc_blob_get(uint32_t form, const void* stored, size_t length, void* bytes,
                             size_t capacity, size_t* needed);
KVC_API int32_t kvc_blob_put(const void* bytes, size_t length, uint32_t form, void* stored,
                             size_t capacity, size_t* needed);

/* --- Sort keys: bytes whose memcmp order is the order of the values ----------------------------
 */

enum {
  KVC_KEY_DESCENDING = 1,
  KVC_KEY_NULLS_LAST = 2,
  KVC_KEY_NULLS_FIRST = 4,
  KVC_KEY_PLAIN_BYTES = 8 /* every KvString of the index has code set 0 */
};
#define KVC_KEY_VERSION 1u

/* What the keys of one index have in common. It is kept beside the index: a key does not say it. */
typedef struct kvc_key_kind {
  uint32_t size; /* sizeof(kvc_key_kind), set by the caller */
  int32_t type;
  uint32_t options; /* KVC_KEY_ bits */
  uint32_t compare; /* a compare operation with KVC_EXACT */
  uint32_t version; /* KVC_KEY_VERSION */
} kvc_key_kind;

/* Whether there are keys of that kind. */
KVC_API int32_t kvc_key_check(const kvc_key_kind* kind);
/* A size that the keys of `count` values do not exceed which take `bytes` stored; 0 for a kind that
 * has no keys. */
KVC_API size_t kvc_key_bound(const kvc_key_kind* kind, size_t bytes, uint32_t count);
/* The key of the value at the front of `length` bytes. */
KVC_API int32_t kvc_key(const kvc_key_kind* kind, uint32_t form, const void* value, size_t length,
                        void* key, size_t capacity, size_t* needed);
/* The keys of a run, back to back. `offsets`, unless null, has room for `count` + 1 numbers. */
KVC_API int32_t kvc_key_run(const kvc_key_kind* kind, uint32_t form, const void* values,
                            size_t length, uint32_t count, void* keys, size_t capacity,
                            size_t* offsets, size_t* needed);
/* The key of a value that is given as text, as kvc_scan reads it. */
KVC_API int32_t kvc_text_key(const kvc_key_kind* kind, const kvc_text_options* options,
                             const char* text, size_t length, void* key, size_t capacity,
                             size_t* needed);
/* The size of the key at the front of `length` bytes. */
KVC_API int32_t kvc_key_length(const kvc_key_kind* kind, const void* key, size_t length,
                               size_t* size);
/* The value of the key at the front of `length` bytes; `used`, unless null, receives the key's
 * size. A string comes back as a text that compares equal, not with its characters. */
KVC_API int32_t kvc_unkey(const kvc_key_kind* kind, const void* key, size_t length, uint32_t form,
                          void* value, size_t capacity, size_t* needed, size_t* used);

/* One part of a tuple. */
typedef struct kvc_part {
  uint32_t size; /* sizeof(kvc_part), set by the caller in every part */
  uint32_t form;
  const kvc_key_kind* kind;
  const void* value;
  size_t length;
} kvc_part;
/* The key of a tuple: those of its parts, back to back. kvc_key_length and kvc_unkey take it apart.
 */
KVC_API int32_t kvc_key_tuple(const kvc_part* parts, uint32_t count, void* key, size_t capacity,
                              size_t* needed);

/* The range of keys, from `lower` (included) to `upper` (excluded), of all strings that begin with
 * the given one or equal it when case and accents do not count. Both buffers have room for
 * `capacity` bytes; 2 * kvc_key_bound is enough. */
enum { KVC_RANGE_BEGINNING = 0, KVC_RANGE_SAME_BASE = 1 };
KVC_API int32_t kvc_key_range(const kvc_key_kind* kind, uint32_t range, uint32_t form,
                              const void* value, size_t length, size_t capacity, void* lower,
                              size_t* lower_size, void* upper, size_t* upper_size);
/* The end of the range of keys that begin with `prefix`, into `end`, which has room for `length`
 * bytes and may be `prefix`. A size of 0 means that there is no end. */
KVC_API int32_t kvc_key_prefix_end(const void* prefix, size_t length, void* end, size_t* size);

#ifdef __cplusplus
}
#endif

#endif
