#include "TestApp.h"

#include <gtest/gtest.h>

#include "host/embedded/EmbeddedTransport.h"

namespace tlm::test {

TestLine::TestLine(server::Core& core, const std::string& user, Failures* failures, QStringList* log, bool waits)
    : TestLine(std::make_unique<EmbeddedTransport>(core, server::Caller{user}), failures, log, waits) {}

TestLine::TestLine(std::unique_ptr<ITransport> transport, Failures* failures, QStringList* log, bool waits)
    : real_(std::move(transport)),
      failing_(&real_, failures),
      recording_(&failing_, log, waits),
      abo_(&real_, &recording_, log) {}

TestLine::~TestLine() = default;

TestApp::TestApp(server::Core& core, std::string user) : core_(core), user_(std::move(user)) {}

TestApp::~TestApp() { EXPECT_EQ(modules, 0) << "a module outlives its host"; }

CTlmCliAbo* TestApp::ConnectModule(CTlmCliMod*) {
  ++modules;
  lines_.push_back(std::make_unique<TestLine>(core_, user_, &failures, &log, recordWaits));
  QObject::connect(&lines_.back()->real(), &TlmSession::writeRefused, [this](int status, const QString& why) {
    refused.append({status, why});
  });
  return lines_.back()->abo();
}

void TestApp::DisconnectModule(CTlmCliMod*) { --modules; }

void TestApp::ModuleIsEdit(CTlmCliMod*, bool isEdited) {
  edited = isEdited;
  edits.append(isEdited ? "true" : "false");
}

void TestApp::ModuleTitle(CTlmCliMod*, const QString& newTitle, const QString& newSubtitle) {
  title = newTitle;
  subtitle = newSubtitle;
}

void TestApp::ModuleMessage(CTlmCliMod*, const QString& text) { messages.append(text); }

bool TestApp::ModuleCall(CTlmCliMod*, int code, void* data) {
  Call call{code, 0, {}, {}};
  if (const auto* const host = static_cast<const TlmHostCall*>(data); host && code == 64) {
    call.flags = host->flags;
    call.command = QString::fromUtf8(host->command);
    call.parameter = host->parameter;
  }
  calls.append(call);
  return callResult;
}

}  // namespace tlm::test
