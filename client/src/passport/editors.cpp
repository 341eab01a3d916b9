#include "passport/editors.h"

#include "passport/looks.h"
#include "passport/valueTexts.h"
#include "passport/values.h"

#include <QAction>
#include <QCalendarWidget>
#include <QComboBox>
#include <QMenu>
#include <QRegularExpression>
#include <QWidgetAction>

namespace tlm::passport {

namespace {

QString u8(const char* text) { return QString::fromUtf8(text); }

QString rangeFault(const FieldMeta& meta) {
  return u8("Значение поля «%1» должно быть от %2 до %3.").arg(meta.title, numberText(meta.min), numberText(meta.max));
}

Parsed parseWhole(const FieldMeta& meta, const QString& text) {
  bool read = false;
  const qlonglong value = QString(text).remove(' ').toLongLong(&read);
  if (!read) return {{}, u8("«%1» не является целым числом или слишком велико.").arg(text)};
  if (double(value) < meta.min || double(value) > meta.max) return {{}, rangeFault(meta)};
  return {value, {}};
}

Parsed parseDouble(const FieldMeta& meta, const QString& text) {
  double value = 0;
  if (!parseNumber(text, &value)) return {{}, u8("«%1» не является числом.").arg(text)};
  if (value < meta.min || value > meta.max) return {{}, rangeFault(meta)};
  return {value, {}};
}

Parsed parseTime(const QString& text, const ValueTexts& texts) {
  const QDateTime time = parseDateTime(text);
  if (!time.isValid()) return {{}, u8("«%1» не является датой. Пример: 31.12.2024 23:59:00").arg(text)};
  return {texts.toServerTime(time), {}};
}

}  // namespace

QString textFault(const QString& text, int size) {
  for (const QChar c : text)
    if (!codePage()->canEncode(c)) return u8("Символ «%1» нельзя сохранить: его нет в кодировке Windows-1251.").arg(c);
  if (size > 0 && text.size() > size) return u8("Текст не может быть длиннее %1 символов.").arg(size);
  return {};
}

QValidator::State TextValidator::validate(QString& text, int&) const {
  fault_ = textFault(text, size_);
  return fault_.isEmpty() ? Acceptable : Invalid;
}

QValidator::State NumberValidator::validate(QString& text, int&) const {
  static const QRegularExpression whole("^ *-?[0-9 ]*$");
  static const QRegularExpression real("^ *[-+]?[0-9 ]*([.,][0-9]*)?([eE][-+]?[0-9]*)?$");
  return (whole_ ? whole : real).match(text).hasMatch() ? Acceptable : Invalid;
}

MemoEditor::MemoEditor(int size, QWidget* parent) : QPlainTextEdit(parent), size_(size) {
  setTabChangesFocus(true);
  connect(this, &QPlainTextEdit::textChanged, this, &MemoEditor::check);
}

// What cannot be kept is taken back at once, with a word about it.
void MemoEditor::check() {
  const QString fault = textFault(toPlainText(), size_);
  if (fault.isEmpty()) {
    good_ = toPlainText();
    return;
  }
  const int at = qMax(0, textCursor().position() - (toPlainText().size() - good_.size()));
  setPlainText(good_);
  QTextCursor cursor = textCursor();
  cursor.setPosition(qMin(at, good_.size()));
  setTextCursor(cursor);
  document()->setModified(true);
  emit refused(fault);
}

DateTimeEditor::DateTimeEditor(QWidget* parent) : QLineEdit(parent) {
  setFrame(false);
  setPlaceholderText(u8("дд.мм.гггг чч:мм:сс"));
  QAction* open = addAction(arrowIcon(this), TrailingPosition);
  open->setToolTip(u8("Календарь"));
  connect(open, &QAction::triggered, this, &DateTimeEditor::pick);
}

void DateTimeEditor::pick() {
  const QDateTime before = parseDateTime(text());
  QMenu menu(this);
  auto* calendar = new QCalendarWidget(&menu);
  calendar->setLocale(QLocale(QLocale::Russian));
  calendar->setFirstDayOfWeek(Qt::Monday);
  if (before.isValid()) calendar->setSelectedDate(before.date());
  auto* holder = new QWidgetAction(&menu);
  holder->setDefaultWidget(calendar);
  menu.addAction(holder);
  QDate picked;
  const auto take = [&](const QDate& date) {
    picked = date;
    menu.close();
  };
  connect(calendar, &QCalendarWidget::clicked, this, take);
  connect(calendar, &QCalendarWidget::activated, this, take);
  menu.exec(mapToGlobal(rect().bottomLeft()));
  if (!picked.isValid()) return;
  setText(dateTimeText(QDateTime(picked, before.isValid() ? before.time() : QTime(0, 0), Qt::UTC)));
  setModified(true);
}

QWidget* makeTextEditor(const FieldMeta& meta, QWidget* parent, const std::function<void(QString)>& refuse) {
  if (meta.kind == FieldKind::kMemo) {
    auto* memo = new MemoEditor(meta.longest, parent);
    QObject::connect(memo, &MemoEditor::refused, memo, refuse);
    return memo;
  }
  auto* line = new QLineEdit(parent);
  line->setFrame(false);
  auto* validator = new TextValidator(meta.longest, line);
  line->setValidator(validator);
  QObject::connect(line, &QLineEdit::inputRejected, line, [=] {
    if (!validator->lastFault().isEmpty()) refuse(validator->lastFault());
  });
  return line;
}

QWidget* makeNumberEditor(bool whole, QWidget* parent) {
  auto* line = new QLineEdit(parent);
  line->setFrame(false);
  line->setValidator(new NumberValidator(whole, line));
  return line;
}

QComboBox* makeChoiceEditor(const QVector<Choice>& choices, QWidget* parent) {
  auto* box = new QComboBox(parent);
  box->setFrame(false);
  box->setMaxVisibleItems(16);
  for (const Choice& choice : choices) box->addItem(choice.text, choice.value);
  return box;
}

Parsed parseTyped(const FieldMeta& meta, const QString& text, const ValueTexts& texts) {
  const bool isText = meta.kind == FieldKind::kText || meta.kind == FieldKind::kMemo;
  if (isText) return {text, textFault(text, meta.longest)};
  if (text.trimmed().isEmpty()) return {};
  switch (meta.kind) {
    case FieldKind::kDouble:
      return parseDouble(meta, text);
    case FieldKind::kDateTime:
      return parseTime(text, texts);
    default:
      return parseWhole(meta, text);
  }
}

}  // namespace tlm::passport
