// A passport in a window, over a server in the same process.
#pragma once

#include <TlmClient/CLiteModel.h>
#include <TlmClient/TlmPassport.h>
#include <TlmClient/multiPasp.h>

#include <QMap>
#include <QSignalSpy>
#include <QTabWidget>
#include <QTest>
#include <QTreeView>
#include <QVBoxLayout>

#include <gtest/gtest.h>

#include <memory>
#include <optional>

#include "support/Gui.h"
#include "support/ModelText.h"
#include "support/TestApp.h"

namespace tlm::test {

// A change set of the passport, freed with it.
struct ChangeSet {
  QStringList tables;
  QList<CMDArray*> arrays;

  ChangeSet() = default;
  ChangeSet(ChangeSet&& other) noexcept : tables(other.tables), arrays(other.arrays) { other.arrays.clear(); }
  ~ChangeSet() { qDeleteAll(arrays); }

  CMDArray* array(const QString& table) const;
  // "field=value, ..." of the marked fields of the table's first record; null fields as "field=null".
  QString marked(const QString& table, int row = 0) const;
  int kind(const QString& table, int row = 0) const;
  std::optional<QString> value(const QString& table, const QString& field, int row = 0) const;
};

// Merged values as a test wants them.
class Merged : public multiPasp {
 public:
  bool func(const QString& field, QString& value) override {
    asked << field;
    value = texts.value(field);
    return texts.contains(field);
  }
  QMap<QString, QString> texts;
  QStringList asked;
};

class PassportTest : public testing::Test {
 protected:
  explicit PassportTest(const std::string& model = defaultModel());
  ~PassportTest() override;
  static std::string defaultModel();

  static QString key(const char* name) { return QString::fromStdString(keyOf(name)); }
  CTlmCliSes* session() { return line_.session(); }
  bool load(CLiteModel* model, const QString& objectKey);
  void show(const char* name, const char* live = "12.5");  // one object
  void showNew(const char* className, const QString& newKey, const QString& unitKey, int locId);

  QModelIndex cell(const QString& id, int column = 1) const;  // "Table.field", or "live"
  QString text(const QString& id) const { return cell(id).data().toString(); }
  bool isMarked(const QString& id) const;
  bool isLocked(const QString& id) const {
    return !(cell(id).flags() & (Qt::ItemIsEditable | Qt::ItemIsUserCheckable));
  }
  void click(const QString& id, int column = 1);
  QWidget* openEditor(const QString& id);                                          // by a click; null when none opened
  QWidget* editor() const;                                                         // the one that is open
  void type(const QString& id, const QString& text, Qt::Key end = Qt::Key_Enter);  // into a text editor
  void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);       // on what has the focus
  ChangeSet handOver();
  QString prop(const char* table, const char* field) const;
  bool picture(const char* name);  // true when a picture was asked for and could not be written

  EmbeddedServer server_;
  Failures failures_;
  QStringList log_;
  TestLine line_;
  QWidget window_;
  QTabWidget* tabs_;
  QTreeView* tree_;
  CLiteModel model_;
  std::unique_ptr<TlmPassport> passport_;
  std::unique_ptr<QSignalSpy> changes_;
  std::unique_ptr<QSignalSpy> messages_;
};

}  // namespace tlm::test
