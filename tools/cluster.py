#!/usr/bin/env python3
"""Starts servers of an engine on free loopback ports and stops them again.

    cluster.py etcd                    three members; prints the URL and waits for ^C or end of input
    cluster.py postgresql              a coordinator and two shards, likewise; the second URL is
                                       that of a database on the coordinator alone
    cluster.py etcd -- COMMAND...      runs the command with the URLs in KV_ETCD_URL,
                                       KV_POSTGRESQL_URL and KV_POSTGRESQL_ONE_URL, then stops
    cluster.py etcd postgresql -- ...  both at once

The servers keep their data in a new folder under --folder, which is removed at the end. They are
servers of this program's own: a service of the system, if there is one, is neither used nor
touched. Where their programs are missing the command is run without them, and that is said.
"""
import argparse
import glob
import json
import os
import pwd
import random
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time
import urllib.request

START_SECONDS = 60


class Missing(Exception):
    """The programs of an engine are not installed."""


def is_free(port):
    with socket.socket() as probe:
        try:
            probe.bind(("127.0.0.1", port))
        except OSError:
            return False
    return True


def free_ports(count):
    """Ports below those that the system gives to outgoing connections: one of these could be taken
    while a member that is to come back is away."""
    source = random.SystemRandom()
    ports = []
    while len(ports) < count:
        port = source.randrange(10000, 32000)
        if port not in ports and is_free(port):
            ports.append(port)
    return ports


def wait_until(ready, what):
    end = time.monotonic() + START_SECONDS
    while time.monotonic() < end:
        if ready():
            return
        time.sleep(0.05)
    raise RuntimeError(f"{what} did not come up within {START_SECONDS} seconds")


class Etcd:
    """Members of one etcd cluster, each a process that can be killed and brought back."""

    def __init__(self, folder, members=3):
        self.program = shutil.which("etcd")
        if self.program is None:
            raise Missing("etcd is not installed (package etcd-server)")
        self.folder = folder
        ports = free_ports(2 * members)
        self.clients = ports[:members]
        self.peers = ports[members:]
        self.processes = [None] * members

    @property
    def url(self):
        return "etcd:" + ",".join(f"127.0.0.1:{port}" for port in self.clients)

    def urls(self):
        return {"KV_ETCD_URL": self.url}

    def start(self):
        for number in range(len(self.clients)):
            self.start_member(number)
        wait_until(lambda: self.leader() is not None, "etcd")

    def start_member(self, number):
        client = f"http://127.0.0.1:{self.clients[number]}"
        peer = f"http://127.0.0.1:{self.peers[number]}"
        everyone = ",".join(f"m{each}=http://127.0.0.1:{port}"
                            for each, port in enumerate(self.peers))
        log = open(os.path.join(self.folder, f"etcd-{number}.log"), "ab")
        self.processes[number] = subprocess.Popen(
            [self.program, "--name", f"m{number}",
             "--data-dir", os.path.join(self.folder, f"etcd-{number}"),
             "--listen-client-urls", client, "--advertise-client-urls", client,
             "--listen-peer-urls", peer, "--initial-advertise-peer-urls", peer,
             "--initial-cluster", everyone, "--initial-cluster-state", "new",
             "--logger", "zap", "--log-level", "error"],
            stdin=subprocess.DEVNULL, stdout=log, stderr=log)
        log.close()

    def kill_member(self, number):
        self.processes[number].kill()
        self.processes[number].wait()
        self.processes[number] = None

    def leader(self):
        """The number of the member that leads, None while there is none."""
        for port in self.clients:
            try:
                request = urllib.request.Request(
                    f"http://127.0.0.1:{port}/v3/maintenance/status", data=b"{}")
                status = json.load(urllib.request.urlopen(request, timeout=2))
            except (OSError, ValueError):
                continue
            leader = status.get("leader", "0")
            if leader == "0":
                continue
            if leader == status["header"]["member_id"]:
                return self.clients.index(port)
        return None

    def stop(self):
        for process in self.processes:
            if process is not None:
                process.kill()
                process.wait()


