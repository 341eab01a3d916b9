// The passport: every kind of object in it, edits of each kind, refusals, several objects at once, Cancel.
#ifndef TLMTOUR_PASSPORTROAD_H
#define TLMTOUR_PASSPORTROAD_H

#include <QString>

#include <memory>

#include "Report.h"
#include "Stage.h"

class CPopMessageBox;

namespace tlm::tour {

class PassportRoad {
 public:
  PassportRoad(ModuleLibrary& library, const QDir& scratch, Report& report);
  ~PassportRoad();

  // Plays all steps. False when the program could not even be opened.
  bool play();

 private:
  bool openUnit();
  void showKinds();
  void editEnumeration();
  void editReference();
  void saveEdits();
  void refuseNumber();
  void refuseName();
  void refuseRange();
  void refuseCharacter();
  void editTwo();
  void checkTwo();
  void cancelTwo();
  void narrowPassport();

  QModelIndex groupOf(const char* className) const;
  QModelIndex measurement(const char* className, int row) const;
  void select(const QModelIndex& index, bool more = false);
  QModelIndex field(const char* title) const;
  QString shown(const char* title) const { return field(title).data().toString(); }
  QWidget* edit(const char* title);
  void typeInto(QWidget* editor, const QString& text);
  void type(const char* title, const QString& text, Qt::Key end = Qt::Key_Return);
  CPopMessageBox* box() const;
  void closeBox();
  QString stored(const QString& key, const char* table, const char* field) const;
  void step(const char* name, const QString& expected, const QString& seen);

  ModuleLibrary& library_;
  const QString storeFile_;
  const QString settingsFile_;
  Report& report_;
  std::unique_ptr<Stage> stage_;
  QString unitKey_;
};

}  // namespace tlm::tour

#endif
