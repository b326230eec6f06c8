"""What kvindex and its stores hold when processes, members, shards and disks fail in mid-work."""
import os
import re
import resource
import shutil
import subprocess
import time
import unittest

from kvindex_program import (BUILD, PROGRAM, RUNNING, SOURCE, KvIndexTest, cluster, kvindex,
                             needs_kvindex, setUpModule, tearDownModule)  # noqa: F401

SCHEMA = ("--schema", "id:o_u4b,day:KvDate,what:KvIString", "--key", "id", "--index", "day")


def lines(count):
    return "".join(f"{id},{2000 + id % 30}-{1 + id % 12:02}-{1 + id % 28:02},x{id}\n"
                   for id in range(count))


class Load:
    """A load that runs beside the test; knows how many lines it has acknowledged."""

    def __init__(self, url, file, *options, limit=None):
        # A busy machine may keep a server waiting for its disk.
        options = options or ("--timeout", "60")

        def limited():
            if limit is not None:
                resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit))
        self.process = subprocess.Popen([PROGRAM, "load", url, file, "--progress", *options],
                                        stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                                        preexec_fn=limited)
        self.acknowledged = 0
        self.errors = ""

    def until(self, count):
        """Reads until that many lines are acknowledged; false when the load ended before."""
        while self.acknowledged < count:
            line = self.process.stderr.readline()
            if not line:
                return False
            self.take(line)
        return True

    def take(self, line):
        found = re.match(r"kvindex: load: (\d+) lines", line)
        if found:
            self.acknowledged = int(found[1])
        else:
            self.errors += line

    def end(self):
        """(exit status, output, errors without the progress)"""
        for line in self.process.stderr:
            self.take(line)
        output = self.process.stdout.read()
        self.process.stdout.close()
        self.process.stderr.close()
        return self.process.wait(), output, self.errors

    def kill(self):
        self.process.kill()
        self.end()


