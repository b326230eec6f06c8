// A cluster whose members hold every byte each. It is spoken to through the JSON gateway of its
// third version, which every member offers at its client address.
//
// Keys of the cluster, so that it can be shared:
//
//   NAME/k/KEY         an entry; NAME is what stands behind the "/" of the URL, or "kv"
//   NAME/w/WRITER      the number of the last batch of a writer, gone with its lease or its end
//
// A request may be cut off after the cluster took it: a member dies, a time-out passes. To know
// what became of it every batch also moves the writer's own number, on the condition that it stands
// where the writer left it. Sent again, the batch finds the number moved and knows that it was
// applied; and a first copy that was only late finds it moved as well and does nothing. So nothing
// is written twice and nothing acknowledged that is not there.
//
// A scan reads pages of one revision. To find a page the server walks its whole index of the rest
// of the range, so pages are large, and a descending scan, which the server would answer by
// collecting and sorting the range for every page, cuts the range in halves instead.
#include <curl/curl.h>

#include <algorithm>
#include <mutex>
#include <nlohmann/json.hpp>
#include <random>
#include <thread>

#include "base64.h"
#include "built_engines.h"
#include "key_middle.h"

namespace engines {
namespace {

using Json = nlohmann::json;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// The cluster's own limits, as its members start with them.
constexpr std::size_t kOperations = 128;
constexpr std::size_t kRequestBytes = 1572864;
// One operation of each batch is the writer's number, and the deepest one counts as one more. A key
// stands in its condition and again in its write; the rest of the request is what frames them.
constexpr std::size_t kBatchWrites = kOperations - 2;
constexpr std::size_t kBatchBytes = 1250000;
constexpr std::size_t kValueBytes = 1000000;
static_assert(kBatchBytes + kOperations * (kEtcdKeyBytes + 256) < kRequestBytes);

constexpr std::size_t kPageBytes = std::size_t{1} << 20;
constexpr std::size_t kFirstPage = 256;
constexpr std::size_t kLargestPage = 16384;

constexpr unsigned kMostKeyByKey = 1024;
constexpr unsigned kLeaseSeconds = 24 * 3600;

// Codes of the gateway's answers.
constexpr int kInvalidArgument = 3;
constexpr int kDeadlineExceeded = 4;
constexpr int kNotFound = 5;
constexpr int kResourceExhausted = 8;
constexpr int kUnavailable = 14;

struct Answer {
  bool arrived = false;  // false: no answer, or one that says nothing about the outcome
  int code = 0;          // 0: good
  std::string message = {};
  Json body = {};
};

std::string Quoted64(std::string_view bytes) {
  std::string text = "\"";
  AppendBase64(text, bytes);
  return text += '"';
}

std::size_t Collect(char* bytes, std::size_t size, std::size_t count, void* to) {
  static_cast<std::string*>(to)->append(bytes, size * count);
  return size * count;
}

// Requests to whichever member answers. One at a time.
class Channel {
 public:
  Channel(std::string place, std::vector<std::string> members, milliseconds patience)
      : place_(std::move(place)), members_(std::move(members)), patience_(patience) {
    if (handle_ == nullptr) throw std::bad_alloc();
    Set(CURLOPT_HTTPHEADER, headers_.get());
    Set(CURLOPT_WRITEFUNCTION, Collect);
    Set(CURLOPT_NOSIGNAL, 1L);
    Set(CURLOPT_NOPROXY, "*");
  }

