// What a session and a server say to each other: plain values, the same for every transport.
#ifndef TLMWIRE_MESSAGES_H
#define TLMWIRE_MESSAGES_H

#include <TlmMdx/mdx.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tlm::wire {

// Status of a reply. 0 is success; with any other the payload holds a text for the debug stream.
enum Status : int32_t {
  kOk = 0,
  kMalformed = 1,       // the body of a request cannot be read
  kUnknownRequest = 2,  // no request of that name
  kUnknownTable = 3,
  kUnknownField = 4,
  kNotFound = 5,      // no object or no record of that key
  kRefused = 6,       // a change set that breaks a rule of the model; nothing was written
  kScriptError = 7,   // a script that cannot be compiled or that failed
  kBudgetSpent = 8,   // a script that used up its steps, time, memory or rows
  kStorage = 9,       // the store could not make the change durable; nothing was written
  kUnavailable = 10,  // the server is stopping, or the line is dead
  kTooLarge = 11      // a request or an answer over the size limit
};

enum class RequestKind : uint8_t {
  kPacket = 0,    // name: request name, body: its bytes
  kScript = 1,    // name: script text, body: packed CVar with the arguments, or empty
  kUpdate = 2,    // name: table, body: packed array of records with change kinds and marks
  kProcedure = 3  // name: stored procedure, body: packed CVar with the arguments, or empty
};

struct Request {
  RequestKind kind = RequestKind::kPacket;
  std::string name;
  std::string body;
};

// The request that sends a telecontrol command: carried out once or never, so that it is never sent again by itself.
inline constexpr char kCommandRequest[] = "RemoteControl";

// Requests that travel together. All of them are answered; the updates among them are one transaction.
struct Block {
  std::string identity;  // of the commit, 32 characters, made by the session; empty without updates
  std::vector<Request> requests;
};

inline bool holdsCommand(const Block& block) {
  for (const Request& request : block.requests) {
    if (request.kind == RequestKind::kPacket && request.name == kCommandRequest) return true;
  }
  return false;
}

// Whether it holds an update.
inline bool writes(const Block& block) {
  for (const Request& request : block.requests) {
    if (request.kind == RequestKind::kUpdate) return true;
  }
  return false;
}

struct Reply {
  int32_t status = kOk;
  std::optional<std::string> payload;
  std::optional<std::string> text;

  static Reply failure(int32_t status, std::string why) { return {status, std::move(why), std::nullopt}; }
};

struct BlockReply {
  Reply whole;              // status of the block; of the commit when it holds updates
  std::vector<Reply> each;  // as many as requests when the block was carried out, else empty
};

// A change of a record or a receipt of a command, as published by the server.
struct Event {
  int64_t sequence = 0;              // of the server's log; 0 for events that are not kept (receipts)
  int32_t kind = 0;                  // 601 added, 602 changed, 603 deleted, 902 to 904 receipts
  double time = 0;                   // server time, days since 30.12.1899 (UTC)
  std::string key;                   // object key, Windows-1251
  std::string param;                 // parameter text: "tbl=" table "," further text
  std::string user;                  // who wrote
  std::optional<std::string> image;  // packed record, positionally the whole table
};

// The current value of a measurement.
struct ParamValue {
  int32_t locId = 0;
  double time = 0;      // server time
  int32_t quality = 0;  // 0 good, 1 manual, 2 old, 3 invalid
  std::string value;    // decimal number or text, Windows-1251
};

// Bytes of texts: names and bodies of requests, payloads and texts of replies, all texts of an event.
using Requests = std::span<const Request>;
size_t sizeOf(Requests requests);
inline size_t sizeOf(const Block& block) { return sizeOf(Requests(block.requests)); }
size_t sizeOf(const BlockReply& reply);
size_t sizeOf(const Event& event);

// The record forms in which the client library hands these out. The caller frees them by MDXParamFree.
MDXCliParam* replyRecord(const Reply& reply);
MDXCliParam* eventRecord(const Event& event);
MDXCliParam* paramRecord(const ParamValue& value);

// Packed form of a table, or an empty string when there is no memory.
std::string packArray(const MDArray* array);

}  // namespace tlm::wire

#endif