class PostgreSql:
    """A coordinator whose table is range partitions, some of them on shards."""

    def __init__(self, folder, shards=2, split=("02",)):
        found = sorted(glob.glob("/usr/lib/postgresql/*/bin/postgres"))
        on_path = shutil.which("postgres")
        if not found and on_path is None:
            raise Missing("PostgreSQL is not installed (package postgresql-15)")
        self.programs = os.path.dirname(found[-1] if found else on_path)
        self.folder = folder
        self.split = split
        self.ports = free_ports(shards + 1)  # the coordinator comes first
        # The server refuses to run as root.
        self.user = "postgres" if os.geteuid() == 0 else None
        if self.user is not None:
            account = pwd.getpwnam(self.user)
            os.chown(folder, account.pw_uid, account.pw_gid)

    @property
    def url(self):
        return "postgresql:" + self.conninfo(0)

    @property
    def one_url(self):
        return "postgresql:" + self.conninfo(0, "one")

    def urls(self):
        return {"KV_POSTGRESQL_URL": self.url, "KV_POSTGRESQL_ONE_URL": self.one_url}

    def conninfo(self, number, database="postgres"):
        return f"host=127.0.0.1 port={self.ports[number]} user=kv dbname={database}"

    def run(self, program, *arguments):
        return self.call(os.path.join(self.programs, program), *arguments)

    def call(self, *words, output=subprocess.PIPE):
        done = subprocess.run(words, stdin=subprocess.DEVNULL, stdout=output,
                              stderr=subprocess.STDOUT, text=True, cwd=self.folder,
                              user=self.user, group=self.user,
                              extra_groups=[] if self.user else None)
        if done.returncode != 0:
            raise RuntimeError(f"{words[0]} failed: {done.stdout}")
        return done.stdout

    def data(self, number):
        return os.path.join(self.folder, f"postgresql-{number}")

    def start(self):
        self.run("initdb", "-D", self.data(0), "-U", "kv", "-A", "trust", "-E", "UTF8",
                 "--locale=C", "--no-sync")
        # A fresh data folder may be copied, which is faster than making each anew.
        for number in range(1, len(self.ports)):
            self.call("cp", "-a", self.data(0), self.data(number))
        for number in range(len(self.ports)):
            self.start_server(number)
        self.spread()

    def start_server(self, number):
        options = (f"-p {self.ports[number]} -c listen_addresses=127.0.0.1 "
                   "-c unix_socket_directories='' -c shared_buffers=64MB -c max_wal_size=1GB")
        log = os.path.join(self.folder, f"postgresql-{number}.log")
        # The server stays behind with the output that it was given, so none is waited for.
        self.call(os.path.join(self.programs, "pg_ctl"), "-D", self.data(number), "-w", "-t",
                  str(START_SECONDS), "-l", log, "-o", options, "start",
                  output=subprocess.DEVNULL)

    def stop_server(self, number):
        self.run("pg_ctl", "-D", self.data(number), "-w", "-m", "immediate", "stop")

    def sql(self, number, text):
        return self.run("psql", "-X", "-q", "-A", "-t", "-v", "ON_ERROR_STOP=1", "-d",
                        self.conninfo(number), "-c", text)

    def spread(self):
        """The table on the coordinator, its parts on the shards; and a database without shards."""
        self.sql(0, "CREATE DATABASE one")
        shards = len(self.ports) - 1
        if shards == 0:
            return
        bounds = ["MINVALUE", *(f"('\\x{key}'::bytea)" for key in self.split), "MAXVALUE"]
        assert len(bounds) == shards + 1, "one split less than there are shards"
        self.sql(0, "CREATE EXTENSION postgres_fdw; CREATE TABLE kv_store (k bytea NOT NULL, "
                    "v bytea NOT NULL) PARTITION BY RANGE (k)")
        for shard in range(1, shards + 1):
            self.sql(shard, "CREATE TABLE kv_store (k bytea PRIMARY KEY, v bytea NOT NULL)")
            self.sql(0, f"""
                CREATE SERVER shard{shard} FOREIGN DATA WRAPPER postgres_fdw OPTIONS
                  (host '127.0.0.1', port '{self.ports[shard]}', dbname 'postgres',
                   batch_size '1000', fetch_size '1000', connect_timeout '5');
                CREATE USER MAPPING FOR PUBLIC SERVER shard{shard} OPTIONS (user 'kv');
                CREATE FOREIGN TABLE kv_store_{shard} PARTITION OF kv_store
                  FOR VALUES FROM ({bounds[shard - 1].strip("()")}) TO ({bounds[shard].strip("()")})
                  SERVER shard{shard} OPTIONS (table_name 'kv_store')""")

    def stop(self):
        for number in range(len(self.ports)):
            if os.path.exists(os.path.join(self.data(number), "postmaster.pid")):
                self.stop_server(number)


ENGINES = {"etcd": Etcd, "postgresql": PostgreSql}


def data_folder(parent):
    """A new folder under `parent`, or where the servers' user can reach one."""
    os.makedirs(parent, exist_ok=True)
    path = os.path.abspath(parent)
    while os.geteuid() == 0 and path != "/":
        if not os.stat(path).st_mode & 0o001:
            parent = None
            break
        path = os.path.dirname(path)
    folder = os.path.abspath(tempfile.mkdtemp(prefix="cluster.", dir=parent))
    os.chmod(folder, 0o755)
    return folder


class Running:
    """Started clusters; leaves nothing running and no files behind."""

    def __init__(self, names, parent, **options):
        self.folder = data_folder(parent)
        self.clusters = {}
        self.missing = []
        try:
            for name in names:
                self.begin(name, options)
        except BaseException:
            self.end()
            raise

    def begin(self, name, options):
        folder = os.path.join(self.folder, name)
        os.mkdir(folder)
        try:
            cluster = ENGINES[name](folder, **options)
        except Missing as missing:
            self.missing.append(str(missing))
            return
        self.clusters[name] = cluster
        cluster.start()

    def environment(self):
        return {name: url for cluster in self.clusters.values()
                for name, url in cluster.urls().items()}

    def end(self):
        for cluster in self.clusters.values():
            cluster.stop()
        shutil.rmtree(self.folder, ignore_errors=True)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.end()


def main():
    words = sys.argv[1:]
    command = []
    if "--" in words:
        at = words.index("--")
        words, command = words[:at], words[at + 1:]
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("engine", nargs="+", choices=sorted(ENGINES))
    parser.add_argument("--folder", default="build/cluster", help="where the data goes")
    arguments = parser.parse_args(words)
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    with Running(arguments.engine, arguments.folder) as running:
        for missing in running.missing:
            print(f"!! NOT STARTED: {missing}", file=sys.stderr)
        if command:
            return subprocess.run(command, env={**os.environ, **running.environment()}).returncode
        for url in running.environment().values():
            print(url, flush=True)
        if not running.clusters:
            return 1
        print("^C stops it.", file=sys.stderr)
        try:
            signal.pause()
        except KeyboardInterrupt:
            print(file=sys.stderr)
    return 0


if __name__ == "__main__":
    sys.exit(main())