  // Asks until there is an answer, for as long as patience lasts. `unknown` is set when a try went
  // out and nothing is known of it.
  Answer Ask(const char* path, const std::string& request, bool& unknown) {
    const Clock::time_point end = Clock::now() + patience_;
    milliseconds pause{10};
    for (;;) {
      const auto left = std::chrono::duration_cast<milliseconds>(end - Clock::now());
      Answer answer = AskOnce(path, request, std::max(left, milliseconds{1}));
      if (answer.arrived) return answer;
      unknown = unknown || !answer.body.is_null();
      if (Clock::now() + pause >= end) {
        throw StoreError(unknown ? Fault::kOutcomeUnknown : Fault::kUnavailable,
                         Place() + ": no answer within " + std::to_string(patience_.count()) +
                             " ms, at last: " + answer.message);
      }
      std::this_thread::sleep_for(pause);
      pause = std::min(pause * 2, milliseconds{250});
      current_ = (current_ + 1) % members_.size();
    }
  }

  // For what changes nothing.
  Json Read(const char* path, const std::string& request) {
    bool ignored = false;
    try {
      Answer answer = Ask(path, request, ignored);
      if (answer.code != 0) Fail(answer);
      return std::move(answer.body);
    } catch (const StoreError& error) {
      if (error.Why() != Fault::kOutcomeUnknown) throw;
      throw StoreError(Fault::kUnavailable, error.what());
    }
  }

  [[noreturn]] void Fail(const Answer& answer) const {
    Fault fault = Fault::kOther;
    if (answer.code == kResourceExhausted) fault = Fault::kFull;
    if (answer.code == kInvalidArgument) fault = Fault::kTooLarge;
    throw StoreError(fault, Place() + ": " + answer.message);
  }

  std::string Place() const { return "etcd:" + place_; }

 private:
  template <class Value>
  void Set(CURLoption option, Value value) {
    curl_easy_setopt(handle_.get(), option, value);
  }

  // `body` of an answer that did not arrive is null when the request cannot have been taken.
  Answer AskOnce(const char* path, const std::string& request, milliseconds left) {
    const std::string url = "http://" + members_[current_] + path;
    // No member may use up all patience: another one could answer.
    const milliseconds most = std::min(left, std::max(patience_ / 3, milliseconds{500}));
    text_.clear();
    Set(CURLOPT_URL, url.c_str());
    Set(CURLOPT_POSTFIELDS, request.c_str());
    Set(CURLOPT_WRITEDATA, &text_);
    Set(CURLOPT_CONNECTTIMEOUT_MS, 1000L);
    Set(CURLOPT_TIMEOUT_MS, static_cast<long>(most.count()));
    const CURLcode status = curl_easy_perform(handle_.get());
    if (status != CURLE_OK) {
      const bool sent = status != CURLE_COULDNT_CONNECT && status != CURLE_COULDNT_RESOLVE_HOST;
      return {.message = members_[current_] + ": " + curl_easy_strerror(status),
              .body = sent ? Json(true) : Json()};
    }
    return Understand();
  }

  Answer Understand() {
    Json body = Json::parse(text_, nullptr, false);
    if (!body.is_object()) {
      return {.message = members_[current_] + " does not speak as etcd does", .body = Json(true)};
    }
    const auto code = body.find("code");
    if (code == body.end()) return {.arrived = true, .body = std::move(body)};
    const std::string message = body.value("message", "");
    // No leader, a new leader, a member that is overrun or stopping: another try may do.
    const int number = code->is_number_integer() ? code->get<int>() : -1;
    const bool passing = number == kUnavailable || number == kDeadlineExceeded ||
                         (number == kResourceExhausted && message.find("too many") != message.npos);
    if (passing) return {.message = members_[current_] + ": " + message, .body = Json(true)};
    return {.arrived = true, .code = number, .message = message, .body = std::move(body)};
  }

  std::string place_;
  std::vector<std::string> members_;
  milliseconds patience_;
  std::size_t current_ = 0;
  std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> handle_{curl_easy_init(), curl_easy_cleanup};
  // Without "Expect:" a large request would first ask whether it may be sent.
  std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> headers_{
      curl_slist_append(curl_slist_append(nullptr, "Content-Type: application/json"), "Expect:"),
      curl_slist_free_all};
  std::string text_;
};

class EtcdSnapshot : public Snapshot {
 public:
  EtcdSnapshot(Channel& channel, std::mutex& lock, const std::string& prefix)
      : channel_(channel), lock_(lock), prefix_(prefix) {}

