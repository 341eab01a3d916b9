#include "SmallTree.h"

#include <QTextCodec>

#include <cstring>

namespace tlm::test {

namespace {

QTextCodec* codec() { return QTextCodec::codecForName("Windows-1251"); }

myConfNode* hang(myConfNode* parent, CMDArray* table, MDRData* row, const QString& text = QString()) {
  auto* node = new myConfNode(parent, text, table, row);
  parent->children.push_back(node);
  return node;
}

}  // namespace

void addFields(CMDArray& table, std::initializer_list<TestField> fields) {
  for (const TestField& field : fields) {
    MDRFldDesc description{};
    std::strncpy(description.name, field.name, sizeof description.name - 1);
    description.type = field.type;
    description.size = field.size;
    MDAFldAdd(table.array, 1, &description);
  }
}

void setField(CMDArray& table, MDRData* row, const char* field, const QVariant& value) {
  MDRVar var{};
  QByteArray bytes;
  if (!value.isValid()) {
    var.type = MDX_MEMO;
    var.isNull = 1;
  } else if (value.type() == QVariant::Bool) {
    var.type = MDX_BOOL;
    var.flag = value.toBool();
  } else if (value.type() == QVariant::String) {
    bytes = codec()->fromUnicode(value.toString());
    var.type = MDX_TEXT;
    var.text = {static_cast<uint32_t>(bytes.size()), bytes.constData()};
  } else {
    var.type = MDX_INT64;
    var.i64 = value.toLongLong();
  }
  table.SetVal(row, field, var);
}

MDRData* addRow(CMDArray& table, TestValues values) {
  MDRData* row = MDARecNew(table.array);
  for (const auto& [field, value] : values) setField(table, row, field, value);
  return table.RecPost(row);
}

SmallTree::SmallTree() : root(new myConfNode(nullptr, QString(), nullptr, nullptr)) {
  addFields(meas, {{"KeyLink", MDX_TEXT, 32},
                   {"ClassName", MDX_MEMO},
                   {"name_", MDX_MEMO},
                   {"locId", MDX_INT64},
                   {"work_", MDX_BOOL}});
  addFields(units, {{"KeyLink", MDX_TEXT, 32},
                    {"RemoteUnitFolderKey", MDX_TEXT, 32},
                    {"StateRtu", MDX_BOOL},
                    {"name_", MDX_MEMO},
                    {"ClassName", MDX_MEMO}});
  addFields(folders,
            {{"KeyLink", MDX_TEXT, 32}, {"ParentKey", MDX_TEXT, 32}, {"caption", MDX_MEMO}, {"name_", MDX_MEMO}});
  model.codec = codec();
  model.setRootNode(root);
}

myConfNode* SmallTree::folder(myConfNode* parent, const QString& name, const QString& key) {
  myConfNode* node = hang(parent, &folders, addRow(folders, {{"KeyLink", key}, {"caption", name}}));
  node->isFolder = true;
  return node;
}

myConfNode* SmallTree::unit(myConfNode* parent, const QString& name, const QString& key, bool loaded) {
  myConfNode* node =
      hang(parent, &units, addRow(units, {{"KeyLink", key}, {"name_", name}, {"ClassName", "RemoteUnit"}}));
  node->isLoaded = loaded;
  return node;
}

myConfNode* SmallTree::defaultUnit() { return hang(root, nullptr, nullptr, defaultUnitText()); }

myConfNode* SmallTree::group(myConfNode* parent, const QString& caption) {
  return hang(parent, nullptr, nullptr, caption);
}

myConfNode* SmallTree::measurement(myConfNode* parent, const QString& className, const QVariant& locId,
                                   const QString& name, const QString& key) {
  return hang(parent, &meas,
              addRow(meas, {{"KeyLink", key}, {"ClassName", className}, {"name_", name}, {"locId", locId}}));
}

QString SmallTree::order(const myConfNode* node) const {
  QStringList names;
  for (myConfNode* child : node->children) names.append(GetName(child));
  return names.join(" | ");
}

QModelIndex SmallTree::at(const myConfNode* node, int column) const {
  QModelIndex index;
  model.GetIndex(index, node->row(), column, const_cast<myConfNode*>(node));
  return index;
}

}  // namespace tlm::test
