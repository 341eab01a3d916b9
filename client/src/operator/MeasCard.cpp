#include "MeasCard.h"

#include <QLabel>
#include <QVBoxLayout>

namespace tlm {
namespace {

constexpr int kCardWidth = 400;
constexpr int kLongestWord = 24;  // letters that fit into a label in any of its fonts
constexpr QChar kBreak(0x200B);   // no width, and a line may end at it

struct Shade {
  const char* quality;
  const char* text;
  const char* colour;
};

constexpr Shade kQualities[] = {{"0", "достоверно", "#1b6e3a"},
                                {"1", "ручной ввод", "#7a3fa0"},
                                {"2", "устарело", "#a85a00"},
                                {"3", "недостоверно", "#c62828"}};

void setColour(QLabel* label, const QColor& colour) {
  QPalette palette = label->palette();
  palette.setColor(QPalette::WindowText, colour);
  label->setPalette(palette);
}

QString breakable(QString text) {
  int word = 0;
  for (int i = 0; i < text.size(); ++i) {
    word = text.at(i).isSpace() ? 0 : word + 1;
    if (word <= kLongestWord) continue;
    text.insert(i++, kBreak);
    word = 1;
  }
  return text;
}

QFont larger(QFont font, double factor, bool bold) {
  font.setPointSizeF(font.pointSizeF() * factor);
  font.setBold(bold);
  return font;
}

}  // namespace

QLabel* wideLabel(QWidget* parent, const char* objectName) {
  auto* const label = new QLabel(parent);
  label->setObjectName(QLatin1String(objectName));
  label->setWordWrap(true);
  label->setFixedWidth(kCardWidth);
  label->setTextFormat(Qt::PlainText);
  return label;
}

void showText(QLabel* label, const QString& text) { label->setText(breakable(text)); }

void showNotice(QLabel* label, const QString& text, bool bad) {
  showText(label, text);
  setColour(label, bad ? QColor("#c62828") : label->parentWidget()->palette().color(QPalette::WindowText));
  label->setVisible(!text.isEmpty());
}

MeasCard::MeasCard(QWidget* parent)
    : QWidget(parent),
      name_(wideLabel(this, "lbl_Name")),
      place_(wideLabel(this, "lbl_Place")),
      value_(wideLabel(this, "lbl_Value")),
      since_(wideLabel(this, "lbl_Since")) {
  name_->setFont(larger(font(), 1.15, true));
  value_->setFont(larger(font(), 1.4, true));
  setColour(place_, QColor("#5c6773"));
  auto* const layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 6);
  layout->setSpacing(3);
  for (QLabel* label : {name_, place_, value_, since_}) layout->addWidget(label);
}

void MeasCard::setParams(const Lines& lines) {
  showText(name_, lines.value("name"));
  const QString unit = lines.value("unitName");
  const QString number = QStringLiteral("№ %1").arg(lines.value("locId"));
  showText(place_, unit.isEmpty() ? number : QStringLiteral("%1, %2").arg(unit, number));
  setValue(lines);
}

void MeasCard::setValue(const Lines& lines) {
  if (!lines.has("value")) {
    value_->setText(QStringLiteral("нет данных"));
    since_->setText({});
    return;
  }
  showText(value_, lines.value("text"));
  for (const Shade& shade : kQualities) {
    if (lines.value("quality") != QLatin1String(shade.quality)) continue;
    since_->setText(QStringLiteral("%1, %2").arg(QString::fromUtf8(shade.text), lines.value("timeText")));
    setColour(since_, QColor(shade.colour));
  }
}

void MeasCard::setSilent() {
  since_->setText(QStringLiteral("нет связи с сервером, значение могло измениться"));
  setColour(since_, QColor("#c62828"));
}

}  // namespace tlm
