#include "PanelParts.h"

#include <TlmClient/CPopTemplate.h>

#include <QDialogButtonBox>
#include <QLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QStyle>
#include <QStyleOptionSpinBox>

#include <algorithm>
#include <limits>

namespace {

constexpr int kButtonWidth = 96;
constexpr int kTextMargin = 8;  // frame and cursor of a line edit, pixels

void prepareButton(QPushButton* button, const QString& text) {
  if (!button) return;
  button->setText(text);
  button->setIcon(QIcon());
  button->setMinimumWidth(kButtonWidth);
}

// What no number needs is scrolled in its field, so that a panel never outgrows its window.
int widthOf(const QWidget& field, const QString& text) {
  const QFontMetrics metrics = field.fontMetrics();
  const int longest = metrics.horizontalAdvance(QString::number(std::numeric_limits<int>::min()));
  return std::min(metrics.horizontalAdvance(text), longest) + kTextMargin;
}

}  // namespace

void preparePanel(CPopTemplate* panel, QDialogButtonBox* buttons) {
  panel->setPanelTitle(panel->windowTitle());
  if (panel->layout()) panel->layout()->setContentsMargins(CPopTemplate::panelMargins());
  prepareButton(buttons->button(QDialogButtonBox::Ok), QStringLiteral("ОК"));
  prepareButton(buttons->button(QDialogButtonBox::Cancel), QStringLiteral("Отмена"));
  for (QPushButton* button : panel->findChildren<QPushButton*>()) button->setAutoDefault(true);
}

void growWithText(QLineEdit* field) {
  const int base = field->minimumWidth();
  QObject::connect(field, &QLineEdit::textChanged, field,
                   [field, base](const QString& text) { field->setFixedWidth(std::max(base, widthOf(*field, text))); });
}

void growWithText(QSpinBox* field) {
  const int base = field->minimumWidth();
  QObject::connect(field, &QSpinBox::textChanged, field, [field, base](const QString& text) {
    QStyleOptionSpinBox option;
    option.initFrom(field);
    const QRect edit = field->style()->subControlRect(QStyle::CC_SpinBox, &option, QStyle::SC_SpinBoxEditField, field);
    const int frame = field->width() - edit.width();
    field->setFixedWidth(std::max(base, widthOf(*field, text) + frame));
  });
}
