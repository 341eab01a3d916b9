// The service of wire/proto over a core: what carries out calls and keeps the streams.
#ifndef TLMDAEMON_MODELSERVICE_H
#define TLMDAEMON_MODELSERVICE_H

#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <tlm/v1/model.grpc.pb.h>

#include "CallPlaces.h"
#include "Listener.h"
#include "Log.h"
#include "NetServer.h"
#include "PieceShelf.h"
#include "ValueFeed.h"

namespace tlm::server {

// The methods of one message begin with their headers and read it themselves: the library would wait for it for ever.
using ModelMethods = v1::Model::WithStreamedUnaryMethod_Call<v1::Model::WithSplitStreamingMethod_TakePieces<
    v1::Model::WithCallbackMethod_Listen<v1::Model::WithCallbackMethod_PutValues<v1::Model::Service>>>>;

// Calls block a thread of gRPC each; streams do not.
class ModelService final : public ModelMethods {
 public:
  ModelService(Core& core, const NetOptions& options, Log& log);
  ~ModelService() override { settle(); }  // no call and no stream is left

  void endStreams(const grpc::Status& why);  // and opens none any more
  // Waits until no thread works for a stream, so that none is inside the network's server when that goes. No call and
  // no stream comes afterwards.
  void settle();

  grpc::Status StreamedCall(grpc::ServerContext* context,
                            grpc::ServerUnaryStreamer<v1::Block, v1::BlockReply>* stream) override;
  grpc::Status Upload(grpc::ServerContext* context, grpc::ServerReader<v1::BlockPiece>* reader,
                      v1::BlockReply* response) override;
  grpc::Status StreamedTakePieces(grpc::ServerContext* context,
                                  grpc::ServerSplitStreamer<v1::PiecesRequest, v1::Piece>* stream) override;
  grpc::ServerBidiReactor<v1::Subscription, v1::Delivery>* Listen(grpc::CallbackServerContext* context) override;
  ValueFeeds::Reactor* PutValues(grpc::CallbackServerContext* context) override { return feeds_.open(context); }

 private:
  using Clock = std::chrono::steady_clock;

  grpc::Status call(grpc::ServerContext* context, grpc::ServerUnaryStreamer<v1::Block, v1::BlockReply>* stream,
                    v1::BlockReply* response);
  grpc::Status upload(grpc::ServerContext* context, grpc::ServerReader<v1::BlockPiece>* reader,
                      v1::BlockReply* response);
  grpc::Status carryOut(const wire::Block& block, const v1::Block& asked, const std::string& peer,
                        v1::BlockReply* response);
  grpc::Status finishReply(const wire::Block& block, bool plain, wire::BlockReply&& reply, v1::BlockReply* response);
  grpc::Status readPieces(const CallPlaces::Place& place, grpc::ServerReader<v1::BlockPiece>* reader, v1::Block* first,
                          wire::Block* block);

  void ended(Listener* listener, const std::string& why);
  bool later(std::function<void()> job);
  void work();
  void beat();
  void tend(Clock::time_point now);
  void eachListener(const std::function<void(Listener&)>& visit);
  std::chrono::milliseconds patience() const { return std::chrono::milliseconds(options_.patienceMs); }

  Core& core_;
  const NetOptions options_;
  Log& log_;
  PieceShelf shelf_;
  ListenerHouse house_;

  CallPlaces places_;
  // Held while streams are told something, so that none of them goes; taken before the other.
  std::mutex tending_;
  // Never held while the library is called: it may open a stream on any thread that calls it, from within.
  std::mutex mutex_;
  std::condition_variable wake_;
  bool stopping_ = false;
  std::map<Listener*, std::string> listeners_;  // with their peers
  // One that catches up slowly keeps nobody waiting: there are as many threads as ever had work at once, at most one
  // for each stream.
  std::deque<std::function<void()>> work_;
  size_t atWork_ = 0;
  std::vector<std::thread> workers_;
  bool closed_ = false;  // no thread is wanted any more
  ValueFeeds feeds_;
  std::thread beats_;
};

}  // namespace tlm::server

#endif
