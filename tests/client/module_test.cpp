// The base of every module.
#include <TlmClient/CPopMessageBox.h>
#include <TlmClient/CTlmCliApp.h>
#include <TlmClient/CTlmCliMod.h>
#include <TlmClient/CTlmToolCalcExec.h>

#include <QCloseEvent>

#include <gtest/gtest.h>

#include <bit>
#include <cstddef>
#include <memory>

#include "support/Gui.h"
#include "support/TestApp.h"

namespace tlm::test {
namespace {

// How this platform's compilers write a pointer to a virtual member: one more than its place in the table.
struct MemberPointer {
  ptrdiff_t place;
  ptrdiff_t adjust;
};

template <typename Member>
ptrdiff_t placeOf(Member member) {
  return (std::bit_cast<MemberPointer>(member).place - 1) / static_cast<ptrdiff_t>(sizeof(void*));
}

// ---- the table of virtual operations: a module that was built elsewhere calls through it ----

TEST(ModuleBase, KeepsTheOrderOfItsVirtualOperations) {
  const ptrdiff_t places[] = {placeOf(&CTlmCliMod::LogFile),
                              placeOf(&CTlmCliMod::ModuleStart),
                              placeOf(&CTlmCliMod::ModuleStop),
                              placeOf(&CTlmCliMod::MessageOn),
                              placeOf(&CTlmCliMod::MessageData),
                              placeOf(&CTlmCliMod::SetError),
                              placeOf(&CTlmCliMod::SetParamMod),
                              placeOf(&CTlmCliMod::GetParamMod),
                              placeOf(&CTlmCliMod::SetParamCommand),
                              placeOf(&CTlmCliMod::SetParamProfile),
                              placeOf(&CTlmCliMod::GetParamProfile),
                              placeOf(&CTlmCliMod::SetParamState),
                              placeOf(&CTlmCliMod::GetParamState),
                              placeOf(&CTlmCliMod::ParentResizeOn),
                              placeOf(&CTlmCliMod::GetAlarmsList),
                              placeOf(&CTlmCliMod::AppIdleEvent),
                              placeOf(&CTlmCliMod::ModSesReconnect),
                              placeOf(&CTlmCliMod::ModDataEditPost),
                              placeOf(&CTlmCliMod::ModDataEditCancel),
                              placeOf(&CTlmCliMod::slot_modNotify),
                              placeOf(&CTlmCliMod::slot_toolFinished),
                              placeOf(&CTlmCliMod::slot_popMessageBoxClicked),
                              placeOf(&CTlmCliMod::slot_endRestructure)};
  for (size_t i = 1; i < std::size(places); ++i) EXPECT_EQ(places[i], places[0] + static_cast<ptrdiff_t>(i)) << i;
  EXPECT_GT(places[0], placeOf(&QMainWindow::createPopupMenu)) << "they stand behind those of the window";
}

// ---- services ----

class Module : public testing::Test {
 protected:
  EmbeddedServer server{""};
  TestApp app{*server.core()};
  std::unique_ptr<CTlmCliMod> module = std::make_unique<CTlmCliMod>(&app);
};

TEST_F(Module, TakesSubscriptionsLibraryAndInstanceFromItsHost) {
  EXPECT_EQ(module->abo, app.line().abo());
  ASSERT_NE(module->library, nullptr);
  EXPECT_EQ(module->library->fileName(), "libTlmMeas.so.2");
  EXPECT_EQ(module->instance, "1");
  EXPECT_EQ(module->popMessageBox, nullptr);
}

TEST_F(Module, DoesNotUseItsSessionWhenItIsMade) { EXPECT_TRUE(app.log.isEmpty()); }

TEST_F(Module, LeavesItsHostWhenItGoes) {
  EXPECT_EQ(app.modules, 1);
  module.reset();
  EXPECT_EQ(app.modules, 0);
}

TEST_F(Module, StandsWithoutAHost) {
  CTlmCliMod alone(nullptr);
  EXPECT_EQ(alone.abo, nullptr);
  EXPECT_EQ(alone.MessageGet(), 0);
  EXPECT_FALSE(alone.doCall(64, nullptr));
  alone.SetIsEdit(true);
  alone.SetModTitle("title", "");
  alone.SetError("text");
}

TEST_F(Module, TellsItsHostOfUnsavedEdits) {
  module->SetIsEdit(true);
  EXPECT_TRUE(app.edited);
  EXPECT_TRUE(module->IsEdit());
  module->SetIsEdit(false);
  EXPECT_FALSE(app.edited);
}

TEST_F(Module, SetsItsTitle) {
  module->SetModTitle(QString::fromUtf8("Конфигуратор телеметрии"), "");
  EXPECT_EQ(module->windowTitle(), QString::fromUtf8("Конфигуратор телеметрии"));
  EXPECT_EQ(app.title, QString::fromUtf8("Конфигуратор телеметрии"));
}

TEST_F(Module, PassesACommandToItsHost) {
  TlmHostCall call{1, "RUN_MOD", "TlmRetro.modRetroQuick;Key=1"};
  EXPECT_TRUE(module->doCall(64, &call));
  ASSERT_EQ(app.calls.size(), 1);
  EXPECT_EQ(app.calls[0].code, 64);
  EXPECT_EQ(app.calls[0].flags, 1);
  EXPECT_EQ(app.calls[0].command, "RUN_MOD");
  EXPECT_EQ(app.calls[0].parameter, "TlmRetro.modRetroQuick;Key=1");
  app.callResult = false;
  EXPECT_FALSE(module->doCall(64, &call));
}

TEST_F(Module, MakesOneMessageBoxWithItselfAsParent) {
  CPopMessageBox* const box = module->PopMessageBoxCreate();
  EXPECT_EQ(box, module->popMessageBox);
  EXPECT_EQ(box->parent(), module.get());
  EXPECT_EQ(module->PopMessageBoxCreate(), box);
}

TEST_F(Module, ClosesTheMessageBoxByItsSlot) {
  module->show();
  CPopMessageBox* const box = module->PopMessageBoxCreate();
  box->setMessage("title", "text", kBoxInformation, kBoxOk, SLOT(slot_popMessageBoxClicked(QAbstractButton*)));
  box->show();
  ASSERT_TRUE(box->isVisible());
  answerBox(box, 0);
  EXPECT_FALSE(box->isVisible());
}

TEST_F(Module, DoesNotCloseItselfOverUnsavedEdits) {
  module->SetIsEdit(true);
  QCloseEvent first;
  module->closeEvent(&first);
  EXPECT_FALSE(first.isAccepted());
  module->SetIsEdit(false);
  QCloseEvent second;
  module->closeEvent(&second);
  EXPECT_TRUE(second.isAccepted());
}

TEST_F(Module, TakesOneMessageAtATime) {
  EXPECT_EQ(module->MessageGet(), 0) << "none waits";
  const int kinds[] = {902};
  module->abo->SubEvent(kinds, 1);
  for (int i = 0; i < 2; ++i) {
    wire::Event event;
    event.kind = 902;
    server.core()->publish(event);
  }
  module->MessageGet();
  MDXCliParam* const second = module->abo->TakeMessage();
  EXPECT_NE(second, nullptr);
  MDXParamFree(second);
  EXPECT_EQ(module->abo->TakeMessage(), nullptr);
}

TEST_F(Module, AnswersEveryOperationThatItDoesNotOverride) {
  QString value = "x";
  EXPECT_EQ(module->ModuleStart(), 1);
  EXPECT_EQ(module->ModuleStop(), 1);
  EXPECT_EQ(module->GetParamMod("name", value), 0);
  EXPECT_TRUE(value.isEmpty());
  EXPECT_TRUE(module->GetParamState().isEmpty());
  EXPECT_TRUE(module->GetAlarmsList().isEmpty());
}

// ---- tools ----

class Counter : public CTlmToolObject {
 public:
  using CTlmToolObject::CTlmToolObject;
  void run() override {
    seenAtStart = state;
    state = kRunning;
    MDXCliParam* reply = nullptr;
    if (session()->PacketExec("SRV_GROUPS_INFO", nullptr, 0, &reply) && WaitResult(&reply, -1)) state = kFinished;
    session()->PrmFree(reply);
  }
  int seenAtStart = -1;
};

TEST_F(Module, RunsAToolToItsEnd) {
  Counter tool(module.get());
  EXPECT_EQ(tool.parent(), module.get());
  tool.Perform(false);
  EXPECT_EQ(tool.seenAtStart, CTlmToolObject::kIdle);
  EXPECT_EQ(tool.state, CTlmToolObject::kFinished);
}

TEST_F(Module, CallsAProcedureOfTheServer) {
  CTlmToolCalcExec tool(module.get());
  EXPECT_EQ(tool.objectName(), "CalcExec");
  tool.procedure = "SrvReq_ObjectForms";
  CVarSetStr(&tool.args, "0123456789ABCDEF0123456789ABCDEF", 32);
  tool.Perform(false);
  EXPECT_EQ(tool.state, 2);
  EXPECT_EQ(tool.result.type, CVAR_TABLE);
  EXPECT_EQ(app.log, QStringList("ProcExec SrvReq_ObjectForms"));
}

TEST_F(Module, FailsAToolWhoseProcedureIsUnknown) {
  CTlmToolCalcExec tool(module.get());
  tool.procedure = "NoSuchProcedure";
  tool.Perform(false);
  EXPECT_EQ(tool.state, 3);
  EXPECT_EQ(tool.result.type, CVAR_NULL);
}

TEST_F(Module, FailsAToolThatGetsNoAnswer) {
  for (const Fail fail : {Fail::kRefuseToSend, Fail::kTimeOut, Fail::kNoReply, Fail::kStatus, Fail::kEmptyPayload}) {
    app.failures.clear();
    app.failures.add("ProcExec", fail);
    CTlmToolCalcExec tool(module.get());
    tool.procedure = "SrvReq_ObjectForms";
    tool.Perform(false);
    EXPECT_EQ(tool.state, 3) << static_cast<int>(fail);
  }
}

TEST_F(Module, FailsAToolWithoutASession) {
  CTlmCliMod alone(nullptr);
  CTlmToolCalcExec tool(&alone);
  tool.Perform(false);
  EXPECT_EQ(tool.state, 3);
}

}  // namespace
}  // namespace tlm::test
