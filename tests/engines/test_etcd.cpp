// What becomes of a write when a member of a cluster answers late, wrongly, in part or not at all:
// a member that says what it is told, where one that fails by itself could not be had to order.
#ifdef KV_HAVE_ETCD
#include <doctest/doctest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <nlohmann/json.hpp>
#include <thread>

#include "ordered_store.h"

namespace {

using Json = nlohmann::json;

// Gives these answers, one for each request, and is gone then. One that ends in no brace is cut
// off.
class Member {
 public:
  explicit Member(std::vector<std::string> answers) : answers_(std::move(answers)) {
    sockaddr_in address{
        .sin_family = AF_INET, .sin_port = 0, .sin_addr = {htonl(INADDR_LOOPBACK)}, .sin_zero = {}};
    socklen_t size = sizeof address;
    auto* const at = reinterpret_cast<sockaddr*>(&address);
    REQUIRE((::bind(door_, at, size) == 0 && listen(door_, 9) == 0 &&
             getsockname(door_, at, &size) == 0));
    place = "127.0.0.1:" + std::to_string(ntohs(address.sin_port));
    work_ = std::thread([this] { Serve(); });
  }
  ~Member() {
    if (work_.joinable()) Asked();
  }
  Member(const Member&) = delete;
  Member& operator=(const Member&) = delete;
  // The last words of the paths that were asked for, and of a transaction the mark that it expects
  // and the one that it leaves.
  std::string Asked() {
    shutdown(door_, SHUT_RDWR);
    work_.join();
    return asked_;
  }

  std::string place;

 private:
  void Serve() {
    auto answer = answers_.begin();
    while (answer != answers_.end()) {
      const int guest = accept(door_, nullptr, nullptr);
      if (guest < 0) break;
      while (answer != answers_.end() && Hear(guest)) {
        const std::string said = *answer++;
        if (said.empty()) continue;
        const bool whole = said.ends_with('}');
        const std::string size = std::to_string(said.size() + (whole ? 0 : 1));
        const std::string all = "HTTP/1.1 200 OK\r\nContent-Length: " + size + "\r\n\r\n" + said;
        if (send(guest, all.data(), all.size(), MSG_NOSIGNAL) < 0 || !whole) break;
      }
      close(guest);
    }
    close(door_.exchange(-1));
  }
  bool Hear(int guest) {
    std::string request;
    for (std::size_t body = 0, size = 0; body == 0 || request.size() < body + size;) {
      char piece[4096];
      const ssize_t count = recv(guest, piece, sizeof piece, 0);
      if (count <= 0) return false;
      request.append(piece, static_cast<std::size_t>(count));
      if (body == 0 && request.find("\r\n\r\n") != request.npos) {
        body = request.find("\r\n\r\n") + 4;
        size = std::stoul(request.substr(request.find("Content-Length: ") + 16));
      }
    }
    const std::string path = request.substr(0, request.find(" HTTP"));
    asked_ += (asked_.empty() ? "" : " ") + path.substr(path.rfind('/') + 1);
    if (!path.ends_with("/txn")) return true;
    CHECK(request.find("application/json") != request.npos);
    const Json json = Json::parse(request.substr(request.find("\r\n\r\n")));
    const Json& mark = json["compare"][0];
    asked_ += " " + mark.value("value", mark.value("target", "")) + " " +
              json["success"][0]["requestPut"]["value"].get<std::string>();
    return true;
  }

  std::vector<std::string> answers_;
  std::string asked_;
  std::atomic<int> door_ = socket(AF_INET, SOCK_STREAM, 0);
  std::thread work_;
};

// Two writes of a key that must be absent, or one with little patience, over these answers and one
// to the opening read before them. How each ended: + or -, or the number of its fault and what that
// says; then what the member was asked.
std::string Write(std::vector<std::string> answers, unsigned patience) {
  answers.insert(answers.begin(), R"({"header":{"revision":"5"}})");
  Member member(answers);
  // The first time nobody answers at two addresses before it, the next time at one.
  static unsigned turn = 0;
  std::string dead, ends;
  for (unsigned i = turn++; i < 2; ++i) dead += "127.0.0.1:1,";
  const std::string url = "etcd:" + dead + member.place + "/n";
  // No proxy is asked.
  setenv("http_proxy", "http://127.0.0.1:1", 1);
  auto store = engines::OpenStore(url, {.patience = std::chrono::milliseconds(patience)});
  for (unsigned i = 0; i < (patience < 1000 ? 1 : 2); ++i) {
    try {
      ends += store->CompareAndSet("a", std::nullopt, "v") ? "+" : "-";
    } catch (const engines::StoreError& error) {
      const std::string text = error.what();
      CHECK(text.starts_with(url + ": "));
      ends += std::to_string(static_cast<int>(error.Why())) +
              text.substr(url.size() + 2, text.rfind(',') - url.size() - 2);
    }
  }
  store.reset();
  return ends + " " + member.Asked();
}

// What the number of the writer is found to be.
std::string Marked(const std::string& mark) {
  return R"({"responses":[{"response_txn":{"responses":[{"response_range":{"kvs":[)" +
         (mark.empty() ? "" : R"({"value":")" + mark + "\"}") + "]}}]}}]}";
}

}  // namespace

