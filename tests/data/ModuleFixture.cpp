#include "ModuleFixture.h"

#include <TlmServer/ModelTables.h>

namespace tlm::test {

void ModuleFixture::serve(const char* model) {
  module.reset();
  app.reset();
  server = std::make_unique<EmbeddedServer>(picture(model).toStdString());
  ASSERT_NE(server->core(), nullptr);
  app = std::make_unique<TestApp>(*server->core());
  module = std::make_unique<CTlmMeasConfig>(app.get());
}

void ModuleFixture::load(const char* model, bool sorted) {
  serve(model);
  module->loadMdxTables();
  module->GetStructTables();
  buildTree(sorted);
}

void ModuleFixture::buildTree(bool sorted) {
  module->treeModel->setRootNode(InitTreeRTU(module.get()));
  if (sorted) module->treeModel->sort(0, Qt::AscendingOrder);
}

QModelIndex ModuleFixture::row(const QString& name) const {
  const MeasConfTreeModel& model = *module->treeModel;
  const auto hits = model.match(model.index(0, 0), Qt::DisplayRole, name, 1,
                                Qt::MatchFixedString | Qt::MatchCaseSensitive | Qt::MatchWrap | Qt::MatchRecursive);
  EXPECT_FALSE(hits.isEmpty()) << "no row " << name.toStdString();
  return hits.value(0);
}

void ModuleFixture::emptyOnServer(const char* table, const char* object, const char* field) {
  server->core()->read([&](const server::ModelTables& tables) {
    MDArray* rows = tables.table(table);
    const std::string key = keyOf(object);
    MDRVar seek{};
    seek.type = MDX_TEXT;
    seek.text = {static_cast<uint32_t>(key.size()), key.data()};
    MDRData* row = MDARecSeekV(rows, 0, &seek, nullptr);
    ASSERT_NE(row, nullptr) << object;
    MDRVar empty{};
    empty.type = MDX_TEXT;
    empty.text = {0, ""};
    ASSERT_GE(MDRSetVal(MDRFldByName(rows, field), row, &empty), 0);
  });
}

}  // namespace tlm::test
