#ifndef TLMTEST_PLAINMODULE_H
#define TLMTEST_PLAINMODULE_H

#include <TlmClient/CTlmCliMod.h>

#include <QStringList>

namespace tlm::test {

// A module that writes down what its host does with it.
class PlainModule : public CTlmCliMod {
  Q_OBJECT

 public:
  PlainModule(CTlmCliApp* app, QStringList* log, int startResult)
      : CTlmCliMod(app), log_(log), startResult_(startResult) {}
  ~PlainModule() override { log_->append("deleted"); }

  int ModuleStart() override {
    log_->append(isVisible() ? "start, shown" : "start, hidden");
    SetModTitle("Plain", "");
    return startResult_;
  }
  int ModuleStop() override {
    log_->append("stop");
    return 1;
  }
  int SetParamState(QString text) override {
    log_->append("state " + text);
    return 1;
  }
  QString GetParamState() override { return state; }

  QString state = "kept";

 private:
  QStringList* log_;
  int startResult_;
};

}  // namespace tlm::test

#endif
