// What the add menu offers for a row of the tree.
#ifndef TLMMEAS_ADDMENU_H
#define TLMMEAS_ADDMENU_H

#include <QString>

// The current row: whether there is one, and what it is. `caption` is a node's fixed text.
struct AddFacts {
  bool valid = false;
  bool isFolder = false;
  QString caption;
  QString className;
};

struct AddOffer {
  bool analog = false;
  bool discrete = false;
  bool accumulator = false;
  bool string = false;
  bool rootFolder = false;
  bool folder = false;
  bool rtu = false;
  bool operator==(const AddOffer&) const = default;
};

// Classes are compared without regard to case, captions with it.
AddOffer addOffer(const AddFacts& facts);

#endif