  std::optional<std::string> Get(std::string_view key) override {
    const Json body = ReadRange("{" + KeyField(key) + RevisionField() + "}");
    const auto entries = body.find("kvs");
    if (entries == body.end() || entries->empty()) return std::nullopt;
    return ValueOf((*entries)[0]);
  }

  std::vector<std::optional<std::string>> GetMany(const std::vector<std::string>& keys) override {
    std::vector<std::optional<std::string>> values;
    for (std::size_t from = 0; from < keys.size(); from += kOperations) {
      AppendMany(std::span(keys).subspan(from, std::min(kOperations, keys.size() - from)), values);
    }
    return values;
  }

  void Scan(const Range& range, const Visit& visit) override {
    const std::string from = prefix_ + range.from;
    const std::string end = range.end.empty() ? WithPrefix(prefix_).end : prefix_ + range.end;
    std::size_t left = range.limit;
    if (from >= end) return;
    if (range.descending) {
      ScanDown(from, end, left, visit);
    } else {
      ScanUp(from, end, left, visit);
    }
  }

 private:
  struct Entry {
    std::string key;  // with the prefix
    std::string value;
  };

  static std::string ValueOf(const Json& entry) {
    const auto value = entry.find("value");  // an empty one is left out
    return value == entry.end() ? std::string() : FromBase64(value->get_ref<const std::string&>());
  }

  std::string KeyField(std::string_view key) const {
    return "\"key\":" + Quoted64(prefix_ + std::string(key));
  }
  std::string RevisionField() const {
    return revision_.empty() ? "" : ",\"revision\":\"" + revision_ + "\"";
  }

  // The first read fixes the revision.
  void Keep(const Json& body) {
    if (revision_.empty()) revision_ = body.at("header").at("revision").get<std::string>();
  }

  Json ReadRange(const std::string& request) {
    const std::lock_guard guard(lock_);
    Json body = channel_.Read("/v3/kv/range", request);
    Keep(body);
    return body;
  }

  void AppendMany(std::span<const std::string> keys,
                  std::vector<std::optional<std::string>>& values) {
    std::string request = "{\"success\":[";
    for (const std::string& key : keys) {
      if (request.back() == '}') request += ',';
      request += "{\"requestRange\":{" + KeyField(key) + RevisionField() + "}}";
    }
    const std::lock_guard guard(lock_);
    const Json body = channel_.Read("/v3/kv/txn", request + "]}");
    Keep(body);
    for (const Json& response : body.at("responses")) {
      const Json& found = response.at("response_range");
      const auto entries = found.find("kvs");
      const bool none = entries == found.end() || entries->empty();
      values.push_back(none ? std::nullopt : std::optional(ValueOf((*entries)[0])));
    }
  }

  std::vector<Entry> Page(const std::string& from, const std::string& end, std::size_t most) {
    const Json body =
        ReadRange("{\"key\":" + Quoted64(from) + ",\"range_end\":" + Quoted64(end) +
                  ",\"limit\":\"" + std::to_string(most) + "\"" + RevisionField() + "}");
    std::vector<Entry> entries;
    const auto found = body.find("kvs");
    if (found == body.end()) return entries;
    for (const Json& entry : *found) {
      entries.push_back(
          {FromBase64(entry.at("key").get_ref<const std::string&>()), ValueOf(entry)});
    }
    return entries;
  }

  std::size_t Count(const std::string& from, const std::string& end) {
    const Json body = ReadRange("{\"key\":" + Quoted64(from) + ",\"range_end\":" + Quoted64(end) +
                                ",\"count_only\":true" + RevisionField() + "}");
    return std::stoull(body.value("count", "0"));
  }

