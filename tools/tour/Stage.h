// The running program, as a tour handles it: a station on a store file, its window, its widgets by name.
#ifndef TLMTOUR_STAGE_H
#define TLMTOUR_STAGE_H

#include <host/src/StationApp.h>
#include <host/src/StationWindow.h>
#include <host/src/moduleLibrary.h>

#include <QAction>
#include <QApplication>
#include <QModelIndex>
#include <QTreeView>

#include <functional>
#include <memory>

namespace tlm::tour {

// Roles of the tree's model.
enum { kClassRole = 11, kKeyRole = 12 };

class Stage {
 public:
  // Opens the station on a store file, which is made with the sample when it is not there. Null, told on the
  // error stream, when that fails.
  static std::unique_ptr<Stage> open(ModuleLibrary& library, const QString& storeFile, const QString& settings);
  // Opens the station on a server on the network.
  static std::unique_ptr<Stage> connect(ModuleLibrary& library, const QString& address, const QString& user,
                                        const QString& settings);
  ~Stage();

  server::Core& core() { return server_->core(); }  // of a store file
  StationWindow* window() const { return window_; }
  StationApp& station() { return *station_; }
  QTreeView* tree() const { return child<QTreeView>("tV_MeasConfig"); }
  QTreeView* sheet() const { return child<QTreeView>("tV_Prop"); }
  QAction* action(const QString& text) const;  // by the start of its text

  // The visible row of that text in column 0 of a view, searched through what the model holds.
  QModelIndex row(const QTreeView* view, const QString& text) const;
  QModelIndex rowByKey(const QString& key) const;

  void click(QTreeView* view, const QModelIndex& index) const;
  void doubleClick(QTreeView* view, const QModelIndex& index) const;
  void dragSplitter(int x) const;               // the edge between tree and passport, to x pixels from the left
  void press(const QString& actionText) const;  // its button in the tool bars
  void type(const QString& field, const QString& text) const;  // into the passport, with Return
  void key(QWidget* widget, Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) const;

  // Runs the event loop until the condition holds; false after ten seconds.
  static bool until(const std::function<bool()>& condition);

 private:
  Stage() = default;
  bool show(ModuleLibrary& library, const QString& user, const QString& settings, QString* problem);
  template <typename Widget>
  Widget* child(const char* name) const {
    return window_->findChild<Widget*>(QLatin1String(name));
  }

  std::unique_ptr<StationServer> server_;
  std::unique_ptr<StationApp> station_;
  StationWindow* window_ = nullptr;
};

// The rows that a model holds as indented text, number before name.
QString treeText(const QAbstractItemModel& model, int depth, const QModelIndex& parent = {}, int level = 0);

}  // namespace tlm::tour

#endif
