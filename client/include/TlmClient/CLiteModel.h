// The model of one object: its rows, the rows that they refer to, and what is known of their fields.
#ifndef TLMCLIENT_CLITEMODEL_H
#define TLMCLIENT_CLITEMODEL_H

#include <TlmClient/export.h>
#include <TlmMdx/CMDArray.h>

#include <QString>
#include <QTextCodec>

#include <memory>
#include <string>

// One table of a lite model. Lives as long as the model is not changed.
class TLMCLIENT_API CModelTable {
 public:
  const std::string& Name() const;
  MDArray* Array() const;

 private:
  friend class CLiteModel;
  std::string name_;
  std::unique_ptr<CMDArray> array_;
};

struct TModelRecord {
  CModelTable* table = nullptr;
  MDRData* record = nullptr;
};

class TLMCLIENT_API CLiteModel {
 public:
  explicit CLiteModel(QTextCodec* codec);
  ~CLiteModel();
  CLiteModel(const CLiteModel&) = delete;
  CLiteModel& operator=(const CLiteModel&) = delete;

  // Fills the model from the text of a "LiteModel" reply. False, and an empty model, when it is none.
  bool LoadFromBuff(const char* buffer, int length);
  void Clear();
  bool IsEmpty() const;

  CModelTable* GetTableByName(const std::string& name) const;  // case ignored; null if absent

  // The rows of the object's own tables that carry the key, in the order of the chain. Returns how many,
  // at most 3.
  int GetRecordsByKey(const std::string& key, TModelRecord (&out)[3]) const;

  // A field as the text that is shown; a reference as the text of what it refers to. "[none]" when the object
  // has no such field.
  QString TextValue(const TModelRecord& record, const QString& field) const;

  // The parameter text, the Russian title and the declared type of a field. False when unknown.
  bool FldParams(const QString& table, const QString& field, QString& params, QString* title = nullptr,
                 QString* declared = nullptr) const;

 private:
  struct Data;
  std::unique_ptr<Data> data_;
};

#endif
