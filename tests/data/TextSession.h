// A session that answers every request with one text, and writes down what it was asked.
#ifndef TLMTEST_TEXTSESSION_H
#define TLMTEST_TEXTSESSION_H

#include <TlmClient/CTlmCliSes.h>

#include <QByteArray>
#include <QTextCodec>

namespace tlm::test {

class TextSession : public CTlmCliSes {
 public:
  explicit TextSession(const QString& text) : text_(Codec()->fromUnicode(text)) {}

  bool PacketExec(const char* name, const unsigned char* data, int length, MDXCliParam**) override {
    request = name;
    body = QByteArray(reinterpret_cast<const char*>(data), length);
    return true;
  }
  bool WaitResult(MDXCliParam** reply, int) override {
    const uint8_t types[] = {MDX_INT32, MDX_MEMO, MDX_MEMO};
    *reply = MDXParamNew(0, types, 3);
    MDRVar value{};
    value.type = MDX_INT32;
    MDRSetVal(MDXParamFld(*reply, MDX_REPLY_STATUS), *reply, &value);
    value.type = MDX_MEMO;
    value.text = {static_cast<uint32_t>(text_.size()), text_.constData()};
    MDRSetVal(MDXParamFld(*reply, MDX_REPLY_PAYLOAD), *reply, &value);
    ++open;
    return true;
  }
  void PrmFree(MDXCliParam* reply) override {
    MDXParamFree(reply);
    --open;
  }
  bool CalcExec(const char*, CVar*, MDXCliParam**) override { return false; }
  bool ProcExec(const char*, CVar*, MDXCliParam**) override { return false; }
  bool SqlUpdate(const char*, MDArray*, bool, MDXCliParam**) override { return false; }
  void BlockBeg() override {}
  bool BlockEnd(bool, MDXCliParam**) override { return false; }
  double MdxTimeToSesTime(double time) override { return time; }
  QTextCodec* Codec() const override { return QTextCodec::codecForName("Windows-1251"); }

  QByteArray request;
  QByteArray body;
  int open = 0;  // replies that were not freed

 private:
  QByteArray text_;
};

}  // namespace tlm::test

#endif
