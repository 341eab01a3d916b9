// The session over a transport, and the subscription object that goes with it.
#ifndef TLMCLIENT_TLMSESSION_H
#define TLMCLIENT_TLMSESSION_H

#include <TlmClient/CTlmCliAbo.h>
#include <TlmClient/CTlmCliSes.h>
#include <TlmClient/ITransport.h>

#include <QObject>
#include <QString>

#include <memory>

namespace tlm {

// GUI thread only. Owns its transport. MdxTimeToSesTime uses the local time zone.
class TLMCLIENT_API TlmSession : public QObject, public CTlmCliSes, public CTlmCliAbo {
  Q_OBJECT

 public:
  explicit TlmSession(std::unique_ptr<ITransport> transport);
  ~TlmSession() override;

  bool PacketExec(const char* name, const unsigned char* data, int length, MDXCliParam** reply) override;
  bool CalcExec(const char* script, CVar* args, MDXCliParam** reply) override;
  bool ProcExec(const char* procedure, CVar* args, MDXCliParam** reply) override;
  bool SqlUpdate(const char* table, MDArray* records, bool flag, MDXCliParam** reply) override;
  void BlockBeg() override;
  bool BlockEnd(bool send, MDXCliParam** reply) override;
  bool WaitResult(MDXCliParam** reply, int timeoutMs) override;
  void PrmFree(MDXCliParam* reply) override;
  double MdxTimeToSesTime(double time) override;
  QTextCodec* Codec() const override;

  void SubEvent(const int* ids, int count) override;
  void SubParam(const int* ids, int count) override;
  CTlmCliSes* Session() const override;
  MDXCliParam* TakeMessage() override;
  void SetModule(CTlmCliMod* module) override;

  bool alive() const;

 signals:
  void lineChanged(bool alive, const QString& why);
  // Events were missed that the server no longer has: what the module holds may be out of date.
  void eventsLost(const QString& why);
  // A block that nobody waited for was refused by the server, or its answer never came. At the end the destructor
  // waits for the blocks that write, and tells of those that were lost before it returns.
  void writeRefused(int status, const QString& why);

 private:
  struct Private;
  std::unique_ptr<Private> d_;
};

}  // namespace tlm

#endif
