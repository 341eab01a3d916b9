// What the tests of the commands that make many measurements share: the tool bar, the panels' keys and mouse, change
// sets and the server's rows as text.
#ifndef TLMTEST_SERIESWINDOW_H
#define TLMTEST_SERIESWINDOW_H

#include <QAbstractButton>
#include <QDialogButtonBox>
#include <QPushButton>

#include <TlmClient/CPopMessageBox.h>
#include <TlmClient/CPopTemplate.h>
#include <TlmServer/ModelTables.h>

#include "ChangeSet.h"
#include "Colleague.h"
#include "ModuleWindow.h"
#include "RecordAccess.h"

namespace tlm::test {

class SeriesWindow : public ModuleWindow {
 protected:
  using ModuleWindow::ModuleWindow;

  void start() {
    ModuleWindow::start();
    module->activateWindow();
  }

  // Groups that were closed until now are laid out before the mouse comes.
  void click(const QModelIndex& at) {
    const QModelIndex index = reveal(at);
    settle();
    ModuleWindow::click(index);
  }
  void click(const char* name) { click(find(name)); }

  // Clicks an action's button in the tool bar.
  void press(QAction* action) {
    auto* button = qobject_cast<QToolButton*>(module->ui->TlBar->widgetForAction(action));
    ASSERT_NE(button, nullptr);
    ASSERT_TRUE(button->isEnabled()) << action->text().toStdString();
    QTest::mouseClick(button, Qt::LeftButton);
    settle();
  }
  // A key for whatever has the keyboard.
  void key(Qt::Key code, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QWidget* focused = QApplication::focusWidget();
    ASSERT_NE(focused, nullptr);
    QTest::keyClick(focused, code, modifiers);
    settle();
  }
  using ModuleWindow::key;
  void typeText(const QString& text) {
    for (const QChar& letter : text) {
      QKeyEvent down(QEvent::KeyPress, 0, Qt::NoModifier, letter);
      QCoreApplication::sendEvent(QApplication::focusWidget(), &down);
    }
  }
  static QString focusName() {
    const QWidget* focused = QApplication::focusWidget();
    if (const auto* button = qobject_cast<const QPushButton*>(focused)) return button->text();
    // The edit line inside a spin box stands for the box.
    if (focused && focused->objectName() == "qt_spinbox_lineedit") focused = focused->parentWidget();
    return focused ? focused->objectName() : QString("nothing");
  }
  // Where Tab leads from here, until it comes round.
  QStringList tabRound(Qt::Key tab = Qt::Key_Tab, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QStringList round{focusName()};
    for (int i = 0; i < 20; ++i) {
      key(tab, modifiers);
      if (focusName() == round.first()) return round;
      round += focusName();
    }
    return round + QStringList("...");
  }
  void clickButton(QDialogButtonBox* box, QDialogButtonBox::StandardButton which) {
    QTest::mouseClick(box->button(which), Qt::LeftButton);
    settle();
  }
  // No part of a panel has less room than its text needs.
  static QStringList cutTexts(const CPopTemplate& panel) {
    QStringList cut;
    for (const QWidget* part : panel.findChildren<QWidget*>())
      if (part->isVisible() && part->inherits("QLabel") && part->height() < part->heightForWidth(part->width()))
        cut += part->objectName();
      else if (part->isVisible() && (part->inherits("QAbstractButton") || part->inherits("QLabel")) &&
               part->width() < part->minimumSizeHint().width())
        cut += part->objectName();
    return cut;
  }
  static bool isCentred(const CPopTemplate& panel) {
    const QPoint off = panel.geometry().center() - panel.parentWidget()->rect().center();
    return qAbs(off.x()) <= 1 && qAbs(off.y()) <= 1;
  }

  QStringList writes() { return app.log.filter(QRegularExpression("^(BlockBeg|SqlUpdate|BlockEnd)")); }

