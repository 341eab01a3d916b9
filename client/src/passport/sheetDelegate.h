// Paints the cells of the sheet and of its table pages, and makes their editors.
#pragma once

#include "passport/fieldMeta.h"

#include <QPointer>
#include <QStyledItemDelegate>
#include <QWidget>

class QKeyEvent;

namespace tlm::passport {

class ReferenceEditor;
class ValueTexts;

// What an editor asks of the sheet.
class EditorHost {
 public:
  virtual ~EditorHost() = default;
  virtual void refuse(const QString& why) = 0;
  virtual ValueTexts& texts() = 0;
  virtual void listOpened(ReferenceEditor* editor, const FieldMeta& meta) = 0;
  virtual void listClosed() = 0;
  virtual QString measName(qint64 locId) = 0;
  // Tab in an editor: on to the field after (1) or before (-1). False: no such field.
  virtual bool moveOn(int step) = 0;
};

class SheetDelegate : public QStyledItemDelegate {
  Q_OBJECT

 public:
  SheetDelegate(EditorHost* host, QObject* parent) : QStyledItemDelegate(parent), host_(host) {}

  QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
  void setEditorData(QWidget* editor, const QModelIndex& index) const override;
  void setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const override;
  void updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                            const QModelIndex& index) const override;
  QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
  void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
  bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;

  // Ends the open edit as Enter does. False when the text was refused; the editor stays open then.
  bool finish(QWidget* editor);
  // Ends it as Escape does.
  void cancel(QWidget* editor);

  // The editor that is open now, or null.
  QWidget* openEditor() const { return editor_ && !editor_->isHidden() ? editor_.data() : nullptr; }

 protected:
  bool eventFilter(QObject* object, QEvent* event) override;
  void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override;

 private:
  QWidget* makeEditor(const FieldMeta& meta, QWidget* parent) const;
  QWidget* makeReferenceEditor(const FieldMeta& meta, QWidget* parent) const;
  void endLater(QWidget* editor) const;
  bool handleKey(QWidget* editor, QKeyEvent* event);
  bool handleBoxKey(QWidget* editor, QKeyEvent* event);
  void tab(QWidget* editor, int step);
  void refuse(const QString& why) const;

  EditorHost* host_;
  mutable QPointer<QWidget> editor_;
  mutable bool refusing_ = false;  // a message about the open editor takes the focus now
};

}  // namespace tlm::passport
