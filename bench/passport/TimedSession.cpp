#include "TimedSession.h"

#include <bench/bench.h>

#include <cstring>

namespace tlm::bench {
namespace {

template <typename Call>
bool timed(double* total, Call&& call) {
  bool result = false;
  *total += seconds([&] { result = call(); });
  return result;
}

}  // namespace

bool TimedSession::PacketExec(const char* name, const unsigned char* data, int length, MDXCliParam** reply) {
  ++requests;
  if (std::strcmp(name, "LiteModel") == 0) ++liteModels;
  return timed(&requestSeconds, [&] { return real_.PacketExec(name, data, length, reply); });
}

bool TimedSession::CalcExec(const char* script, CVar* args, MDXCliParam** reply) {
  ++requests;
  return timed(&requestSeconds, [&] { return real_.CalcExec(script, args, reply); });
}

bool TimedSession::ProcExec(const char* procedure, CVar* args, MDXCliParam** reply) {
  ++requests;
  return timed(&requestSeconds, [&] { return real_.ProcExec(procedure, args, reply); });
}

bool TimedSession::SqlUpdate(const char* table, MDArray* records, bool flag, MDXCliParam** reply) {
  ++requests;
  return timed(&requestSeconds, [&] { return real_.SqlUpdate(table, records, flag, reply); });
}

bool TimedSession::BlockEnd(bool send, MDXCliParam** reply) {
  return timed(&requestSeconds, [&] { return real_.BlockEnd(send, reply); });
}

bool TimedSession::WaitResult(MDXCliParam** reply, int timeoutMs) {
  return timed(&requestSeconds, [&] { return real_.WaitResult(reply, timeoutMs); });
}

}  // namespace tlm::bench
