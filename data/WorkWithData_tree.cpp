#include "CTlmMeasConfig.h"
#include "KeyWalk.h"
#include "ModelsTelemetry.h"
#include "WorkWithData.h"

namespace {

constexpr int kParentKey = 1;  // of folders and of units

bool isEmpty(const CMDArray& table) { return MDARecCount(table.array) == 0; }

// A node for a row, at the end of its parent.
myConfNode* hangRow(myConfNode* parent, CMDArray& table, MDRData* record) {
  auto* node = new myConfNode(parent, QString(), &table, record);
  parent->children.push_back(node);
  return node;
}

void hangUnit(myConfNode* parent, CMDArray& table, MDRData* record) {
  hangRow(parent, table, record)->isLoaded = false;
}

// A folder's own folders stand before its units.
void hangFolder(myConfNode* parent, CTlmMeasConfig* module, MDRData* record) {
  myConfNode* node = hangRow(parent, module->tblRemoteUnitFolder, record);
  node->isFolder = true;
  MDRVar key = keyOf(module->tblRemoteUnitFolder, record);
  GetSubFolderRTU(key, node, module);
  GetRTUInFold(key, node, module);
}

int walkFolders(const MDRVar& parentKey, EmptyTexts empty, myConfNode* parent, CTlmMeasConfig* module) {
  if (!parent || !module || isEmpty(module->tblRemoteUnitFolder)) return 0;
  walkKey(module->tblRemoteUnitFolder, kParentKey, "ParentKey", parentKey, empty,
          [&](MDRData* record) { hangFolder(parent, module, record); });
  return 1;
}

}  // namespace

myConfNode* InitTreeRTU(CTlmMeasConfig* module) {
  if (!module) return nullptr;
  auto* root = new myConfNode(nullptr, QString(), nullptr, nullptr);
  module->GetMeasurementsForEmptyRTU();
  if (!isEmpty(module->measRecords)) GetEmptyRTU(root, module);
  if (isEmpty(module->tblRemoteUnitFolder)) {
    GetRTU(root, module);
    return root;
  }
  GetFolderRTU(root, module);
  MDRVar noFolder = nullTextVar();
  GetRTUInFold(noFolder, root, module);
  return root;
}

void GetEmptyRTU(myConfNode* root, CTlmMeasConfig* module) {
  if (!root || !module || isEmpty(module->measRecords)) return;
  auto* unit = new myConfNode(root, defaultUnitText(), nullptr, nullptr);
  root->children.push_back(unit);
  QStringList groupClasses;
  QList<myConfNode*> groupNodes;
  const QByteArray noText("");
  MDRVar emptyKey = textVar(noText);
  GetMeasurements(emptyKey, unit, module, &groupClasses, &groupNodes, false, QString());
  MDRVar nullKey = nullTextVar();
  GetMeasurements(nullKey, unit, module, &groupClasses, &groupNodes, false, QString());
  unit->children.assign(groupNodes.cbegin(), groupNodes.cend());
}

int GetFolderRTU(myConfNode* root, CTlmMeasConfig* module) {
  return walkFolders(nullTextVar(), EmptyTexts::LikeNull, root, module);
}

int GetSubFolderRTU(MDRVar& parentKey, myConfNode* parent, CTlmMeasConfig* module) {
  return walkFolders(parentKey, EmptyTexts::End, parent, module);
}

int GetRTUInFold(MDRVar& folderKey, myConfNode* parent, CTlmMeasConfig* module) {
  if (!parent || !module || isEmpty(module->tblRemoteUnit)) return 0;
  walkKey(module->tblRemoteUnit, kParentKey, "RemoteUnitFolderKey", folderKey, EmptyTexts::LikeNull,
          [&](MDRData* record) { hangUnit(parent, module->tblRemoteUnit, record); });
  return 1;
}

int GetRTU(myConfNode* root, CTlmMeasConfig* module) {
  if (!root || !module || isEmpty(module->tblRemoteUnit)) return 0;
  const int count = MDARecCount(module->tblRemoteUnit.array);
  for (int i = 0; i < count; ++i) hangUnit(root, module->tblRemoteUnit, MDARec(module->tblRemoteUnit.array, 0, i));
  return 1;
}
