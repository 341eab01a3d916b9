// What goes to the debug stream while a test looks.
#ifndef TLMTEST_DEBUGLINES_H
#define TLMTEST_DEBUGLINES_H

#include <QMutex>
#include <QStringList>

namespace tlm::test {

// One at a time. Only lines of the default category; they may come from any thread.
class DebugLines {
 public:
  DebugLines() : before_(qInstallMessageHandler(take)) { current() = this; }
  ~DebugLines() {
    qInstallMessageHandler(before_);
    current() = nullptr;
  }
  DebugLines(const DebugLines&) = delete;
  DebugLines& operator=(const DebugLines&) = delete;

  QStringList all() const {
    const QMutexLocker lock(&mutex_);
    return lines_;
  }
  // Those that hold the text.
  QStringList with(const QString& text) const { return all().filter(text); }

 private:
  static DebugLines*& current() {
    static DebugLines* lines = nullptr;
    return lines;
  }
  static void take(QtMsgType, const QMessageLogContext& context, const QString& text) {
    if (qstrcmp(context.category, "default") != 0) return;
    const QMutexLocker lock(&current()->mutex_);
    current()->lines_ += text;
  }

  mutable QMutex mutex_;
  QStringList lines_;
  const QtMessageHandler before_;
};

}  // namespace tlm::test

#endif
