// The window with messages of the server made by hand.
#ifndef TLMTEST_EVENTWINDOW_H
#define TLMTEST_EVENTWINDOW_H

#include "Events.h"

#include "ModuleWindow.h"
#include "RecordAccess.h"

namespace tlm::test {

// A message as the session hands it over. The image is a record of `array`, or none.
class Message {
 public:
  Message(int kind, const QByteArray& key, const QByteArray& param, const CMDArray* array = nullptr,
          MDRData* record = nullptr, int typeNumber = MDX_TYPE_EVENT) {
    const uint8_t types[] = {MDX_INT64, MDX_INT32, MDX_DOUBLE, MDX_INT32, MDX_MEMO, MDX_MEMO, MDX_MEMO, MDX_MEMO};
    message_ = MDXParamNew(typeNumber, types, 8);
    set(MDX_EVENT_KIND, intVar(kind));
    set(MDX_EVENT_KEY, textVar(key));
    set(MDX_EVENT_PARAM, textVar(param));
    if (!record) return;
    EXPECT_GE(MDRRecPack(array->array, record, 1, 1), 0);
    set(MDX_EVENT_IMAGE, textVar(QByteArray(reinterpret_cast<char*>(record->packed), int(record->packedLength))));
  }
  ~Message() { MDXParamFree(message_); }
  MDXCliParam* get() { return message_; }

 private:
  void set(int position, MDRVar value) { MDRSetVal(MDXParamFld(message_, position), message_, &value); }
  MDXCliParam* message_;
};

class EventWindow : public ModuleWindow {
 protected:
  using ModuleWindow::ModuleWindow;

  QByteArray encoded(const QString& text) { return module->moduleCodec->fromUnicode(text); }

  // Sends a change of the object of that name: fields of the structure as "name=value", the carried ones; "name"
  // alone is a carried null, "~name=value" a field that is not carried.
  void send(int kind, const char* name, const char* table, const CMDArray& structure, const QStringList& fields) {
    sendKey(kind, key(name), table, structure, fields);
  }
  void sendKey(int kind, const QString& key, const char* table, const CMDArray& structure, const QStringList& fields) {
    CMDArray image;
    MDACopy(image.array, structure.array, 0);
    MDRData* record = MDARecNew(image.array);
    for (QString each : fields) {
      const bool carried = !each.startsWith('~');
      if (!carried) each.remove(0, 1);
      const QByteArray field = each.section('=', 0, 0).toLatin1();
      const MDRField* target = MDRFldByName(image.array, field.constData());
      ASSERT_NE(target, nullptr) << field.constData();
      if (each.contains('=')) put(image, record, field, each.section('=', 1));
      if (carried) MDRSetUser(target, record, 1);
    }
    MDRData* posted = image.RecPost(record);
    Message message(kind, key.toLatin1(), "tbl=" + QByteArray(table) + ",x=1", &image, posted);
    EXPECT_EQ(module->MessageData(message.get()), 1);
  }
  // Without an image, as every 603.
  void sendBare(int kind, const QString& key, const char* table) {
    Message message(kind, key.toLatin1(), "tbl=" + QByteArray(table) + ",x=1");
    EXPECT_EQ(module->MessageData(message.get()), 1);
  }
  void put(CMDArray& array, MDRData* record, const QByteArray& field, const QString& text) {
    const QByteArray bytes = encoded(text);
    const uint8_t type = MDRFldByName(array.array, field.constData())->type;
    const bool isText = type == MDX_TEXT || type == MDX_MEMO;
    array.SetVal(record, field.constData(),
                 isText             ? textVar(bytes)
                 : type == MDX_BOOL ? boolVar(text == "1")
                                    : intVar(text.toInt()));
  }
  QString held(const CMDArray& array, const char* name, const char* field) {
    MDRData* record = seekText(array, 0, key(name), module->moduleCodec);
    return record ? fieldText(array, record, field, module->moduleCodec) : "absent";
  }
};

}  // namespace tlm::test

#endif
