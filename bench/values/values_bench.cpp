// values.in: the share of one core that a server needs to take 10 000 values a second from a collector, against that of
// a process that only reads the same messages off a bare gRPC stream and answers each. Both are processes of their own.
// values.in.others: what that does to somebody else's requests, the 99th percentile of their time with it and without.
#include <bench/Folder.h>
#include <bench/bench.h>
#include <grpcpp/grpcpp.h>
#include <tools/ServerProgram.h>

#include <TlmClient/NetTransport.h>
#include <TlmClient/TlmSession.h>
#include <TlmMdx/CMDArray.h>
#include <TlmServer/Catalogue.h>
#include <TlmServer/ModelTables.h>
#include <TlmServer/SampleModel.h>
#include <TlmServer/Users.h>

#include <QProcess>

#include <algorithm>
#include <atomic>
#include <ctime>
#include <stdexcept>
#include <thread>

#include <tlm/v1/model.grpc.pb.h>

namespace tlm::bench {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kPerBatch = 100;
constexpr auto kPause = std::chrono::milliseconds(10);  // between batches: 10 000 values a second
constexpr int kBatches = 300;                           // of one measurement: three seconds
constexpr int kRounds = 5;
constexpr int kRequests = 1000;  // of one measurement of others
constexpr auto kRequestPause = std::chrono::milliseconds(2);
constexpr char kUser[] = "collector";
constexpr char kPassword[] = "collects";

double processSeconds(qint64 pid) {
  clockid_t clock{};
  timespec now{};
  if (clock_getcpuclockid(static_cast<pid_t>(pid), &clock) != 0 || clock_gettime(clock, &now) != 0)
    throw std::runtime_error("values: no clock of the process");
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// One collector that writes at a steady pace and reads the answers.
class Collector {
 public:
  Collector(const std::string& address, const std::vector<std::string>& keys) : keys_(keys) {
    grpc::ChannelArguments arguments;
    arguments.SetInt(GRPC_ARG_ENABLE_HTTP_PROXY, 0);
    stub_ = v1::Model::NewStub(grpc::CreateCustomChannel(address, grpc::InsecureChannelCredentials(), arguments));
    context_.set_wait_for_ready(true);
    stream_ = stub_->PutValues(&context_);
    batch_.set_user(kUser);
    batch_.set_password(kPassword);
    put();
    batch_.clear_user();
    batch_.clear_password();
  }
  ~Collector() {
    stream_->WritesDone();
    stream_->Finish();
  }
  Collector(const Collector&) = delete;
  Collector& operator=(const Collector&) = delete;

  void run(int batches) {
    auto next = Clock::now();
    for (int i = 0; i < batches; ++i) {
      std::this_thread::sleep_until(next += kPause);
      put();
    }
  }

 private:
  void put() {
    batch_.clear_values();
    const int64_t now =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::system_clock::now().time_since_epoch())
            .count();
    for (int i = 0; i < kPerBatch; ++i) {
      v1::FieldValue* const value = batch_.add_values();
      value->set_key(keys_[number_ % keys_.size()]);
      value->set_number(static_cast<double>(++number_) * 0.37);
      value->set_time_ms(now);
    }
    if (!stream_->Write(batch_) || !stream_->Read(&answer_) || answer_.taken() != kPerBatch)
      throw std::runtime_error("values: a batch is not taken");
  }

  const std::vector<std::string>& keys_;
  size_t number_ = 0;
  std::unique_ptr<v1::Model::Stub> stub_;
  grpc::ClientContext context_;
  v1::ValueBatch batch_;
  v1::ValueAnswer answer_;
  std::unique_ptr<grpc::ClientReaderWriter<v1::ValueBatch, v1::ValueAnswer>> stream_;
};

class BareProcess {
 public:
  BareProcess() {
    process_.start(TLM_BARE_VALUES, QStringList{"127.0.0.1:0"});
    if (!process_.waitForReadyRead()) throw std::runtime_error("values: the bare server does not start");
    address_ = "127.0.0.1:" + process_.readLine().trimmed().toStdString();
  }
  ~BareProcess() {
    process_.closeWriteChannel();
    process_.waitForFinished();
  }
  const std::string& address() const { return address_; }
  qint64 pid() const { return process_.processId(); }

