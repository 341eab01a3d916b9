// A server without a model, whose every word to a client the test chooses.
#ifndef TLMTEST_DOORKEEPER_H
#define TLMTEST_DOORKEEPER_H

#include <TlmClient/ITransport.h>
#include <grpcpp/grpcpp.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <tlm/v1/model.grpc.pb.h>

#include "support/NetworkServer.h"
#include "support/Peer.h"

namespace tlm::test {

// Notes what comes: blocks by the name of their first request, and subscriptions.
class Doorkeeper final : public v1::Model::Service {
 public:
  Doorkeeper() {
    grpc::ServerBuilder builder;
    int port = 0;
    builder.AddListeningPort("127.0.0.1:0", grpc::InsecureServerCredentials(), &port);
    builder.RegisterService(this);
    server_ = builder.BuildAndStart();
    address_ = "127.0.0.1:" + std::to_string(port);
  }
  ~Doorkeeper() override {
    answer(1000);
    server_->Shutdown(std::chrono::system_clock::now());
    server_.reset();  // when no call is under way any more
  }
  const std::string& address() const { return address_; }

  grpc::Status Call(grpc::ServerContext* context, const v1::Block* request, v1::BlockReply* response) override {
    const std::string name = request->requests(0).name();
    std::unique_lock lock(mutex_);
    ++calls_[name];
    while (silent && !context->IsCancelled()) changed_.wait_for(lock, std::chrono::milliseconds(10));
    identities_[name].push_back(request->identity());
    if (int& times = refuse_[name]; times != 0) {
      if (times > 0) --times;
      if (verdict) context->AddTrailingMetadata("tlm-verdict", "1");
      return {code, "come again"};
    }
    done_.push_back(name);
    response->mutable_whole();
    response->add_each();
    if (whole > 0) response->mutable_each(0)->set_payload(std::string(whole, 'x'));
    if (pieces < 0) return grpc::Status::OK;
    response->mutable_each(0)->set_payload_bytes(kPayload);
    response->set_rest("rest");
    return grpc::Status::OK;
  }

  grpc::Status TakePieces(grpc::ServerContext* context, const v1::PiecesRequest*,
                          grpc::ServerWriter<v1::Piece>* writer) override {
    v1::Piece piece;
    piece.set_data(std::string(static_cast<size_t>(pieces), 'x'));
    writer->Write(piece);
    std::unique_lock lock(mutex_);
    if (piecesRefused > 0) return --piecesRefused, grpc::Status(code, "no pieces");
    while (endless && !context->IsCancelled()) changed_.wait_for(lock, std::chrono::milliseconds(10));
    return grpc::Status::OK;
  }

  grpc::Status Listen(grpc::ServerContext* context,
                      grpc::ServerReaderWriter<v1::Delivery, v1::Subscription>* stream) override {
    {
      const std::lock_guard lock(mutex_);
      context_ = context;
      stream_ = stream;
    }
    v1::Subscription subscription;
    while (stream->Read(&subscription)) confirm(subscription, *stream);
    const std::lock_guard lock(mutex_);
    if (stream_ == stream) stream_ = nullptr;
    return grpc::Status::OK;
  }

  // Confirms so many subscriptions, those that wait first, and no more. At the start all are confirmed.
  void answer(int count) {
    const std::lock_guard lock(mutex_);
    answers_ = count;
    changed_.notify_all();
  }
  void say(const v1::Delivery& delivery) {
    const std::lock_guard lock(mutex_);
    if (stream_) stream_->Write(delivery);
  }
  // To everybody who waits for an answer.
  void speak() {
    const std::lock_guard lock(mutex_);
    silent = false;
    changed_.notify_all();
  }
  void cut() {
    const std::lock_guard lock(mutex_);
    if (stream_) context_->TryCancel();
  }

