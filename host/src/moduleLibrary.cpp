#include "moduleLibrary.h"

#include <TlmClient/CTlmCliMod.h>

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace tlm {
namespace {

constexpr char kLibraryName[] = "libTlmMeas.so.2";

// Installed, beside the program, in the tree where it was built.
constexpr const char* kFolders[] = {TLM_LIBRARIES_FROM_PROGRAM, "../lib", ".", "../module"};

QString find() {
  const QDir program(QCoreApplication::applicationDirPath());
  for (const char* folder : kFolders) {
    const QFileInfo candidate(program.filePath(QString(folder) + '/' + kLibraryName));
    if (candidate.exists()) return candidate.canonicalFilePath();
  }
  return {};
}

}  // namespace

std::unique_ptr<ModuleLibrary> ModuleLibrary::load(const QString& file, QString* problem) {
  const QString path = file.isEmpty() ? find() : file;
  if (path.isEmpty() || !QFileInfo::exists(path)) {
    *problem = QString("Библиотека модуля не найдена: %1").arg(path.isEmpty() ? QString(kLibraryName) : path);
    return nullptr;
  }
  std::unique_ptr<ModuleLibrary> loaded(new ModuleLibrary(path));
  // A module's classes may be in use until the process ends: the library is never unloaded.
  loaded->library_.setLoadHints(QLibrary::PreventUnloadHint);
  if (!loaded->library_.load()) {
    *problem = QString("Библиотека модуля не загружается: %1\n\n%2").arg(path, loaded->library_.errorString());
    return nullptr;
  }
  loaded->entry_ = reinterpret_cast<Entry>(loaded->library_.resolve("CppCliModule"));
  if (loaded->entry_) return loaded;
  *problem = QString("Файл не является библиотекой модуля (нет функции CppCliModule): %1").arg(path);
  return nullptr;
}

ModuleFactory ModuleLibrary::factory() const {
  return [entry = entry_](CTlmCliApp* app, const QByteArray& name) {
    return static_cast<CTlmCliMod*>(entry(app, name.constData()));
  };
}

}  // namespace tlm
