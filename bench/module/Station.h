// A host with an embedded server of a generated model, for benches of the configurator.
#ifndef TLMBENCH_STATION_H
#define TLMBENCH_STATION_H

#include <CTlmMeasConfig.h>
#include <ModelsTelemetry.h>
#include <TlmClient/CTlmCliApp.h>
#include <TlmClient/TlmSession.h>
#include <TlmServer/Core.h>

#include <QTreeView>

#include <memory>

namespace tlm::bench {

// Throws when the model cannot be made.
std::unique_ptr<server::Core> generatedCore(int units, int measurements);

// One module with a line of its own, its window shown.
class Station : public CTlmCliApp {
 public:
  explicit Station(server::Core& core);
  explicit Station(std::unique_ptr<ITransport> line);
  ~Station() override;

  CTlmMeasConfig& module() { return *module_; }
  MeasConfTreeModel& model() { return *module_->treeModel; }
  QTreeView& view() { return *view_; }

  // The unit number `number` in the order of the keys, with its folders opened.
  QModelIndex unit(int number);

  CTlmCliAbo* ConnectModule(CTlmCliMod*) override { return session_.get(); }
  void DisconnectModule(CTlmCliMod*) override {}
  QLibrary* ModuleLibrary(CTlmCliMod*) override { return nullptr; }
  QString ModuleInstance(CTlmCliMod*) override { return "1"; }
  void ModuleIsEdit(CTlmCliMod*, bool) override {}
  void ModuleTitle(CTlmCliMod*, const QString&, const QString&) override {}
  void ModuleMessage(CTlmCliMod*, const QString&) override {}
  bool ModuleCall(CTlmCliMod*, int, void*) override { return false; }

 private:
  std::unique_ptr<TlmSession> session_;
  std::unique_ptr<CTlmMeasConfig> module_;
  QTreeView* view_;
};

}  // namespace tlm::bench

#endif
