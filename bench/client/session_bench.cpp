// session.call: a request of 1 KiB and its reply through the embedded session, against packing and unpacking
// the same request and reply with one hand-over to a thread and back: the request is unpacked and the reply
// packed over there, as a server does it.
#include <bench/bench.h>
#include <host/embedded/EmbeddedTransport.h>

#include <TlmClient/TlmSession.h>
#include <TlmMdx/CMDArray.h>
#include <TlmServer/Catalogue.h>
#include <TlmServer/MemoryStore.h>

#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>

namespace tlm::bench {
namespace {

constexpr int kCalls = 2000;
constexpr int kRounds = 9;
constexpr size_t kRequestBytes = 1024;
constexpr int kReferenceRows = 24;

// Runs a piece of work on another thread and waits for it; each side waits on a condition of its own.
class HandOver {
 public:
  explicit HandOver(std::function<void()> there) : there_(std::move(there)), worker_([this] { work(); }) {}
  ~HandOver() {
    give(kStop);
    worker_.join();
  }

  void thereAndBack() {
    give(kWork);
    std::unique_lock lock(backMutex_);
    back_.wait(lock, [this] { return done_; });
    done_ = false;
  }

 private:
  enum State { kIdle, kWork, kStop };

  void give(State state) {
    {
      const std::lock_guard lock(mutex_);
      state_ = state;
    }
    wake_.notify_one();
  }

  State take() {
    std::unique_lock lock(mutex_);
    wake_.wait(lock, [this] { return state_ != kIdle; });
    return std::exchange(state_, state_ == kStop ? kStop : kIdle);
  }

  void work() {
    while (take() == kWork) {
      there_();
      {
        const std::lock_guard lock(backMutex_);
        done_ = true;
      }
      back_.notify_one();
    }
  }

