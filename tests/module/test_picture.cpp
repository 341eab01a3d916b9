// A picture of the window on the sample, for whoever wants to look: set TLM_PICTURES to a folder.
#include "ModuleWindow.h"

namespace tlm::test {
namespace {

TEST(Picture, OfTheWindowOnTheSampleHasContent) {
  const auto server = EmbeddedServer::withSample();
  ASSERT_NE(server->core(), nullptr);
  TestApp app(*server->core());
  CTlmMeasConfig module(&app);
  module.resize(1280, 800);
  module.show();
  settle();
  ASSERT_EQ(module.ModuleStart(), 1);
  settle();
  QTreeView* tree = module.ui->tV_MeasConfig;
  QModelIndex row = module.treeModel->index(module.treeModel->rowCount() - 1, 0);
  while (module.treeModel->rowCount(row) > 0) {
    tree->expand(row);
    settle();
    row = module.treeModel->index(0, 0, row);
  }
  tree->setCurrentIndex(row);
  tree->scrollTo(row);
  settle();
  const QImage image = module.grab().toImage();
  EXPECT_EQ(image.size(), QSize(1280, 800));
  if (qEnvironmentVariableIsSet("TLM_PICTURES")) image.save(qEnvironmentVariable("TLM_PICTURES") + "/module.png");
}

}  // namespace
}  // namespace tlm::test
