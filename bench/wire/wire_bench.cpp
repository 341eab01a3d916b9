// wire.call: one request over the Unix socket through the session, against a bare gRPC echo of the same size.
// wire.fetch: what the wire adds to fetching a unit of 10 000 measurements (the same fetch over the embedded transport
// taken off), against one bare gRPC message of the same bytes.
#include <bench/bench.h>
#include <host/embedded/EmbeddedTransport.h>
#include <server/daemon/Log.h>
#include <server/daemon/NetServer.h>

#include <TlmClient/NetTransport.h>
#include <TlmClient/TlmSession.h>
#include <TlmMdx/CMDArray.h>
#include <TlmServer/Catalogue.h>
#include <TlmServer/MemoryStore.h>

#include <QTemporaryDir>

#include <cstdlib>
#include <stdexcept>

#include "bare.h"

namespace tlm::bench {
namespace {

constexpr int kCalls = 1000;
constexpr int kFetches = 5;
constexpr int kRounds = 9;
constexpr int kMeasurements = 10'000;

void setText(CMDArray& rows, MDRData* record, const char* field, const std::string& text) {
  MDRVar value{};
  value.type = MDX_TEXT;
  value.text.length = static_cast<uint32_t>(text.size());
  value.text.data = text.data();
  rows.SetVal(record, field, value);
}

// One unit, as a model has it.
std::unique_ptr<server::Core> openModel() {
  const server::Catalogue& catalogue = server::Catalogue::builtIn();
  const std::string unit = server::keyOfName("unit");
  CMDArray objects;
  CMDArray measurements;
  server::Catalogue::makeStructure(*catalogue.table("IdentifiedObject"), objects.array);
  server::Catalogue::makeStructure(*catalogue.table("Measurement"), measurements.array);
  for (int i = 0; i < kMeasurements; ++i) {
    const std::string key = server::keyOfName("measurement " + std::to_string(i));
    MDRData* record = MDARecNew(objects.array);
    setText(objects, record, "KeyLink", key);
    setText(objects, record, "ClassName", "Analog");
    setText(objects, record, "name_", "measurement of a usual name " + std::to_string(i));
    objects.RecPost(record);
    record = MDARecNew(measurements.array);
    setText(measurements, record, "KeyLink", key);
    setText(measurements, record, "RemoteUnitKey", unit);
    MDRVar number{};
    number.type = MDX_INT32;
    number.i32 = i + 1;
    measurements.SetVal(record, "locId", number);
    measurements.RecPost(record);
  }
  std::string error;
  auto data = server::makeMemoryStoreData(catalogue);
  server::openMemoryStore(data)->import({{"IdentifiedObject", objects.array}, {"Measurement", measurements.array}},
                                        &error);
  auto core = server::Core::open(server::openMemoryStore(data), {}, &error);
  if (!core) throw std::runtime_error("wire: " + error);
  return core;
}

// The bytes of the answer.
size_t ask(TlmSession& session, const std::string& name, const std::string& body) {
  MDXCliParam* reply = nullptr;
  if (!session.PacketExec(name.c_str(), reinterpret_cast<const unsigned char*>(body.data()),
                          static_cast<int>(body.size()), &reply) ||
      !session.WaitResult(&reply, -1))
    throw std::runtime_error("wire: no answer to " + name);
  int length = 0;
  void* data = nullptr;
  MDRGetTextRef(MDXParamFld(reply, MDX_REPLY_PAYLOAD), reply, &length, &data);
  session.PrmFree(reply);
  return static_cast<size_t>(length);
}

struct Desk {
  Desk() : core(openModel()), log(server::LogLevel::kError), bare("unix:" + folder.filePath("bare").toStdString()) {
    server::NetOptions options;
    options.addresses = {"unix:" + folder.filePath("model").toStdString()};
    std::string problem;
    server = server::NetServer::start(*core, options, log, &problem);
    NetLine line;
    line.address = options.addresses.front();
    auto transport = server ? connectToServer(line, &problem) : nullptr;
    if (!transport) throw std::runtime_error("wire: " + problem);
    session = std::make_unique<TlmSession>(std::move(transport));
    embedded = std::make_unique<TlmSession>(std::make_unique<EmbeddedTransport>(*core, server::Caller{"bench"}));
  }
  QTemporaryDir folder;
  std::unique_ptr<server::Core> core;
  server::Log log;
  BareEcho bare;
  std::unique_ptr<server::NetServer> server;
  std::unique_ptr<TlmSession> session;
  std::unique_ptr<TlmSession> embedded;
};

std::vector<Result> wireCall() {
  Desk desk;
  const std::string body = "nothing of that name";
  const size_t back = ask(*desk.session, "SRV_GROUPS_INFO", body);
  const auto each = [](auto&& work) {
    return seconds([&] {
             for (int i = 0; i < kCalls; ++i) work();
           }) /
           kCalls * 1e6;
  };
  const auto [ours, bare] = inTurn(
      kRounds, [&] { return each([&] { ask(*desk.session, "SRV_GROUPS_INFO", body); }); },
      [&] { return each([&] { desk.bare.call(body.size() + 15, back); }); });
  return {atMost("wire.call", ours, bare, "us", 1.5)};
}

std::vector<Result> wireFetch() {
  Desk desk;
  const std::string body =
      "Measurement,KeyLink,ClassName,name_,locId,work_,MeasurementCategoryKey,RemoteUnitKey,primaryLocId";
  const size_t back = ask(*desk.session, "TableRecords", body);
  if (back < size_t{1} << 18) throw std::runtime_error("wire.fetch: the answer is too small");
  const auto each = [](auto&& work) {
    return seconds([&] {
             for (int i = 0; i < kFetches; ++i) work();
           }) /
           kFetches * 1e3;
  };
  std::vector<double> added;
  std::vector<double> bare;
  for (int round = 0; round < kRounds; ++round) {
    const double overThere = each([&] { ask(*desk.session, "TableRecords", body); });
    const double inside = each([&] { ask(*desk.embedded, "TableRecords", body); });
    added.push_back(overThere - inside);
    bare.push_back(each([&] { desk.bare.call(body.size(), back); }));
  }
  return {atMost("wire.fetch", median(added), median(bare), "ms", 2)};
}

}  // namespace

void addWireBenches(Registry& registry) {
  registry.add("wire.call", wireCall);
  registry.add("wire.fetch", wireFetch);
}

}  // namespace tlm::bench