  const std::function<void()> there_;
  std::mutex mutex_;
  std::condition_variable wake_;
  State state_ = kIdle;
  std::mutex backMutex_;
  std::condition_variable back_;
  bool done_ = false;
  std::thread worker_;
};

// The rows of a small reference table, as a model has them.
std::unique_ptr<server::Core> openModel() {
  const server::Catalogue& catalogue = server::Catalogue::builtIn();
  const server::TableDef* const table = catalogue.table("MeasurementUnit");
  CMDArray rows;
  server::Catalogue::makeStructure(*table, rows.array);
  for (int i = 0; i < kReferenceRows; ++i) {
    MDRData* const record = MDARecNew(rows.array);
    const std::string key = server::keyOfName("unit " + std::to_string(i));
    for (const auto& [field, text] : {std::pair<const char*, std::string>{"KeyLink", key},
                                      {"symbol", "MW"},
                                      {"name_", "unit of measure " + std::to_string(i)}}) {
      MDRVar value{};
      value.type = MDX_TEXT;
      value.text.length = static_cast<uint32_t>(text.size());
      value.text.data = text.data();
      rows.SetVal(record, field, value);
    }
    rows.RecPost(record);
  }
  std::string error;
  auto data = server::makeMemoryStoreData(catalogue);
  server::openMemoryStore(data)->import({{"MeasurementUnit", rows.array}}, &error);
  auto core = server::Core::open(server::openMemoryStore(data), {}, &error);
  if (!core) {
    std::fprintf(stderr, "session.call: %s\n", error.c_str());
    std::exit(1);
  }
  return core;
}

// A "RecByKey" body of 1 KiB: the table, the key number, the key sought, and filling.
std::string requestBody(CMDArray* request) {
  const MDRFldDesc fields[] = {{"tblname", 32, MDX_TEXT, {}},
                               {"idxnum", 0, MDX_INT32, {}},
                               {"fld_0", 0, MDX_MEMO, {}},
                               {"fill", 0, MDX_MEMO, {}}};
  for (const MDRFldDesc& field : fields) MDAFldAdd(request->array, 1, &field);
  const std::string key = server::keyOfName("unit 7");
  MDRData* const record = MDARecNew(request->array);
  const auto setText = [&](int field, const std::string& text) {
    MDRVar value{};
    value.type = MDX_TEXT;
    value.text.length = static_cast<uint32_t>(text.size());
    value.text.data = text.data();
    request->SetVal(record, field, value);
  };
  setText(0, "MeasurementUnit");
  MDRVar number{};
  number.type = MDX_INT32;
  request->SetVal(record, 1, number);
  setText(2, key);
  request->RecPost(record);
  for (size_t fill = 0;; fill += 4) {
    setText(3, std::string(fill, 'x'));
    MDRRecPack(request->array, record, 1, 1);
    if (record->packedLength >= kRequestBytes)
      return {reinterpret_cast<const char*>(record->packed), record->packedLength};
  }
}

// Sends the request, waits, and unpacks the reply, as the module does.
bool call(TlmSession& session, const std::string& body, CMDArray* into) {
  MDXCliParam* reply = nullptr;
  if (!session.PacketExec("RecByKey", reinterpret_cast<const unsigned char*>(body.data()),
                          static_cast<int>(body.size()), &reply) ||
      !session.WaitResult(&reply, -1)) {
    return false;
  }
  int32_t status = -1;
  int length = 0;
  void* data = nullptr;
  MDRGetAsInt32(MDXParamFld(reply, MDX_REPLY_STATUS), reply, &status);
  MDRGetTextRef(MDXParamFld(reply, MDX_REPLY_PAYLOAD), reply, &length, &data);
  const bool read = status == 0 && data && MDXArrayUnPackN(into->array, data, static_cast<size_t>(length), 1) == 0;
  session.PrmFree(reply);
  return read;
}

void packRequest(CMDArray* request) { MDRRecPack(request->array, MDARec(request->array, 0, 0), 1, 1); }

void unpackRequest(const std::string& body) {
  MDRType type;
  MDRData image;
  MDRTypInit(&type);
  MDRRecInit(&image);
  MDRRecSet(&image, body.data(), static_cast<uint32_t>(body.size()));
  MDRTypGen(&type, "request", &image);
  keep(type.fieldCount);
  MDRTypFree(&type);
}

// The bytes of a packed table; freed with it.
struct Packed {
  ~Packed() { MDXFree(bytes); }
  void* bytes = nullptr;
  uint32_t length = 0;
};

std::vector<Result> sessionCall() {
  const auto core = openModel();
  TlmSession session(std::make_unique<EmbeddedTransport>(*core, server::Caller{"bench"}));
  CMDArray request;
  const std::string body = requestBody(&request);
  CMDArray reply;
  if (!call(session, body, &reply) || MDARecCount(reply.array) != 1) {
    std::fprintf(stderr, "session.call: the server does not answer\n");
    std::exit(1);
  }
  std::unique_ptr<Packed> packed;
  HandOver handOver([&] {
    unpackRequest(body);
    packed = std::make_unique<Packed>();
    MDXArrayPack(reply.array, &packed->bytes, &packed->length);
  });
  const auto each = [](auto&& work) {
    return seconds([&] {
             for (int i = 0; i < kCalls; ++i) work();
           }) /
           kCalls * 1e6;
  };
  const auto ours = [&] {
    return each([&] {
      packRequest(&request);
      CMDArray into;
      call(session, body, &into);
    });
  };
  const auto baseline = [&] {
    return each([&] {
      packRequest(&request);
      handOver.thereAndBack();
      CMDArray into;
      MDXArrayUnPackN(into.array, packed->bytes, packed->length, 1);
      keep(MDARecCount(into.array));
    });
  };
  const auto [a, b] = inTurn(kRounds, ours, baseline);
  return {atMost("session.call", a, b, "us", 1.5)};
}

}  // namespace

void addClientBenches(Registry& registry) { registry.add("session.call", sessionCall); }

}  // namespace tlm::bench
