#include "passport/passportSheet.h"

#include <TlmClient/TlmPassport.h>

namespace tlm::passport {

PassportSheet::PassportSheet(TlmPassport* owner)
    : owner_(owner),
      model_(nullptr),
      delegate_(this, nullptr),
      view_(&model_, &delegate_, nullptr),
      pageModel_(nullptr),
      pageDelegate_(this, nullptr) {
  model_.setEditHandler([this](SheetField& field, const Edit& edit) { return onEdit(field, edit); });
  pageModel_.setEditHandler(
      [this](const PageRow& row, const FieldMeta& meta, const Edit& edit) { return onPageEdit(row, meta, edit); });
}

PassportSheet::~PassportSheet() {
  // The owner's listeners may be half gone by now: an open edit is dropped without a word.
  const QSignalBlocker quiet(owner_);
  for (SheetDelegate* delegate : {&delegate_, &pageDelegate_})
    if (QWidget* editor = delegate->openEditor()) delegate->cancel(editor);
  bind(nullptr);
}

void PassportSheet::bind(QTabWidget* tabs) {
  delete page_;
  tabs_ = tabs;
  QWidget* first = tabs ? tabs->widget(0) : nullptr;
  view_.attach(first ? first->findChild<QTreeView*>() : nullptr);
}

void PassportSheet::setEditable(bool editable) {
  editable_ = editable;
  pageModel_.setEditable(editable);
  model_.changeFields([this](SheetField& field) { field.locked = lockOf(*field.meta); });
}

void PassportSheet::refuse(const QString& why) { emit owner_->TlmPasspMessage(why); }

// An open edit belongs to the object that is shown: it is taken over before another one comes. What cannot
// be taken over is dropped, after a word about it.
void PassportSheet::leaveEditor(bool otherObject) {
  for (SheetDelegate* delegate : {&delegate_, &pageDelegate_})
    if (QWidget* editor = delegate->openEditor())
      if (!delegate->finish(editor) && otherObject) delegate->cancel(editor);
}

}  // namespace tlm::passport
