// A session that fails where the test says.
#ifndef TLMTEST_FAILINGSESSION_H
#define TLMTEST_FAILINGSESSION_H

#include <TlmClient/CTlmCliSes.h>

#include <QList>
#include <QString>

#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace tlm::test {

enum class Fail {
  kRefuseToSend,  // the call itself gives false
  kTimeOut,       // WaitResult gives false, the reply stays null
  kNoReply,       // WaitResult gives true, the reply stays null
  kStatus,        // the reply carries `status` and a text
  kEmptyPayload,  // status 0 and a payload that is null
  kEmptyText      // status 0 and a payload of length 0
};

// Which calls fail. A call is named by the text that Recording.h gives it, or the beginning of that text:
// "PacketExec TableRecords", "CalcExec", "BlockEnd", "WaitResult".
class Failures {
 public:
  // Every matching call, or with `nth` above 0 only the nth from here on.
  void add(const QString& call, Fail fail, int nth = 0, int status = wireRefused);
  void clear() { rules_.clear(); }

  static constexpr int wireRefused = 6;

  struct Rule {
    QString call;
    Fail fail = Fail::kRefuseToSend;
    int nth = 0;
    int status = 0;
    int met = 0;
  };
  // The rule that hits this call, or null. Counts the call.
  const Rule* hit(const QString& call);

 private:
  QList<Rule> rules_;
};

class FailingSession : public CTlmCliSes {
 public:
  FailingSession(CTlmCliSes* real, Failures* failures) : real_(real), failures_(failures) {}
  ~FailingSession() override;

  bool PacketExec(const char* name, const unsigned char* data, int length, MDXCliParam** reply) override;
  bool CalcExec(const char* script, CVar* args, MDXCliParam** reply) override;
  bool ProcExec(const char* procedure, CVar* args, MDXCliParam** reply) override;
  bool SqlUpdate(const char* table, MDArray* records, bool flag, MDXCliParam** reply) override;
  void BlockBeg() override;
  bool BlockEnd(bool send, MDXCliParam** reply) override;
  bool WaitResult(MDXCliParam** reply, int timeoutMs) override;
  void PrmFree(MDXCliParam* reply) override;
  double MdxTimeToSesTime(double time) override { return real_->MdxTimeToSesTime(time); }
  QTextCodec* Codec() const override { return real_->Codec(); }

 private:
  struct Mark {
    Fail fail = Fail::kStatus;
    int status = 0;
  };

  bool allows(const QString& call, MDXCliParam** reply);
  void spoilSingles(MDXCliParam** whole);
  bool spoil(MDXCliParam** reply, const Mark& mark);
  MDXCliParam* ownReply(const Mark& mark);

  CTlmCliSes* real_;
  Failures* failures_;
  std::unordered_map<MDXCliParam**, Mark> marks_;
  std::vector<MDXCliParam**> queued_;                                     // marked pointers of the open block
  std::unordered_map<MDXCliParam**, std::vector<MDXCliParam**>> blocks_;  // and those of blocks that were sent
  bool open_ = false;
  std::unordered_set<MDXCliParam*> own_;
};

}  // namespace tlm::test

#endif