  // The next page's size, from what this one weighed.
  static std::size_t NextSize(std::size_t size, const std::vector<Entry>& page) {
    std::size_t bytes = 0;
    for (const Entry& entry : page) bytes += entry.key.size() + entry.value.size();
    if (bytes > kPageBytes) return std::max<std::size_t>(size / 4, 1);
    return bytes < kPageBytes / 4 ? std::min(size * 4, kLargestPage) : size;
  }

  bool Take(const Entry& entry, std::size_t& left, const Visit& visit) const {
    --left;
    return visit(std::string_view(entry.key).substr(prefix_.size()), entry.value) && left > 0;
  }

  void ScanUp(std::string from, const std::string& end, std::size_t left, const Visit& visit) {
    for (std::size_t size = kFirstPage; left > 0;) {
      const std::size_t wanted = std::min(size, left);
      const std::vector<Entry> page = Page(from, end, wanted);
      for (const Entry& entry : page) {
        if (!Take(entry, left, visit)) return;
      }
      if (page.size() < wanted) return;
      from = page.back().key + '\0';
      size = NextSize(size, page);
    }
  }

  // False when the scan is over.
  bool ScanDown(std::string from, const std::string& end, std::size_t& left, const Visit& visit) {
    if (left == 0) return false;
    const std::size_t count = Count(from, end);
    if (count == 0) return true;
    if (count > kFirstPage) {
      // The first key bounds the range better than where the caller began.
      from = Page(from, end, 1).at(0).key;
      const std::string middle = KeyMiddle(from, end);
      if (middle > from && middle < end) {
        return ScanDown(middle, end, left, visit) && ScanDown(from, middle, left, visit);
      }
    }
    const std::vector<Entry> page = Page(from, end, count);
    return std::all_of(page.rbegin(), page.rend(),
                       [&](const Entry& entry) { return Take(entry, left, visit); });
  }

  Channel& channel_;
  std::mutex& lock_;
  const std::string& prefix_;
  std::string revision_;
};

std::string RandomName() {
  std::random_device source;
  std::string name;
  for (unsigned i = 0; i < 4; ++i) name += std::to_string(source()) + (i < 3 ? "-" : "");
  return name;
}

class EtcdStore : public OrderedStore {
 public:
  EtcdStore(const std::string& place, std::vector<std::string> members, const std::string& name,
            const OpenOptions& options)
      : channel_(place, std::move(members), options.patience),
        prefix_(name + "/k/"),
        writers_(name + "/w/") {
    // A cluster that is not there is better known now than at the first write.
    TakeSnapshot()->Get("x");
  }

  // The lease takes the writer's number with it; without this it would do so in a day.
  ~EtcdStore() override {
    if (lease_.empty()) return;
    try {
      channel_.Read("/v3/kv/lease/revoke", "{\"ID\":\"" + lease_ + "\"}");
    } catch (const std::exception&) {  // the cluster is away: then in a day
    }
  }

  Limits GetLimits() const override {
    return {.keyBytes = kEtcdKeyBytes,
            .valueBytes = kValueBytes,
            .batchWrites = kBatchWrites,
            .batchBytes = kBatchBytes,
            .atomicBatches = true};
  }

  std::unique_ptr<Snapshot> TakeSnapshot() override {
    return std::make_unique<EtcdSnapshot>(channel_, lock_, prefix_);
  }

 protected:
  std::optional<std::size_t> ApplySorted(std::span<const Write* const> batch) override {
    if (SendOrForget(batch)) return std::nullopt;
    return FailedCondition(batch);
  }

 private:
  // A new writer: after the start, and when the old one's lease ran out while nobody wrote.
  void BecomeWriter() {
    const Json granted =
        channel_.Read("/v3/lease/grant", "{\"TTL\":\"" + std::to_string(kLeaseSeconds) + "\"}");
    lease_ = granted.at("ID").get<std::string>();
    renewAt_ = Clock::now() + std::chrono::seconds(kLeaseSeconds / 2);
    writer_ = writers_ + RandomName();
    number_ = 0;
    mark_.clear();
  }

