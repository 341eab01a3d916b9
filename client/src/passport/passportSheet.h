// The inside of the passport: what is shown, what is edited, and what the sheet asks the server for.
#pragma once

#include "passport/catalogue.h"
#include "passport/requests.h"
#include "passport/sheetDelegate.h"
#include "passport/sheetModel.h"
#include "passport/sheetView.h"
#include "passport/tablePage.h"
#include "passport/valueTexts.h"

#include <QTabWidget>

#include <map>

class CLiteModel;
class TlmPassport;
class multiPasp;

namespace tlm::passport {

class ReferenceEditor;

class PassportSheet : public QObject, public EditorHost {
  Q_OBJECT

 public:
  explicit PassportSheet(TlmPassport* owner);
  ~PassportSheet() override;

  // Binding: passportSheet.cpp
  void bind(QTabWidget* tabs);
  void setEditable(bool editable);

  // Filling: passportSheet_fill.cpp
  void showDeclaration(const QString& title, int count, const QString& label);
  void showNew(const QString& key, const QString& className, CTlmCliSes* session, const QStringList* tables,
               const QList<CMDArray*>* arrays);
  void showExisting(const QString& key, const CLiteModel& model, CTlmCliSes* session, const char* live,
                    multiPasp* merged);
  void setLive(const QString& key, const char* live);
  QStringList fieldNames() const;
  void lockFields(const QStringList& names, bool locked);
  bool fieldText(const QString& table, const QString& field, QString* text) const;

  // Editing: passportSheet_edit.cpp
  void handOver(QStringList* tables, QList<CMDArray*>* arrays);
  void clearChanges();
  bool hasChanges() const { return !pending_.empty(); }

  // Tables of its own and their tabs, lists of references: passportSheet_tables.cpp
  bool loadTable(CTlmCliSes* session, const QString& table);
  void updateTable(const QString& table, const CMDArray* rows);
  void dropRow(const QString& table, const QString& key);
  void reloadList(const QString& refTable);

  // What the editors ask.
  void refuse(const QString& why) override;
  ValueTexts& texts() override { return texts_; }
  void listOpened(ReferenceEditor* editor, const FieldMeta& meta) override;
  void listClosed() override;
  QString measName(qint64 locId) override;
  bool moveOn(int step) override { return view_.moveOn(step); }

 private:
  struct Filling;

  void leaveEditor(bool otherObject);
  void show(ObjectFormPtr form, SheetContent content);
  void adoptPending(const ObjectFormPtr& form);
  SheetGroup makeGroup(const FormTable& table, const Filling& filling, bool isFirst);
  QString storedText(const FieldMeta& meta, const QVariant& value, const Filling& filling);
  SheetField makeField(const FieldMetaPtr& meta, const Filling& filling);
  void mergeField(SheetField* field, multiPasp* merged) const;
  void showEdit(SheetField* field) const;
  QString lockOf(const FieldMeta& meta) const;
  bool ensureCatalogue();
  FieldMetaPtr metaOf(const MDArray* structure, const QString& table, int number, const CLiteModel* model);
  const MDArray* structureOf(const QString& table);
  QString referenceText(const FieldMeta& meta, const QString& key);

  bool onEdit(SheetField& field, Edit edit);
  bool onPageEdit(const PageRow& row, const FieldMeta& meta, Edit edit);
  void noteEdit();
  bool isPending(const ObjectFormPtr& form) const;
  bool otherIsNew() const;

  void fillPage();
  void addPageRows();
  void showPage(bool on);
  std::vector<PageRow> pageRows(const std::vector<FieldMetaPtr>& columns) const;
  QString displayColumn(const QString& table) const;
  void fillList(ReferenceEditor* editor, const FieldMeta& meta);

  TlmPassport* owner_;
  bool editable_ = false;
  QPointer<QTabWidget> tabs_;
  FieldMetas metas_;
  ValueTexts texts_;
  Catalogue catalogue_;
  std::map<QString, std::unique_ptr<CMDArray>> structures_;
  std::map<QString, std::unique_ptr<CMDArray>> tables_;  // reference data, by name

  SheetModel model_;
  SheetDelegate delegate_;
  SheetView view_;
  TablePageModel pageModel_;
  SheetDelegate pageDelegate_;
  QPointer<TablePage> page_;

  ObjectFormPtr shown_;
  std::vector<ObjectFormPtr> pending_;
  QPointer<ReferenceEditor> listEditor_;
  const FieldMeta* listMeta_ = nullptr;
};

}  // namespace tlm::passport
