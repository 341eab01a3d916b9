#include "StationWindow.h"

#include <TlmClient/CPopMessageBox.h>
#include <TlmClient/CTlmCliAbo.h>
#include <TlmClient/CTlmCliMod.h>
#include <TlmClient/CTlmCliSes.h>
#include <TlmClient/ModuleStyle.h>
#include <TlmClient/TlmSession.h>

#include <QApplication>
#include <QCloseEvent>
#include <QDebug>
#include <QLabel>
#include <QMenuBar>
#include <QStatusBar>
#include <QToolButton>

#include "StationApp.h"
#include "stationIcon.h"

namespace tlm {
namespace {

constexpr int kMessageMs = 15'000;
constexpr QSize kFirstSize(1280, 800);
const char* const kEditsGo = " Несохраненные изменения пропадут.";

struct StatusText {
  int32_t status;
  const char* text;
};

constexpr StatusText kRefusals[] = {
    {wire::kMalformed, "сервер не смог прочитать запрос"},
    {wire::kUnknownRequest, "сервер не знает такого запроса"},
    {wire::kUnknownTable, "на сервере нет такой таблицы"},
    {wire::kUnknownField, "на сервере нет такого поля"},
    {wire::kNotFound, "объекта уже нет на сервере"},
    {wire::kRefused, "изменения нарушают правила модели"},
    {wire::kStorage, "сервер не смог записать изменения на диск"},
    {wire::kTooLarge, "слишком много изменений за один раз"},
};

QString refusalText(int status) {
  for (const StatusText& row : kRefusals) {
    if (row.status == status) return QString::fromUtf8(row.text);
  }
  return QString("код %1").arg(status);
}

}  // namespace

StationWindow::StationWindow(StationApp& app, int number) : app_(app), number_(number) {
  setAttribute(Qt::WA_DeleteOnClose);
  setWindowIcon(stationIcon());
  setPalette(workstationPalette());
  setFont(workstationFont());
  makeMenu();
  makeStatusBar();
  resize(kFirstSize);
}

StationWindow::~StationWindow() {
  ending_ = true;
  if (module_) {
    app_.saveState(number_, module_->GetParamState());
    stopModule();
  } else if (!state_.isNull()) {
    app_.saveState(number_, state_);
  }
  app_.windowClosed(this);
}

void StationWindow::makeMenu() {
  QMenu* const file = menuBar()->addMenu("Станция");
  file->addAction("Открыть второе окно", this, &StationWindow::openSecond, QKeySequence("Ctrl+Shift+N"));
  file->addSeparator();
  file->addAction("Закрыть окно", this, &QWidget::close, QKeySequence("Ctrl+W"));
  file->addAction("Выход", qApp, &QApplication::closeAllWindows, QKeySequence("Ctrl+Q"));
  menuBar()->addMenu("Справка")->addAction("О рабочей станции", this, &StationWindow::showAbout);
}

void StationWindow::makeStatusBar() {
  const auto label = [this] {
    auto* const text = new QLabel(this);
    text->setContentsMargins(8, 0, 8, 0);
    statusBar()->addPermanentWidget(text);
    return text;
  };
  refused_ = label();
  anew_ = new QToolButton(this);
  anew_->setText("Загрузить заново");
  anew_->setToolTip("Закрыть модуль и загрузить модель с сервера еще раз");
  anew_->setAutoRaise(true);
  connect(anew_, &QToolButton::clicked, this, &StationWindow::askAnew);
  statusBar()->addPermanentWidget(anew_);
  edits_ = label();
  label()->setText(QString("Пользователь: %1").arg(app_.user()));
  connection_ = label();
  forgetRefusals();
  showEdited(false);
  showLine(true, {});
}

bool StationWindow::start(CTlmCliMod* module, const QString& state) {
  module_ = module;
  module_->setWindowFlags(Qt::Widget);
  setCentralWidget(module_);
  showTitle(module_->windowTitle(), {});
  show();
  module_->show();  // not by itself when the window stood already
  if (!state.isEmpty()) module_->SetParamState(state);
  QApplication::setOverrideCursor(Qt::WaitCursor);
  const bool started = module_->ModuleStart() == 1;
  QApplication::restoreOverrideCursor();
  return started;
}

QTextCodec* StationWindow::codec() const { return module_->abo->Session()->Codec(); }

void StationWindow::watch(TlmSession& session) {
  connect(&session, &TlmSession::lineChanged, this, &StationWindow::showLine);
  connect(&session, &TlmSession::writeRefused, this, &StationWindow::showRefused);
  connect(&session, &TlmSession::eventsLost, this, &StationWindow::showEventsLost);
  showLine(session.alive(), {});
}

// ---- what is shown ----

void StationWindow::showEdited(bool edited) {
  setWindowModified(edited);
  edits_->setText(edited ? QString("Есть несохраненные изменения") : QString("Изменений нет"));
  QPalette palette = workstationPalette();
  if (edited) palette.setColor(QPalette::WindowText, QColor("#a85a00"));
  edits_->setPalette(palette);
}

void StationWindow::showTitle(const QString& title, const QString& subtitle) {
  QString text = subtitle.isEmpty() ? title : title + " - " + subtitle;
  if (number_ > 1) text += QString(" (окно %1)").arg(number_);
  setWindowTitle(text + "[*]");
}

void StationWindow::showMessage(const QString& text) { statusBar()->showMessage(text, kMessageMs); }

void StationWindow::showLine(bool alive, const QString& why) {
  const QString name = app_.server().name();
  const QString place = app_.server().remote() ? QString("Сервер: %1") : QString("Встроенный сервер: %1");
  connection_->setText(alive ? place.arg(name) : QString("Нет связи с сервером %1, идет подключение").arg(name));
  if (!why.isEmpty()) qDebug().noquote() << "line:" << why;
  QPalette palette = workstationPalette();
  if (!alive) palette.setColor(QPalette::WindowText, QColor("#c62828"));
  connection_->setPalette(palette);
}

void StationWindow::showEventsLost(const QString& why) {
  anew_->show();
  QString text =
      "Пока не было связи, модель изменилась, и сервер уже не хранит всех этих изменений.\n"
      "Окно может показывать не то, что есть на сервере.\nЗагрузить модель заново?";
  if (!why.isEmpty()) qDebug().noquote() << "events lost:" << why;
  if (module_ && module_->IsEdit()) text += kEditsGo;
  box()->setMessage("Изменения пропущены", text, kBoxWarning, kBoxYesNo, SLOT(answerRefused(QAbstractButton*)));
  box()->show();
}

// What the window shows may be what the server did not take.
void StationWindow::showRefused(int status, const QString& why) {
  if (ending_) return app_.tellLostAtEnd(this, status, why);
  ++refusals_;
  refused_->setText(QString("Отказов записи: %1").arg(refusals_));
  QPalette palette = workstationPalette();
  palette.setColor(QPalette::WindowText, QColor("#c62828"));
  refused_->setPalette(palette);
  refused_->setToolTip(refusedDetails(status, why));
  refused_->show();
  anew_->show();
  QString text = refusedDetails(status, why);
  text += "\n\nВ окне могут стоять изменения, которых на сервере нет.\nЗагрузить модель заново?";
  if (module_ && module_->IsEdit()) text += kEditsGo;
  const QString title = status == wire::kUnavailable ? "Ответ на запись не получен" : "Изменения не записаны";
  box()->setMessage(title, text, kBoxError, kBoxYesNo, SLOT(answerRefused(QAbstractButton*)));
  box()->show();
}

QString StationWindow::refusedDetails(int status, const QString& why) {
  // What the line and its library say is for the debug stream.
  const bool fromTheLine = status == wire::kUnavailable || status == wire::kTooLarge;
  if (fromTheLine && !why.isEmpty()) qDebug().noquote() << "write:" << why;
  if (status == wire::kUnavailable) return "Связь с сервером потеряна. Записаны ли изменения, неизвестно.";
  QString text = QString("Сервер не принял изменения: %1.").arg(refusalText(status));
  if (!why.isEmpty() && !fromTheLine) text += QString("\n\nПодробности: %1").arg(why);
  return text;
}

void StationWindow::answerRefused(QAbstractButton* button) {
  const bool anew = question_->ButtonRole(button) == 0;
  question_->hide();
  if (anew) loadAnew();
}

// The warning that came with the offer may be long ago.
void StationWindow::askAnew() {
  if (!module_ || !module_->IsEdit()) {
    loadAnew();
    return;
  }
  box()->setMessage("Загрузка модели", QString("Загрузить модель заново?") + kEditsGo, kBoxWarning, kBoxYesNo,
                    SLOT(answerRefused(QAbstractButton*)));
  box()->show();
}

// What stands goes only when there is a line for what comes.
bool StationWindow::loadAnew() {
  QString problem;
  if (app_.openLine(&problem)) {
    if (module_) state_ = module_->GetParamState();
    forgetRefusals();
    if (module_) stopModule();
    showEdited(false);
    if (app_.startModule(this, state_, &problem)) return true;
    anew_->show();  // the only way on
  }
  box()->setMessage("Загрузка модели", problem, kBoxError, kBoxClose, nullptr);
  box()->show();
  return false;
}

void StationWindow::forgetRefusals() {
  refusals_ = 0;
  refused_->hide();
  anew_->hide();
}

QString StationWindow::connectionText() const { return connection_->text(); }
QString StationWindow::editText() const { return edits_->text(); }
QString StationWindow::refusedText() const { return refused_->isHidden() ? QString() : refused_->text(); }

CPopMessageBox* StationWindow::box() {
  if (!question_) question_ = new CPopMessageBox(this);
  return question_;
}

void StationWindow::openSecond() {
  QString problem;
  if (app_.openWindow(&problem)) return;
  box()->setMessage("Второе окно", problem, kBoxError, kBoxClose, nullptr);
  box()->show();
}

void StationWindow::showAbout() {
  box()->setMessage("О рабочей станции",
                    QString("Рабочая станция телеметрии %1\n\n%2: %3")
                        .arg(QApplication::applicationVersion(),
                             app_.server().remote() ? QString("Сервер модели")
                                                    : QString("Сервер модели работает внутри станции.\nМодель"),
                             app_.server().name()),
                    kBoxInformation, kBoxClose, nullptr);
  box()->show();
}

// ---- the end ----

void StationWindow::closeEvent(QCloseEvent* event) {
  if (closeConfirmed_ || !module_ || !module_->IsEdit()) {
    event->accept();
    return;
  }
  event->ignore();
  box()->setMessage("Несохраненные изменения", "В окне есть несохраненные изменения.\nЗакрыть его без сохранения?",
                    kBoxWarning, kBoxYesNo, SLOT(answerClose(QAbstractButton*)));
  box()->show();
}

void StationWindow::answerClose(QAbstractButton* button) {
  const bool leave = question_->ButtonRole(button) == 0;
  question_->hide();
  if (!leave) return;
  closeConfirmed_ = true;
  close();
}

// The session waits for what is still to be written.
void StationWindow::stopModule() {
  QApplication::setOverrideCursor(Qt::WaitCursor);
  module_->ModuleStop();
  delete module_;
  module_ = nullptr;
  QApplication::restoreOverrideCursor();
}

}  // namespace tlm
