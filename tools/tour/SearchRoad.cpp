#include "SearchRoad.h"

#include <TlmClient/CPopMessageBox.h>
#include <TlmClient/CTlmCliMod.h>

#include <QAbstractButton>
#include <QKeyEvent>
#include <QLineEdit>
#include <QRadioButton>
#include <QToolBar>
#include <QtTest/QTest>

namespace tlm::tour {

SearchRoad::SearchRoad(ModuleLibrary& library, const QDir& scratch, Report& report)
    : library_(library),
      storeFile_(scratch.filePath("searching.tlm")),
      settingsFile_(scratch.filePath("searching.ini")),
      report_(report) {}

bool SearchRoad::play() {
  stage_ = Stage::open(library_, storeFile_, settingsFile_);
  if (!stage_) return false;
  stage_->dragSplitter(900);
  byName();
  byNumber();
  byKey();
  inVain();
  close();
  stage_.reset();
  return true;
}

QString SearchRoad::current() const {
  const QModelIndex row = stage_->tree()->currentIndex();
  return (row.siblingAtColumn(1).data().toString() + ' ' + row.siblingAtColumn(0).data().toString()).trimmed();
}

// Ctrl+F, the text, Return.
void SearchRoad::search(const QString& text) {
  stage_->tree()->setFocus();
  stage_->key(stage_->tree(), Qt::Key_F, Qt::ControlModifier);
  auto* field = stage_->window()->findChild<QLineEdit*>("lE_Find");
  field->selectAll();
  for (const QChar& letter : text) {  // QTest's own keys know Latin letters alone
    QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, letter);
    QCoreApplication::sendEvent(field, &press);
  }
  stage_->key(field, Qt::Key_Return);
  QApplication::processEvents();
}

void SearchRoad::byName() {
  search("пс 110 кв луговая");
  report_.step("search-name", "ПС 110 кВ Луговая", current(), stage_->window());
  search("ВЛ 35 кВ");
  const QString first = current();
  report_.step("search-name-in-a-closed-unit", "true", first.contains("ВЛ 35 кВ") ? "true" : first, stage_->window());
  stage_->key(stage_->window()->findChild<QLineEdit*>("lE_Find"), Qt::Key_Return);
  const QString second = current();
  report_.step("search-name-next", "true", second.contains("ВЛ 35 кВ") && second != first ? "true" : second,
               stage_->window());
}

void SearchRoad::byNumber() {
  QTest::mouseClick(stage_->window()->findChild<QRadioButton*>("radioButton_LocID"), Qt::LeftButton);
  search("1005");
  report_.step("search-number", "1005 Q ВЛ 110 кВ Заречная", current(), stage_->window());
}

void SearchRoad::byKey() {
  const QString key = stage_->tree()->currentIndex().siblingAtColumn(0).data(kKeyRole).toString();
  stage_->click(stage_->tree(), stage_->tree()->model()->index(0, 0));
  QTest::mouseClick(stage_->window()->findChild<QRadioButton*>("radioButton_KeyLink"), Qt::LeftButton);
  search(key);
  report_.step("search-key", "1005 Q ВЛ 110 кВ Заречная", current(), stage_->window());
}

void SearchRoad::inVain() {
  QTest::mouseClick(stage_->window()->findChild<QRadioButton*>("radioButton_Name"), Qt::LeftButton);
  search("Нет такой подстанции");
  CPopMessageBox* box = stage_->window()->module()->popMessageBox;
  const bool told = box && box->isWaiting();
  report_.step("search-in-vain", "Искомый элемент не найден", told ? box->messageText() : QString("no message"),
               stage_->window());
  if (told) stage_->key(box, Qt::Key_Return);
  QApplication::processEvents();
  report_.step("search-in-vain-answered", "1005 Q ВЛ 110 кВ Заречная", current(), stage_->window());
}

void SearchRoad::close() {
  auto* bar = stage_->window()->findChild<QToolBar*>("toolBarFind");
  stage_->key(stage_->window()->findChild<QLineEdit*>("lE_Find"), Qt::Key_Escape);
  report_.step("search-closed", "closed, tree",
               QString(bar->isVisible() ? "open" : "closed") + (stage_->tree()->hasFocus() ? ", tree" : ", elsewhere"),
               stage_->window());
}

}  // namespace tlm::tour
