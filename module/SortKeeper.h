// What is selected, current and open in a tree view stays with its object when rows are sorted.
#ifndef TLMMEAS_SORTKEEPER_H
#define TLMMEAS_SORTKEEPER_H

#include <QTreeView>

#include <utility>
#include <vector>

class MeasConfTreeModel;
class myConfNode;

// A sort of the model moves rows and leaves all persistent indexes at their old places, and a sort of the whole tree
// tells of each level inside the telling of the whole. So the indexes are put right at every word, before view and
// selection hear it, and the selection is taken up before the first word and put back after the last.
// Made before the view gets the model, which must outlive it, as must the view. GUI thread.
class SortKeeper : public QObject {
 public:
  SortKeeper(MeasConfTreeModel* model, QTreeView* view);

 private:
  void before();
  void after();
  std::vector<std::pair<myConfNode*, int>> selected() const;  // nodes and columns, sorted
  void putBack() const;

  MeasConfTreeModel* model_;
  QTreeView* view_;
  int depth_ = 0;  // of the tellings
  std::vector<std::pair<myConfNode*, int>> kept_;
};

#endif
