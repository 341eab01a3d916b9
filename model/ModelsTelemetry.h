// The configuration tree: nodes (myConfNode.h), their order (NodeOrder.h), the views (TreeViews.h) and, here, the
// item model.
#ifndef TLMMEAS_MODELSTELEMETRY_H
#define TLMMEAS_MODELSTELEMETRY_H

#include "KeyIndex.h"
#include "MeasClasses.h"
#include "NodeOrder.h"
#include "RecordReader.h"
#include "TreeViews.h"
#include "myConfNode.h"

#include <QAbstractItemModel>
#include <QStringList>
#include <QVariant>

#include <array>
#include <memory>
#include <vector>

class CTlmMeasConfig;
class QTextCodec;

// Roles beside those of Qt: what a row is, and which object it shows. Qt::UserRole gives the node itself as a
// void*.
inline constexpr int kClassRole = 11;
inline constexpr int kKeyRole = 12;

// The format of drags and of the clipboard.
inline const QString kMeasMimeType = QStringLiteral("TlmMeasList");

// GUI thread only. Presents the nodes under one root, which it owns. An invalid index means the root. Rows are
// read at every call, so a changed row needs UpdateData and nothing else.
//
// The children of a node in the tree change in three places alone: insertNodes, takeNode and moveToEnd.
class MeasConfTreeModel : public QAbstractItemModel {
  Q_OBJECT

 public:
  explicit MeasConfTreeModel(CTlmMeasConfig* parent);  // null: a model without a module, which takes no drops
  ~MeasConfTreeModel() override;

  // ---- ModelsTelemetry.cpp: the shape of the tree ------------------------------------------------------
  QModelIndex index(int row, int column, const QModelIndex& parent = QModelIndex()) const override;
  // Keeps the column of `index`: the parent of an index in column 1 has column 1.
  QModelIndex parent(const QModelIndex& index) const override;
  using QObject::parent;
  int rowCount(const QModelIndex& parent = QModelIndex()) const override;
  int columnCount(const QModelIndex& parent = QModelIndex()) const override;
  // True for a remote unit that was not fetched, whatever it holds.
  bool hasChildren(const QModelIndex& parent = QModelIndex()) const override;

  // Takes over a tree and destroys the one before. Sends no reset: detach the view first.
  void setRootNode(myConfNode* root);
  myConfNode* GetRootNode() const { return rootNode; }
  myConfNode* nodeFromIndex(const QModelIndex& index) const;
  myConfNode* GetNode(const QModelIndex& index) const { return nodeFromIndex(index); }
  // The index of a node whose row is known.
  void GetIndex(QModelIndex& out, int row, int column, myConfNode* node) const;
  // The index of any node of the tree, column 0; invalid for the root.
  QModelIndex indexOf(const myConfNode* node) const;

  // What match(index(0, 0), kKeyRole, key, 1, MatchFixedString | MatchWrap | MatchRecursive) finds, without
  // the walk over the tree. Invalid when there is none.
  QModelIndex findByKey(const QString& key) const;
  // The unit at the top that stands for "no unit"; invalid when there is none.
  QModelIndex defaultUnit() const { return indexOf(defaultUnit_); }

  // Puts nodes (with all below them) at a row of a parent and tells the views. The nodes' parent is set. The
  // result is that of insertRows.
  bool insertNodes(const QModelIndex& parent, int row, const std::vector<myConfNode*>& nodes);
  // Unhooks a child, which is the caller's then. Goes between beginRemoveRows and endRemoveRows.
  std::unique_ptr<myConfNode> takeNode(myConfNode* parent, int row);

  void BeginInsertRows(const QModelIndex& parent, int first, int last);
  void EndInsertRows();
  // Nothing but targets for calls: rows change in the nodes themselves, between the notifications.
  bool insertRows(int row, int count, const QModelIndex& parent = QModelIndex()) override;
  bool removeRows(int row, int count, const QModelIndex& parent = QModelIndex()) override;
  bool moveRows(const QModelIndex& from, int fromRow, int count, const QModelIndex& to, int toRow) override;
  virtual bool moveRow(const QModelIndex& from, int fromRow, const QModelIndex& to, int toRow);

  // Sorts the whole tree, or the children of one node (`thisLevelOnly`: not what is below them). The layout
  // signals go out for every node visited; persistent indexes are not remapped.
  void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;
  void SortChildren(myConfNode* node, int column, Qt::SortOrder order, bool thisLevelOnly);

