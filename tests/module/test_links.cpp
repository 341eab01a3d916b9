// Linked forms and the retrospective: what the menu offers, and what goes to the host.
#include <QAction>
#include <QPointer>
#include <QStandardItemModel>
#include <QWidgetAction>

#include "OperatorWindow.h"

namespace tlm::test {
namespace {

class Links : public OperatorWindow {
 protected:
  QStringList entries() {
    QStringList texts;
    for (const QAction* action : module->linkMenu->actions()) texts << action->text() + "|" + action->data().toString();
    return texts;
  }
  void clickForm(int number, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    module->linkMenu->popup(QPoint(300, 300));
    settle();
    clickIn(module->linkMenu, module->linkMenu->actions().at(number), modifiers);
  }
};

TEST_F(Links, StandInASubmenuInTheirOrder) {
  openMenu("Q-1");
  ASSERT_NE(module->linkMenu, nullptr);
  EXPECT_EQ(module->linkMenu->title(), "Перейти");
  EXPECT_TRUE(module->linkMenu->isEnabled());
  EXPECT_EQ(module->linkMenu->parent(), module->contextMenu);
  EXPECT_EQ(module->contextMenu->actions().last(), module->linkMenu->menuAction());
  EXPECT_EQ(entries(), QStringList({"Первая|a.svg," + key("Q-1"), "Вторая|b,c.svg," + key("Q-1")}));
  for (const QAction* action : module->linkMenu->actions()) EXPECT_TRUE(action->shortcut().isEmpty());
}

TEST_F(Links, AreAskedForAtEachRightClick) {
  openMenu("Q-1");
  EXPECT_EQ(app.log.filter("SrvReq_ObjectForms"), QStringList("ProcExec SrvReq_ObjectForms"));
  openMenu("Q-1");
  EXPECT_EQ(app.log.filter("SrvReq_ObjectForms").size(), 1);
}

TEST_F(Links, AreNotAskedForWithoutANumber) {
  openMenu("КП-1");
  EXPECT_EQ(app.log.filter("SrvReq_ObjectForms"), QStringList());
  EXPECT_EQ(module->linkMenu, nullptr);
}

TEST_F(Links, OfAnObjectWithoutFormsAreDisabled) {
  openMenu("Всё есть");
  ASSERT_NE(module->linkMenu, nullptr);
  EXPECT_EQ(module->linkMenu->title(), "Перейти");
  EXPECT_FALSE(module->linkMenu->isEnabled());
  EXPECT_TRUE(module->linkMenu->isEmpty());
}

TEST_F(Links, TellWhetherTheQuerySucceeded) {
  QMenu parent;
  EXPECT_TRUE(module->CreateLinkMenu(key("Q-1"), &parent, module.get(), "1OnLinksAction()"));
  EXPECT_TRUE(module->CreateLinkMenu(key("Всё есть"), &parent, module.get(), "1OnLinksAction()"));
  for (const Fail fail : {Fail::kRefuseToSend, Fail::kTimeOut, Fail::kStatus, Fail::kEmptyPayload}) {
    app.failures.clear();
    app.failures.add("ProcExec", fail);
    EXPECT_FALSE(module->CreateLinkMenu(key("Q-1"), &parent, module.get(), "1OnLinksAction()"));
    EXPECT_FALSE(module->linkMenu->isEnabled());
    EXPECT_EQ(module->linkMenu->title(), "Перейти");
    EXPECT_TRUE(module->linkMenu->isEmpty());
  }
  module->linkMenu = nullptr;  // gone with its parent
}

TEST_F(Links, AreReplacedByTheNextRightClick) {
  openMenu("Q-1");
  const QPointer<QMenu> first = module->linkMenu;
  openMenu("Q-1");
  EXPECT_TRUE(first.isNull());
  EXPECT_EQ(module->contextMenu->findChildren<QMenu*>(QString(), Qt::FindDirectChildrenOnly).size(), 1);
}

TEST_F(Links, GoToTheHostAsAFile) {
  openMenu("Q-1");
  clickForm(0);
  ASSERT_EQ(app.calls.size(), 1);
  EXPECT_EQ(app.calls[0].code, 64);
  EXPECT_EQ(app.calls[0].command, "RUN_FILE");
  EXPECT_EQ(app.calls[0].flags, 0);
  EXPECT_EQ(app.calls[0].parameter, "a.svg;object=" + key("Q-1").toLatin1());
}

TEST_F(Links, OfAFileWithACommaAreCutThere) {
  openMenu("Q-1");
  clickForm(1);
  ASSERT_EQ(app.calls.size(), 1);
  EXPECT_EQ(app.calls[0].parameter, "b;object=c.svg");
}

TEST_F(Links, WithControlHeldOpenInANewWindow) {
  openMenu("Q-1");
  clickForm(0, Qt::ControlModifier);
  ASSERT_EQ(app.calls.size(), 1);
  EXPECT_EQ(app.calls[0].flags, 1);
}

TEST_F(Links, AreSentInTheServersCodePage) {
  openMenu("Q-1");
  module->linkMenu->actions().at(0)->setData("Схема.svg,Ключ");
  clickForm(0);
  EXPECT_EQ(app.calls[0].parameter, module->moduleCodec->fromUnicode("Схема.svg;object=Ключ"));
}

TEST_F(Links, KeepEmptyParts) {
  openMenu("Q-1");
  module->linkMenu->actions().at(0)->setData(",x");
  module->linkMenu->actions().at(1)->setData("only");
  clickForm(0);
  clickForm(1);
  EXPECT_EQ(app.calls[0].parameter, ";object=x");
  EXPECT_EQ(app.calls[1].parameter, "only;object=");
}

TEST_F(Links, WithoutATextDoNothing) {
  openMenu("Q-1");
  for (const QVariant& wrong : {QVariant(), QVariant(5), QVariant(QByteArray("a,b"))}) {
    module->linkMenu->actions().at(0)->setData(wrong);
    clickForm(0);
  }
  EXPECT_TRUE(app.calls.isEmpty());
}

TEST_F(Links, AnswerToPlainActionsOnlyAndOnlyWhileThereIsAMenu) {
  QWidgetAction other(module.get());
  QAction plain(module.get());
  for (QAction* action : std::initializer_list<QAction*>{&other, &plain}) {
    action->setData("a,b");
    QObject::connect(action, SIGNAL(triggered()), module.get(), SLOT(OnLinksAction()));
  }
  plain.trigger();  // no menu yet
  openMenu("Q-1");
  other.trigger();
  module->OnLinksAction();  // nobody sent it
  EXPECT_TRUE(app.calls.isEmpty());
  plain.trigger();
  EXPECT_EQ(app.calls.size(), 1);
}

// ---- the retrospective ----

TEST_F(Links, RetrospectiveGoesToTheHostWithTheKey) {
  choose("Всё есть", module->actRetro);
  ASSERT_EQ(app.calls.size(), 1);
  EXPECT_EQ(app.calls[0].code, 64);
  EXPECT_EQ(app.calls[0].command, "RUN_MOD");
  EXPECT_EQ(app.calls[0].flags, 0);
  EXPECT_EQ(app.calls[0].parameter, "TlmRetro.modRetroQuick;Key=" + key("Всё есть").toUtf8());
}

TEST_F(Links, RetrospectiveWithControlHeldOpensInANewWindow) {
  choose("Всё есть", module->actRetro, Qt::ControlModifier);
  ASSERT_EQ(app.calls.size(), 1);
  EXPECT_EQ(app.calls[0].flags, 1);
}

TEST_F(Links, RetrospectiveOfNoRowOrNoKeyDoesNothing) {
  tree()->setCurrentIndex(QModelIndex());
  module->OnShowRetroAction();
  tree()->setCurrentIndex(find("Q-1").parent());
  module->OnShowRetroAction();
  EXPECT_TRUE(app.calls.isEmpty());
}

TEST_F(Links, RetrospectiveNamesTheKeyInUtf8) {
  QStandardItemModel other;
  auto* const row = new QStandardItem("row");
  row->setData("Ключ", kKeyRole);
  other.appendRow(row);
  QAbstractItemModel* const own = tree()->model();
  tree()->setModel(&other);
  tree()->setCurrentIndex(other.index(0, 0));
  module->OnShowRetroAction();
  tree()->setModel(own);
  ASSERT_EQ(app.calls.size(), 1);
  EXPECT_EQ(app.calls[0].parameter, QString("TlmRetro.modRetroQuick;Key=Ключ").toUtf8());
}

TEST_F(Links, CommandOfTheHostIsIgnored) { EXPECT_EQ(module->SetParamCommand("anything"), 0); }

}  // namespace
}  // namespace tlm::test
