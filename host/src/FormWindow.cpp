#include "FormWindow.h"

#include <QFormLayout>
#include <QFrame>
#include <QLabel>
#include <QVBoxLayout>

#include "schemeView.h"

namespace tlm {
namespace {

constexpr int kRefreshMs = 1000;

QLabel* selectable(const QString& text) {
  auto* const label = new QLabel(text);
  label->setTextInteractionFlags(Qt::TextSelectableByMouse);
  return label;
}

}  // namespace

FormWindow::FormWindow(StationServer& server, const QString& file, const ObjectInfo& object, QWidget* parent)
    : QWidget(parent, Qt::Window),
      server_(server),
      object_(object),
      value_(selectable({})),
      quality_(selectable({})),
      time_(selectable({})) {
  const QString title = formTitle(server, file);
  setWindowTitle(title);
  auto* const heading = new QLabel(title, this);
  QFont large = heading->font();
  large.setBold(true);
  large.setPointSizeF(large.pointSizeF() * 1.3);
  heading->setFont(large);
  value_->setFont(large);
  auto* const rows = new QFormLayout;
  rows->setLabelAlignment(Qt::AlignLeft);
  rows->setHorizontalSpacing(24);
  rows->addRow("Объект", selectable(object.name));
  rows->addRow("Класс", selectable(classTitle(object.className)));
  if (!object.unitName.isEmpty()) rows->addRow("Устройство", selectable(object.unitName));
  if (object.locId != 0) rows->addRow("Номер", selectable(QString::number(object.locId)));
  rows->addRow("Значение", value_);
  rows->addRow("Качество", quality_);
  rows->addRow("Время", time_);
  rows->addRow("Файл формы", selectable(file));
  auto* const line = new QFrame(this);
  line->setFrameShape(QFrame::HLine);
  line->setFrameShadow(QFrame::Sunken);
  auto* const layout = new QVBoxLayout(this);
  layout->setContentsMargins(18, 14, 18, 14);
  layout->addWidget(heading);
  layout->addWidget(line);
  layout->addLayout(rows);
  scheme_ = new SchemeView(this);
  if (scheme_->load(file)) {
    scheme_->mark(object.locId);
    layout->addWidget(scheme_, 1);
    resize(1100, 860);
  } else {
    delete scheme_;
    scheme_ = nullptr;
    layout->addStretch();
    resize(560, 340);
  }
  connect(&timer_, &QTimer::timeout, this, [this] { refresh(); });
  timer_.start(kRefreshMs);
  refresh();
}

QString FormWindow::valueText() const { return value_->text(); }

void FormWindow::refresh() {
  const auto value = object_.locId != 0 ? currentValue(server_, object_.locId) : std::nullopt;
  value_->setText(value ? shownValue(*value, object_) : QString("нет"));
  quality_->setText(value ? qualityText(value->quality) : QString("нет"));
  time_->setText(value ? localTime(value->time).toString("dd.MM.yyyy hh:mm:ss") : QString("нет"));
}

}  // namespace tlm
