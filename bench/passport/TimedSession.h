// A session that keeps the time spent in requests apart, for benches of what happens with their answers.
#ifndef TLMBENCH_TIMEDSESSION_H
#define TLMBENCH_TIMEDSESSION_H

#include <TlmClient/CTlmCliAbo.h>
#include <TlmClient/CTlmCliSes.h>

namespace tlm::bench {

class TimedSession : public CTlmCliSes, public CTlmCliAbo {
 public:
  explicit TimedSession(CTlmCliAbo& real) : abo_(real), real_(*real.Session()) {}

  double requestSeconds = 0;
  int requests = 0;
  int liteModels = 0;  // of them

  bool PacketExec(const char* name, const unsigned char* data, int length, MDXCliParam** reply) override;
  bool CalcExec(const char* script, CVar* args, MDXCliParam** reply) override;
  bool ProcExec(const char* procedure, CVar* args, MDXCliParam** reply) override;
  bool SqlUpdate(const char* table, MDArray* records, bool flag, MDXCliParam** reply) override;
  void BlockBeg() override { real_.BlockBeg(); }
  bool BlockEnd(bool send, MDXCliParam** reply) override;
  bool WaitResult(MDXCliParam** reply, int timeoutMs) override;
  void PrmFree(MDXCliParam* reply) override { real_.PrmFree(reply); }
  double MdxTimeToSesTime(double time) override { return real_.MdxTimeToSesTime(time); }
  QTextCodec* Codec() const override { return real_.Codec(); }

  void SubEvent(const int* ids, int count) override { abo_.SubEvent(ids, count); }
  void SubParam(const int* ids, int count) override { abo_.SubParam(ids, count); }
  CTlmCliSes* Session() const override { return const_cast<TimedSession*>(this); }
  MDXCliParam* TakeMessage() override { return abo_.TakeMessage(); }
  void SetModule(CTlmCliMod* module) override { abo_.SetModule(module); }

 private:
  CTlmCliAbo& abo_;
  CTlmCliSes& real_;
};

}  // namespace tlm::bench

#endif
