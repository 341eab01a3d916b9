// The panel by which an operator sends a telecontrol command to one discrete signal.
#ifndef TLMCLIENT_CPOPREMOTECONTROL_H
#define TLMCLIENT_CPOPREMOTECONTROL_H

#include <TlmClient/CPopTemplate.h>

#include <QByteArray>
#include <QTimer>

#include <memory>

// GUI thread only. Finds the session by its parent, a CTlmCliMod or a child of one.
//
// A command goes in three steps: the operator chooses it and names himself by his password, confirms it once more with
// object and command before his eyes, and the panel sends it, once. It stays open and tells the outcome: when no answer
// comes it says so, and asks the server what became of the command as soon as that is heard again. The server
// keeps its promise that a command which it did not know when it was asked is never executed later.
class TLMCLIENT_API CPopRemoteControl : public CPopTemplate {
  Q_OBJECT

 public:
  explicit CPopRemoteControl(QWidget* parent);
  ~CPopRemoteControl() override;

  // Takes the text of the request "MeasParams" (lines of name=value, Windows-1251), and begins anew.
  void SetParams(const QByteArray& params);

  // True when the command goes without the dialog: the signal is marked so, asks for no password, and its state now is
  // known from the field. It is sent then, to the state that the signal is not in, and what came of it stands in the
  // status bar.
  bool ControlAuto();

  void FocusToPassword();

  int locId = 0;        // the number that it was opened for; set by the caller
  QTimer refreshTimer;  // asks for the state, and for the outcome, while the panel is shown

  // Where a command stands.
  enum Step {
    kChoosing,    // command and password are being given
    kConfirming,  // the second question
    kWaiting,     // the server has it, no outcome yet
    kUnknown,     // no answer came: not known whether it was executed
    kOver         // the outcome is known and shown
  };
  Step step() const;

 signals:
  void signalTlmCliWidgetClosed(QWidget* widget, int result);  // result: 1 when a command went out, else 0

 public slots:
  void On_Accept() override;
  void On_Reject() override;

 protected:
  void showEvent(QShowEvent* event) override;
  void hideEvent(QHideEvent* event) override;

 private:
  void build();
  void go(Step step, const QString& text = {}, bool bad = false);
  void showButtons();
  void proceed();
  void confirm();
  void send();
  void refresh();
  void askOutcome();
  void tell(const QString& text, bool bad);

  struct Parts;
  std::unique_ptr<Parts> parts_;
};

#endif
