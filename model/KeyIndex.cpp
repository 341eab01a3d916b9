#include "KeyIndex.h"

#include "RecordAccess.h"
#include "myConfNode.h"

void KeyIndex::add(myConfNode* node) {
  if (!node) return;
  if (node->keyHash_ == 0) {
    const MDRVar key = reader_.value(*node, NodeField::Key);
    if (isText(key) && key.text.length > 0) {
      node->keyHash_ = reader_.texts().foldedHash(key);
      nodes_.insert(node->keyHash_, node);
    }
  }
  for (myConfNode* child : node->children) add(child);
}

void KeyIndex::remove(myConfNode* node) {
  if (!node) return;
  if (node->keyHash_ != 0) nodes_.remove(node->keyHash_, node);
  node->keyHash_ = 0;
  for (myConfNode* child : node->children) remove(child);
}

std::vector<myConfNode*> KeyIndex::find(const QString& key) const {
  std::vector<myConfNode*> found;
  const unsigned hash = TextTable::foldedHash(key);
  for (auto it = nodes_.constFind(hash); it != nodes_.cend() && it.key() == hash; ++it) {
    if (reader_.texts().equalsFolded(reader_.value(*it.value(), NodeField::Key), key)) found.push_back(it.value());
  }
  return found;
}
