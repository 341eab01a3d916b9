// Two windows on one server, and what both and the server's tables show of the model.
#ifndef TLMTEST_PASTEWINDOW_H
#define TLMTEST_PASTEWINDOW_H

#include <TlmClient/CPopMessageBox.h>
#include <TlmServer/ModelTables.h>

#include <QClipboard>
#include <QDomDocument>
#include <QGuiApplication>
#include <QMap>
#include <QMimeData>

#include <algorithm>

#include "ModuleWindow.h"
#include "RecordAccess.h"
#include "WorkWithData.h"

namespace tlm::test {

// The numbers 1 to 1000 are free.
inline constexpr char kPasteModel[] = R"(folder Север
  folder Север-110
    unit КП-1
      analog 1001 P {scale_=2.5}
        analog 1002 P макс {MeasurementArchGroupKey=@Часовая}
      analog 1003 Q
      discrete 1004 Выключатель {CheckTu=1}
      string 1005 Режим
      accumulator 1006 Wp
  unit КП-2
    analog 2001 U
folder Юг
unit КП-3
  analog 3001 I
analog 4001 Сам по себе
table MeasurementArchGroup Часовая {aggregatedData=1}
)";

// The model as its tables hold it, as indented text in the order of names: folders, units, and measurements with their
// numbers; "< N" names a primary measurement. What hangs on a key that is not there stands under "(оторвано)".
class ServerPicture {
 public:
  explicit ServerPicture(server::Core& core) {
    core.read([&](const server::ModelTables& tables) {
      const MDArray* objects = tables.table("IdentifiedObject");
      for (int i = 0; i < MDARecCount(objects); ++i) names_[text(objects, i, "KeyLink")] = text(objects, i, "name_");
      takeFolders(tables.table("RemoteUnitFolder"));
      takeObjects(tables.table("RemoteUnit"), "RemoteUnitFolderKey");
      takeObjects(tables.table("Measurement"), "RemoteUnitKey");
    });
  }

  QString text() {
    QString out;
    print(QString(), 0, &out);
    QString lost;
    for (const QString& parent : children_.keys())
      if (!known_.contains(parent) && !parent.isEmpty()) print(parent, 1, &lost);
    return lost.isEmpty() ? out : out + "(оторвано)\n" + lost;
  }

 private:
  static QString text(const MDArray* table, int row, const char* field) {
    MDRVar value{};
    MDRGetVal(MDRFldByName(table, field), MDARec(table, 0, row), &value);
    if (!hasValue(value)) return QString();
    return isText(value) ? decodeVar(value, serverTextCodec()) : QString::number(asInteger(value));
  }
  static QTextCodec* serverTextCodec() {
    static QTextCodec* const codec = QTextCodec::codecForName("Windows-1251");
    return codec;
  }
  void take(const QString& key, const QString& parent, const QString& line) {
    known_.insert(key, true);
    children_[parent].insert(line + ' ' + key, {line, key});
  }
  void takeFolders(const MDArray* table) {
    for (int i = 0; i < MDARecCount(table); ++i)
      take(text(table, i, "KeyLink"), text(table, i, "ParentKey"), text(table, i, "caption"));
  }
  void takeObjects(const MDArray* table, const char* link) {
    for (int i = 0; i < MDARecCount(table); ++i) {
      const QString key = text(table, i, "KeyLink");
      const QString number = text(table, i, "locId");
      const QString primary = text(table, i, "primaryLocId");
      QString line = number.isEmpty() ? names_[key] : number + ' ' + names_[key];
      if (!primary.isEmpty() && primary != "0") line += " < " + primary;
      take(key, text(table, i, link), line);
    }
  }
  void print(const QString& parent, int depth, QString* out) {
    const auto children = children_.value(parent);
    for (const auto& [line, key] : children) {
      *out += QString(2 * depth, ' ') + line + '\n';
      print(key, depth + 1, out);
    }
  }

  QMap<QString, QString> names_;
  QMap<QString, bool> known_;
  QMap<QString, QMap<QString, std::pair<QString, QString>>> children_;  // by parent, then in order
};

class PasteWindow : public ModuleWindow {
 protected:
  explicit PasteWindow(const char* model = kPasteModel)
      : ModuleWindow(model),
        otherHost_(*server.core(), "colleague"),
        other(std::make_unique<WatchedModule>(&otherHost_)) {}
  ~PasteWindow() override { QGuiApplication::clipboard()->clear(); }

  void startBoth() {
    start();
    other->show();
    other->ModuleStart();
    bringUp(*module);
  }
  static void bringUp(CTlmMeasConfig& window) {
    QApplication::setActiveWindow(&window);
    settle();
  }

