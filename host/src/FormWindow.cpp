#include "FormWindow.h"

#include <QFrame>
#include <QGridLayout>
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

// Two columns of names and values whose rows stand on one line, however large the text of one of them is.
class FactGrid {
 public:
  explicit FactGrid(QGridLayout* grid) : grid_(grid) {
    grid->setHorizontalSpacing(24);
    for (int side = 0; side < 2; ++side) grid->setColumnStretch(2 * side + 1, 1);
  }
  void add(int side, const QString& name, QLabel* value) {
    grid_->addWidget(new QLabel(name), rows_[side], 2 * side);
    grid_->addWidget(value, rows_[side]++, 2 * side + 1);
  }

 private:
  QGridLayout* grid_;
  int rows_[2] = {0, 0};
};

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
  auto* const rows = new QGridLayout;
  FactGrid facts(rows);
  facts.add(0, "Объект", selectable(object.name));
  facts.add(0, "Класс", selectable(classTitle(object.className)));
  if (!object.unitName.isEmpty()) facts.add(0, "Устройство", selectable(object.unitName));
  if (object.locId != 0) facts.add(0, "Номер", selectable(QString::number(object.locId)));
  facts.add(1, "Значение", value_);
  facts.add(1, "Качество", quality_);
  facts.add(1, "Время", time_);
  facts.add(1, "Файл формы", selectable(file));
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