@needs_kvindex
class Faults(KvIndexTest):
    def server(self, name):
        found = RUNNING[0].clusters.get(name)
        if found is None or "not built" in kvindex("info", found.url)[2]:
            self.skipTest(f"{name} is not to be had here")
        return found

    def table(self, url):
        """A new table in an empty store."""
        url = self.emptied(url)
        self.good("create", url, *SCHEMA)
        return url

    def check(self, url, least, most=None, repair=False):
        """The table is sound and holds that many records."""
        output = self.good("verify", url, *(["--repair"] if repair else []))
        records, entries, faults = map(int, re.match(r"(\d+) records, (\d+) entries, (\d+)",
                                                     output).groups())
        self.assertGreaterEqual(records, least)
        self.assertLessEqual(records, least if most is None else most)
        if repair:
            output = self.good("verify", url)
        self.assertEqual(output, f"{records} records, {records} entries, 0 faults\n")
        return records

    def kill_in_a_load(self, url, count):
        url = self.table(url)
        file = self.write("load.csv", lines(count))
        load = Load(url, file)
        self.assertTrue(load.until(1), load.errors)
        load.kill()
        self.assertLess(load.acknowledged, count)
        # Where batches are not atomic a crash may leave entries, which the repair sweeps.
        spread = "not atomic" in self.good("info", url)
        kept = self.check(url, load.acknowledged, count, repair=spread)
        status, output, errors = Load(url, file).end()
        self.assertEqual((status, output), (0, f"{count} records\n" if kept < count and not spread
                                            else output), errors)
        self.assertIn("going on there", errors)
        self.check(url, count)

    def test_a_killed_load_keeps_what_it_acknowledged_and_goes_on(self):
        for engine in ("lmdb", "rocksdb"):
            with self.subTest(engine=engine):
                self.kill_in_a_load(f"{engine}:{self.path(engine)}", 80000)
        with self.subTest(engine="etcd"):
            self.kill_in_a_load(self.server("etcd").url, 4000)
        for url in self.server("postgresql").urls().values():
            with self.subTest(url=url):
                self.kill_in_a_load(url, 50000)

    def test_etcd_loses_a_member_and_the_leader_and_no_write(self):
        etcd = self.server("etcd")
        url = self.table(etcd.url)
        load = Load(url, self.write("load.csv", lines(10000)))  # two writes a record
        self.assertTrue(load.until(1500))
        follower = (etcd.leader() + 1) % 3
        etcd.kill_member(follower)
        self.assertTrue(load.until(4000))
        etcd.start_member(follower)
        cluster.wait_until(lambda: etcd.leader() is not None, "etcd")
        self.assertTrue(load.until(6000))
        leader = etcd.leader()
        etcd.kill_member(leader)
        self.assertTrue(load.until(8000))
        etcd.start_member(leader)
        # A batch that went in twice would find its records there already.
        self.assertEqual(load.end(), (0, "10000 records\n", ""))
        self.check(url, 10000)

    def test_etcd_without_a_majority_says_so_in_time(self):
        etcd = self.server("etcd")
        url = self.table(etcd.url)
        file = self.write("load.csv", lines(10000))
        load = Load(url, file, "--timeout", "3")
        self.assertTrue(load.until(500))
        leader = etcd.leader()
        down = [leader, (leader + 1) % 3]
        for member in down:
            etcd.kill_member(member)
        begin = time.monotonic()
        status, output, errors = load.end()
        self.assertLess(time.monotonic() - begin, 15)
        self.assertEqual((status, output), (1, ""))
        self.assertRegex(errors, r"\Akvindex: load: etcd:[^\n]*no answer within 3000 ms[^\n]*\n\Z")
        self.fails(1, "no answer within 2000 ms", "query", url, "id < 5", "--timeout", "2")
        for member in down:
            etcd.start_member(member)
        cluster.wait_until(lambda: etcd.leader() is not None, "etcd")
        self.check(url, load.acknowledged, 10000)
        status, output, errors = Load(url, file).end()
        self.assertEqual(status, 0, errors)
        self.check(url, 10000)

    def test_a_stopped_shard_is_named_and_work_goes_on_after_it(self):
        server = self.server("postgresql")
        url = self.table(server.url)
        file = self.write("load.csv", lines(60000))
        for shard in (1, 2):
            load = Load(url, file, "--timeout", "2")
            self.assertTrue(load.until(1), load.errors)
            server.stop_server(shard)
            try:
                status, output, errors = load.end()
                self.assertEqual((status, output), (1, ""), errors)
                self.assertIn(f'"shard{shard}"', errors.splitlines()[-1])
                self.fails(1, f'"shard{shard}"', "query", url, "day > 1990-01-01", "--timeout", "1")
            finally:
                server.start_server(shard)
            # What the load wrote last may lack a half; no query shows any of it.
            self.assertGreaterEqual(int(self.good("query", url, "day > 1990-01-01", "--count")),
                                    load.acknowledged)
            self.check(url, load.acknowledged, 60000, repair=True)
        status, output, errors = Load(url, file).end()
        self.assertEqual(status, 0, errors)
        self.check(url, 60000)

    def test_a_commit_that_loses_its_connection_is_done_once(self):
        server = self.server("postgresql")
        url = self.table(server.one_url)
        waiting = "FROM pg_stat_activity WHERE wait_event = 'SyncRep'"

        def one(statement):
            return server.run("psql", "-XqAt", "-d", server.conninfo(0, "one"), "-c", statement)
        # It is committed here and waits for a server that there is not when the connection goes.
        for names in ("'nobody'", "DEFAULT"):
            if names == "DEFAULT":
                load = Load(url, self.write("load.csv", lines(3)))
                cluster.wait_until(lambda: one(f"SELECT count(*) {waiting}") == "1\n", "a commit")
                one(f"SELECT pg_terminate_backend(pid) {waiting}")
            one(f"ALTER SYSTEM SET synchronous_standby_names = {names}")
            one("SELECT pg_reload_conf()")
        self.assertEqual(load.end(), (0, "3 records\n", ""))
        # And before it is committed, once.
        one("""CREATE SEQUENCE turn; CREATE FUNCTION die() RETURNS trigger LANGUAGE plpgsql AS $$
            BEGIN PERFORM pg_terminate_backend(pg_backend_pid()) WHERE nextval('turn') = 1;
            RETURN NULL; END $$; CREATE CONSTRAINT TRIGGER die AFTER INSERT ON kv_store
            DEFERRABLE INITIALLY DEFERRED FOR EACH ROW EXECUTE FUNCTION die()""")
        load = Load(url, self.write("more.csv", lines(5)))
        self.assertEqual(load.end()[1:], ("2 records, 3 were there already\n", ""))
        one("DROP SEQUENCE turn; DROP FUNCTION die CASCADE")
        self.check(url, 5)

    def test_a_shard_is_divided_as_the_page_says(self):
        # A cluster of its own: it is not the same again afterwards.
        with cluster.Running(["postgresql"], os.path.join(BUILD, "cluster")) as running:
            if not running.clusters:
                self.skipTest("PostgreSQL is not installed")
            server = running.clusters["postgresql"]
            self.good("create", server.url, *SCHEMA)
            file = self.write("load.csv", lines(8000))
            self.good("load", server.url, file)
            before = self.good("dump", server.url)
            with open(os.path.join(SOURCE, "docs", "engines.md"), encoding="utf-8") as page:
                block = re.search(r"```sql\n(-- on shard1.*?)```", page.read(), re.S).group(1)
            places = {"shard1": 1, "shard2": 2, "the coordinator": 0}
            for place, sql in re.findall(r"-- on ([^\n]+)\n(.*?)(?=-- on|\Z)", block, re.S):
                server.sql(places[place], sql)
            self.assertEqual(server.sql(0, "SELECT count(*) FROM kv_store_high").strip(), "3000")
            self.check(server.url, 8000)
            self.assertEqual(self.good("dump", server.url), before)
            self.good("load", server.url, file, "--replace")
            self.check(server.url, 8000)

    def test_new_records_meet_no_conflict_in_postgresql(self):
        """Every batch overwrites the place of the load, which must not cost it its quick way."""
        server = self.server("postgresql")
        log = os.path.join(server.folder, "postgresql-0.log")
        url = self.table(server.one_url)
        before = os.path.getsize(log)
        self.good("load", url, self.write("load.csv", lines(60000)))
        with open(log, encoding="utf-8") as file:
            file.seek(before)
            self.assertNotIn("duplicate key", file.read())
        self.check(url, 60000)

    def fill(self, url, file, limit=None):
        load = Load(url, file, limit=limit)
        status, output, errors = load.end()
        self.assertEqual((status, output), (1, ""), errors)
        self.assertRegex(errors.splitlines()[-1], "too large|No space|full")
        return load.acknowledged

    def goes_on(self, url, file, acknowledged):
        self.check(url, acknowledged, 60000)
        status, output, errors = Load(url, file).end()
        self.assertEqual((status, output), (0, "60000 records\n"), errors)
        self.check(url, 60000)

    def test_a_full_file_is_an_error_and_the_store_stays_sound(self):
        file = self.write("load.csv", lines(60000))
        for engine, limit in (("lmdb", 3 << 20), ("rocksdb", 1 << 20)):
            with self.subTest(engine=engine):
                url = self.table(f"{engine}:{self.path(engine)}")
                self.goes_on(url, file, self.fill(url, file, limit))

    def test_a_full_disk_is_an_error_and_the_store_stays_sound(self):
        disk = self.path("disk")
        os.mkdir(disk)

        def mount(options):
            return subprocess.run(["mount", "-t", "tmpfs", "-o", options, "none", disk],
                                  capture_output=True).returncode == 0
        if not mount("size=3m"):
            self.skipTest("no rights to mount a small disk")
        self.addCleanup(subprocess.run, ["umount", disk])
        file = self.write("load.csv", lines(60000))
        for engine, size in (("lmdb", "3m"), ("rocksdb", "2m")):
            with self.subTest(engine=engine):
                mount(f"remount,size={size}")
                url = self.table(f"{engine}:{disk}/store")
                acknowledged = self.fill(url, file)
                # Opened while there is no room at all, it says so or it works.
                status, _, errors = kvindex("verify", url)
                self.assertIn(status, (0, 1), errors)
                mount("remount,size=90m")
                self.goes_on(url, file, acknowledged)
                shutil.rmtree(f"{disk}/store")


if __name__ == "__main__":
    unittest.main()