  std::string MarkCondition() const {
    const std::string key = "{\"key\":" + Quoted64(writer_);
    if (mark_.empty()) return key + ",\"target\":\"VERSION\",\"version\":\"0\"}";
    return key + ",\"target\":\"VALUE\",\"value\":" + Quoted64(mark_) + "}";
  }
  std::string PutMark(const std::string& mark) const {
    return "{\"requestPut\":{\"key\":" + Quoted64(writer_) + ",\"value\":" + Quoted64(mark) +
           ",\"lease\":\"" + lease_ + "\"}}";
  }

  std::string Condition(const Write& write) const {
    const std::string key = "{\"key\":" + Quoted64(prefix_ + write.key);
    if (write.when == When::kAbsent) return key + ",\"target\":\"VERSION\",\"version\":\"0\"}";
    return key + ",\"target\":\"VALUE\",\"value\":" + Quoted64(write.expected) + "}";
  }
  std::string Operation(const Write& write) const {
    const std::string key = "{\"key\":" + Quoted64(prefix_ + write.key);
    if (!write.value) return "{\"requestDeleteRange\":" + key + "}}";
    return "{\"requestPut\":" + key + ",\"value\":" + Quoted64(*write.value) + "}}";
  }

  // The conditions of a batch. Absent keys next to each other in the order of keys, as those of a
  // load of rising keys are, may have one for all of them, which asks for more than they do: that
  // nothing is between the first and the last. It costs the members as much as a single key's.
  std::string Conditions(std::span<const Write* const> batch, bool together) const {
    std::string conditions;
    const Write* first = nullptr;
    const Write* last = nullptr;
    for (const Write* write : batch) {
      if (together && write->when == When::kAbsent) {
        first = first == nullptr ? write : first;
        last = write;
      } else if (write->when != When::kAlways) {
        conditions += "," + Condition(*write);
      }
    }
    if (first == nullptr) return conditions;
    return conditions + ",{\"key\":" + Quoted64(prefix_ + first->key) +
           ",\"range_end\":" + Quoted64(prefix_ + last->key + '\0') +
           ",\"target\":\"VERSION\",\"version\":\"0\"}";
  }

  // If the number stands where it was left and the conditions hold, the batch and the number's
  // move. Else, if it stands there still, it moves to say that the batch was refused; else it is
  // read, and tells what an earlier try did.
  std::string Request(std::span<const Write* const> batch, bool together, const std::string& done,
                      const std::string& refused) const {
    std::string success = PutMark(done);
    for (const Write* write : batch) success += "," + Operation(*write);
    return "{\"compare\":[" + MarkCondition() + Conditions(batch, together) + "],\"success\":[" +
           success + "],\"failure\":[{\"requestTxn\":{\"compare\":[" + MarkCondition() +
           "],\"success\":[" + PutMark(refused) +
           "],\"failure\":[{\"requestRange\":{\"key\":" + Quoted64(writer_) + "}}]}}]}";
  }

  // A batch whose outcome stays unknown may yet arrive: its writer has no future.
  bool SendOrForget(std::span<const Write* const> batch) {
    const std::lock_guard guard(lock_);
    try {
      return Send(batch);
    } catch (const StoreError&) {
      writer_.clear();
      throw;
    }
  }

  // True when the batch was applied, false when a condition refused it. After a batch that was
  // refused for what is between its keys, the next ones, ever more of them, go key by key at once.
  bool Send(std::span<const Write* const> batch) {
    const auto absent = std::count_if(batch.begin(), batch.end(), [](const Write* write) {
      return write->when == When::kAbsent;
    });
    if (absent > 1 && keyByKey_ == 0) {
      if (SendWith(batch, true)) {
        nextKeyByKey_ = 1;
        return true;
      }
      keyByKey_ = nextKeyByKey_;
      nextKeyByKey_ = std::min(2 * nextKeyByKey_, kMostKeyByKey);
    } else if (absent > 1) {
      --keyByKey_;
    }
    return SendWith(batch, false);
  }

