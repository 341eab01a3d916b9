#include "StationApp.h"

#include <TlmClient/CStringParams.h>
#include <TlmClient/CTlmCliMod.h>

#include <QSettings>
#include <QTextCodec>

#include <algorithm>
#include <utility>

#include "FormWindow.h"
#include "RetroWindow.h"
#include "StationWindow.h"
#include "stationOptions.h"

namespace tlm {
namespace {

constexpr int kHostCommand = 64;
constexpr char kRetroModule[] = "TlmRetro.modRetroQuick";

std::unique_ptr<QSettings> settings(const QString& file) {
  if (!file.isEmpty()) return std::make_unique<QSettings>(file, QSettings::IniFormat);
  return std::make_unique<QSettings>(QSettings::IniFormat, QSettings::UserScope, "tlm", "tlmstation");
}

// A parameter of a command "NAME;key=value;...".
QString parameter(const QString& command, const QString& name) {
  CStringParams params;
  params.setParams(command.section(';', 1), ';');
  return params.getValue(name, {});
}

}  // namespace

StationApp::StationApp(StationServer& server, StationSetup setup) : server_(server), setup_(std::move(setup)) {
  if (setup_.user.isEmpty()) setup_.user = loggedIn();
}

StationApp::~StationApp() {
  closeAll();
  delete lastRetro_;
  delete lastForm_;
}

QString StationApp::closeAll() {
  while (!windows_.empty()) delete windows_.back();
  return std::exchange(lostAtEnd_, {});
}

// A window that is still open shows what one that closes cannot.
void StationApp::tellLostAtEnd(const StationWindow* closing, int status, const QString& why) {
  for (StationWindow* window : windows_) {
    if (window != closing) return window->showRefused(status, why);
  }
  lostAtEnd_ = StationWindow::refusedDetails(status, why);
}

StationWindow* StationApp::openWindow(QString* problem) {
  auto* const window = new StationWindow(*this, freeNumber());
  windows_.push_back(window);
  if (openLine(problem) && startModule(window, loadState(window->number()), problem)) return window;
  delete window;
  return nullptr;
}

bool StationApp::openLine(QString* problem) {
  nextLine_ = server_.line(setup_.user, problem);
  return nextLine_ != nullptr;
}

bool StationApp::startModule(StationWindow* window, const QString& state, QString* problem) {
  const QByteArray name = QTextCodec::codecForName("Windows-1251")->fromUnicode(setup_.moduleName);
  opening_ = window;
  CTlmCliMod* const module = setup_.factory(this, name);
  opening_ = nullptr;
  if (!module) {
    *problem = QString("В библиотеке нет модуля с именем «%1».").arg(setup_.moduleName);
    return false;
  }
  if (window->start(module, state)) return true;
  *problem = QString("Модуль «%1» не запустился.").arg(setup_.moduleName);
  return false;
}

int StationApp::freeNumber() const {
  int number = 1;
  const auto taken = [&](const StationWindow* window) { return window->number() == number; };
  while (std::any_of(windows_.begin(), windows_.end(), taken)) ++number;
  return number;
}

StationWindow* StationApp::windowOf(CTlmCliMod* module) const {
  for (StationWindow* window : windows_) {
    if (window->module() == module) return window;
  }
  return nullptr;
}

void StationApp::windowClosed(StationWindow* window) {
  windows_.erase(std::remove(windows_.begin(), windows_.end(), window), windows_.end());
}

RetroWindow* StationApp::lastRetro() const { return lastRetro_; }
QWidget* StationApp::lastForm() const { return lastForm_; }

// ---- what modules ask of their host ----

CTlmCliAbo* StationApp::ConnectModule(CTlmCliMod* module) {
  Line& line = lines_[module];
  line.session = std::make_unique<TlmSession>(std::move(nextLine_));
  line.number = opening_ ? opening_->number() : 1;
  if (opening_) opening_->watch(*line.session);
  return line.session.get();
}

// Called from the module's destructor: from here on nobody uses the session.
void StationApp::DisconnectModule(CTlmCliMod* module) { lines_.erase(module); }

QLibrary* StationApp::ModuleLibrary(CTlmCliMod*) { return setup_.library; }

QString StationApp::ModuleInstance(CTlmCliMod* module) {
  const auto line = lines_.find(module);
  return QString::number(line == lines_.end() ? 1 : line->second.number);
}

void StationApp::ModuleIsEdit(CTlmCliMod* module, bool edited) {
  if (StationWindow* const window = windowOf(module)) window->showEdited(edited);
}

void StationApp::ModuleTitle(CTlmCliMod* module, const QString& title, const QString& subtitle) {
  if (StationWindow* const window = windowOf(module)) window->showTitle(title, subtitle);
}

void StationApp::ModuleMessage(CTlmCliMod* module, const QString& text) {
  if (StationWindow* const window = windowOf(module)) window->showMessage(text);
}

bool StationApp::ModuleCall(CTlmCliMod* module, int code, void* data) {
  StationWindow* const window = windowOf(module);
  const auto* const call = static_cast<const TlmHostCall*>(data);
  if (!window || code != kHostCommand || !call || !call->command || !call->parameter) return false;
  const QByteArray command = call->command;
  if (command == "RUN_MOD") return runModule(window, QString::fromUtf8(call->parameter), (call->flags & 1) != 0);
  if (command == "RUN_FILE")
    return runFile(window, window->codec()->toUnicode(call->parameter), (call->flags & 1) != 0);
  return failCall(window, QString("Неизвестная команда модуля: %1").arg(QString::fromUtf8(command)));
}

// "TlmRetro.modRetroQuick;Key=...". With the Control key held it opens beside the one that is open.
bool StationApp::runModule(StationWindow* window, const QString& command, bool newWindow) {
  const QString name = command.section(';', 0, 0);
  if (name != kRetroModule) return failCall(window, QString("Модуля «%1» на этой станции нет.").arg(name));
  const auto object = findObject(server_, parameter(command, "Key"));
  if (!object || object->locId == 0) return failCall(window, "Ретроспектива: измерения нет на сервере.");
  if (newWindow || !lastRetro_) {
    lastRetro_ = new RetroWindow(server_, window);
    lastRetro_->setAttribute(Qt::WA_DeleteOnClose);
  }
  lastRetro_->setObject(*object);
  lastRetro_->show();
  lastRetro_->raise();
  window->showMessage(QString("Открыта ретроспектива: %1").arg(object->name));
  return true;
}

// "FILE;object=KEY". It takes the place of the form that is open, unless the Control key is held.
bool StationApp::runFile(StationWindow* window, const QString& command, bool newWindow) {
  const QString file = command.section(';', 0, 0);
  const auto object = findObject(server_, parameter(command, "object"));
  if (file.isEmpty() || !object) return failCall(window, "Связанная форма: объекта нет на сервере.");
  if (!newWindow) delete lastForm_;
  lastForm_ = new FormWindow(server_, file, *object, window);
  lastForm_->setAttribute(Qt::WA_DeleteOnClose);
  lastForm_->show();
  window->showMessage(QString("Открыта форма: %1").arg(lastForm_->windowTitle()));
  return true;
}

bool StationApp::failCall(StationWindow* window, const QString& why) {
  window->showMessage(why);
  return false;
}

// ---- what is kept between runs ----

QString StationApp::stateKey(int number) const { return QString("%1/state%2").arg(setup_.moduleName).arg(number); }

QString StationApp::loadState(int number) const {
  return settings(setup_.settingsFile)->value(stateKey(number)).toString();
}

void StationApp::saveState(int number, const QString& state) const {
  if (!state.isEmpty()) settings(setup_.settingsFile)->setValue(stateKey(number), state);
}

}  // namespace tlm
