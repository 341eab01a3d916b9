#include "NetworkServer.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

namespace tlm::test {
namespace {

constexpr auto kLimit = std::chrono::seconds(60);  // which only a broken program reaches

}  // namespace

server::NetOptions quickNet() {
  server::NetOptions options;
  options.beatMs = 100;
  return options;
}

NetLine quickLine(const std::string& address, const std::string& user) {
  NetLine line;
  line.address = address;
  line.user = user;
  line.firstRetryMs = 10;
  line.longestRetryMs = 50;
  return line;
}

std::unique_ptr<Peer> connectPeer(const NetLine& line) {
  std::string problem;
  auto transport = connectToServer(line, &problem);
  if (!transport) ADD_FAILURE() << problem;
  return transport ? std::make_unique<Peer>(std::move(transport)) : nullptr;
}

NetworkServer::NetworkServer(server::Core& core, server::NetOptions options)
    : log_(server::LogLevel::kDebug, [this](const std::string& line) {
        const std::lock_guard lock(mutex_);
        text_ += line;
      }) {
  options.addresses = {"127.0.0.1:0", "unix:" + folder_.filePath("model.sock").toStdString()};
  std::string error;
  server_ = server::NetServer::start(core, options, log_, &error);
  if (!server_) ADD_FAILURE() << "the network server: " << error;
}

NetworkServer::~NetworkServer() = default;

std::string NetworkServer::logText() const {
  const std::lock_guard lock(mutex_);
  return text_;
}

// ---- a process of its own ----

ServerProcess::ServerProcess(std::vector<std::string> arguments) : arguments_(std::move(arguments)) {}

ServerProcess::~ServerProcess() { kill(); }

std::string ServerProcess::address() const { return "unix:" + folder_.filePath("model.sock").toStdString(); }

bool ServerProcess::start() {
  std::vector<std::string> words{TLM_SERVER_PROGRAM, "--store",  store(),       "--sample",  "--listen",
                                 address(),          "--listen", "127.0.0.1:0", "--beat-ms", "100"};
  words.insert(words.end(), arguments_.begin(), arguments_.end());
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  int ends[2];
  if (pipe(ends) != 0) return false;
  pid_ = fork();
  if (pid_ == 0) {
    dup2(ends[1], STDERR_FILENO);
    close(ends[0]);
    close(ends[1]);
    execv(TLM_SERVER_PROGRAM, arguments.data());
    _exit(127);
  }
  close(ends[1]);
  {
    const std::lock_guard lock(mutex_);
    log_.clear();
    over_ = false;
  }
  reader_ = std::thread([this, handle = ends[0]] { read(handle); });
  return pid_ > 0 && waitForLog("event=listening address=127.0.0.1:");
}

void ServerProcess::read(int handle) {
  char buffer[4096];
  for (ssize_t length; (length = ::read(handle, buffer, sizeof buffer)) > 0;) {
    const std::lock_guard lock(mutex_);
    log_.append(buffer, static_cast<size_t>(length));
    told_.notify_all();
  }
  close(handle);
  const std::lock_guard lock(mutex_);
  over_ = true;
  told_.notify_all();
}

bool ServerProcess::waitForLog(const std::string& part) {
  std::unique_lock lock(mutex_);
  const auto found = [&] {
    const size_t at = log_.find(part);
    return at != std::string::npos && log_.find('\n', at) != std::string::npos;
  };
  told_.wait_for(lock, kLimit, [&] { return over_ || found(); });
  return found();
}

std::string ServerProcess::logText() const {
  const std::lock_guard lock(mutex_);
  return log_;
}

std::string ServerProcess::tcpAddress() const {
  const std::string text = logText();
  const std::string mark = "event=listening address=";
  const size_t at = text.find(mark + "127.0.0.1:");
  if (at == std::string::npos) return {};
  const size_t from = at + mark.size();
  return text.substr(from, text.find('\n', from) - from);
}

int ServerProcess::wait() {
  int status = 0;
  waitpid(pid_, &status, 0);
  pid_ = 0;
  reader_.join();
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void ServerProcess::kill() {
  if (pid_ <= 0) return;
  ::kill(pid_, SIGKILL);
  wait();
}

int ServerProcess::terminate() {
  if (pid_ <= 0) return -1;
  ::kill(pid_, SIGTERM);
  return wait();
}

}  // namespace tlm::test
