// The panel by which an operator sets the value of one measurement by hand, or lifts it again.
#ifndef TLMCLIENT_CPOPMANUALINPUT_H
#define TLMCLIENT_CPOPMANUALINPUT_H

#include <TlmClient/CPopTemplate.h>

#include <QByteArray>
#include <QTimer>

#include <memory>

// GUI thread only. Finds the session by its parent, a CTlmCliMod or a child of one; without a session it shows what
// it was given and cannot apply. What is refused is told in the panel, which then stays open.
class TLMCLIENT_API CPopManualInput : public CPopTemplate {
  Q_OBJECT

 public:
  explicit CPopManualInput(QWidget* parent);
  ~CPopManualInput() override;

  // Takes the text of the request "MeasParams" (lines of name=value, Windows-1251), and fills the panel anew.
  void SetParams(const QByteArray& params);

  // True while "automatic" is chosen.
  bool isManualAuto() const;

  int locId = 0;        // the number that it was opened for; set by the caller
  QTimer refreshTimer;  // asks for the current value while the panel is shown

 public slots:
  void On_Accept() override;  // applies what is chosen; closes when the server took it

 protected:
  void showEvent(QShowEvent* event) override;
  void hideEvent(QHideEvent* event) override;

 private:
  void build();
  void choose();
  void refresh();
  void tell(const QString& problem);
  bool send(const QByteArray& body);

  struct Parts;
  std::unique_ptr<Parts> parts_;
};

#endif
