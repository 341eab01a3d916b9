#include "RetroWindow.h"

#include <QFileDialog>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QSaveFile>
#include <QSplitter>
#include <QTableWidget>
#include <QVBoxLayout>

#include "retroChart.h"

namespace tlm {
namespace {

constexpr int kRefreshMs = 1000;
constexpr double kShownDays = 1.0;
constexpr int kTableRows = 200;
constexpr int kButtonRoom = 24;  // beside the text of a button

enum Column { kTime, kValue, kQuality, kColumns };

}  // namespace

RetroWindow::RetroWindow(StationServer& server, QWidget* parent)
    : QWidget(parent, Qt::Window),
      server_(server),
      heading_(new QLabel(this)),
      current_(new QLabel(this)),
      chart_(new RetroChart(this)),
      table_(new QTableWidget(0, kColumns, this)) {
  QFont bold = heading_->font();
  bold.setBold(true);
  bold.setPointSizeF(bold.pointSizeF() * 1.2);
  heading_->setFont(bold);
  table_->setHorizontalHeaderLabels({"Время", "Значение", "Качество"});
  table_->verticalHeader()->hide();
  table_->verticalHeader()->setDefaultSectionSize(table_->fontMetrics().height() + 8);
  table_->horizontalHeader()->setStretchLastSection(true);
  table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  table_->setSelectionBehavior(QAbstractItemView::SelectRows);
  table_->setAlternatingRowColors(true);
  table_->setColumnWidth(kTime, 150);
  table_->setColumnWidth(kValue, 120);
  table_->setMinimumWidth(260);
  auto* const splitter = new QSplitter(Qt::Horizontal, this);
  splitter->addWidget(chart_);
  splitter->addWidget(table_);
  splitter->setStretchFactor(0, 1);
  splitter->setChildrenCollapsible(false);
  splitter->setSizes({740, 400});
  auto* const csv = new QPushButton("Сохранить таблицу…", this);
  auto* const png = new QPushButton("Сохранить график…", this);
  connect(csv, &QPushButton::clicked, this, [this] { askAndSave("Таблица (*.csv)", &RetroWindow::saveCsv); });
  connect(png, &QPushButton::clicked, this, [this] { askAndSave("Картинка (*.png)", &RetroWindow::savePng); });
  for (QPushButton* const button : {csv, png}) button->setMinimumWidth(button->sizeHint().width() + kButtonRoom);
  auto* const line = new QHBoxLayout;
  line->addWidget(current_, 1);
  line->addWidget(png);
  line->addWidget(csv);
  auto* const hint = new QLabel("Колесо мыши — масштаб, перетаскивание — сдвиг, двойной щелчок — весь график", this);
  hint->setEnabled(false);
  auto* const layout = new QVBoxLayout(this);
  layout->setContentsMargins(14, 12, 14, 10);
  layout->setSpacing(8);
  layout->addWidget(heading_);
  layout->addLayout(line);
  layout->addWidget(splitter, 1);
  layout->addWidget(hint);
  resize(1180, 620);
  connect(&timer_, &QTimer::timeout, this, [this] { refresh(); });
  timer_.start(kRefreshMs);
}

void RetroWindow::setObject(const ObjectInfo& object) {
  object_ = object;
  chart_->setValueText([object](double value) { return shownValue({0, server::Quality::kGood, value}, object); });
  setWindowTitle(QString("Ретроспектива: %1").arg(object.name));
  heading_->setText(object.unitName.isEmpty() ? object.name : object.unitName + ": " + object.name);
  refresh();
}

int RetroWindow::refresh() {
  const double now = server::systemTime();
  std::vector<server::LiveValue> values = history(server_, object_.locId, now - kShownDays, now);
  const server::LiveValue* const current = values.empty() ? nullptr : &values.back();
  current_->setText(QString("№ %1    Значение: %2    %3")
                        .arg(object_.locId)
                        .arg(current ? shownValue(*current, object_) : QString("нет"),
                             current ? qualityText(current->quality) : QString()));
  const int count = static_cast<int>(values.size());
  fillTable(values);
  values_ = values;
  chart_->setSeries(std::move(values), object_.className == "Discrete", object_.measure);
  return count;
}

void RetroWindow::askAndSave(const QString& filter, bool (RetroWindow::*save)(const QString&) const) {
  const QString file = QFileDialog::getSaveFileName(this, windowTitle(), {}, filter);
  if (!file.isEmpty() && !(this->*save)(file)) heading_->setText(QString("Файл не записан: %1").arg(file));
}

bool RetroWindow::saveCsv(const QString& file) const {
  QSaveFile out(file);
  if (!out.open(QIODevice::WriteOnly)) return false;
  QByteArray text = QString("Время;Значение;Качество\n").toUtf8();
  for (const server::LiveValue& value : values_) {
    QString shown = shownValue(value, object_);
    shown.replace('"', "\"\"");
    text += QString("%1;\"%2\";%3\n")
                .arg(localTime(value.time).toString("dd.MM.yyyy hh:mm:ss.zzz"), shown, qualityText(value.quality))
                .toUtf8();
  }
  return out.write(text) == text.size() && out.commit();
}

bool RetroWindow::savePng(const QString& file) const { return chart_->grab().save(file, "PNG"); }

// Newest first.
void RetroWindow::fillTable(const std::vector<server::LiveValue>& values) {
  const int rows = std::min<int>(static_cast<int>(values.size()), kTableRows);
  table_->setRowCount(rows);
  for (int row = 0; row < rows; ++row) {
    const server::LiveValue& value = values[values.size() - 1 - static_cast<size_t>(row)];
    const QString texts[kColumns] = {localTime(value.time).toString("dd.MM.yyyy hh:mm:ss"), shownValue(value, object_),
                                     qualityText(value.quality)};
    for (int column = 0; column < kColumns; ++column) {
      QTableWidgetItem* item = table_->item(row, column);
      if (!item) table_->setItem(row, column, item = new QTableWidgetItem);
      item->setText(texts[column]);
      if (column == kValue) item->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
    }
  }
}

}  // namespace tlm
