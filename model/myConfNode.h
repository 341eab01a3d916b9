// A node of the configuration tree.
#ifndef TLMMEAS_MYCONFNODE_H
#define TLMMEAS_MYCONFNODE_H

#include <TlmMdx/CMDArray.h>

#include <QString>

#include <vector>

// Points at a row and holds no copy of it: what a node shows is read from the row. Owns its children, never
// its row. What kind a node is follows from its members and the row's class:
//   root            no text, no row                    default unit   defaultUnitText(), no row, under the root
//   folder          isFolder                           remote unit    a row of the class "RemoteUnit"
//   group           a caption, no row, under a unit    measurement    a row of one of the four classes
// Aggregated measurements hang directly under their primary one.
class myConfNode {
 public:
  myConfNode(myConfNode* parent, QString text, CMDArray* table, MDRData* record);
  ~myConfNode();  // with all children
  myConfNode(const myConfNode&) = delete;
  myConfNode& operator=(const myConfNode&) = delete;

  // The position among the parent's children; -1 when it does not stand there.
  int row() const;

  myConfNode* parent;     // null for the root alone
  QString text;           // wins over the row's name when not empty
  CMDArray* table;        // one of the module's arrays, or null
  MDRData* record;        // a row of it, or null
  bool isFolder = false;  // the name field is "caption"
  bool isLoaded = true;   // false on a remote unit whose measurements were not fetched
  bool isExpanded = false;
  bool isAggregated = false;
  bool checkTu = false;               // of the row, when it was loaded
  std::vector<myConfNode*> children;  // in display order

 private:
  friend class KeyIndex;
  mutable int rowHint_ = 0;  // where the node stood last
  unsigned keyHash_ = 0;     // under which the model's index knows the node; 0: it does not
};

#endif
