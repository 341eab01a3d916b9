// tlmserver: the model server as a daemon. Ends in order on SIGTERM and SIGINT.
#include <TlmServer/Catalogue.h>
#include <TlmServer/Paths.h>
#include <TlmServer/SampleModel.h>
#include <TlmServer/Simulator.h>
#include <TlmServer/SqliteStore.h>

#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "daemonOptions.h"

namespace tlm::server {
namespace {

enum Exit { kGood = 0, kUsage = 1, kNoStore = 2, kNoAddress = 3 };

constexpr uint64_t kSeed = 2101;
constexpr int kTickSeconds = 2;

// Blocked in every thread; the main one waits for them.
sigset_t endSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  return signals;
}

// As many connections as the system allows this process.
void raiseFileLimit() {
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
  limit.rlim_cur = limit.rlim_max;
  setrlimit(RLIMIT_NOFILE, &limit);
}

// Tells the service manager, where there is one, over the socket that it names.
void notify(const char* state) {
  const char* const path = std::getenv("NOTIFY_SOCKET");
  sockaddr_un address{};
  if (!path || std::strlen(path) >= sizeof address.sun_path) return;
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, path, std::strlen(path) + 1);
  if (path[0] == '@') address.sun_path[0] = '\0';
  const int handle = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (handle < 0) return;
  const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + std::strlen(path));
  // A manager that does not listen is none of our concern.
  if (sendto(handle, state, std::strlen(state), MSG_NOSIGNAL, reinterpret_cast<sockaddr*>(&address), length) < 0)
    std::perror("tlmserver: NOTIFY_SOCKET");
  close(handle);
}

std::unique_ptr<Core> openCore(const DaemonOptions& options, Log& log) {
  std::string error;
  std::string path = options.store;
  if (path.empty()) path = defaultStorePath();
  if (options.store.empty() && (path.empty() || !makeFolder(dataFolder(), &error))) {
    log.error("no-store", {{"why", path.empty() ? "no home" : error}});
    return nullptr;
  }
  bool made = false;
  auto store = options.sample ? openOrCreateSampleStore(path, Catalogue::builtIn(), &made, &error)
                              : openSqliteStore(path, Catalogue::builtIn(), &error);
  auto core = store ? Core::open(std::move(store), options.core, &error) : nullptr;
  if (!core) {
    log.error("no-store", {{"store", path}, {"why", error}});
    return nullptr;
  }
  log.info("store-opened", {{"store", path},
                            {"made", made ? "yes" : "no"},
                            {"identity", core->identity()},
                            {"sequence", std::to_string(core->lastSequence())}});
  return core;
}

void waitForTheEnd(const DaemonOptions& options, Core& core, Log& log) {
  const sigset_t signals = endSignals();
  const timespec tick{kTickSeconds, 0};
  std::unique_ptr<Simulator> simulator;
  if (options.simulate) simulator = std::make_unique<Simulator>(core, kSeed, kMostSimulated, sampleHabits());
  for (;;) {
    if (simulator) simulator->tick(systemTime());
    const int signal = simulator ? sigtimedwait(&signals, nullptr, &tick) : sigwaitinfo(&signals, nullptr);
    if (signal < 0) continue;  // the time is over, or somebody else's signal
    log.info("stopping", {{"signal", strsignal(signal)}});
    return;
  }
}

int serve(const DaemonOptions& options) {
  Log log(options.logLevel);
  log.info("starting", {{"version", TLM_VERSION}, {"pid", std::to_string(getpid())}});
  const auto core = openCore(options, log);
  if (!core) return kNoStore;
  std::string error;
  const auto server = NetServer::start(*core, options.net, log, &error);
  if (!server) {
    log.error("no-address", {{"why", error}});
    return kNoAddress;
  }
  for (const std::string& address : server->addresses()) log.info("listening", {{"address", address}});
  notify("READY=1");
  waitForTheEnd(options, *core, log);
  notify("STOPPING=1");
  server->stop(std::chrono::milliseconds(options.stopMs));
  log.info("stopped", {{"sequence", std::to_string(core->lastSequence())}});
  return kGood;
}

}  // namespace
}  // namespace tlm::server

int main(int argc, char** argv) {
  using namespace tlm::server;
  DaemonOptions options;
  std::string error;
  if (!readDaemonOptions({argv + 1, argv + argc}, &options, &error)) {
    std::fprintf(stderr, "tlmserver: %s\n\n%s", error.c_str(), daemonUsage().c_str());
    return kUsage;
  }
  if (options.help) return std::fputs(daemonUsage().c_str(), stdout), kGood;
  if (options.version) return std::puts("tlmserver " TLM_VERSION), kGood;
  const sigset_t signals = endSignals();
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  raiseFileLimit();
  return serve(options);
}
