// The archive groups that a measurement may have aggregated data of, with a check box each.
#ifndef TLMMEAS_STRINGLISTMODEL_H
#define TLMMEAS_STRINGLISTMODEL_H

#include <TlmMdx/CMDArray.h>

#include <QAbstractListModel>
#include <QList>
#include <QStringList>

class QTextCodec;

// GUI thread only. Shows `rows` of `table`, which must outlive it and keep its rows.
class StringListModel : public QAbstractListModel {
  Q_OBJECT

 public:
  StringListModel(QList<MDRData*> const& rows, CMDArray* table, QObject* parent);

  int rowCount(const QModelIndex& parent = QModelIndex()) const override;
  // Role 0 the group's description, 10 the tick, 12 the key, Qt::UserRole the record.
  QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
  bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
  Qt::ItemFlags flags(const QModelIndex& index) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

  CMDArray* table;
  QTextCodec* codec;
  QStringList checkedKeys;  // of the groups that are ticked
  QList<MDRData*> rows;

 private:
  bool holds(const QModelIndex& index) const;
  QString keyOf(const QModelIndex& index) const;
};

#endif
