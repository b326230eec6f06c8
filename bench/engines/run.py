#!/usr/bin/env python3
"""Loads and queries of kvindex beside plain programs that move the same bytes.

    run.py BUILD [RECORDS [ETCD_RECORDS [PART...]]]

PART is lmdb, rocksdb, postgresql or etcd; without one, all of them. Every figure is the best of some
turns; etcd, which writes every batch to the disks of three members, gets fewer records.
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
PARTS = sys.argv[4:] or ["lmdb", "rocksdb", "postgresql", "etcd"]
KVINDEX = os.path.join(BUILD, "bin", "kvindex")
KVTM = os.path.join(BUILD, "bin", "kvtm")
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


class Bench:
    def __init__(self, folder):
        self.folder = folder

    def path(self, name):
        return os.path.join(self.folder, name)

    def fresh(self, name):
        shutil.rmtree(self.path(name), ignore_errors=True)
        os.mkdir(self.path(name))
        return self.path(name)

    def load(self, url, rows):
        run(KVINDEX, "create", url, *SCHEMA)
        return run(KVINDEX, "load", url, rows)[0]

    def write(self, name, count):
        """Rows, and the pairs that they are in a store."""
        write_rows(self.path(name), count)
        self.load("lmdb:" + self.fresh("export"), self.path(name))
        run(PLAIN, "export", "lmdb:" + self.path("export"), self.path(name + ".pairs"))
        return self.path(name), self.path(name + ".pairs")

    def embedded(self, engine, rows, pairs):
        plain, ours = in_turn(3, lambda: run(PLAIN, engine, self.fresh("plain"), pairs)[0],
                              lambda: self.load(f"{engine}:{self.fresh(engine)}", rows))
        show(f"load, {engine}", plain, ours, RECORDS)

    def query(self):
        url = "lmdb:" + self.path("lmdb")
        day = "02" + run(KVTM, "key", "KvDate", "2020-01-01")[1].strip()
        words = KVINDEX, "query", url, "day >= 2020-01-01", "--count"
        plain, ours = in_turn(5, lambda: run(PLAIN, "walk", self.path("lmdb"), day)[0],
                              lambda: run(*words)[0])
        show("range query, lmdb", plain, ours, int(run(*words)[1]))
        size = os.path.getsize(os.path.join(self.path("lmdb"), "data.mdb"))
        print(f"lmdb: {size / RECORDS:.0f} bytes a record with its entry")

    def postgresql(self, server, rows, pairs):
        def ours():
            server.run("psql", "-X", "-q", "-d", server.conninfo(0, "one"), "-c",
                       "DROP TABLE IF EXISTS kv_store")
            return self.load(server.one_url, rows)
        plain, mine = in_turn(
            2, lambda: run(PLAIN, "postgresql", server.conninfo(0, "one"), pairs)[0], ours)
        show("load, postgresql", plain, mine, RECORDS)
        show("load, postgresql, two shards", plain, self.load(server.url, rows), RECORDS)

    def etcd(self, server):
        rows, pairs = self.write("fewrows", ETCD_RECORDS)
        member = f"127.0.0.1:{server.clients[0]}"
        names = iter(range(100))
        plain, mine = in_turn(2, lambda: run(PLAIN, "etcd", member, pairs)[0],
                              lambda: self.load(f"{server.url}/{next(names)}", rows))
        show("load, etcd, three members", plain, mine, ETCD_RECORDS)


def main():
    folder = tempfile.mkdtemp(prefix="bench.", dir=BUILD)
    bench = Bench(folder)
    print(f"{'':34} {'plain':>10} {'kvindex':>10} {'':>21} {'ratio':>8}")
    if PARTS != ["etcd"]:
        rows, pairs = bench.write("rows", RECORDS)
    for engine in ("lmdb", "rocksdb"):
        if engine in PARTS:
            bench.embedded(engine, rows, pairs)
    if "lmdb" in PARTS:
        bench.query()
    servers = [name for name in ("etcd", "postgresql") if name in PARTS]
    with cluster.Running(servers, folder) as running:
        if "postgresql" in running.clusters:
            bench.postgresql(running.clusters["postgresql"], rows, pairs)
        if "etcd" in running.clusters:
            bench.etcd(running.clusters["etcd"])
    shutil.rmtree(folder)


if __name__ == "__main__":
    main()
