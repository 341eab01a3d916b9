// The library that modules come from.
#ifndef TLMHOST_MODULELIBRARY_H
#define TLMHOST_MODULELIBRARY_H

#include <QLibrary>
#include <QString>

#include <functional>
#include <memory>

class CTlmCliApp;
class CTlmCliMod;

namespace tlm {

// Makes a module by its name (Windows-1251), or null when there is none of that name. The caller owns it.
using ModuleFactory = std::function<CTlmCliMod*(CTlmCliApp* app, const QByteArray& name)>;

class ModuleLibrary {
 public:
  // Loads a file (empty: libTlmMeas.so.2 beside the program or where it is installed). Null with a message
  // for the user in *problem.
  static std::unique_ptr<ModuleLibrary> load(const QString& file, QString* problem);

  QLibrary* library() { return &library_; }
  ModuleFactory factory() const;

 private:
  using Entry = void* (*)(CTlmCliApp* app, const char* name);

  explicit ModuleLibrary(const QString& file) : library_(file) {}

  QLibrary library_;
  Entry entry_ = nullptr;
};

}  // namespace tlm

#endif
