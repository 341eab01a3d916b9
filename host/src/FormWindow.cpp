#include "FormWindow.h"

#include <QFormLayout>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QScreen>
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

QFormLayout* makeRows() {
  auto* const rows = new QFormLayout;
  rows->setLabelAlignment(Qt::AlignLeft);
  rows->setHorizontalSpacing(24);
  return rows;
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
  QFormLayout* const what = makeRows();
  what->addRow("Объект", selectable(object.name));
  what->addRow("Класс", selectable(classTitle(object.className)));
  if (!object.unitName.isEmpty()) what->addRow("Устройство", selectable(object.unitName));
  if (object.locId != 0) what->addRow("Номер", selectable(QString::number(object.locId)));
  QFormLayout* const now = makeRows();
  now->addRow("Значение", value_);
  now->addRow("Качество", quality_);
  now->addRow("Время", time_);
  now->addRow("Файл формы", selectable(file));
  auto* const rows = new QHBoxLayout;
  rows->addLayout(what, 1);
  rows->addLayout(now, 1);
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
    resize(QSize(1320, 980).boundedTo(screen()->availableSize()).expandedTo(QSize(1100, 860)));
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
