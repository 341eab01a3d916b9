// Runs tests with windows. Set QT_QPA_PLATFORM to see them on a screen.
#include <TlmClient/CPopMessageBox.h>
#include <TlmClient/ModuleStyle.h>

#include <QApplication>
#include <QEvent>
#include <QTest>
#include <QWidget>

#include <gtest/gtest.h>

namespace {

// A test that leaves a question open has failed.
class QuestionWatch : public testing::EmptyTestEventListener {
  void OnTestStart(const testing::TestInfo&) override {
    abandoned_ = CPopMessageBox::abandonedCount();
    releaseKeys();
  }
  void OnTestEnd(const testing::TestInfo&) override {
    for (const CPopMessageBox* box : CPopMessageBox::waitingBoxes()) {
      ADD_FAILURE() << "nobody answered: " << box->messageText().toStdString();
    }
    if (CPopMessageBox::abandonedCount() != abandoned_) ADD_FAILURE() << "a message box went without an answer";
  }
  // What a test pressed with a modifier stays held for the program: the next test would widen selections with it.
  static void releaseKeys() {
    QWidget keyboard;
    QTest::keyRelease(&keyboard, Qt::Key_Control);
  }
  int abandoned_ = 0;
};

// A window that is shown is the active one, as with a window manager; a bare X server has none.
class WindowManager : public QObject {
  bool eventFilter(QObject* watched, QEvent* event) override {
    auto* widget = event->type() == QEvent::Show && watched->isWidgetType() ? static_cast<QWidget*>(watched) : nullptr;
    if (widget && widget->isWindow() && widget->windowType() == Qt::Window) QApplication::setActiveWindow(widget);
    return false;
  }
};

// The offscreen platform says of every window what it cannot do.
QtMessageHandler otherMessages = nullptr;
void passMessage(QtMsgType type, const QMessageLogContext& context, const QString& text) {
  if (!text.startsWith("This plugin does not support")) otherMessages(type, context, text);
}

}  // namespace

int main(int argc, char** argv) {
  qputenv("QT_STYLE_OVERRIDE", "fusion");
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  testing::InitGoogleTest(&argc, argv);
  if (testing::GTEST_FLAG(list_tests)) return RUN_ALL_TESTS();  // a list needs no screen
  otherMessages = qInstallMessageHandler(passMessage);
  QApplication app(argc, argv);
  app.setPalette(tlm::workstationPalette());
  app.setFont(tlm::workstationFont());
  WindowManager windows;
  app.installEventFilter(&windows);
  testing::UnitTest::GetInstance()->listeners().Append(new QuestionWatch);
  return RUN_ALL_TESTS();
}
