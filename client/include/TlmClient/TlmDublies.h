// The panel that shows and edits the duplicates of one measurement: other measurements that stand in for it.
#ifndef TLMCLIENT_TLMDUBLIES_H
#define TLMCLIENT_TLMDUBLIES_H

#include <TlmClient/CPopTemplate.h>

#include <QString>

#include <memory>

class CTlmCliSes;

// GUI thread only. Edits are kept until they are saved, all in one block, or dropped by closing.
class TLMCLIENT_API TlmDublies : public CPopTemplate {
  Q_OBJECT

 public:
  explicit TlmDublies(QWidget* parent);
  ~TlmDublies() override;

  // Loads the duplicates of the object. The session must outlive the panel's use; edits not saved are dropped.
  void SetObject(QString key, CTlmCliSes* session);

  bool isEdited() const;

 public slots:
  void On_Accept() override;  // saves; closes when the server took it, or when there is nothing to save

 private:
  void build();
  void fill();
  void take(int row, int column);
  void move(int by);
  void add();
  void remove();
  void updateButtons();
  void tell(const QString& problem);
  bool save();

  struct Parts;
  std::unique_ptr<Parts> parts_;
};

#endif