  int calls(const std::string& name) {
    const std::lock_guard lock(mutex_);
    return calls_[name];
  }
  std::vector<std::string> done() {
    const std::lock_guard lock(mutex_);
    return done_;
  }
  // Under which blocks of that name have come.
  std::vector<std::string> identities(const std::string& name) {
    const std::lock_guard lock(mutex_);
    return identities_[name];
  }
  std::vector<v1::Subscription> subscriptions() {
    const std::lock_guard lock(mutex_);
    return subscriptions_;
  }

  // Blocks of that name, so many times; -1: always.
  void turnAway(const std::string& name, int times) {
    const std::lock_guard lock(mutex_);
    refuse_[name] = times;
  }

  std::atomic<bool> silent{false};  // answers no block
  // Set before anything is sent:
  static constexpr int kPayload = 10;
  size_t whole = 0;       // bytes of a payload inside the answer
  int pieces = -1;        // that many bytes of a payload of kPayload come by themselves; -1: there is no payload
  bool endless = false;   // and no end behind them
  int piecesRefused = 0;  // so many times, behind the pieces
  grpc::StatusCode code = grpc::StatusCode::UNAVAILABLE;  // of what is turned away,
  bool verdict = false;                                   // with the server's mark that nothing was carried out

 private:
  void confirm(const v1::Subscription& subscription, grpc::ServerReaderWriter<v1::Delivery, v1::Subscription>& stream) {
    std::unique_lock lock(mutex_);
    subscriptions_.push_back(subscription);
    changed_.wait(lock, [this] { return answers_ > 0; });
    --answers_;
    v1::Delivery delivery;
    delivery.mutable_subscribed()->set_serial(subscription.serial());
    delivery.mutable_subscribed()->set_beat_ms(60'000);
    stream.Write(delivery);
  }

  std::unique_ptr<grpc::Server> server_;
  std::string address_;
  std::mutex mutex_;
  std::condition_variable changed_;
  int answers_ = 1000;
  grpc::ServerContext* context_ = nullptr;
  grpc::ServerReaderWriter<v1::Delivery, v1::Subscription>* stream_ = nullptr;
  std::map<std::string, int> calls_;
  std::map<std::string, int> refuse_;
  std::map<std::string, std::vector<std::string>> identities_;
  std::vector<std::string> done_;
  std::vector<v1::Subscription> subscriptions_;
};

// A transport to it, and what the transport has told.
class AtTheDoor : public testing::Test, public TransportListener {
 protected:
  void SetUp() override { connect({}); }
  void connect(NetLine line) {
    std::string problem;
    const NetLine quick = quickLine(door.address());
    line.address = quick.address;
    line.firstRetryMs = quick.firstRetryMs;
    line.longestRetryMs = quick.longestRetryMs;
    transport.reset();
    transport = connectToServer(line, &problem);
    if (!transport) ADD_FAILURE() << problem;
    if (transport) transport->setListener(this);
  }
  void TearDown() override {  // the listener is whole until the transport is gone
    door.answer(1000);
    transport.reset();
  }

  void onReply(uint64_t id, wire::BlockReply reply) override {
    const int32_t status = reply.whole.status;
    note("reply " + std::to_string(id) + (status == 0 ? std::string() : " status " + std::to_string(status)));
  }
  void onLost(uint64_t id, const std::string&) override { note("lost " + std::to_string(id)); }
  void onEvent(wire::Event event) override { note("event " + std::to_string(event.sequence)); }
  void onValue(wire::ParamValue) override {}
  void onLine(bool alive, const std::string&) override { note(alive ? "up" : "down"); }
  void onEventsLost(const std::string&) override { note("events lost"); }

  std::vector<std::string> told() {
    const std::lock_guard lock(mutex_);
    return told_;
  }
  bool wasTold(const std::string& what) {
    const std::lock_guard lock(mutex_);
    return std::find(told_.begin(), told_.end(), what) != told_.end();
  }

  Doorkeeper door;
  std::unique_ptr<ITransport> transport;

 private:
  void note(const std::string& what) {
    const std::lock_guard lock(mutex_);
    told_.push_back(what);
  }

  std::mutex mutex_;
  std::vector<std::string> told_;
};

}  // namespace tlm::test

#endif
