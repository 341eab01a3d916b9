// The order of nodes: by name or by number, ascending or descending.
#ifndef TLMMEAS_NODEORDER_H
#define TLMMEAS_NODEORDER_H

#include <QString>
#include <Qt>

#include <vector>

class RecordReader;
class myConfNode;

// The text that a node shows. Empty without a text, a row or a value.
QString GetName(myConfNode* node);
// The number of a node's row, its low 32 bits; 0 without one.
int GetLocId(myConfNode* node);

// Whether `a` stands before `b`. The names are what they are: ...Greater is the test of the ascending order,
// ...Less that of the descending one. By name, folders come first in both, then the default unit. By number,
// what has a text of its own, and folders, stand neither before nor after anything.
bool compStrGreater(myConfNode* a, myConfNode* b);
bool compStrLess(myConfNode* a, myConfNode* b);
bool compIntGreater(myConfNode* a, myConfNode* b);
bool compIntLess(myConfNode* a, myConfNode* b);

// Brings siblings into the order of a column: 0 the name, 1 the number, any other none. The result is ordered
// by the tests above, but reads each row once. What cannot be compared keeps its place.
void sortNodes(std::vector<myConfNode*>& nodes, int column, Qt::SortOrder order, const RecordReader& reader);

#endif
