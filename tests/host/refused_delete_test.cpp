// A delete that goes out and that the server refuses later: the workstation around its own module.
#include <TlmClient/CPopMessageBox.h>
#include <TlmClient/CTlmCliMod.h>
#include <TlmServer/MemoryStore.h>

#include <QAction>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeView>

#include <gtest/gtest.h>

#include <atomic>

#include "StationApp.h"
#include "StationWindow.h"
#include "support/EmbeddedServer.h"
#include "support/Gui.h"
#include "support/ModelText.h"
#include "support/StoreAround.h"

namespace tlm::test {
namespace {

constexpr char kModel[] = R"(
unit КП-1
  analog 1001 P Т-1
  discrete 1003 Q-110
unit КП-2
  analog 1002 Q Т-1
)";

// A disk that can be full.
class FullStore : public StoreAround {
 public:
  FullStore(std::unique_ptr<server::Store> below, const std::atomic<bool>& full)
      : StoreAround(std::move(below)), full_(full) {}

  bool commit(const server::Commit& commit, std::string* error) override {
    if (!full_) return StoreAround::commit(commit, error);
    *error = "на диске нет места";
    return false;
  }

 private:
  const std::atomic<bool>& full_;
};

class RefusedDelete : public testing::Test {
 protected:
  RefusedDelete() : server(openCore(), "model.tlm"), library(ModuleLibrary::load(TLM_MEAS_LIBRARY, &problem)) {
    EXPECT_NE(library, nullptr) << problem.toStdString();
    app = std::make_unique<StationApp>(server, StationSetup{"config", "engineer", folder.filePath("settings.ini"),
                                                            library->factory(), library->library()});
  }

  std::unique_ptr<server::Core> openCore() {
    std::string error;
    auto data = server::makeMemoryStoreData(server::Catalogue::builtIn());
    EXPECT_TRUE(writeModel(kModel, *server::openMemoryStore(data), &error)) << error;
    return server::Core::open(std::make_unique<FullStore>(server::openMemoryStore(data), full), {}, &error);
  }

  StationWindow* open() {
    StationWindow* window = app->openWindow(&problem);
    EXPECT_NE(window, nullptr) << problem.toStdString();
    settle();
    return window;
  }
  static QTreeView* tree(StationWindow* window) { return window->findChild<QTreeView*>("tV_MeasConfig"); }
  static QString text(StationWindow* window) { return treeText(*tree(window)->model()); }

  // Selects the row of that text and lets its delete be asked for.
  static CPopMessageBox* ask(StationWindow* window, const QString& name) {
    QTreeView* view = tree(window);
    view->expandAll();
    settle();
    view->expandAll();  // the groups that came
    const QModelIndex row =
        view->model()
            ->match(view->model()->index(0, 0), Qt::DisplayRole, name, 1, Qt::MatchExactly | Qt::MatchRecursive)
            .value(0);
    view->scrollTo(row);
    settle();
    QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::NoModifier, view->visualRect(row).center());
    settle();
    for (QAction* action : window->module()->findChildren<QAction*>())
      if (action->text() == "Удалить") action->trigger();
    for (CPopMessageBox* box : CPopMessageBox::waitingBoxes())
      if (box->titleText() == "Подтверждение удаления" && window->isAncestorOf(box)) return box;
    return nullptr;
  }

  static void remove(StationWindow* window, const QString& name) {
    CPopMessageBox* box = ask(window, name);
    ASSERT_NE(box, nullptr) << name.toStdString();
    answerBox(box, 0);
  }

  std::atomic<bool> full = false;
  QTemporaryDir folder;
  QString problem;
  StationServer server;
  std::unique_ptr<ModuleLibrary> library;
  std::unique_ptr<StationApp> app;
};

TEST_F(RefusedDelete, IsToldInTheStatusBarAndTheModelComesBackWhenItIsLoadedAnew) {
  StationWindow* window = open();
  StationWindow* colleague = open();
  full = true;
  remove(window, "КП-1");
  EXPECT_FALSE(text(window).contains("КП-1"));
  ASSERT_TRUE(processUntil([&] { return !window->refusedText().isEmpty(); }));
  EXPECT_EQ(window->refusedText(), "Отказов записи: 1");
  EXPECT_EQ(colleague->refusedText(), QString());
  ASSERT_NE(window->question(), nullptr);
  EXPECT_EQ(window->question()->titleText(), "Изменения не записаны");
  EXPECT_TRUE(window->question()->messageText().contains("сервер не смог записать изменения на диск"))
      << window->question()->messageText().toStdString();
  EXPECT_TRUE(window->question()->messageText().endsWith("Загрузить модель заново?"));
  EXPECT_FALSE(text(window).contains("КП-1")) << "the node stays away until the model is loaded anew";
  EXPECT_TRUE(text(colleague).contains("КП-1"));

  answerBox(window->question(), 0);
  settle();
  EXPECT_EQ(window->refusedText(), QString());
  EXPECT_TRUE(text(window).contains("КП-1"));
}

TEST_F(RefusedDelete, IsNotSentAgainWithTheNextOne) {
  StationWindow* window = open();
  StationWindow* colleague = open();
  full = true;
  remove(window, "КП-1");
  ASSERT_TRUE(processUntil([&] { return !window->refusedText().isEmpty(); }));
  answerBox(window->question(), 1);
  full = false;
  remove(window, "КП-2");
  ASSERT_TRUE(processUntil([&] { return !text(colleague).contains("КП-2"); }));
  EXPECT_EQ(window->refusedText(), "Отказов записи: 1");
  EXPECT_TRUE(text(colleague).contains("КП-1"));
}

}  // namespace
}  // namespace tlm::test
