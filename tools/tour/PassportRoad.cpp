#include "PassportRoad.h"

#include <TlmClient/CPopMessageBox.h>
#include <TlmClient/CTlmCliMod.h>
#include <TlmServer/ModelTables.h>

#include <QApplication>
#include <QComboBox>
#include <QTextCodec>
#include <QtTest/QTest>

namespace tlm::tour {
namespace {

constexpr const char* kUnit = "ПС 110 кВ Северная";

QString u8(const char* text) { return QString::fromUtf8(text); }

QString textOf(const MDRField* field, const MDRData* record) {
  MDRVar value{};
  MDRGetVal(field, record, &value);
  if (value.type == MDX_NONE || value.isNull) return QString();
  if (value.type == MDX_BOOL) return value.flag ? "true" : "false";
  if (value.type == MDX_TEXT || value.type == MDX_MEMO)
    return QTextCodec::codecForName("Windows-1251")->toUnicode(value.text.data, static_cast<int>(value.text.length));
  int32_t number = 0;
  MDRGetAsInt32(field, record, &number);
  return QString::number(number);
}

}  // namespace

PassportRoad::PassportRoad(ModuleLibrary& library, const QDir& scratch, Report& report)
    : library_(library),
      storeFile_(scratch.filePath("passport.tlm")),
      settingsFile_(scratch.filePath("passport.ini")),
      report_(report) {}

PassportRoad::~PassportRoad() = default;

bool PassportRoad::play() {
  stage_ = Stage::open(library_, storeFile_, settingsFile_);
  if (!stage_) return false;
  stage_->dragSplitter(560);
  if (!openUnit()) return false;
  showKinds();
  editEnumeration();
  editReference();
  saveEdits();
  refuseNumber();
  refuseName();
  refuseRange();
  refuseCharacter();
  editTwo();
  checkTwo();
  cancelTwo();
  narrowPassport();
  stage_.reset();
  return true;
}

void PassportRoad::step(const char* name, const QString& expected, const QString& seen) {
  report_.step(name, expected, seen, stage_->window());
}

bool PassportRoad::openUnit() {
  stage_->core().read([&](const server::ModelTables& tables) {
    const MDArray* objects = tables.table("IdentifiedObject");
    for (int i = 0; i < MDARecCount(objects) && unitKey_.isEmpty(); ++i) {
      const MDRData* row = MDARec(objects, 0, i);
      if (textOf(MDRFldByName(objects, "name_"), row) == u8(kUnit))
        unitKey_ = textOf(MDRFldByName(objects, "KeyLink"), row);
    }
  });
  QModelIndex unit = stage_->rowByKey(unitKey_);
  for (QModelIndex above = unit.parent(); above.isValid(); above = above.parent()) stage_->tree()->expand(above);
  stage_->tree()->expand(stage_->rowByKey(unitKey_));
  unit = stage_->rowByKey(unitKey_);
  for (int i = 0; i < unit.model()->rowCount(unit); ++i)
    stage_->tree()->expand(unit.model()->index(i, 0, stage_->rowByKey(unitKey_)));
  return stage_->rowByKey(unitKey_).isValid();
}

// The group of the unit that holds measurements of a class.
QModelIndex PassportRoad::groupOf(const char* className) const {
  const QModelIndex unit = stage_->rowByKey(unitKey_);
  for (int i = 0; i < unit.model()->rowCount(unit); ++i) {
    const QModelIndex group = unit.model()->index(i, 0, unit);
    if (unit.model()->index(0, 0, group).data(kClassRole) == className) return group;
  }
  return {};
}

QModelIndex PassportRoad::measurement(const char* className, int row) const {
  const QModelIndex group = groupOf(className);
  return group.model()->index(row, 0, group);
}

void PassportRoad::select(const QModelIndex& index, bool more) {
  QTreeView* tree = stage_->tree();
  tree->scrollTo(index);
  QApplication::processEvents();
  QTest::mouseClick(tree->viewport(), Qt::LeftButton, more ? Qt::ControlModifier : Qt::NoModifier,
                    tree->visualRect(index).center());
  QApplication::processEvents();
}

void PassportRoad::showKinds() {
  select(stage_->rowByKey(unitKey_).parent());
  step("folder-in-the-passport", shown("Наименование"), stage_->tree()->currentIndex().data().toString());
  select(stage_->rowByKey(unitKey_));
  step("unit-in-the-passport", u8(kUnit), shown("Наименование"));
  select(groupOf("Discrete"));
  step("group-in-the-passport", u8("Дискретные сигналы"), shown("Наименование"));
  for (const char* kind : {"Discrete", "Accumulator", "StringMeasurement", "Analog"}) {
    select(measurement(kind, 0));
    step(qPrintable(QString(kind).toLower() + "-in-the-passport"), stage_->tree()->currentIndex().data().toString(),
         shown("Наименование"));
  }
}

// ---- edits -----------------------------------------------------------------------------------------------

QModelIndex PassportRoad::field(const char* title) const {
  const QModelIndex row = stage_->row(stage_->sheet(), u8(title));
  return row.sibling(row.row(), 1);
}

// Opens the editor of a field as a click does.
QWidget* PassportRoad::edit(const char* title) {
  stage_->click(stage_->sheet(), field(title));
  return QApplication::focusWidget();
}

void PassportRoad::typeInto(QWidget* editor, const QString& text) {
  QTest::keyClick(editor, Qt::Key_A, Qt::ControlModifier);
  QTest::keyClick(editor, Qt::Key_Delete);
  for (const QChar letter : text) {
    QKeyEvent down(QEvent::KeyPress, 0, Qt::NoModifier, QString(letter));
    QApplication::sendEvent(editor, &down);
  }
  QApplication::processEvents();
}

void PassportRoad::type(const char* title, const QString& text, Qt::Key end) {
  QWidget* editor = edit(title);
  typeInto(editor, text);
  stage_->key(editor, end);
}

CPopMessageBox* PassportRoad::box() const { return CPopMessageBox::waitingBoxes().value(0); }

void PassportRoad::closeBox() {
  if (box()) box()->On_Accept();
  QApplication::processEvents();
}

QString PassportRoad::stored(const QString& key, const char* table, const char* name) const {
  QString out;
  stage_->core().read([&](const server::ModelTables& tables) {
    const MDArray* array = tables.table(table);
    const QByteArray bytes = key.toLatin1();
    MDRVar value{};
    value.type = MDX_TEXT;
    value.text.length = static_cast<uint32_t>(bytes.size());
    value.text.data = bytes.constData();
    out = textOf(MDRFldByName(array, name), MDARecSeekV(array, 0, &value, nullptr));
  });
  return out;
}

void PassportRoad::editEnumeration() {
  QWidget* editor = edit("Сглаживание");
  auto* list = qobject_cast<QComboBox*>(editor);
  const QString wanted = list ? list->itemText(2) : QString();
  if (list) QTest::keyClick(list, Qt::Key_End);
  step("enumeration-open", wanted, list ? list->currentText() : QString());
  stage_->key(editor, Qt::Key_Return);
  step("enumeration-edited", wanted, shown("Сглаживание"));
}

void PassportRoad::editReference() {
  QWidget* editor = edit("Единица измерения");
  typeInto(editor, u8("а"));
  step("reference-searched", u8("а"), editor->property("text").toString());
  typeInto(editor, u8("МВт"));
  stage_->key(editor, Qt::Key_Return);
  step("reference-edited", u8("МВт"), shown("Единица измерения"));
}

void PassportRoad::saveEdits() {
  const QString key = stage_->tree()->currentIndex().data(kKeyRole).toString();
  stage_->press(u8("Сохранить изменения"));
  Stage::until([&] { return stored(key, "Analog", "smoothing") == "2"; });
  step("edits-saved", "2", stored(key, "Analog", "smoothing"));
}

// ---- refusals --------------------------------------------------------------------------------------------

void PassportRoad::refuseNumber() {
  const QString own = shown("Номер");
  const QModelIndex other = measurement("Analog", 1);
  const QString taken = other.sibling(other.row(), 1).data().toString();
  type("Номер", taken);
  stage_->press(u8("Сохранить изменения"));
  step("number-refused", u8("Измерение с таким же номером уже существует"), box() ? box()->messageText() : QString());
  closeBox();
  step("number-still-there", taken, shown("Номер"));
  stage_->press(u8("Отменить изменения"));
  step("number-cancelled", own, shown("Номер"));
}

void PassportRoad::refuseName() {
  const QString own = shown("Наименование");
  type("Наименование", QString());
  stage_->press(u8("Сохранить изменения"));
  step("name-refused", u8("Не заполнено поле Наименование"), box() ? box()->messageText() : QString());
  closeBox();
  stage_->press(u8("Отменить изменения"));
  step("name-cancelled", own, shown("Наименование"));
}

void PassportRoad::refuseRange() {
  QWidget* editor = edit("Время устаревания");
  typeInto(editor, "99999999");
  stage_->key(editor, Qt::Key_Return);
  step("range-refused", u8("Значение поля «Время устаревания» должно быть от 0 до 86400."),
       box() ? box()->messageText() : QString());
  closeBox();
  stage_->key(editor, Qt::Key_Escape);
}

void PassportRoad::refuseCharacter() {
  QWidget* editor = edit("Примечание");
  typeInto(editor, u8("±5 Ω"));
  step("character-refused", u8("Символ «Ω» нельзя сохранить: его нет в кодировке Windows-1251."),
       box() ? box()->messageText() : QString());
  closeBox();
  stage_->key(editor, Qt::Key_Escape);
}

// ---- several ---------------------------------------------------------------------------------------------

void PassportRoad::editTwo() {
  select(measurement("Analog", 0));
  select(measurement("Analog", 1), true);
  step("two-in-the-passport", QString(), shown("Наименование"));
  stage_->sheet()->scrollTo(field("Примечание"), QAbstractItemView::PositionAtBottom);
  type("Примечание", u8("Поверка 2025"));
  step("two-edited", u8("Поверка 2025"), shown("Примечание"));
}

void PassportRoad::checkTwo() {
  const QString first = measurement("Analog", 0).data(kKeyRole).toString();
  const QString second = measurement("Analog", 1).data(kKeyRole).toString();
  stage_->press(u8("Сохранить изменения"));
  const auto both = [&] { return stored(first, "Measurement", "comment") + stored(second, "Measurement", "comment"); };
  Stage::until([&] { return both() == u8("Поверка 2025Поверка 2025"); });
  step("two-saved", u8("Поверка 2025Поверка 2025"), both());
}

void PassportRoad::cancelTwo() {
  select(measurement("Analog", 0));
  select(measurement("Discrete", 0), true);
  step("two-kinds-in-the-passport", "2", shown("Количество объектов"));
  select(measurement("Discrete", 0));
  select(measurement("Discrete", 1), true);
  stage_->click(stage_->sheet(), field("Телеуправление"));
  QTest::keyClick(stage_->sheet(), Qt::Key_Space);
  QApplication::processEvents();
  step("check-box-of-two-edited", "2", field("Телеуправление").data(Qt::CheckStateRole).toString());
  stage_->press(u8("Отменить изменения"));
  const QAction* save = stage_->action(u8("Сохранить изменения"));
  step("two-cancelled", "nothing to save", save && !save->isEnabled() ? "nothing to save" : "unsaved");
}

void PassportRoad::narrowPassport() {
  select(measurement("Analog", 0));
  stage_->dragSplitter(960);
  step("narrow-passport", shown("Наименование"), stage_->tree()->currentIndex().data().toString());
}

}  // namespace tlm::tour
