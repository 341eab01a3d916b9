#include "stationOptions.h"

#include <pwd.h>
#include <unistd.h>

namespace tlm {
namespace {

struct TextOption {
  const char* name;
  QString StationOptions::*member;
  const char* value;
  const char* help;
};

constexpr TextOption kTexts[] = {
    {"--store", &StationOptions::storeFile, "ФАЙЛ", "файл модели; если его нет, создается с примером сети"},
    {"--server", &StationOptions::serverAddress, "АДРЕС", "сервер модели в сети: УЗЕЛ:ПОРТ или unix:ПУТЬ"},
    {"--module", &StationOptions::moduleName, "ИМЯ", "модуль, который открывается (config)"},
    {"--library", &StationOptions::libraryFile, "ФАЙЛ", "библиотека модуля (libTlmMeas.so.2)"},
    {"--settings", &StationOptions::settingsFile, "ФАЙЛ", "где хранится вид окон"},
    {"--user", &StationOptions::user, "ИМЯ", "имя пользователя в событиях"},
};

struct Switch {
  const char* name;
  bool StationOptions::*member;
  const char* help;
};

constexpr Switch kSwitches[] = {
    {"--no-dialogs", &StationOptions::dialogs, "об ошибках при запуске сообщать в поток ошибок"},
    {"--no-simulator", &StationOptions::simulator, "не имитировать значения измерений"},
};

QString usage() {
  QString text = "tlmstation: рабочая станция телеметрии\n\n";
  const auto row = [&text](const QString& left, const char* right) {
    text += "  " + left.leftJustified(20) + right + '\n';
  };
  for (const TextOption& option : kTexts) row(QString(option.name) + ' ' + option.value, option.help);
  for (const Switch& option : kSwitches) row(option.name, option.help);
  row("--help", "эта справка");
  return text;
}

const TextOption* textOption(const QString& name) {
  for (const TextOption& option : kTexts) {
    if (name == option.name) return &option;
  }
  return nullptr;
}

bool readSwitch(const QString& name, StationOptions* options) {
  for (const Switch& option : kSwitches) {
    if (name != option.name) continue;
    options->*option.member = false;
    return true;
  }
  return false;
}

}  // namespace

QString loggedIn() {
  const passwd* const entry = getpwuid(getuid());
  return entry ? QString::fromLocal8Bit(entry->pw_name) : QString("engineer");
}

bool readOptions(const QStringList& arguments, StationOptions* options, QString* message, int* exitCode) {
  const auto stop = [&](int code, const QString& text) {
    *exitCode = code;
    *message = text;
    return false;
  };
  for (int i = 0; i < arguments.size(); ++i) {
    const QString& name = arguments.at(i);
    if (name == "--help" || name == "-h") return stop(kExitOk, usage());
    if (readSwitch(name, options)) continue;
    const TextOption* const option = textOption(name);
    if (!option) return stop(kExitUsage, QString("Неизвестный параметр: %1\n\n%2").arg(name, usage()));
    if (i + 1 >= arguments.size())
      return stop(kExitUsage, QString("После %1 нужно значение: %2\n").arg(name, option->value));
    options->*option->member = arguments.at(++i);
  }
  if (options->serverAddress.isEmpty() || options->storeFile.isEmpty()) return true;
  return stop(kExitUsage, QString("Модель лежит либо в файле (--store), либо на сервере (--server).\n"));
}

}  // namespace tlm
