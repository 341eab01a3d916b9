#include "ServerProgram.h"

#include <QElapsedTimer>

#include <cstdio>

namespace tlm {
namespace {

constexpr int kStartMs = 10'000;
constexpr int kEndMs = 10'000;
constexpr char kListening[] = "event=listening address=";

}  // namespace

ServerProgram::ServerProgram(const QString& storeFile, const QStringList& options)
    : arguments_(QStringList{"--store", storeFile, "--sample"} + options) {
  process_.setReadChannel(QProcess::StandardError);
}

ServerProgram::~ServerProgram() {
  process_.terminate();
  if (!process_.waitForFinished(kEndMs)) kill();
}

bool ServerProgram::start() {
  process_.start(TLM_SERVER_PROGRAM, arguments_ + QStringList{"--listen", address_});
  QString log;
  QElapsedTimer timer;
  timer.start();
  while (timer.elapsed() < kStartMs && process_.state() != QProcess::NotRunning) {
    while (process_.canReadLine()) {
      const QString line = QString::fromUtf8(process_.readLine()).trimmed();
      log += line + '\n';
      if (!line.contains(kListening)) continue;
      address_ = line.section(kListening, 1).section(' ', 0, 0);
      return true;
    }
    process_.waitForReadyRead(100);
  }
  std::fprintf(stderr, "%s does not listen\n%s", TLM_SERVER_PROGRAM, qUtf8Printable(log));
  return false;
}

void ServerProgram::kill() {
  process_.kill();
  process_.waitForFinished(kEndMs);
}

}  // namespace tlm
