// A single-line diagram with one object marked.
#ifndef TLMHOST_SCHEMEVIEW_H
#define TLMHOST_SCHEMEVIEW_H

#include <QSvgRenderer>
#include <QWidget>

namespace tlm {

// GUI thread only. Scaled into the room that there is.
class SchemeView : public QWidget {
  Q_OBJECT

 public:
  explicit SchemeView(QWidget* parent = nullptr);

  // False when there is no such form among those of the program, or it is no SVG.
  bool load(const QString& file);

  // Marks the element "m" and the number. False when the form does not show that measurement.
  bool mark(int locId);
  QRectF marked() const;  // in the view; empty when nothing is marked

  QSize sizeHint() const override { return {900, 560}; }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QTransform placed() const;  // from the form to the view

  QSvgRenderer form_;
  QRectF mark_;  // in the form
};

}  // namespace tlm

#endif