TEST_CASE("a write is done once or told as what it is, whatever a member answers") {
  const std::string grant = R"({"ID":"77"})", done = R"({"succeeded":true})", half = "{";
  const std::string gone = R"({"code":5,"message":"gone"})";
  // Answers, and how it ended and what was asked; 1, 1- and 2 are marks in base 64.
  const std::pair<std::vector<std::string>, std::string> cases[] = {
      {{grant, done, done, "{}"}, "++ range grant txn VERSION MQ== txn MQ== Mg== revoke"},
      {{grant, R"({"responses":[{"response_txn":{"succeeded":true}}]})", done, "{}"},
       "-+ range grant txn VERSION MQ== txn MS0= Mg== revoke"},
      // No leader, too slow, too much to do, somebody else, half an answer: asked again.
      {{grant, R"({"code":14})", R"({"code":4})", R"({"code":8,"message":"too many requests"})",
        done, done, "{}"},
       "++ range grant txn VERSION MQ== txn VERSION MQ== txn VERSION MQ== txn VERSION MQ== txn "
       "MQ== Mg== "
       "revoke"},
      {{grant, "[{}", half, done, done, "{}"},
       "++ range grant txn VERSION MQ== txn VERSION MQ== txn VERSION MQ== txn MQ== Mg== revoke"},
      // What a try that was cut off did: everything, nothing, or the mark is not there to tell.
      {{grant, half, Marked("MQ=="), done, "{}"},
       "++ range grant txn VERSION MQ== txn VERSION MQ== txn MQ== Mg== revoke"},
      {{grant, half, Marked("MS0="), done, "{}"},
       "-+ range grant txn VERSION MQ== txn VERSION MQ== txn MS0= Mg== revoke"},
      {{grant, Marked("Mg=="), grant, Marked(""), "{}"},
       "4somebody removed the mark of this writer4somebody removed the mark of this writer range "
       "grant txn VERSION MQ== grant txn VERSION MQ== revoke"},
      // The lease is gone: a new one, once, and not when somebody may have written.
      {{grant, gone, grant, done, gone, grant, gone, "{}"},
       "+7gone range grant txn VERSION MQ== grant txn VERSION MQ== txn MQ== Mg== grant txn VERSION "
       "MQ== revoke"},
      {{grant, half, gone, grant, done, "{}"},
       "7gone+ range grant txn VERSION MQ== txn VERSION MQ== grant txn VERSION MQ== revoke"},
      // Faults, and a new writer after each.
      {{grant, R"({"code":8,"message":"full"})", grant, R"({"code":3,"message":"long"})", "{}"},
       "5full1long range grant txn VERSION MQ== grant txn VERSION MQ== revoke"},
      {{grant, R"({"code":"x","message":"odd"})", R"({"code":13,"message":"inner"})", "{}"},
       "7odd7inner range grant txn VERSION MQ== grant revoke"},
      // Patience, of which no member may use up all.
      {{grant, "", done, "{}"}, "+ range grant txn VERSION MQ== txn VERSION MQ== revoke"},
      {{grant, half}, "4no answer within 200 ms range grant txn VERSION MQ=="},
      {{grant}, "3no answer within 200 ms range grant"},
      {{half}, "3no answer within 200 ms range grant"},
  };
  for (const auto& [answers, wanted] : cases) {
    const std::string& ends = wanted;  // a binding cannot be captured
    CAPTURE(ends);
    const bool isSilent = std::count(answers.begin(), answers.end(), "") != 0;
    const unsigned patience = isSilent ? 900 : ends.find("200") != ends.npos ? 200 : 20000;
    CHECK(Write(answers, patience) == ends);
  }
}
#endif
