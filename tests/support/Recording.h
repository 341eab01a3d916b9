// Doubles that write down what a module asks of its session and its subscriptions, and pass it on.
#ifndef TLMTEST_RECORDING_H
#define TLMTEST_RECORDING_H

#include <TlmClient/CTlmCliAbo.h>
#include <TlmClient/CTlmCliSes.h>

#include <QStringList>

namespace tlm::test {

// Call texts, as they stand in a log and in the rules of a FailingSession.
QString packetText(const char* name, const unsigned char* data, int length);  // "PacketExec TableRecords Fields"
QString scriptText(const char* script);                   // "CalcExec f*(rtu)": the function's head, a key in it as "*"
QString procedureText(const char* procedure);             // "ProcExec SrvReq_ObjectForms"
QString updateText(const char* table, MDArray* records);  // "SqlUpdate Measurement 3 records"
QString blockEndText(bool send, bool waits);              // "BlockEnd", "BlockEnd unwaited" or "BlockEnd drop"
QString waitText(int timeoutMs);                          // "WaitResult 5000"

// One line for each call, in order. Waits are left out unless `waits` is set; PrmFree is never written.
class RecordingSession : public CTlmCliSes {
 public:
  RecordingSession(CTlmCliSes* real, QStringList* log, bool waits = false) : real_(real), log_(log), waits_(waits) {}

  bool PacketExec(const char* name, const unsigned char* data, int length, MDXCliParam** reply) override;
  bool CalcExec(const char* script, CVar* args, MDXCliParam** reply) override;
  bool ProcExec(const char* procedure, CVar* args, MDXCliParam** reply) override;
  bool SqlUpdate(const char* table, MDArray* records, bool flag, MDXCliParam** reply) override;
  void BlockBeg() override;
  bool BlockEnd(bool send, MDXCliParam** reply) override;
  bool WaitResult(MDXCliParam** reply, int timeoutMs) override;
  void PrmFree(MDXCliParam* reply) override { real_->PrmFree(reply); }
  double MdxTimeToSesTime(double time) override { return real_->MdxTimeToSesTime(time); }
  QTextCodec* Codec() const override { return real_->Codec(); }

 private:
  CTlmCliSes* real_;
  QStringList* log_;
  bool waits_;
};

// "SubEvent 601,602,603", "SubParam 1001", "SubParam" for none. Messages are not written.
class RecordingAbo : public CTlmCliAbo {
 public:
  RecordingAbo(CTlmCliAbo* real, CTlmCliSes* session, QStringList* log) : real_(real), session_(session), log_(log) {}

  void SubEvent(const int* ids, int count) override;
  void SubParam(const int* ids, int count) override;
  CTlmCliSes* Session() const override { return session_; }
  MDXCliParam* TakeMessage() override { return real_->TakeMessage(); }
  void SetModule(CTlmCliMod* module) override { real_->SetModule(module); }

 private:
  CTlmCliAbo* real_;
  CTlmCliSes* session_;
  QStringList* log_;
};

}  // namespace tlm::test

#endif
