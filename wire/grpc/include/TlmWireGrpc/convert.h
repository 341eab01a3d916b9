// Plain values of the wire to and from the messages of the .proto.
#ifndef TLMWIREGRPC_CONVERT_H
#define TLMWIREGRPC_CONVERT_H

#include <TlmWire/messages.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <tlm/v1/model.pb.h>

namespace tlm::wire {

// No message is larger; gRPC's own default, so that every client can read every message.
inline constexpr size_t kMessageBytes = size_t{4} << 20;
// Bodies or payloads of a block that are larger together (names and all, with room for what a message needs beside
// them) travel in pieces,
inline constexpr size_t kWholeBytes = size_t{3} << 20;
// which are this large.
inline constexpr size_t kPieceBytes = size_t{1} << 20;

// No server lets a record become larger, which travels as one event whatever its size: every client can receive that.
inline constexpr size_t kRecordBytes = size_t{64} << 20;

// Trailing metadata of a call that the server has refused before it carried out anything. gRPC ends calls with some of
// the same codes by itself, at times behind what was carried out; without the mark nothing is known.
inline constexpr char kVerdictKey[] = "tlm-verdict";
inline constexpr char kVerdictValue[] = "1";

// `user` and the block as a message. With `bodies` false the bodies are left out and their lengths told.
void toMessage(const Block& block, const std::string& user, bool bodies, v1::Block* message);
// False with a reason in *why when the message makes no sense: an unknown kind, a plain form that cannot be
// packed.
bool fromMessage(const v1::Block& message, Block* block, std::string* why);

// What is empty travels inside the message in any case.
struct Part {
  std::string* text;
  uint64_t bytes;
};

// Payloads and texts are moved into the message. With `whole` false they are left where they are and their lengths
// told.
void toMessage(BlockReply& reply, bool whole, v1::BlockReply* message);
// What is left out of the message, in the order in which it travels, is to be appended to the strings of *missing,
// which point into the reply.
void fromMessage(v1::BlockReply&& message, BlockReply* reply, std::vector<Part>* missing);

// The payloads and texts of a reply that travel in pieces, in order.
std::vector<const std::string*> partsOf(const BlockReply& reply);

void toMessage(const Event& event, bool plain, v1::Event* message);
Event fromMessage(v1::Event&& message);

void toMessage(const ParamValue& value, v1::ParamValue* message);
ParamValue fromMessage(v1::ParamValue&& message);

}  // namespace tlm::wire

#endif
