#include <TlmClient/CTlmCliSes.h>
#include <TlmClient/TlmDublies.h>

#include <QComboBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QIntValidator>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTableWidget>
#include <QTextCodec>
#include <QToolButton>
#include <QVBoxLayout>

#include "MeasCard.h"
#include "duplicates.h"
#include "exchange.h"

namespace {

enum Column { kEnabled, kNumber, kName, kValue, kMode, kColumns };

constexpr int kTableHeight = 190;
constexpr int kWidths[kColumns] = {44, 70, 290, 130, 110};
constexpr int kAnswerMs = 5000;

QStringList modeTexts() { return {QStringLiteral("По качеству"), QStringLiteral("Всегда"), QStringLiteral("Вручную")}; }

QTableWidgetItem* cell(const QString& text) {
  auto* const item = new QTableWidgetItem(text);
  item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable);
  item->setToolTip(text);
  return item;
}

}  // namespace

struct TlmDublies::Parts {
  QLabel* heading = nullptr;
  QTableWidget* table = nullptr;
  QToolButton* up = nullptr;
  QToolButton* down = nullptr;
  QToolButton* remove = nullptr;
  QLineEdit* number = nullptr;
  QPushButton* add = nullptr;
  QLabel* problem = nullptr;
  QPushButton* save = nullptr;
  tlm::Duplicates list;
  CTlmCliSes* session = nullptr;
  bool loaded = false;
  bool filling = false;
};

TlmDublies::TlmDublies(QWidget* parent) : CPopTemplate(parent), parts_(std::make_unique<Parts>()) {
  setPanelTitle(QStringLiteral("Дубли измерения"));
  build();
}

TlmDublies::~TlmDublies() = default;

