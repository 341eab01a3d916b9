// The sheet as a tree of two columns: the live value on top, then one group for each table.
#pragma once

#include "passport/objectForm.h"

#include <QAbstractItemModel>

#include <functional>
#include <vector>

namespace tlm::passport {

struct SheetField {
  FieldMetaPtr meta;
  QVariant value;  // as it is stored; of several objects, of the first
  QString text;    // as it is shown
  Qt::CheckState check = Qt::Unchecked;
  bool edited = false;
  bool merged = false;  // of several objects: the text alone is true of all
  bool mixed = false;   // of several objects that are known to differ here
  Edit stored;          // as the server gave it
  Qt::CheckState storedCheck = Qt::Unchecked;
  QString unseen;  // an edit that the server's value covers on the screen
  QString locked;  // why it cannot be edited; empty when it can
};

struct SheetGroup {
  QString table;
  QString title;
  std::vector<SheetField> fields;
};

struct SheetContent {
  bool hasLive = false;
  QString live;
  std::vector<std::pair<QString, QString>> heading;  // rows of a declaration
  std::vector<SheetGroup> groups;
};

class SheetModel : public QAbstractItemModel {
  Q_OBJECT

 public:
  // kMetaRole: the const FieldMeta* as void*; kTypedRole: what stands in an opened editor;
  // kMixedRole: several objects that differ
  enum Role { kMetaRole = Qt::UserRole + 1, kLockedRole, kGroupRole, kLiveRole, kTypedRole, kMixedRole };
  enum Column { kName = 0, kValue = 1 };

  // Carries an edit of the user out; false refuses it.
  using EditHandler = std::function<bool(SheetField& field, const Edit& edit)>;

  explicit SheetModel(QObject* parent) : QAbstractItemModel(parent) {}
  void setEditHandler(EditHandler handler) { handler_ = std::move(handler); }

  // Shows a content. A form of the same fields is refreshed in place; true when the rows were made anew.
  bool setContent(SheetContent content);
  const SheetContent& content() const { return content_; }

  // Refreshes the live row alone.
  void setLive(const QString& text);
  QModelIndex liveIndex(int column = kValue) const;

  SheetField* field(const QModelIndex& index);
  const SheetField* field(const QModelIndex& index) const;
  SheetField* field(const QString& id);
  QModelIndex indexOf(const QString& id, int column = kValue) const;
  const SheetGroup* group(const QModelIndex& index) const;
  QModelIndex groupIndex(int group) const;

  // Fields in the order of the sheet; `step` 1 or -1. Invalid at the end.
  QModelIndex nextField(const QModelIndex& from, int step, bool editableOnly) const;

  void fieldChanged(const QString& id);
  // Changes fields, then tells of those that differ.
  void changeFields(const std::function<void(SheetField&)>& change);

  QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
  QModelIndex parent(const QModelIndex& child) const override;
  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& = {}) const override { return 2; }
  QVariant data(const QModelIndex& index, int role) const override;
  bool setData(const QModelIndex& index, const QVariant& value, int role) override;
  Qt::ItemFlags flags(const QModelIndex& index) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

 private:
  int leading() const;  // rows above the groups
  void tellRow(const QModelIndex& row);
  void tellDifferences(const SheetContent& before);
  bool sameRows(const SheetContent& other) const;
  QVariant leadingData(int row, int column, int role) const;
  QVariant fieldData(const SheetField& field, int column, int role) const;

  SheetContent content_;
  EditHandler handler_;
};

}  // namespace tlm::passport

Q_DECLARE_METATYPE(tlm::passport::Edit)
