// The editors of the sheet. Each is a widget inside the view's viewport that holds a value of its own.
#pragma once

#include "passport/objectForm.h"

#include <QLineEdit>
#include <QPlainTextEdit>
#include <QValidator>

#include <functional>

class QComboBox;

namespace tlm::passport {

class ValueTexts;

// Why a text cannot be kept: a character that the code page lacks, or its length. Empty when it can.
QString textFault(const QString& text, int size);

// Refuses what is typed or pasted when the text could not be kept.
class TextValidator : public QValidator {
  Q_OBJECT

 public:
  TextValidator(int size, QObject* parent) : QValidator(parent), size_(size) {}
  State validate(QString& text, int&) const override;
  QString lastFault() const { return fault_; }

 private:
  int size_;
  mutable QString fault_;
};

// Lets through what a number may consist of; the range is looked at when the edit ends.
class NumberValidator : public QValidator {
  Q_OBJECT

 public:
  NumberValidator(bool whole, QObject* parent) : QValidator(parent), whole_(whole) {}
  State validate(QString& text, int&) const override;

 private:
  bool whole_;
};

// A text of several lines; Enter ends the edit, Shift+Enter begins a line.
class MemoEditor : public QPlainTextEdit {
  Q_OBJECT

 public:
  MemoEditor(int size, QWidget* parent);

 signals:
  void refused(const QString& why);

 private:
  void check();
  int size_;
  QString good_;
};

// A date and time typed as text, or picked from a calendar.
class DateTimeEditor : public QLineEdit {
  Q_OBJECT

 public:
  explicit DateTimeEditor(QWidget* parent);

 private:
  void pick();
};

QWidget* makeTextEditor(const FieldMeta& meta, QWidget* parent, const std::function<void(QString)>& refuse);
QWidget* makeNumberEditor(bool whole, QWidget* parent);
QComboBox* makeChoiceEditor(const QVector<Choice>& choices, QWidget* parent);

// The value of a typed text, or why it is none.
struct Parsed {
  QVariant value;
  QString fault;
};
Parsed parseTyped(const FieldMeta& meta, const QString& text, const ValueTexts& texts);

}  // namespace tlm::passport