void TlmDublies::build() {
  Parts& p = *parts_;
  p.heading = tlm::wideLabel(this, "lbl_Name");
  QFont bold = p.heading->font();
  bold.setBold(true);
  p.heading->setFont(bold);
  p.table = new QTableWidget(0, kColumns, this);
  p.table->setObjectName(QStringLiteral("tw_Dublies"));
  p.table->setHorizontalHeaderLabels({QStringLiteral("Вкл."), QStringLiteral("Номер"), QStringLiteral("Наименование"),
                                      QStringLiteral("Значение"), QStringLiteral("Режим")});
  for (int column = 0; column < kColumns; ++column) p.table->setColumnWidth(column, kWidths[column]);
  p.table->horizontalHeader()->setSectionResizeMode(kName, QHeaderView::Stretch);
  p.table->verticalHeader()->setDefaultSectionSize(p.table->fontMetrics().height() + 10);
  p.table->setSelectionBehavior(QAbstractItemView::SelectRows);
  p.table->setSelectionMode(QAbstractItemView::SingleSelection);
  p.table->setEditTriggers(QAbstractItemView::NoEditTriggers);
  p.table->setTabKeyNavigation(false);
  p.table->setMinimumSize(680, kTableHeight);
  const auto tool = [this](const char* name, const QString& text, const QString& hint) {
    auto* const button = new QToolButton(this);
    button->setObjectName(QLatin1String(name));
    button->setText(text);
    button->setToolTip(hint);
    return button;
  };
  p.up = tool("btn_Up", QStringLiteral("▲ Выше"), QStringLiteral("Раньше в порядке замещения"));
  p.down = tool("btn_Down", QStringLiteral("▼ Ниже"), QStringLiteral("Позже в порядке замещения"));
  p.remove = tool("btn_Remove", QStringLiteral("Убрать"), QStringLiteral("Убрать дубль из списка"));
  p.number = new QLineEdit(this);
  p.number->setObjectName(QStringLiteral("le_Number"));
  p.number->setPlaceholderText(QStringLiteral("номер измерения"));
  p.number->setValidator(new QIntValidator(1, 2'147'483'647, p.number));
  p.number->setFixedWidth(140);
  p.add = new QPushButton(QStringLiteral("Добавить"), this);
  p.add->setObjectName(QStringLiteral("btn_Add"));
  p.problem = tlm::wideLabel(this, "lbl_Problem");
  p.problem->setFixedWidth(680);
  p.save = new QPushButton(QStringLiteral("Сохранить"), this);
  p.save->setObjectName(QStringLiteral("btn_OK"));
  auto* const cancel = new QPushButton(QStringLiteral("Отмена"), this);
  cancel->setObjectName(QStringLiteral("btn_Cancel"));
  auto* const edits = new QHBoxLayout;
  for (QToolButton* button : {p.up, p.down, p.remove}) edits->addWidget(button);
  edits->addStretch();
  edits->addWidget(p.number);
  edits->addWidget(p.add);
  auto* const buttons = new QHBoxLayout;
  buttons->addStretch();
  buttons->addWidget(p.save);
  buttons->addWidget(cancel);
  auto* const layout = new QVBoxLayout(this);
  layout->setContentsMargins(panelMargins());
  layout->addWidget(p.heading);
  layout->addWidget(p.table);
  layout->addLayout(edits);
  layout->addWidget(p.problem);
  layout->addSpacing(6);
  layout->addLayout(buttons);
  for (QPushButton* button : {p.save, cancel}) button->setMinimumWidth(tlm::kButtonWidth);
  connect(p.table, &QTableWidget::cellChanged, this, &TlmDublies::take);
  connect(p.table, &QTableWidget::itemSelectionChanged, this, &TlmDublies::updateButtons);
  connect(p.up, &QToolButton::clicked, this, [this] { move(-1); });
  connect(p.down, &QToolButton::clicked, this, [this] { move(1); });
  connect(p.remove, &QToolButton::clicked, this, &TlmDublies::remove);
  connect(p.add, &QPushButton::clicked, this, &TlmDublies::add);
  connect(p.number, &QLineEdit::textChanged, this, &TlmDublies::updateButtons);
  connect(p.save, &QPushButton::clicked, this, &TlmDublies::On_Accept);
  connect(cancel, &QPushButton::clicked, this, &TlmDublies::On_Reject);
}

void TlmDublies::SetObject(QString key, CTlmCliSes* session) {
  Parts& p = *parts_;
  p.session = session;
  p.number->clear();
  const QByteArray encoded = tlm::serverCodec()->fromUnicode(key);
  const tlm::Duplicates::Load load = p.list.load(session, encoded);
  p.loaded = load == tlm::Duplicates::kLoaded;
  const tlm::Answer answer =
      tlm::ask(session, "MeasParams", tlm::line("locId", QByteArray::number(p.list.number())), kAnswerMs);
  const tlm::Lines lines(answer.text);
  tlm::showText(p.heading, QStringLiteral("№ %1  %2").arg(lines.value("locId"), lines.value("name")));
  p.heading->setVisible(answer.good());
  fill();
  tell(load == tlm::Duplicates::kGone ? QStringLiteral("Измерения больше нет на сервере.")
       : p.loaded                     ? QString()
                                      : QStringLiteral("Сервер не дал списка дублей."));
  p.table->setCurrentCell(0, kNumber);
  moveToCenter();
}

bool TlmDublies::isEdited() const { return parts_->list.isEdited(); }

void TlmDublies::fill() {
  Parts& p = *parts_;
  p.filling = true;
  p.table->setRowCount(0);
  p.table->setRowCount(p.list.rows().size());
  for (int row = 0; row < p.list.rows().size(); ++row) {
    const tlm::Duplicate& source = p.list.rows().at(row);
    auto* const enabled = new QTableWidgetItem;
    enabled->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable);
    enabled->setCheckState(source.enabled ? Qt::Checked : Qt::Unchecked);
    p.table->setItem(row, kEnabled, enabled);
    p.table->setItem(row, kNumber, cell(QString::number(source.locId)));
    p.table->setItem(row, kName, cell(source.name));
    p.table->setItem(row, kValue, cell(source.value));
    auto* const mode = new QComboBox;
    mode->addItems(modeTexts());
    mode->setCurrentIndex(source.mode);
    connect(mode, qOverload<int>(&QComboBox::currentIndexChanged), this, [this, row](int chosen) {
      parts_->list.setMode(row, chosen);
      updateButtons();
    });
    p.table->setCellWidget(row, kMode, mode);
  }
  p.filling = false;
  updateButtons();
}

void TlmDublies::take(int row, int column) {
  if (parts_->filling || column != kEnabled) return;
  parts_->list.setEnabled(row, parts_->table->item(row, column)->checkState() == Qt::Checked);
  updateButtons();
}

void TlmDublies::move(int by) {
  const int from = parts_->table->currentRow();
  const int to = from + by;
  if (from < 0 || to < 0 || to >= parts_->list.rows().size()) return;
  parts_->list.move(from, to);
  fill();
  parts_->table->setCurrentCell(to, kNumber);
}

void TlmDublies::remove() {
  const int row = parts_->table->currentRow();
  if (row < 0) return;
  parts_->list.remove(row);
  fill();
  parts_->table->setCurrentCell(qMin(row, parts_->list.rows().size() - 1), kNumber);
}

void TlmDublies::add() {
  Parts& p = *parts_;
  if (!p.add->isEnabled()) return;
  QString problem;
  if (p.list.add(p.session, p.number->text().toInt(), &problem)) {
    p.number->clear();
    fill();
    p.table->setCurrentCell(p.list.rows().size() - 1, kNumber);
  }
  tell(problem);
}

void TlmDublies::updateButtons() {
  Parts& p = *parts_;
  const int row = p.table->currentRow();
  const int count = p.list.rows().size();
  p.up->setEnabled(row > 0);
  p.down->setEnabled(row >= 0 && row + 1 < count);
  p.remove->setEnabled(row >= 0);
  p.add->setEnabled(p.loaded && p.number->hasAcceptableInput());
  p.save->setEnabled(p.loaded && isEdited());
}

void TlmDublies::tell(const QString& problem) {
  tlm::showNotice(parts_->problem, problem, true);
  if (isVisible()) moveToCenter();
}

// Enter in the field of the number adds it; anywhere else it saves.
void TlmDublies::On_Accept() {
  if (parts_->number->hasFocus() && !parts_->number->text().isEmpty()) return add();
  if (!parts_->loaded || !isEdited() || save()) hide();
}

bool TlmDublies::save() {
  QString problem;
  const bool saved = parts_->list.save(parts_->session, &problem);
  tell(problem);
  return saved;
}