  // Fetches a unit in both windows, so that what comes later comes by events.
  void openInBoth(const char* unit) {
    for (CTlmMeasConfig* window : {module.get(), static_cast<CTlmMeasConfig*>(other.get())})
      ASSERT_TRUE(window->AddMeasForRTU(window->treeModel->findByKey(key(unit)), QString(), false, QString()));
  }
  void openAllInBoth() {
    for (const char* unit : {"КП-1", "КП-2", "КП-3"}) openInBoth(unit);
    sortBoth();
  }
  // The order in which the server gives the rows of a unit is that of their keys.
  void sortBoth() {
    module->treeModel->sort(0);
    other->treeModel->sort(0);
  }
  void openSorted(const char* unit) {
    find(unit);
    module->AddMeasForRTU(module->treeModel->findByKey(key(unit)), QString(), false, QString());
    module->treeModel->sort(0);
  }

  // ---- what the engineer does -----------------------------------------------------------------------
  void select(std::initializer_list<const char*> names) {
    Qt::KeyboardModifiers modifiers = Qt::NoModifier;
    for (const char* name : names) {
      click(find(name), modifiers);
      modifiers = Qt::ControlModifier;
    }
  }
  void press(Qt::Key letter) {
    bringUp(*module);
    tree()->setFocus();
    const bool pastes = letter == Qt::Key_V && module->btnPaste->isEnabled();
    bool pasted = false;  // a button acts a moment after its shortcut
    const auto seen = QObject::connect(module->actPaste, &QAction::triggered, [&] { pasted = true; });
    QTest::keyClick(tree(), letter, Qt::ControlModifier);
    settle();
    EXPECT_TRUE(!pastes || processUntil([&] { return pasted; }));
    QObject::disconnect(seen);
  }
  void copy(std::initializer_list<const char*> names) {
    select(names);
    press(Qt::Key_C);
  }
  void cut(std::initializer_list<const char*> names) {
    select(names);
    press(Qt::Key_X);
  }
  void pasteOnto(const QModelIndex& row) {
    click(row);
    press(Qt::Key_V);
    EXPECT_TRUE(bothAreUpToDate());
  }
  void pasteOnto(const char* name) { pasteOnto(find(name)); }

  bool bothAreUpToDate() {
    const int64_t last = server.core()->lastSequence();
    return eventsAreIn() && processUntil([&] { return other->lastEvent >= last; });
  }

  // ---- what is there --------------------------------------------------------------------------------
  QString onServer() { return ServerPicture(*server.core()).text(); }
  QString shownHere() { return treeText(*module->treeModel); }
  QString shownThere() { return treeText(*other->treeModel); }
  // The part of a tree under the row of that name, the row included.
  static QString below(const QString& picture, const QString& name) {
    QString part;
    int depth = -1;
    for (const QString& line : picture.split('\n', Qt::SkipEmptyParts)) {
      const int blanks = int(std::find_if(line.begin(), line.end(), [](QChar c) { return c != ' '; }) - line.begin());
      if (depth < 0 && line.mid(blanks) == name)
        depth = blanks;
      else if (depth >= 0 && blanks <= depth)
        break;
      if (depth >= 0) part += line.mid(depth) + '\n';
    }
    return part;
  }

  static QByteArray payload() {
    const QMimeData* mime = QGuiApplication::clipboard()->mimeData();
    return mime ? mime->data(kMeasMimeType) : QByteArray();
  }
  static QString document() { return QString::fromUtf8(payload().mid(1)); }
  static void putPayload(const QByteArray& bytes) {
    auto* mime = new QMimeData;
    mime->setData(kMeasMimeType, bytes);
    QGuiApplication::clipboard()->setMimeData(mime);
    settle();
  }

  // A value of an object's record as the server keeps it.
  QString field(const QString& key, const char* table, const char* name) {
    QString text = "absent";
    server.core()->read([&](const server::ModelTables& tables) {
      const QByteArray bytes = key.toLatin1();
      const MDRVar value = textVar(bytes);
      const MDRData* row = MDARecSeekV(tables.table(table), 0, &value, nullptr);
      if (!row) return;
      MDRVar found{};
      MDRGetVal(MDRFldByName(tables.table(table), name), row, &found);
      text = !hasValue(found)           ? QString("null")
             : isText(found)            ? decodeVar(found, module->moduleCodec)
             : found.type == MDX_DOUBLE ? QString::number(+found.f64)
                                        : QString::number(asInteger(found));
    });
    return text;
  }
  using ModuleWindow::field;

  TestApp otherHost_;
  std::unique_ptr<WatchedModule> other;
};

}  // namespace tlm::test

#endif
