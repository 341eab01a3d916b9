// One block over the network and its answer back, whatever its size.
#ifndef TLMCLIENT_GRPCCALLS_H
#define TLMCLIENT_GRPCCALLS_H

#include <TlmWireGrpc/convert.h>

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <grpcpp/grpcpp.h>
#include <tlm/v1/model.grpc.pb.h>

namespace tlm {

struct GrpcOutcome {
  std::optional<wire::BlockReply> reply;  // empty: the line failed, nothing is known
  std::string why;
};

// Calls of one attempt. `enter` is given each call's context before it starts, so that it can be cancelled; false:
// do not start. `leave` is called when it is over.
struct GrpcCalls {
  v1::Model::StubInterface& stub;
  const std::string& user;
  std::chrono::system_clock::time_point deadline;
  std::function<bool(grpc::ClientContext&)> enter;
  std::function<void()> leave;

  // Blocks the calling thread.
  GrpcOutcome carryOut(const wire::Block& block) const;

 private:
  GrpcOutcome call(const wire::Block& block, bool whole, v1::BlockPiece* first, v1::BlockReply* reply) const;
  grpc::Status upload(grpc::ClientContext& context, const wire::Block& block, v1::BlockPiece* first,
                      v1::BlockReply* reply) const;
  grpc::Status takeRest(const std::string& name, const std::vector<wire::Part>& parts) const;
};

}  // namespace tlm

#endif
