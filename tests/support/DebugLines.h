// What goes to the debug stream while a test looks.
#ifndef TLMTEST_DEBUGLINES_H
#define TLMTEST_DEBUGLINES_H

#include <QMutex>
#include <QStringList>

namespace tlm::test {

// One at a time. Only lines of the default category; they may come from any thread.
class DebugLines {
 public:
  DebugLines() {
    {
      const QMutexLocker lock(&mutex());
      current() = this;
    }
    before_ = qInstallMessageHandler(take);
  }
  ~DebugLines() {
    qInstallMessageHandler(before_);
    const QMutexLocker lock(&mutex());
    current() = nullptr;
  }
  DebugLines(const DebugLines&) = delete;
  DebugLines& operator=(const DebugLines&) = delete;

  QStringList all() const {
    const QMutexLocker lock(&mutex());
    return lines_;
  }
  // Those that hold the text.
  QStringList with(const QString& text) const { return all().filter(text); }

 private:
  static QMutex& mutex() {
    static QMutex mutex;
    return mutex;
  }
  static DebugLines*& current() {
    static DebugLines* lines = nullptr;
    return lines;
  }
  static void take(QtMsgType, const QMessageLogContext& context, const QString& text) {
    if (qstrcmp(context.category, "default") != 0) return;
    const QMutexLocker lock(&mutex());
    if (current()) current()->lines_ += text;
  }

  QStringList lines_;
  QtMessageHandler before_ = nullptr;
};

}  // namespace tlm::test

#endif
