#include "Proxy.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace tlm::test {
namespace {

constexpr size_t kMostWaiting = size_t{8} << 20;  // of one direction; then the sender has to wait

sockaddr_in loopback(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<uint16_t>(port));
  return address;
}

}  // namespace

Proxy::Proxy(std::string target) : target_(std::move(target)), wake_(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {
  listening_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  sockaddr_in address = loopback(0);
  socklen_t length = sizeof address;
  bind(listening_, reinterpret_cast<sockaddr*>(&address), sizeof address);
  listen(listening_, 64);
  getsockname(listening_, reinterpret_cast<sockaddr*>(&address), &length);
  address_ = "127.0.0.1:" + std::to_string(ntohs(address.sin_port));
  thread_ = std::thread([this] { work(); });
}

Proxy::~Proxy() {
  change([this] { stopping_ = true; });
  thread_.join();
  close(listening_);
  close(wake_);
}

void Proxy::change(const std::function<void()>& what) {
  const std::lock_guard lock(mutex_);
  what();
  eventfd_write(wake_, 1);
}

void Proxy::retarget(const std::string& target) {
  change([&] { target_ = target; });
}
void Proxy::cut() {
  change([this] { cut_ = true; });
}
void Proxy::refuse(bool on) {
  change([=, this] { refuse_ = on; });
}
void Proxy::hold(bool on) {
  change([=, this] { hold_ = on; });
}
void Proxy::holdReplies(bool on) {
  change([=, this] { holdReplies_ = on; });
}
void Proxy::delay(std::chrono::milliseconds each) {
  change([=, this] { delay_ = each; });
}

size_t Proxy::accepted() const {
  const std::lock_guard lock(mutex_);
  return accepted_;
}

size_t Proxy::heldReplies() const {
  const std::lock_guard lock(mutex_);
  size_t bytes = 0;
  for (const auto& connection : connections_) {
    for (const Chunk& chunk : connection->ways[1].waiting) bytes += chunk.bytes.size();
  }
  return bytes;
}

bool Proxy::mayPass(const Way& way) const { return !hold_ && !(holdReplies_ && way.replies); }

int Proxy::connectTarget() const {
  if (target_.starts_with("unix:")) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, target_.c_str() + 5, sizeof address.sun_path - 1);
    const int handle = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (connect(handle, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) return handle;
    close(handle);
    return -1;
  }
  const sockaddr_in address = loopback(std::stoi(target_.substr(target_.rfind(':') + 1)));
  const int handle = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (connect(handle, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return handle;
  close(handle);
  return -1;
}

void Proxy::accept() {
  const int client = accept4(listening_, nullptr, nullptr, SOCK_CLOEXEC);
  if (client < 0) return;
  ++accepted_;
  const int server = refuse_ ? -1 : connectTarget();
  if (server < 0) {
    close(client);
    return;
  }
  const int on = 1;
  setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  auto connection = std::make_unique<Connection>();
  connection->ways[0] = {client, server, {}, false, false};
  connection->ways[1] = {server, client, {}, false, true};
  connections_.push_back(std::move(connection));
}

void Proxy::receive(Way& way, Connection& connection) {
  char buffer[65536];
  const ssize_t length = recv(way.from, buffer, sizeof buffer, MSG_DONTWAIT);
  if (length > 0)
    way.waiting.push_back({Clock::now() + delay_, std::string(buffer, static_cast<size_t>(length))});
  else if (length == 0 || (errno != EAGAIN && errno != EINTR))
    connection.dead = true;
}

void Proxy::pass(Way& way, Connection& connection, Clock::time_point now) {
  while (mayPass(way) && !way.waiting.empty() && way.waiting.front().at <= now) {
    std::string& bytes = way.waiting.front().bytes;
    const ssize_t sent = send(way.to, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    if (sent < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (sent < 0) {
      connection.dead = true;
      return;
    }
    bytes.erase(0, static_cast<size_t>(sent));
    if (bytes.empty()) way.waiting.pop_front();
  }
}

void Proxy::work() {
  std::unique_lock lock(mutex_);
  while (!stopping_) {
    std::vector<pollfd> handles{{listening_, POLLIN, 0}, {wake_, POLLIN, 0}};
    std::vector<std::pair<Way*, Connection*>> ways;
    const auto now = Clock::now();
    int timeout = -1;
    for (const auto& connection : connections_) {
      for (Way& way : connection->ways) {
        size_t bytes = 0;
        for (const Chunk& chunk : way.waiting) bytes += chunk.bytes.size();
        handles.push_back({way.from, static_cast<short>(bytes < kMostWaiting ? POLLIN : 0), 0});
        ways.emplace_back(&way, connection.get());
        if (way.waiting.empty() || !mayPass(way)) continue;
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(way.waiting.front().at - now).count();
        const int wait = static_cast<int>(std::max<int64_t>(left, 0)) + 1;
        timeout = timeout < 0 ? wait : std::min(timeout, wait);
      }
    }
    lock.unlock();
    poll(handles.data(), handles.size(), timeout);
    lock.lock();
    eventfd_t count = 0;
    if (handles[1].revents) eventfd_read(wake_, &count);
    for (size_t i = 0; i < ways.size(); ++i) {
      if (handles[i + 2].revents) receive(*ways[i].first, *ways[i].second);
      pass(*ways[i].first, *ways[i].second, Clock::now());
    }
    if (handles[0].revents) accept();
    const bool all = std::exchange(cut_, false);
    std::erase_if(connections_, [&](const auto& connection) {
      if (!all && !connection->dead) return false;
      close(connection->ways[0].from);
      close(connection->ways[1].from);
      return true;
    });
  }
  for (const auto& connection : connections_) {
    close(connection->ways[0].from);
    close(connection->ways[1].from);
  }
}

}  // namespace tlm::test
