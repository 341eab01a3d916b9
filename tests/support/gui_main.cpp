// Runs tests with windows. Set QT_QPA_PLATFORM to see them on a screen.
#include <TlmClient/CPopMessageBox.h>
#include <TlmClient/ModuleStyle.h>

#include <QApplication>

#include <gtest/gtest.h>

namespace {

// A test that leaves a question open has failed.
class QuestionWatch : public testing::EmptyTestEventListener {
  void OnTestStart(const testing::TestInfo&) override { abandoned_ = CPopMessageBox::abandonedCount(); }
  void OnTestEnd(const testing::TestInfo&) override {
    for (const CPopMessageBox* box : CPopMessageBox::waitingBoxes()) {
      ADD_FAILURE() << "nobody answered: " << box->messageText().toStdString();
    }
    if (CPopMessageBox::abandonedCount() != abandoned_) ADD_FAILURE() << "a message box went without an answer";
  }
  int abandoned_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
  qputenv("QT_STYLE_OVERRIDE", "fusion");
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  testing::InitGoogleTest(&argc, argv);
  QApplication app(argc, argv);
  app.setPalette(tlm::workstationPalette());
  app.setFont(tlm::workstationFont());
  testing::UnitTest::GetInstance()->listeners().Append(new QuestionWatch);
  return RUN_ALL_TESTS();
}
