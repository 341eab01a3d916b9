// The session: named requests, scripts and change sets to the server, singly or in blocks.
#ifndef TLMCLIENT_CTLMCLISES_H
#define TLMCLIENT_CTLMCLISES_H

#include <TlmClient/export.h>
#include <TlmMdx/mdx.h>

class QTextCodec;

// GUI thread only. A request that went out is answered through the pointer that was given with it: the
// caller sets it to null before the call, collects the reply with WaitResult on the same pointer, and
// frees it with PrmFree. A pointer that is never waited for is never written to.
class TLMCLIENT_API CTlmCliSes {
 public:
  CTlmCliSes() = default;
  virtual ~CTlmCliSes();
  CTlmCliSes(const CTlmCliSes&) = delete;
  CTlmCliSes& operator=(const CTlmCliSes&) = delete;

  // Sends a named request with a byte body. True if it went out; inside a block it is only queued.
  // `reply` may be null when no answer is wanted.
  virtual bool PacketExec(const char* name, const unsigned char* data, int length, MDXCliParam** reply) = 0;

  // Sends a script text (Windows-1251) and its arguments: an array value, or null. The payload of the reply
  // is a packed value for CVarFromBuff.
  virtual bool CalcExec(const char* script, CVar* args, MDXCliParam** reply) = 0;

  // The same with the name of a stored procedure of the server.
  virtual bool ProcExec(const char* procedure, CVar* args, MDXCliParam** reply) = 0;

  // Sends a change set for one table: the records by their marks (MDRSetFlags, MDRSetUser). The records are
  // taken over at once; the array may be reused when the call returns. The flag is always true.
  virtual bool SqlUpdate(const char* table, MDArray* records, bool flag, MDXCliParam** reply) = 0;

  // Opens a block: the requests that follow travel together. Blocks do not nest; a second BlockBeg drops
  // what the first had queued.
  virtual void BlockBeg() = 0;

  // Closes the block. `send` false (and a null reply): drops what was queued, true. `send` true: sends it;
  // *reply is the answer for the block as a whole, and once it has been waited for, the single replies of
  // the block's requests are filled too. A null `reply`: nobody waits, and what the server refuses goes to
  // the host. False when the block could not be sent or none was open.
  virtual bool BlockEnd(bool send, MDXCliParam** reply) = 0;

  // Waits on the calling thread, without an event loop, until *reply is filled. -1 waits without limit,
  // that is until the answer or the end of the line. False: no answer in time, or none is to come; what
  // comes later is dropped. A pointer that is filled already (a single reply of a block) gives true.
  virtual bool WaitResult(MDXCliParam** reply, int timeoutMs) = 0;

  // Frees a reply that this session filled; null, and one that is not of this session, are passed over.
  // Replies that were never freed go with the session.
  virtual void PrmFree(MDXCliParam* reply) = 0;

  // A server time stamp (days since 30.12.1899, UTC) as session time (the same in local time).
  virtual double MdxTimeToSesTime(double time) = 0;

  // The codec of all texts of this session: "Windows-1251".
  virtual QTextCodec* Codec() const = 0;
};

#endif
