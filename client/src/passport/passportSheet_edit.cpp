#include "passport/passportSheet.h"

#include "passport/values.h"

#include <TlmClient/TlmPassport.h>

#include <algorithm>

namespace tlm::passport {

bool PassportSheet::isPending(const ObjectFormPtr& form) const {
  return std::find(pending_.begin(), pending_.end(), form) != pending_.end();
}

// A new object waits to be saved and is not the one that is shown: both cannot go into one change set.
bool PassportSheet::otherIsNew() const {
  return std::any_of(pending_.begin(), pending_.end(),
                     [this](const ObjectFormPtr& form) { return form->isNew && form != shown_; });
}

// After each edit of the object that is shown.
void PassportSheet::noteEdit() {
  shown_->handedOver = false;
  if (!isPending(shown_)) pending_.push_back(shown_);
  if (!shown_->isNew && !shown_->hasEdits())
    pending_.erase(std::remove(pending_.begin(), pending_.end(), shown_), pending_.end());
  emit owner_->TlmPasspChanged();
}

bool PassportSheet::onEdit(SheetField& field, Edit edit) {
  if (!shown_) return false;
  if (edit.text.isNull()) edit.text = texts_.text(*field.meta, edit.value);
  const bool sameAsShown = !field.merged && field.unseen.isNull() && sameValue(edit.value, field.value);
  if (sameAsShown) return true;
  field.value = edit.value;
  field.text = edit.text;
  field.check = edit.value.toBool() ? Qt::Checked : Qt::Unchecked;
  field.mixed = false;
  field.unseen = QString();
  const FieldMetaPtr meta = field.meta;
  shown_->setEdit(meta->table, *meta, edit, shown_->isMerged);
  field.edited = shown_->edit(meta->id) != nullptr;
  noteEdit();
  return true;
}

bool PassportSheet::onPageEdit(const PageRow& row, const FieldMeta& meta, Edit edit) {
  if (!shown_ || !editable_ || otherIsNew()) return false;
  const Edit* held = shown_->edit(row.tableId + "." + meta.name);
  if (sameValue(edit.value, held ? held->value : shown_->value(row.tableId, meta))) return true;
  if (edit.text.isNull()) edit.text = texts_.text(meta, edit.value);
  shown_->setEdit(row.tableId, meta, edit, false);
  noteEdit();
  fillPage();
  return true;
}

void PassportSheet::handOver(QStringList* tables, QList<CMDArray*>* arrays) {
  leaveEditor(false);
  for (const ObjectFormPtr& form : pending_) {
    form->appendTo(tables, arrays);
    form->handedOver = true;
  }
}

// What was handed over counts as saved and stays on the screen; other edits give way to what was stored.
void PassportSheet::clearChanges() {
  const std::vector<ObjectFormPtr> cleared = std::move(pending_);
  pending_.clear();
  for (const ObjectFormPtr& form : cleared) form->handedOver ? form->acceptEdits() : form->dropEdits();
  const bool accepted = shown_ && shown_->handedOver;
  if (shown_) shown_->handedOver = false;
  model_.changeFields([accepted](SheetField& field) {
    if (field.edited && accepted && field.unseen.isNull()) {
      field.stored = {field.value, field.text};
      field.storedCheck = field.check;
    }
    field.value = field.stored.value;
    field.text = field.stored.text;
    field.check = field.storedCheck;
    field.edited = false;
    field.unseen = QString();
  });
  fillPage();
}

QString PassportSheet::measName(qint64 locId) {
  QString name;
  if (locId != 0 && !requestMeasName(texts_.session(), locId, &name)) name = QString::fromUtf8("измерения нет");
  return name;
}

}  // namespace tlm::passport
