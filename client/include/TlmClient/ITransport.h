// What carries a session's requests to a server and its events back.
#ifndef TLMCLIENT_ITRANSPORT_H
#define TLMCLIENT_ITRANSPORT_H

#include <TlmClient/export.h>
#include <TlmWire/messages.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tlm {

// Called by a transport on any thread, never from within a call of the transport (onLost: from carryOut too).
class TLMCLIENT_API TransportListener {
 public:
  virtual ~TransportListener();
  // For each id either an answer, or the word that none will come; at most once. When the line dies, what only reads
  // is lost; a block that writes is sent again when the line is back, under its identity, and answered then, or lost
  // when that takes too long.
  virtual void onReply(uint64_t id, wire::BlockReply reply) = 0;
  virtual void onLost(uint64_t id, const std::string& why) = 0;
  virtual void onEvent(wire::Event event) = 0;
  virtual void onValue(wire::ParamValue value) = 0;
  virtual void onLine(bool alive, const std::string& why) = 0;  // `why` in UTF-8
  // Events were missed and cannot be had any more: what was read before may be out of date. Later ones come.
  virtual void onEventsLost(const std::string& why) = 0;
};

// Used by one thread.
class TLMCLIENT_API ITransport {
 public:
  virtual ~ITransport();  // no call of the listener is under way or to come when it returns

  virtual void setListener(TransportListener* listener) = 0;

  // Sends a block (a request outside a block is a block of one); the answer comes under `id`. False when
  // the line is dead or the block is over the size limit. A transport may leave it where it is until nudge or
  // carryOut is called.
  virtual bool send(uint64_t id, wire::Block block) = 0;

  // The caller is about to wait for that answer without limit. A transport may carry the block out at once, on the
  // calling thread, when nothing that was sent before is still to be done: its answer is returned, and onReply is not
  // called for it. Empty otherwise; the block is on its way then.
  virtual std::optional<wire::BlockReply> carryOut(uint64_t id);

  // What was sent is to go on its way now: nobody is going to carry it out.
  virtual void nudge() {}

  // Each replaces the whole list.
  virtual void subscribeEvents(const std::vector<int>& kinds) = 0;
  virtual void subscribeValues(const std::vector<int>& locIds) = 0;

  virtual bool alive() const = 0;
};

}  // namespace tlm

#endif
