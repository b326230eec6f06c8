// What somebody would write who has the bytes already and one engine: the yardstick of kvindex.
//
//   plain export URL FILE         the records of a kvindex table with one index, each followed by
//   its
//                                 entry, for the loads below; the key is the first field, an o_u4b
//                                 that counts from 0
//   plain lmdb PATH FILE          puts them, 32,768 in a transaction
//   plain rocksdb PATH FILE       puts them, 32,768 in a batch that is synced
//   plain postgresql CONNINFO FILE  one COPY into a table like that of the store
//   plain etcd HOST:PORT FILE     128 puts in a transaction
//   plain walk PATH FROM          goes over index entries of an LMDB store from hexadecimal FROM to
//                                 the end and gets each record
#include <curl/curl.h>
#include <libpq-fe.h>
#include <lmdb.h>
#include <rocksdb/db.h>
#include <rocksdb/write_batch.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <memory>

#include "base64.h"
#include "ordered_store.h"

namespace {

constexpr std::size_t kBatch = 32768;
constexpr std::size_t kEtcdBatch = 128;

void Require(bool good, const char* what) {
  if (good) return;
  std::cerr << "plain: " << what << " failed\n";
  std::exit(1);
}

void WritePiece(std::ofstream& file, std::string_view piece) {
  const auto size = static_cast<unsigned>(piece.size());
  file.write(reinterpret_cast<const char*>(&size), sizeof size);
  file.write(piece.data(), static_cast<std::streamsize>(size));
}

bool ReadPiece(std::ifstream& file, std::string& piece) {
  unsigned size = 0;
  if (!file.read(reinterpret_cast<char*>(&size), sizeof size)) return false;
  piece.resize(size);
  return static_cast<bool>(file.read(piece.data(), static_cast<std::streamsize>(size)));
}

// Calls put(key, value) for every pair, and ended() behind every `batch` pairs and the last.
template <class Put, class Ended>
void ForPairs(const std::string& name, std::size_t batch, const Put& put, const Ended& ended) {
  std::ifstream file(name, std::ios::binary);
  std::string key;
  std::string value;
  std::size_t count = 0;
  while (ReadPiece(file, key) && ReadPiece(file, value)) {
    put(key, value);
    if (++count % batch == 0) ended();
  }
  if (count % batch != 0) ended();
}

void Export(const std::string& url, const std::string& name) {
  const auto store = engines::OpenStore(url, {});
  const auto snapshot = store->TakeSnapshot();
  std::vector<std::string> entries;
  snapshot->Scan(engines::WithPrefix("\x02"), [&](std::string_view key, std::string_view) {
    std::size_t id = 0;
    for (const char byte : key.substr(key.size() - 4)) {
      id = id << 8 | static_cast<unsigned char>(byte);
    }
    if (id >= entries.size()) entries.resize(id + 1);
    entries[id] = key;
    return true;
  });
  std::ofstream file(name, std::ios::binary);
  std::size_t id = 0;
  snapshot->Scan(engines::WithPrefix("\x01"), [&](std::string_view key, std::string_view value) {
    WritePiece(file, key);
    WritePiece(file, value);
    WritePiece(file, entries.at(id++));
    WritePiece(file, "");
    return true;
  });
}

void LoadLmdb(const std::string& path, const std::string& file) {
  MDB_env* environment = nullptr;
  mdb_env_create(&environment);
  mdb_env_set_mapsize(environment, std::size_t{1} << 36);
  Require(mdb_env_open(environment, path.c_str(), 0, 0640) == 0, "opening");
  MDB_txn* transaction = nullptr;
  MDB_dbi database = 0;
  const auto begin = [&] { mdb_txn_begin(environment, nullptr, 0, &transaction); };
  begin();
  mdb_dbi_open(transaction, nullptr, 0, &database);
  ForPairs(
      file, kBatch,
      [&](std::string& key, std::string& value) {
        MDB_val k{key.size(), key.data()};
        MDB_val v{value.size(), value.data()};
        Require(mdb_put(transaction, database, &k, &v, 0) == 0, "putting");
      },
      [&] {
        Require(mdb_txn_commit(transaction) == 0, "committing");
        begin();
      });
  mdb_txn_abort(transaction);
  mdb_env_close(environment);
}

void WalkLmdb(const std::string& path, const std::string& hex) {
  std::string from;
  for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
    from += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
  }
  MDB_env* environment = nullptr;
  mdb_env_create(&environment);
  mdb_env_set_mapsize(environment, std::size_t{1} << 36);
  Require(mdb_env_open(environment, path.c_str(), MDB_RDONLY, 0640) == 0, "opening");
  MDB_txn* transaction = nullptr;
  MDB_dbi database = 0;
  MDB_cursor* cursor = nullptr;
  mdb_txn_begin(environment, nullptr, MDB_RDONLY, &transaction);
  mdb_dbi_open(transaction, nullptr, 0, &database);
  mdb_cursor_open(transaction, database, &cursor);
  MDB_val key{from.size(), from.data()};
  MDB_val value;
  std::size_t count = 0;
  std::string record(5, '\x01');
  for (int status = mdb_cursor_get(cursor, &key, &value, MDB_SET_RANGE); status == 0;
       status = mdb_cursor_get(cursor, &key, &value, MDB_NEXT)) {
    record.replace(1, 4, static_cast<char*>(key.mv_data) + key.mv_size - 4, 4);
    MDB_val wanted{record.size(), record.data()};
    count += mdb_get(transaction, database, &wanted, &value) == 0;
  }
  std::cout << count << "\n";
}

