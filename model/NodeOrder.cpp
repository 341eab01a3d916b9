#include "NodeOrder.h"

#include "MeasClasses.h"
#include "RecordReader.h"
#include "myConfNode.h"

#include <QTextCodec>

#include <algorithm>
#include <type_traits>
#include <utility>

namespace {

const RecordReader& plainReader() {
  static const RecordReader reader = [] {
    RecordReader made;
    made.use(QTextCodec::codecForName("Windows-1251"));
    return made;
  }();
  return reader;
}

// 0 folders, 1 the default unit, 2 all else.
int rankOf(const myConfNode& node) {
  if (node.isFolder) return 0;
  return node.text == defaultUnitText() ? 1 : 2;
}

bool hasNumberOrder(const myConfNode* node) { return node && !node->isFolder && node->text.isEmpty(); }

// True, with the answer in *before, when the ranks alone decide.
bool decidedByRank(const myConfNode* a, const myConfNode* b, bool* before) {
  *before = false;
  if (!a || !b) return true;
  *before = rankOf(*a) < rankOf(*b);
  return rankOf(*a) != rankOf(*b);
}

struct ByName {
  int rank;
  QString name;
  myConfNode* node;
};
struct ByNumber {
  int number;
  myConfNode* node;
};

// Sorts those nodes for which `comparable` holds among the places that they take.
template <typename Key, typename Comparable, typename MakeKey, typename Before>
void sortByKey(std::vector<myConfNode*>& nodes, const RecordReader& reader, Comparable comparable, MakeKey makeKey,
               Before before) {
  constexpr size_t kTogether = 32;
  std::vector<Key> keys;
  keys.reserve(nodes.size());
  for (size_t i = 0; i < nodes.size(); ++i) {
    if (std::is_same_v<Key, ByName> && i % kTogether == 0)
      reader.fetchNames(nodes.data() + i, std::min(kTogether, nodes.size() - i));
    if (comparable(nodes[i])) keys.push_back(makeKey(nodes[i]));
  }
  std::sort(keys.begin(), keys.end(), before);
  auto next = keys.begin();
  for (myConfNode*& place : nodes) {
    if (comparable(place)) place = (next++)->node;
  }
}

}  // namespace

QString GetName(myConfNode* node) { return node ? plainReader().name(*node) : QString(); }

int GetLocId(myConfNode* node) { return node ? plainReader().locId(*node) : 0; }

bool compStrGreater(myConfNode* a, myConfNode* b) {
  bool before = false;
  return decidedByRank(a, b, &before) ? before : GetName(a) < GetName(b);
}

bool compStrLess(myConfNode* a, myConfNode* b) {
  bool before = false;
  return decidedByRank(a, b, &before) ? before : GetName(b) < GetName(a);
}

bool compIntGreater(myConfNode* a, myConfNode* b) {
  return hasNumberOrder(a) && hasNumberOrder(b) && GetLocId(a) < GetLocId(b);
}

bool compIntLess(myConfNode* a, myConfNode* b) {
  return hasNumberOrder(a) && hasNumberOrder(b) && GetLocId(a) > GetLocId(b);
}

void sortNodes(std::vector<myConfNode*>& nodes, int column, Qt::SortOrder order, const RecordReader& reader) {
  const bool ascending = order == Qt::AscendingOrder;
  if (column == 0) {
    sortByKey<ByName>(
        nodes, reader, [](const myConfNode* node) { return node != nullptr; },
        [&](myConfNode* node) {
          return ByName{rankOf(*node), reader.name(*node), node};
        },
        [ascending](const ByName& a, const ByName& b) {
          if (a.rank != b.rank) return a.rank < b.rank;
          return ascending ? a.name < b.name : b.name < a.name;
        });
  } else if (column == 1) {
    sortByKey<ByNumber>(
        nodes, reader, hasNumberOrder,
        [&](myConfNode* node) {
          return ByNumber{reader.locId(*node), node};
        },
        [ascending](const ByNumber& a, const ByNumber& b) {
          return ascending ? a.number < b.number : a.number > b.number;
        });
  }
}