  bool SendWith(std::span<const Write* const> batch, bool together) {
    if (writer_.empty() || Clock::now() > renewAt_) BecomeWriter();
    for (unsigned tries = 0;; ++tries) {
      const std::string done = std::to_string(++number_);
      const std::string refused = done + "-";
      bool unknown = false;
      const Answer answer =
          channel_.Ask("/v3/kv/txn", Request(batch, together, done, refused), unknown);
      if (answer.code == kNotFound && !unknown && tries == 0) {  // the lease is gone
        BecomeWriter();
        continue;
      }
      if (answer.code != 0) channel_.Fail(answer);
      const bool applied = WasApplied(answer.body, done, refused);
      mark_ = applied ? done : refused;
      return applied;
    }
  }

  bool WasApplied(const Json& body, const std::string& done, const std::string& refused) {
    if (body.value("succeeded", false)) return true;
    const Json& inner = body.at("responses").at(0).at("response_txn");
    if (inner.value("succeeded", false)) return false;
    const Json& found = inner.at("responses").at(0).at("response_range");
    const auto entries = found.find("kvs");
    if (entries != found.end() && !entries->empty()) {
      const std::string mark = FromBase64((*entries)[0].at("value").get_ref<const std::string&>());
      if (mark == done) return true;
      if (mark == refused) return false;
    }
    throw StoreError(Fault::kOutcomeUnknown,
                     channel_.Place() + ": somebody removed the mark of this writer");
  }

  std::size_t FailedCondition(std::span<const Write* const> batch) {
    std::vector<std::size_t> conditional;
    std::vector<std::string> keys;
    for (std::size_t i = 0; i < batch.size(); ++i) {
      if (batch[i]->when == When::kAlways) continue;
      conditional.push_back(i);
      keys.push_back(batch[i]->key);
    }
    if (keys.size() == 1) return conditional[0];
    const auto values = TakeSnapshot()->GetMany(keys);
    for (std::size_t i = 0; i < keys.size(); ++i) {
      const Write& write = *batch[conditional[i]];
      const bool holds = write.when == When::kAbsent ? !values[i] : values[i] == write.expected;
      if (!holds) return conditional[i];
    }
    return conditional[0];  // somebody changed it in between
  }

  std::mutex lock_;
  Channel channel_;
  std::string prefix_;
  std::string writers_;
  std::string writer_;  // the key of this writer's number
  std::string lease_;
  Clock::time_point renewAt_;
  unsigned long long number_ = 0;
  std::string mark_;           // what stands at that key, empty: nothing
  unsigned keyByKey_ = 0;      // batches that ask for each absent key
  unsigned nextKeyByKey_ = 1;  // how many will after the next that is refused
};

}  // namespace

std::unique_ptr<OrderedStore> OpenEtcd(const std::string& place, const OpenOptions& options) {
  const std::size_t slash = place.find('/');
  const std::string name = slash == std::string::npos ? "kv" : place.substr(slash + 1);
  std::vector<std::string> members;
  std::string_view rest = std::string_view(place).substr(0, slash);
  while (!rest.empty()) {
    const std::size_t comma = std::min(rest.find(','), rest.size());
    const std::string_view member = rest.substr(0, comma);
    if (member.find(':') == std::string_view::npos) {
      throw StoreError(Fault::kBadUrl,
                       "'etcd:" + place + "': '" + std::string(member) + "' is no HOST:PORT");
    }
    members.emplace_back(member);
    rest.remove_prefix(std::min(comma + 1, rest.size()));
  }
  if (members.empty() || name.empty()) {
    throw StoreError(Fault::kBadUrl, "'etcd:" + place + "' is not etcd:HOST:PORT,.../NAME");
  }
  return std::make_unique<EtcdStore>(place, std::move(members), name, options);
}

}  // namespace engines
