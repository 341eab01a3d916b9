#include "schemeView.h"

#include <QPainter>

#include <algorithm>

// Outside of the namespaces, as the macro wants it.
static void initForms() { Q_INIT_RESOURCE(forms); }

namespace tlm {
namespace {

constexpr double kHalo = 4;  // to both sides; the lines of a bay stand close above one another

}  // namespace

SchemeView::SchemeView(QWidget* parent) : QWidget(parent) {
  initForms();
  setMinimumSize(480, 300);
}

bool SchemeView::load(const QString& file) { return form_.load(QStringLiteral(":/forms/") + file); }

bool SchemeView::mark(int locId) {
  const QString element = QStringLiteral("m%1").arg(locId);
  mark_ = form_.elementExists(element) ? form_.transformForElement(element).mapRect(form_.boundsOnElement(element))
                                       : QRectF();
  update();
  return !mark_.isEmpty();
}

QTransform SchemeView::placed() const {
  const QSizeF form = form_.viewBoxF().size();
  if (form.isEmpty()) return {};
  const double scale = std::min(width() / form.width(), height() / form.height());
  QTransform transform;
  transform.translate((width() - form.width() * scale) / 2, (height() - form.height() * scale) / 2);
  return transform.scale(scale, scale);
}

QRectF SchemeView::marked() const { return mark_.isEmpty() ? QRectF() : placed().mapRect(mark_); }

void SchemeView::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.fillRect(rect(), Qt::white);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setTransform(placed());
  form_.render(&painter, form_.viewBoxF());
  if (mark_.isEmpty()) return;
  painter.setPen(QPen(QColor("#e08a00"), 2));
  painter.setBrush(QColor(255, 200, 60, 70));
  painter.drawRoundedRect(mark_.adjusted(-kHalo, 0, kHalo, 0), kHalo, kHalo);
}

}  // namespace tlm