  // One record: its fields that are not null, "*" behind a marked one. Keys of the model's text by their names.
  QString recordText(const CMDArray& rows, const MDRData* record) {
    QStringList parts;
    for (int i = 0; i < MDAFldCount(rows.array); ++i) {
      MDRVar value{};
      rows.GetVal(record, i, value);
      const bool marked = isMarked(rows, record, i);
      if (!hasValue(value) && !marked) continue;
      parts += fieldName(rows, i) + '=' + valueText(value) + (marked ? "*" : "");
    }
    return parts.join(' ');
  }
  QString valueText(const MDRVar& value) {
    if (!hasValue(value)) return "null";
    if (!isText(value)) return QString::number(asInteger(value));
    const QString text = decodeVar(value, module->moduleCodec);
    return names.value(text, text);
  }
  QStringList changeText(const ChangeSet& changes) {
    QStringList lines;
    for (int i = 0; i < changes.tables.size(); ++i)
      for (int j = 0; j < MDARecCount(changes.arrays[i]->array); ++j) {
        const MDRData* record = MDARec(changes.arrays[i]->array, 0, j);
        lines += QString("%1 %2: %3")
                     .arg(changes.tables[i])
                     .arg(MDRGetFlags(record))
                     .arg(recordText(*changes.arrays[i], record));
      }
    return lines;
  }
  // A second window on the same server; the keyboard stays with the first.
  std::unique_ptr<WatchedModule> openSecond() {
    auto second = std::make_unique<WatchedModule>(&app);
    second->show();
    second->ModuleStart();
    settle();
    module->activateWindow();
    tree()->setFocus();
    settle();
    return second;
  }
  // What the second window shows below a row, once it knows all that the server published.
  QString belowIn(WatchedModule& second, const char* name) {
    EXPECT_TRUE(processUntil([&] { return second.lastEvent >= server.core()->lastSequence(); }));
    return treeText(*second.treeModel, second.treeModel->findByKey(key(name)));
  }
  // Calls the keys of a change set's objects "new1", "new2" in those texts.
  void nameNewKeys(const ChangeSet& changes) {
    for (int i = 0; i < changes.tables.size(); ++i)
      for (int j = 0; changes.tables[i] == "IdentifiedObject" && j < MDARecCount(changes.arrays[i]->array); ++j)
        names[fieldText(*changes.arrays[i], MDARec(changes.arrays[i]->array, 0, j), 0, module->moduleCodec)] =
            QString("new%1").arg(j + 1);
  }
  // Gives a key a readable name in those texts.
  void nameKeys(std::initializer_list<const char*> objects) {
    for (const char* each : objects) names[key(each)] = each;
  }

  // The server's measurements in the order of their numbers: "number name", and "of N, group G" for the children.
  QStringList serverRows() {
    QStringList rows;
    server.core()->read([&](const server::ModelTables& tables) {
      const MDArray* table = tables.table("Measurement");
      for (int i = 0; i < MDARecCount(table); ++i) {
        const MDRData* record = MDARec(table, 1, i);
        const QString rowKey = textOf(table, record, "KeyLink");
        QString line = textOf(table, record, "locId") + ' ' + objectField(tables, rowKey, "name_");
        const QString primary = textOf(table, record, "primaryLocId");
        if (!primary.isEmpty() && primary != "0")
          line += QString(" (of %1, %2)").arg(primary, textOf(table, record, "MeasurementArchGroupKey"));
        rows += line;
      }
    });
    return rows;
  }
  // A field of an object in a table of the server, as text; "absent" without the row.
  QString serverField(const char* tableName, const QString& objectKey, const char* field) {
    QString text = "absent";
    server.core()->read([&](const server::ModelTables& tables) {
      const QByteArray bytes = objectKey.toLatin1();
      const MDRVar value = textVar(bytes);
      const MDArray* table = tables.table(tableName);
      if (const MDRData* record = MDARecSeekV(table, 0, &value, nullptr)) text = textOf(table, record, field);
    });
    return text;
  }
  // The key of the measurement with that number; empty without one.
  QString keyOfNumber(int number) {
    QString found;
    server.core()->read([&](const server::ModelTables& tables) {
      const MDArray* table = tables.table("Measurement");
      const MDRVar value = intVar(number);
      if (const MDRData* record = MDARecSeekV(table, 1, &value, nullptr)) {
        MDRVar rowKey{};
        MDRGetVal(MDRFldByNum(table, 0), record, &rowKey);
        found = decodeVar(rowKey, module->moduleCodec);
      }
    });
    return found;
  }
  // The part of the tree below a row, as text.
  QString below(const char* name) { return treeText(*module->treeModel, find(name)); }

  void expectBox(const char* title, const char* message, TMessageBoxIcon icon) {
    CPopMessageBox* box = waitingBox();
    ASSERT_NE(box, nullptr);
    EXPECT_EQ(box->titleText(), title);
    EXPECT_EQ(box->messageText(), message);
    EXPECT_EQ(box->icon(), icon);
    EXPECT_EQ(box->type(), kBoxOk);
    EXPECT_TRUE(box->isAncestorOf(QApplication::focusWidget())) << "Enter does not reach the box";
    answerBox(box, 0);
    settle();
  }

  QHash<QString, QString> names;

 private:
  QString textOf(const MDArray* table, const MDRData* record, const char* field) {
    MDRVar value{};
    MDRGetVal(MDRFldByName(table, field), record, &value);
    return hasValue(value) ? valueText(value) : QString();
  }
  QString objectField(const server::ModelTables& tables, const QString& objectKey, const char* field) {
    const QString original = names.key(objectKey, objectKey);
    const QByteArray bytes = original.toLatin1();
    const MDRVar value = textVar(bytes);
    const MDArray* table = tables.table("IdentifiedObject");
    const MDRData* record = MDARecSeekV(table, 0, &value, nullptr);
    return record ? textOf(table, record, field) : QString("absent");
  }
};

}  // namespace tlm::test

#endif
