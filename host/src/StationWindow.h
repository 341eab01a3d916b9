// The frame around one module: menu, status bar, questions at the end.
#ifndef TLMHOST_STATIONWINDOW_H
#define TLMHOST_STATIONWINDOW_H

#include <QMainWindow>
#include <QTextCodec>

class CPopMessageBox;
class CTlmCliMod;
class QAbstractButton;
class QLabel;
class QToolButton;

namespace tlm {

class StationApp;
class TlmSession;

class StationWindow : public QMainWindow {
  Q_OBJECT

 public:
  StationWindow(StationApp& app, int number);
  ~StationWindow() override;  // stops and deletes the module

  // Takes the module over, gives it its state text, shows the window and starts the module. False when the
  // module does not start.
  bool start(CTlmCliMod* module, const QString& state);

  CTlmCliMod* module() const { return module_; }
  int number() const { return number_; }
  QTextCodec* codec() const;

  // Shows the line and the refusals of the module's session.
  void watch(TlmSession& session);

  void showEdited(bool edited);
  void showTitle(const QString& title, const QString& subtitle);
  void showMessage(const QString& text);
  void showRefused(int status, const QString& why);

  // Why a write was not taken, for the user.
  static QString refusedDetails(int status, const QString& why);

  // Deletes the module, asks for a new one and gives it the state text back. False, with a message for the user, when
  // there is none: without a line to the server all stays as it is, without a new module the window is empty.
  bool loadAnew();

  // The question at closing, or the one after a refused write; null before the first.
  CPopMessageBox* question() const { return question_; }

  // Texts of the status bar.
  QString connectionText() const;
  QString editText() const;
  QString refusedText() const;

 public slots:
  void openSecond();
  void showAbout();
  void answerClose(QAbstractButton* button);
  void answerRefused(QAbstractButton* button);

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  void makeMenu();
  void makeStatusBar();
  void showLine(bool alive, const QString& why);
  void showEventsLost(const QString& why);
  void askAnew();
  void forgetRefusals();
  CPopMessageBox* box();
  void stopModule();

  StationApp& app_;
  const int number_;
  CTlmCliMod* module_ = nullptr;
  CPopMessageBox* question_ = nullptr;
  QLabel* connection_ = nullptr;
  QLabel* edits_ = nullptr;
  QLabel* refused_ = nullptr;
  QToolButton* anew_ = nullptr;  // beside the count of refusals
  int refusals_ = 0;
  QString state_;  // of the module, when it was last taken away
  bool closeConfirmed_ = false;
  bool ending_ = false;
};

}  // namespace tlm

#endif
