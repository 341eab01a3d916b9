// The line of a session to a server on the network.
#ifndef TLMCLIENT_NETTRANSPORT_H
#define TLMCLIENT_NETTRANSPORT_H

#include <TlmClient/ITransport.h>
#include <TlmClient/export.h>

#include <cstddef>
#include <memory>
#include <string>

namespace tlm {

struct NetLine {
  std::string address;         // "HOST:PORT" or "unix:PATH"
  std::string user;            // told in the events of what is written, UTF-8, at most 256 bytes
  int connectMs = 5'000;       // of silence ends an attempt to connect; and for a change of the subscription
  int callMs = 60'000;         // for one block
  int writeMs = 30'000;        // for a block that writes, with all attempts to send it again
  int firstRetryMs = 100;      // between two attempts to connect; grows up to
  int longestRetryMs = 5'000;  // this
  size_t maxBlockBytes = size_t{64} << 20;
};

// Connects, and keeps the line up from then on: it connects again by itself when it broke, subscribes again, and
// catches up with the events, each once and in order. Blocks are carried out one after another, in the order in
// which they were sent. At its end it waits for the blocks that write, each for its time, and tells of those that are
// lost; what only reads is dropped.
//
// Waits on the calling thread for the first connection. Null with a message in *problem (UTF-8, for the debug stream)
// when there is none in time.
TLMCLIENT_API std::unique_ptr<ITransport> connectToServer(const NetLine& line, std::string* problem);

}  // namespace tlm

#endif
