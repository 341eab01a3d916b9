// The base of every module: a window that the host drives through virtual operations.
#ifndef TLMCLIENT_CTLMCLIMOD_H
#define TLMCLIENT_CTLMCLIMOD_H

#include <TlmClient/export.h>
#include <TlmMdx/mdx.h>

#include <QMainWindow>
#include <QString>
#include <QStringList>
#include <QVariant>

class CPopMessageBox;
class CTlmCliAbo;
class CTlmCliApp;
class QAbstractButton;
class QCloseEvent;
class QLibrary;

// GUI thread only. The host deletes the module.
class TLMCLIENT_API CTlmCliMod : public QMainWindow {
  Q_OBJECT

 public:
  explicit CTlmCliMod(CTlmCliApp* app);
  ~CTlmCliMod() override;

  // The virtual operations, in the order of their table.
  virtual void LogFile(int level, QString source, QString text);
  virtual int ModuleStart();                      // once, when the session stands; 1 on success
  virtual int ModuleStop();                       // before the host deletes the module; 1 if it may go
  virtual int MessageOn();                        // messages wait
  virtual int MessageData(MDXCliParam* message);  // one message, freed by the caller
  virtual void SetError(QString text);
  virtual int SetParamMod(QString name, QString value);
  virtual int GetParamMod(QString name, QString& value);
  virtual int SetParamCommand(QString command);
  virtual int SetParamProfile(QString text);
  virtual QString GetParamProfile();
  virtual int SetParamState(QString text);
  virtual QString GetParamState();
  virtual void ParentResizeOn(int width, int height);
  virtual QStringList GetAlarmsList();
  virtual void AppIdleEvent();
  virtual void ModSesReconnect();
  virtual void ModDataEditPost();
  virtual void ModDataEditCancel();

 public slots:
  virtual void slot_modNotify(QString name, QVariant value);
  virtual void slot_toolFinished();
  virtual void slot_popMessageBoxClicked(QAbstractButton* button);  // closes the shared box
  virtual void slot_endRestructure();

 public:
  // Takes the next queued message, hands it to MessageData, frees it. Returns what MessageData returned,
  // 0 when no message waits.
  int MessageGet();

  // Tells the host that unsaved edits exist, or no longer exist.
  void SetIsEdit(bool edited);
  bool IsEdit() const { return isEdit; }

  // Sets the window's title and tells the host.
  void SetModTitle(QString title, QString subtitle);

  // Applies the workstation's style to the window.
  void setModuleStyle();

  // A command to the host. True if it was carried out.
  bool doCall(int code, void* argument);

  // Makes the shared message box if it is null, with the module as parent.
  CPopMessageBox* PopMessageBoxCreate();

  void closeEvent(QCloseEvent* event) override;

  CTlmCliAbo* abo = nullptr;                // subscriptions and session; the host's
  QLibrary* library = nullptr;              // from which the module was loaded, or null
  QString instance;                         // the module's instance text
  QString title;                            // the title text
  CPopMessageBox* popMessageBox = nullptr;  // shared, null until first use

 private:
  CTlmCliApp* app_;
  bool isEdit = false;
};

#endif
