// Arrays of rows like those of the module, and a tree over them.
#ifndef TLMTEST_SMALLTREE_H
#define TLMTEST_SMALLTREE_H

#include <ModelsTelemetry.h>

#include <QVariant>

#include <initializer_list>
#include <utility>

namespace tlm::test {

struct TestField {
  const char* name;
  uint8_t type;
  uint8_t size = 0;
};

void addFields(CMDArray& table, std::initializer_list<TestField> fields);

// Posts a row. Texts, whole numbers and booleans are written by the variant's type; an invalid one leaves null.
using TestValues = std::initializer_list<std::pair<const char*, QVariant>>;
MDRData* addRow(CMDArray& table, TestValues values);
void setField(CMDArray& table, MDRData* row, const char* field, const QVariant& value);

// The three arrays, a model without a module over an empty root, and nodes put under given parents.
struct SmallTree {
  SmallTree();

  myConfNode* folder(myConfNode* parent, const QString& name, const QString& key = "F");
  myConfNode* unit(myConfNode* parent, const QString& name, const QString& key = "U", bool loaded = true);
  myConfNode* defaultUnit();
  myConfNode* group(myConfNode* parent, const QString& caption);
  myConfNode* measurement(myConfNode* parent, const QString& className, const QVariant& locId, const QString& name,
                          const QString& key = "M");

  // The names of a node's children, joined by blanks and bars.
  QString order(const myConfNode* node) const;
  QModelIndex at(const myConfNode* node, int column = 0) const;
  // Tells the model of the nodes that were made since, as a new tree would.
  void done() { model.setRootNode(root); }

  CMDArray meas, units, folders;
  MeasConfTreeModel model{nullptr};
  myConfNode* root;
};

}  // namespace tlm::test

#endif
