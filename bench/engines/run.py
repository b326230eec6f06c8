#!/usr/bin/env python3
"""Loads and queries of kvindex beside plain programs that move the same bytes.

    run.py BUILD [RECORDS [ETCD_RECORDS]]

Every figure is the best of three, taken in turn; etcd, which writes every batch to the disks of
three members, gets fewer records and one turn.
"""
import os
import random
import shutil
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "..", "tools"))
import cluster  # noqa: E402

BUILD = sys.argv[1]
RECORDS = int(sys.argv[2]) if len(sys.argv) > 2 else 1000000
ETCD_RECORDS = int(sys.argv[3]) if len(sys.argv) > 3 else 20000
KVINDEX = os.path.join(BUILD, "bin", "kvindex")
PLAIN = os.path.join(BUILD, "bin", "kv_plain")
SCHEMA = ("--schema", "id:o_u4b,day:KvDate,name:KvString/german", "--key", "id", "--index", "day")


def run(*words):
    begin = time.monotonic()
    done = subprocess.run(words, capture_output=True, text=True)
    if done.returncode != 0:
        sys.exit(f"{words}: {done.stderr}")
    return time.monotonic() - begin, done.stdout


def write_rows(path, count):
    source = random.Random(1)
    syllables = ["ma", "se", "tür", "lo", "ben", "kra", "ist", "un", "ge", "hof"]
    with open(path, "w", encoding="utf-8") as file:
        for number in range(count):
            day = f"{source.randint(1990, 2029)}-{source.randint(1, 12):02}-{source.randint(1, 28):02}"
            name = "".join(source.choices(syllables, k=source.randint(2, 5)))
            file.write(f"{number},{day},{name}\n")


def show(name, plain, ours, count):
    print(f"{name:34} {plain:8.2f} s {ours:8.2f} s {count / ours:12,.0f} a second "
          f"{plain / ours:8.2f}", flush=True)


def in_turn(turns, *works):
    """The best time of each work, done in turn."""
    best = [float("inf")] * len(works)
    for _ in range(turns):
        for number, work in enumerate(works):
            best[number] = min(best[number], work())
    return best


def main():
    folder = tempfile.mkdtemp(prefix="bench.", dir=BUILD)
    at = {name: os.path.join(folder, name) for name in ("rows", "pairs", "fewrows", "fewpairs")}
    write_rows(at["rows"], RECORDS)
    write_rows(at["fewrows"], ETCD_RECORDS)
    print(f"{'':34} {'plain':>10} {'kvindex':>10} {'':>21} {'ratio':>8}")

    def fresh(name):
        path = os.path.join(folder, name)
        shutil.rmtree(path, ignore_errors=True)
        os.mkdir(path)
        return path

    def load(url, rows):
        run(KVINDEX, "create", url, *SCHEMA)
        return run(KVINDEX, "load", url, rows)[0]

    load("lmdb:" + fresh("export"), at["rows"])
    run(PLAIN, "export", "lmdb:" + os.path.join(folder, "export"), at["pairs"])
    for engine in ("lmdb", "rocksdb"):
        plain, ours = in_turn(
            3, lambda: run(PLAIN, engine, fresh("plain"), at["pairs"])[0],
            lambda: load(f"{engine}:{fresh(engine)}", at["rows"]))
        show(f"load, {engine}", plain, ours, RECORDS)
    lmdb = "lmdb:" + os.path.join(folder, "lmdb")
    day = "02" + run(os.path.join(BUILD, "bin", "kvtm"), "key", "KvDate", "2020-01-01")[1].strip()
    plain, ours = in_turn(
        3, lambda: run(PLAIN, "walk", os.path.join(folder, "lmdb"), day)[0],
        lambda: run(KVINDEX, "query", lmdb, "day >= 2020-01-01", "--count")[0])
    count = int(run(KVINDEX, "query", lmdb, "day >= 2020-01-01", "--count")[1])
    show("range query, lmdb", plain, ours, count)

    with cluster.Running(["etcd", "postgresql"], folder) as running:
        server = running.clusters.get("postgresql")
        if server is not None:
            def empty():
                server.run("psql", "-X", "-q", "-d", server.conninfo(0, "one"), "-c",
                           "DROP TABLE IF EXISTS kv_store")
            def ours():
                empty()
                return load(server.one_url, at["rows"])
            plain, mine = in_turn(
                2, lambda: run(PLAIN, "postgresql", server.conninfo(0, "one"), at["pairs"])[0],
                ours)
            show("load, postgresql", plain, mine, RECORDS)
            show("load, postgresql, two shards", plain, load(server.url, at["rows"]), RECORDS)
        etcd = running.clusters.get("etcd")
        if etcd is not None:
            load("lmdb:" + fresh("export"), at["fewrows"])
            run(PLAIN, "export", "lmdb:" + os.path.join(folder, "export"), at["fewpairs"])
            member = f"127.0.0.1:{etcd.clients[0]}"
            plain, mine = in_turn(1, lambda: run(PLAIN, "etcd", member, at["fewpairs"])[0],
                                  lambda: load(etcd.url, at["fewrows"]))
            show("load, etcd, three members", plain, mine, ETCD_RECORDS)
    sizes = os.path.join(folder, "lmdb", "data.mdb")
    print(f"\nlmdb: {os.path.getsize(sizes) / RECORDS:.0f} bytes a record with its entry")
    shutil.rmtree(folder)


if __name__ == "__main__":
    main()
