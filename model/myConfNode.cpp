#include "myConfNode.h"

#include <utility>

myConfNode::myConfNode(myConfNode* parentNode, QString fixedText, CMDArray* rows, MDRData* row)
    : parent(parentNode), text(std::move(fixedText)), table(rows), record(row) {}

myConfNode::~myConfNode() {
  record = nullptr;
  for (myConfNode* child : children) delete child;
}

int myConfNode::row() const {
  if (!parent) return -1;
  const std::vector<myConfNode*>& siblings = parent->children;
  const int count = static_cast<int>(siblings.size());
  if (rowHint_ < count && siblings[rowHint_] == this) return rowHint_;
  // A change above moved all that stands below: one pass puts every sibling right.
  int found = -1;
  for (int i = 0; i < count; ++i) {
    if (!siblings[i]) continue;
    siblings[i]->rowHint_ = i;
    if (siblings[i] == this && found < 0) found = i;
  }
  return found;
}
