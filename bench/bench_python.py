"""The Python package beside ctypes over the same library, and beside the time spent in it.

    PYTHONPATH=build/native/lib/python KVC=build/native/lib/libkvc.so.1 python3 bench/bench_python.py

One value: the call of the package beside the same call of kvc through ctypes, its arguments made
beforehand. Runs: the call of the package beside the time inside kvc, which is what the call through
ctypes takes less what an empty run takes.
"""
import array
import ctypes
import os
import timeit

import kvtm

KVC = ctypes.CDLL(os.environ["KVC"])
STORED = 0
EXACT = 0x10


class Kind(ctypes.Structure):
    _fields_ = [("size", ctypes.c_uint32), ("type", ctypes.c_int32), ("options", ctypes.c_uint32),
                ("compare", ctypes.c_uint32), ("version", ctypes.c_uint32)]


SIGNATURES = {
    "kvc_compare": "iuupzpzup", "kvc_hash": "iupzup", "kvc_key": "pupzpzp",
    "kvc_key_run": "pupzupzpp",
}
for name, letters in SIGNATURES.items():
    getattr(KVC, name).argtypes = [
        {"i": ctypes.c_int32, "u": ctypes.c_uint32, "z": ctypes.c_size_t, "p": ctypes.c_void_p}[letter]
        for letter in letters]


def best(call, seconds=0.15):
    """Seconds a call takes when nothing else runs."""
    timer = timeit.Timer(call)
    number = 1
    while timer.timeit(number) < seconds / 10:
        number *= 2
    return min(timer.repeat(9, number)) / number


def one_value(name, a, b):
    kind = kvtm.Type(name)
    id_number = kind.id
    order, number, size = ctypes.c_int32(), ctypes.c_uint32(), ctypes.c_size_t()
    key = ctypes.create_string_buffer(512)
    keyed = Kind(ctypes.sizeof(Kind), id_number, 0, EXACT, 1)

    def through_ctypes_key():
        KVC.kvc_key(ctypes.byref(keyed), STORED, a, len(a), key, 512, ctypes.byref(size))
        return key.raw[:size.value]

    calls = {
        "compare": (lambda: kind.compare(a, b), lambda: KVC.kvc_compare(
            id_number, EXACT, STORED, a, len(a), b, len(b), 1, ctypes.byref(order))),
        "hash": (lambda: kind.hash(a), lambda: KVC.kvc_hash(
            id_number, STORED, a, len(a), 1, ctypes.byref(number))),
        "key": (lambda: kind.key(a), through_ctypes_key),
    }
    for operation, (ours, theirs) in calls.items():
        ours, theirs = best(ours), best(theirs)
        print(f"{operation} of one {name:8} {ours * 1e9:6.0f} ns, ctypes {theirs * 1e9:6.0f} ns: "
              f"{theirs / ours:.1f} times as fast")


def run(count):
    kind = kvtm.Type("o_4b")
    values = array.array("i", range(count)).tobytes()
    keys = bytearray(4 * count)
    raw = (ctypes.c_char * len(keys)).from_buffer(keys)
    number, size = ctypes.c_uint32(), ctypes.c_size_t()
    keyed = Kind(ctypes.sizeof(Kind), kind.id, 0, EXACT, 1)

    def hash_of(count):
        return best(lambda: KVC.kvc_hash(kind.id, STORED, values, len(values), count,
                                         ctypes.byref(number)))

    def keys_of(count):
        return best(lambda: KVC.kvc_key_run(ctypes.byref(keyed), STORED, values, len(values), count,
                                            raw, len(keys), None, ctypes.byref(size)))

    for operation, ours, inside in (
            ("hash", best(lambda: kind.hash(values)), hash_of(count) - hash_of(0)),
            ("keys", best(lambda: kind.key_run(values, STORED, keys)), keys_of(count) - keys_of(0))):
        print(f"{operation} of {count:7} o_4b {ours * 1e6:8.2f} us, inside kvc {inside * 1e6:8.2f} "
              f"us: {inside / ours:.2f}")


if __name__ == "__main__":
    for type_name, first, second in (("o_4b", 5, 6), ("KvDate", "2024-02-29", "2024-03-01"),
                                     ("KvString", "Müller", "Muller")):
        a_type = kvtm.Type(type_name)
        one_value(type_name, a_type.store(first), a_type.store(second))
    for elements in (4096, 65536, 1 << 20):
        run(elements)
