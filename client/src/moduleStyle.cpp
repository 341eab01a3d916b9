#include <TlmClient/ModuleStyle.h>

#include <QFontDatabase>

namespace tlm {
namespace {

struct Shade {
  QPalette::ColorRole role;
  const char* colour;
  const char* disabled;  // null: the same
};

// A cool light grey that rests the eye; what is selected lies on a blue so light that icons stay readable.
constexpr Shade kShades[] = {
    {QPalette::Window, "#eceff3", nullptr},
    {QPalette::WindowText, "#1d2630", "#8b949e"},
    {QPalette::Base, "#ffffff", "#f3f5f7"},
    {QPalette::AlternateBase, "#f4f7fb", nullptr},
    {QPalette::Text, "#1d2630", "#8b949e"},
    {QPalette::Button, "#e4e9ef", nullptr},
    {QPalette::ButtonText, "#1d2630", "#8b949e"},
    {QPalette::BrightText, "#ffffff", nullptr},
    {QPalette::Highlight, "#c5dcf5", "#dde3ea"},
    {QPalette::HighlightedText, "#10202f", "#8b949e"},
    {QPalette::ToolTipBase, "#fffbe6", nullptr},
    {QPalette::ToolTipText, "#1d2630", nullptr},
    {QPalette::Light, "#ffffff", nullptr},
    {QPalette::Midlight, "#f2f4f7", nullptr},
    {QPalette::Mid, "#b9c2cd", nullptr},
    {QPalette::Dark, "#8793a1", nullptr},
    {QPalette::Shadow, "#5c6773", nullptr},
    {QPalette::Link, "#1f5fa8", nullptr},
    {QPalette::PlaceholderText, "#8b949e", nullptr},
};

}  // namespace

QPalette workstationPalette() {
  QPalette palette;
  for (const Shade& shade : kShades) {
    palette.setColor(shade.role, QColor(shade.colour));
    if (shade.disabled) palette.setColor(QPalette::Disabled, shade.role, QColor(shade.disabled));
  }
  return palette;
}

QFont workstationFont() {
  static const QStringList installed = QFontDatabase().families();
  for (const char* family : {"DejaVu Sans", "Liberation Sans"}) {
    if (installed.contains(family)) return QFont(family, 9);
  }
  QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
  font.setPointSize(9);
  return font;
}

}  // namespace tlm
