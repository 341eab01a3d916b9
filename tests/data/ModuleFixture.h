// The module on a real server with a small model, not started: each test runs what it is about.
#ifndef TLMTEST_MODULEFIXTURE_H
#define TLMTEST_MODULEFIXTURE_H

#include <CTlmMeasConfig.h>
#include <ModelsTelemetry.h>
#include <WorkWithData.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "support/EmbeddedServer.h"
#include "support/Gui.h"
#include "support/ModelText.h"
#include "support/TestApp.h"

namespace tlm::test {

struct ModuleFixture : testing::Test {
  // Starts a server with the model text and makes the module.
  void serve(const char* model);
  // And loads what stands before the tree, then the tree down to the units, sorted by name unless told not to.
  void load(const char* model, bool sorted = true);
  void buildTree(bool sorted = true);

  // Opens a row as the view would.
  void expand(const QString& name) { module->slotExpandedTVMeas(row(name)); }
  // The row of that name, anywhere in the tree.
  QModelIndex row(const QString& name) const;
  myConfNode* node(const QString& name) const { return module->treeModel->nodeFromIndex(row(name)); }
  QString tree() const { return treeText(*module->treeModel); }
  QString key(const char* name) const { return QString::fromStdString(keyOf(name)); }

  // Writes an empty text into a field of a row of the server, which a model text cannot say.
  void emptyOnServer(const char* table, const char* object, const char* field);
  CTlmCliSes* session() const { return module->session(); }
  int count(const QString& call) const { return app->log.filter(call).size(); }

  std::unique_ptr<EmbeddedServer> server;
  std::unique_ptr<TestApp> app;
  std::unique_ptr<CTlmMeasConfig> module;
};

}  // namespace tlm::test

#endif