 private:
  QProcess process_;
  std::string address_;
};

// A server with the sample, and a collector's user in it; `keys` are those of its analogs.
class Desk {
 public:
  Desk() : store_(folder_.file("model.tlm")), program(QString::fromStdString(makeStore())) {
    if (!program.start()) throw std::runtime_error("values: no server");
    std::string problem;
    NetLine line;
    line.address = address();
    auto transport = connectToServer(line, &problem);
    if (!transport) throw std::runtime_error("values: " + problem);
    session = std::make_unique<TlmSession>(std::move(transport));
  }
  std::string address() const { return program.address().toStdString(); }

 private:
  std::string makeStore() {
    const server::Catalogue& catalogue = server::Catalogue::builtIn();
    std::string error;
    const auto store = server::createSampleStore(store_, catalogue, &error);
    if (!store || !server::addUser(*store, catalogue, {kUser, false, true}, kPassword, &error))
      throw std::runtime_error("values: " + error);
    CMDArray analogs;
    server::Catalogue::makeFields(*catalogue.table("Analog"), analogs.array);
    CMDArray measurements;
    server::Catalogue::makeStructure(*catalogue.table("Measurement"), measurements.array);
    if (!store->load("Analog", analogs.array, &error) || !store->load("Measurement", measurements.array, &error))
      throw std::runtime_error("values: " + error);
    for (int i = 0; i < MDARecCount(analogs.array); ++i) {
      MDRVar key{};
      analogs.GetVal(MDARec(analogs.array, 0, i), "KeyLink", key);
      const MDRData* const row = MDARecSeekV(measurements.array, 0, &key, nullptr);
      MDRVar works{};
      if (row) measurements.GetVal(row, "work_", works);
      if (works.flag) keys.emplace_back(key.text.data, key.text.length);
    }
    return store_;
  }

  Folder folder_;
  const std::string store_;

 public:
  std::vector<std::string> keys;
  ServerProgram program;
  std::unique_ptr<TlmSession> session;
};

// Of one core, in parts of a hundred.
double share(Collector& collector, qint64 pid) {
  const double before = processSeconds(pid);
  const double whole = seconds([&] { collector.run(kBatches); });
  return (processSeconds(pid) - before) / whole * 100;
}

void ask(TlmSession& session, const std::string& key, std::vector<double>* times) {
  const auto start = Clock::now();
  MDXCliParam* reply = nullptr;
  if (!session.PacketExec("RecByKeyLink", reinterpret_cast<const unsigned char*>(key.data()),
                          static_cast<int>(key.size()), &reply) ||
      !session.WaitResult(&reply, -1))
    throw std::runtime_error("values: no answer");
  session.PrmFree(reply);
  times->push_back(std::chrono::duration<double>(Clock::now() - start).count());
}

void askAll(Desk& desk, std::vector<double>* times) {
  auto next = Clock::now();
  for (int i = 0; i < kRequests; ++i) {
    std::this_thread::sleep_until(next += kRequestPause);
    ask(*desk.session, desk.keys[static_cast<size_t>(i) * 7 % desk.keys.size()], times);
  }
}

double p99(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() * 99 / 100];
}

Result others(Desk& desk, Collector& collector) {
  std::vector<double> with;
  std::vector<double> without;
  for (int round = 0; round < kRounds; ++round) {
    askAll(desk, &without);
    std::atomic<bool> done{false};
    std::thread load([&] {
      while (!done) collector.run(10);
    });
    askAll(desk, &with);
    done = true;
    load.join();
  }
  return atMost("values.in.others", p99(with) * 1e3, p99(without) * 1e3, "ms p99", 2);
}

std::vector<Result> valuesIn() {
  Desk desk;
  const BareProcess bare;
  Collector ours(desk.address(), desk.keys);
  Collector baseline(bare.address(), desk.keys);
  const auto [a, b] = inTurn(
      kRounds, [&] { return share(ours, desk.program.pid()); }, [&] { return share(baseline, bare.pid()); });
  return {atMost("values.in", a, b, "% of a core", 2), others(desk, ours)};
}

}  // namespace

void addValuesBenches(Registry& registry);
void addValuesBenches(Registry& registry) { registry.add("values.in", valuesIn); }

}  // namespace tlm::bench