void LoadRocksDb(const std::string& path, const std::string& file) {
  rocksdb::Options options;
  options.create_if_missing = true;
  options.IncreaseParallelism(2);
  rocksdb::DB* opened = nullptr;
  Require(rocksdb::DB::Open(options, path, &opened).ok(), "opening");
  const std::unique_ptr<rocksdb::DB> database(opened);
  rocksdb::WriteBatch batch;
  rocksdb::WriteOptions synced;
  synced.sync = true;
  ForPairs(
      file, kBatch, [&](std::string& key, std::string& value) { batch.Put(key, value); },
      [&] {
        Require(database->Write(synced, &batch).ok(), "writing");
        batch.Clear();
      });
}

void AppendSized(std::string& to, const std::string& bytes) {
  const unsigned size = __builtin_bswap32(static_cast<unsigned>(bytes.size()));
  to.append(reinterpret_cast<const char*>(&size), sizeof size).append(bytes);
}

void LoadPostgreSql(const std::string& conninfo, const std::string& file) {
  PGconn* connection = PQconnectdb(conninfo.c_str());
  PQclear(PQexec(connection, "DROP TABLE IF EXISTS plain_store"));
  PQclear(PQexec(connection, "CREATE TABLE plain_store (k bytea PRIMARY KEY, v bytea NOT NULL)"));
  PQclear(PQexec(connection, "COPY plain_store FROM STDIN (FORMAT binary)"));
  std::string bytes("PGCOPY\n\xFF\r\n\0\0\0\0\0\0\0\0\0", 19);
  const auto send = [&] {
    const int size = static_cast<int>(bytes.size());
    Require(PQputCopyData(connection, bytes.data(), size) == 1, "copying");
    bytes.clear();
  };
  ForPairs(
      file, 1024,
      [&](std::string& key, std::string& value) {
        bytes += std::string("\0\2", 2);
        AppendSized(bytes, key);
        AppendSized(bytes, value);
      },
      send);
  bytes = "\xFF\xFF";
  send();
  PQputCopyEnd(connection, nullptr);
  Require(PQresultStatus(PQgetResult(connection)) == PGRES_COMMAND_OK, "copying");
  PQfinish(connection);
}

std::size_t Drop(char*, std::size_t size, std::size_t count, void*) {
  return size * count;
}

void LoadEtcd(const std::string& member, const std::string& file) {
  CURL* handle = curl_easy_init();
  const std::string url = "http://" + member + "/v3/kv/txn";
  curl_easy_setopt(handle, CURLOPT_URL, url.c_str());
  curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, Drop);
  curl_easy_setopt(handle, CURLOPT_FAILONERROR, 1L);
  curl_slist* headers = curl_slist_append(nullptr, "Expect:");
  curl_easy_setopt(handle, CURLOPT_HTTPHEADER, headers);
  std::string puts;
  ForPairs(
      file, kEtcdBatch,
      [&](std::string& key, std::string& value) {
        puts += std::string(puts.empty() ? "" : ",") + "{\"requestPut\":{\"key\":\"";
        engines::AppendBase64(puts, "plain/" + key);
        puts += "\",\"value\":\"";
        engines::AppendBase64(puts, value);
        puts += "\"}}";
      },
      [&] {
        const std::string request = "{\"success\":[" + puts + "]}";
        curl_easy_setopt(handle, CURLOPT_POSTFIELDS, request.c_str());
        Require(curl_easy_perform(handle) == CURLE_OK, "putting");
        puts.clear();
      });
  curl_slist_free_all(headers);
  curl_easy_cleanup(handle);
}

}  // namespace

int main(int argc, char** argv) {
  Require(argc == 4, "the command line");
  const std::string command = argv[1];
  if (command == "export") Export(argv[2], argv[3]);
  if (command == "lmdb") LoadLmdb(argv[2], argv[3]);
  if (command == "walk") WalkLmdb(argv[2], argv[3]);
  if (command == "rocksdb") LoadRocksDb(argv[2], argv[3]);
  if (command == "postgresql") LoadPostgreSql(argv[2], argv[3]);
  if (command == "etcd") LoadEtcd(argv[2], argv[3]);
  return 0;
}