  // ---- ModelsTelemetry_adding.cpp: new objects, and objects that the module holds -----------------------
  // Makes a new object in the module's arrays and hangs it under the node of `parent`, with atRoot at the top. An
  // empty class makes a folder. `rtuKey` is the unit of a measurement. Folders and units enter at row 0, a
  // measurement as the last of its group, which is made when missing. Emits setFocusRow. False: nothing was added
  // (but perhaps the group).
  bool AddNode(QModelIndex parent, QString className, QString rtuKey, bool atRoot);
  // Makes the row of a new object, with a key of its own in `key`, and links the node to it.
  bool CreateNode(myConfNode* node, QString name, QString className, QString tableClass, QString& key, QString rtuKey,
                  myConfNode* parentNode);
  // Hangs a node for a row that the module's arrays hold, as AddNode does, without setFocusRow. An aggregated
  // measurement goes under the measurement `parent`. A unit is fetched when it is opened.
  bool AddExistNode(QModelIndex parent, QString className, QString key, bool aggregated);
  // Links the node to the row with that key. True for a known class, also without such a row.
  bool CreateExistNode(myConfNode* node, QString className, QString key, bool aggregated);
  // The first node whose text is the caption, its place in `position`, which stays as it was without one.
  bool ExistFold(std::vector<myConfNode*>* nodes, QString caption, int& position);
  bool GetIndFold(std::vector<myConfNode*>* nodes, QString caption, int& position);
  // True if an object with the first key stands below the one with the second.
  bool ExistSignInRTU(QString signKey, QString rtuKey);

  // ---- ModelsTelemetry_removing.cpp --------------------------------------------------------------------
  // Removes a node with all below it, and its group when that is left empty; the nodes are destroyed. Appends
  // "key,class" for each, what is deeper first, to `removed`, which may be null. True when something went.
  bool DelNode(const QModelIndex& index, QStringList* removed);
  // Takes out and destroys children, without notifications: those are the caller's.
  bool prepareRemoveRows(int row, int count, myConfNode* parent, QStringList* removed);
  // True while the views are told that rows go: the tree must not be changed then.
  bool rowsAreGoing() const { return rowsGoing_; }

  // ---- ModelsTelemetry_moving.cpp ----------------------------------------------------------------------
  // Hangs a node under another folder or unit; a measurement into its group there, which is made when missing. A
  // group that is left empty goes. Then the row gets the focus by setFocusRow, or the new level is sorted. An
  // aggregated measurement stays where it is. The key plays no part.
  void MoveNode(const QModelIndex& source, const QModelIndex& target, bool keepFocus);
  void MoveNode(QModelIndex source, QString key, QString className, const QModelIndex& target, bool keepFocus);

  // ---- ModelsTelemetry_data.cpp: what is shown ---------------------------------------------------------
  QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
  bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
  QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
  Qt::ItemFlags flags(const QModelIndex& index) const override;
  // A row has changed.
  void UpdateData(const QModelIndex& topLeft, const QModelIndex& bottomRight);

  // ---- ModelsTelemetry_drag.cpp ------------------------------------------------------------------------
  QStringList mimeTypes() const override;
  QMimeData* mimeData(const QModelIndexList& indexes) const override;
  bool dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                    const QModelIndex& parent) override;
  Qt::DropActions supportedDropActions() const override;

 signals:
  void setFocusRow(QModelIndex index);

 public:
  CTlmMeasConfig* module;
  bool started = false;
  QTextCodec* codec = nullptr;  // assigned right after construction
  Qt::SortOrder sortOrder = Qt::AscendingOrder;
  int sortColumn = 0;
  QStringList cutKeys;  // of rows that were cut and await a paste
  myConfNode* rootNode = nullptr;

  // Puts the persistent indexes where their nodes stand, if a sort has moved rows since the last time. A sort leaves
  // that to whoever shows the tree.
  void settleIndexes();

 private:
  const RecordReader& reader() const;  // with the present codec
  QVariant displayText(const myConfNode& node, int column) const;
  QVariant decoration(const myConfNode& node) const;
  QVariant foreground(const myConfNode& node) const;
  QVariant icon(const char* path) const;
  bool takesDrop(const QModelIndex& index) const;
  // Sorts without a word of its own; what lies below one level tells for itself.
  void sortBelow(myConfNode* node, int column, Qt::SortOrder order, bool thisLevelOnly);

  // _adding
  bool hang(std::unique_ptr<myConfNode> node, myConfNode* owner, int row, bool focus);
  bool isMeasurementNode(const myConfNode& node) const;
  myConfNode* groupFor(const QModelIndex& place, const QString& caption);  // null: that place takes none
  myConfNode* groupOfUnit(myConfNode* unit, const QString& caption);       // made when missing
  // _removing
  bool removeChildren(myConfNode* owner, int row, int count, QStringList* removed);
  void forgetMoves();
  void noteMoves(const std::vector<myConfNode*>& before, const std::vector<myConfNode*>& after);
  // The same, whatever has moved; those within `count` children of the owner, which will go, in column 0.
  void settleIndexes(const myConfNode* owner, int row, int count);
  // _moving
  bool moveToEnd(myConfNode* node, myConfNode* owner);

  mutable RecordReader reader_;
  KeyIndex keys_;
  mutable std::vector<std::pair<const char*, QVariant>> icons_;  // by the address of their path
  void noteDefaultUnit(myConfNode* node);
  myConfNode* defaultUnit_ = nullptr;
  myConfNode* insertParent_ = nullptr;  // between BeginInsertRows and EndInsertRows
  bool rowsGoing_ = false;
  std::vector<std::pair<myConfNode*, int>> moves_;  // by a sort, with the rows before; the indexes are still there
  bool movesTold_ = true;                           // false: rows have moved that do not stand in `moves_`
  bool insertShifts_ = false;                       // rows stand behind those that come
  int insertFirst_ = 0;
  int insertLast_ = -1;
};

#endif
