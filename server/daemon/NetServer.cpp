#include "NetServer.h"

#include <grpc/grpc.h>
#include <grpcpp/ext/health_check_service_server_builder_option.h>
#include <grpcpp/grpcpp.h>
#include <grpcpp/health_check_service_interface.h>
#include <grpcpp/resource_quota.h>

#include <TlmWireGrpc/convert.h>

#include <malloc.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <string_view>

#include "Log.h"
#include "ModelService.h"

namespace tlm::server {
namespace {

constexpr char kService[] = "tlm.v1.Model";
constexpr int kIdleConnectionMs = 300'000;
constexpr int kPingMs = 10'000;
constexpr int kPingAnswerMs = 10'000;
constexpr int kLeastPingMs = 1'000;

void setLimits(grpc::ServerBuilder& builder, const NetOptions& options) {
  builder.SetMaxReceiveMessageSize(static_cast<int>(wire::kMessageBytes));
  builder.SetMaxSendMessageSize(-1);
  // What is compressed is blown up before it is counted: a few bytes could become gigabytes in memory.
  for (const auto how : {GRPC_COMPRESS_DEFLATE, GRPC_COMPRESS_GZIP})
    builder.SetCompressionAlgorithmSupportStatus(how, false);
  // A second server must not share the port.
  builder.AddChannelArgument(GRPC_ARG_ALLOW_REUSEPORT, 0);
  builder.AddChannelArgument(GRPC_ARG_SERVER_HANDSHAKE_TIMEOUT_MS, options.patienceMs);
  builder.AddChannelArgument(GRPC_ARG_MAX_CONNECTION_IDLE_MS, kIdleConnectionMs);
  builder.AddChannelArgument(GRPC_ARG_KEEPALIVE_TIME_MS, kPingMs);
  builder.AddChannelArgument(GRPC_ARG_KEEPALIVE_TIMEOUT_MS, kPingAnswerMs);
  builder.AddChannelArgument(GRPC_ARG_HTTP2_MIN_RECV_PING_INTERVAL_WITHOUT_DATA_MS, kLeastPingMs);
  builder.SetResourceQuota(grpc::ResourceQuota("tlmserver").Resize(options.memoryBytes));
  builder.AddChannelArgument(GRPC_ARG_MAX_CONCURRENT_STREAMS, options.maxCalls + options.maxSessions);
}

// The threads of calls give back what a large answer took and take it again for the next one, a page fault for each 4
// KiB. What a message needs stays with the process instead. That is no bound: only the free end of an arena is looked
// at, and what is free below something still in use stays too.
void keepFreedMemory() {
#ifdef __GLIBC__
  constexpr int kKept = 16 << 20;  // an arena's free end goes back when it is longer
  mallopt(M_MMAP_THRESHOLD, static_cast<int>(wire::kMessageBytes));
  mallopt(M_TRIM_THRESHOLD, kKept);
#endif
}

// A socket's file is taken from whoever made it, be he alive or not: one that somebody answers at is left to him.
bool isServed(std::string_view address) {
  constexpr std::string_view kUnix = "unix:";
  if (!address.starts_with(kUnix)) return false;
  std::string_view path = address.substr(kUnix.size());
  if (path.starts_with("//")) path.remove_prefix(2);
  sockaddr_un to{};
  to.sun_family = AF_UNIX;
  if (path.size() >= sizeof to.sun_path) return false;
  std::memcpy(to.sun_path, path.data(), path.size());
  const int handle = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (handle < 0) return false;
  const bool answered = connect(handle, reinterpret_cast<sockaddr*>(&to), sizeof to) == 0 || errno == EAGAIN;
  close(handle);
  return answered;
}

std::string withPort(const std::string& address, int port) {
  const size_t colon = address.rfind(':');
  if (address.starts_with("unix:") || colon == std::string::npos) return address;
  return address.substr(0, colon + 1) + std::to_string(port);
}

// The last one who gives the library back waits for its threads, and one of those at times sleeps for ten seconds.
void keepLibrary() {
  static const bool kept = (grpc_init(), true);
  static_cast<void>(kept);
}

}  // namespace

struct NetServer::Private {
  Private(Core& core, const NetOptions& options, Log& log) : service(core, options, log) {}

  ModelService service;
  std::unique_ptr<grpc::Server> server;  // goes first
  std::vector<std::string> addresses;
  bool stopped = false;
};

std::unique_ptr<NetServer> NetServer::start(Core& core, const NetOptions& options, Log& log, std::string* error) {
  for (const std::string& address : options.addresses) {
    if (isServed(address)) return *error = "cannot listen at " + address + ": another server does", nullptr;
  }
  keepFreedMemory();
  keepLibrary();
  grpc::EnableDefaultHealthCheckService(true);
  auto d = std::make_unique<Private>(core, options, log);
  grpc::ServerBuilder builder;
  setLimits(builder, options);
  std::vector<int> ports(options.addresses.size(), 0);
  for (size_t i = 0; i < ports.size(); ++i) {
    builder.AddListeningPort(options.addresses[i], grpc::InsecureServerCredentials(), &ports[i]);
  }
  builder.RegisterService(&d->service);
  d->server = builder.BuildAndStart();
  if (!d->server) {
    *error = "cannot listen at";
    for (const std::string& address : options.addresses) *error += ' ' + address;
    return nullptr;
  }
  for (size_t i = 0; i < ports.size(); ++i) d->addresses.push_back(withPort(options.addresses[i], ports[i]));
  d->server->GetHealthCheckService()->SetServingStatus(kService, true);
  return std::unique_ptr<NetServer>(new NetServer(std::move(d)));
}

NetServer::NetServer(std::unique_ptr<Private> d) : d_(std::move(d)) {}
NetServer::~NetServer() { stop(); }

const std::vector<std::string>& NetServer::addresses() const { return d_->addresses; }

void NetServer::stop(std::chrono::milliseconds time) {
  if (std::exchange(d_->stopped, true)) return;
  d_->server->GetHealthCheckService()->SetServingStatus(false);
  d_->service.endStreams({grpc::StatusCode::UNAVAILABLE, "the server is stopping"});
  d_->server->Shutdown(std::chrono::system_clock::now() + time);
  d_->server->Wait();
  d_->service.settle();
}

}  // namespace tlm::server
