// From a key to the nodes that carry it.
#ifndef TLMMEAS_KEYINDEX_H
#define TLMMEAS_KEYINDEX_H

#include "RecordReader.h"

#include <QMultiHash>

#include <vector>

class myConfNode;

// Case is ignored, as the search by key ignores it. A node is known from when its row was put into the tree;
// nodes whose rows have no key are not listed.
class KeyIndex {
 public:
  explicit KeyIndex(const RecordReader& reader) : reader_(reader) {}

  // Takes in, or forgets, a node with all that stands below it. Forgetting reads no row.
  void add(myConfNode* node);
  void remove(myConfNode* node);
  void clear() { nodes_.clear(); }

  std::vector<myConfNode*> find(const QString& key) const;
  int size() const { return nodes_.size(); }

 private:
  const RecordReader& reader_;
  QMultiHash<unsigned, myConfNode*> nodes_;
};

#endif
