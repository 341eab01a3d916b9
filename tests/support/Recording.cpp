#include "Recording.h"

#include <QRegularExpression>
#include <QTextCodec>

#include <algorithm>

namespace tlm::test {
namespace {

QTextCodec* codec() { return QTextCodec::codecForName("Windows-1251"); }

// A body that is text, as text; any other by its size.
QString bodyText(const unsigned char* data, int length) {
  if (length > 0 && data[length - 1] == 0) --length;
  if (!data || length <= 0) return {};
  const bool isText = std::all_of(data, data + length, [](unsigned char c) { return c >= ' ' || c == '\n'; });
  if (!isText) return QString(" <%1 bytes>").arg(length);
  return ' ' + codec()->toUnicode(reinterpret_cast<const char*>(data), length);
}

QString listText(const char* name, const int* ids, int count) {
  QStringList numbers;
  for (int i = 0; ids && i < count; ++i) numbers.append(QString::number(ids[i]));
  return numbers.isEmpty() ? QString(name) : QString(name) + ' ' + numbers.join(',');
}

}  // namespace

QString packetText(const char* name, const unsigned char* data, int length) {
  return QString("PacketExec ") + name + bodyText(data, length);
}

QString scriptText(const char* script) {
  const auto match = QRegularExpression("\\w+\\s*\\([^)]*\\)").match(codec()->toUnicode(script));
  QString name = match.hasMatch() ? match.captured() : QString("?");
  return "CalcExec " + name.replace(QRegularExpression("[0-9A-F]{32}"), "*");
}

QString procedureText(const char* procedure) { return QString("ProcExec ") + procedure; }

QString updateText(const char* table, MDArray* records) {
  return QString("SqlUpdate %1 %2 records").arg(table).arg(MDARecCount(records));
}

QString blockEndText(bool send, bool waits) {
  return !send ? "BlockEnd drop" : waits ? "BlockEnd" : "BlockEnd unwaited";
}

QString waitText(int timeoutMs) { return QString("WaitResult %1").arg(timeoutMs); }

bool RecordingSession::PacketExec(const char* name, const unsigned char* data, int length, MDXCliParam** reply) {
  log_->append(packetText(name, data, length));
  return real_->PacketExec(name, data, length, reply);
}

bool RecordingSession::CalcExec(const char* script, CVar* args, MDXCliParam** reply) {
  log_->append(scriptText(script));
  return real_->CalcExec(script, args, reply);
}

bool RecordingSession::ProcExec(const char* procedure, CVar* args, MDXCliParam** reply) {
  log_->append(procedureText(procedure));
  return real_->ProcExec(procedure, args, reply);
}

bool RecordingSession::SqlUpdate(const char* table, MDArray* records, bool flag, MDXCliParam** reply) {
  log_->append(updateText(table, records));
  return real_->SqlUpdate(table, records, flag, reply);
}

void RecordingSession::BlockBeg() {
  log_->append("BlockBeg");
  real_->BlockBeg();
}

bool RecordingSession::BlockEnd(bool send, MDXCliParam** reply) {
  log_->append(blockEndText(send, reply != nullptr));
  return real_->BlockEnd(send, reply);
}

bool RecordingSession::WaitResult(MDXCliParam** reply, int timeoutMs) {
  if (waits_) log_->append(waitText(timeoutMs));
  return real_->WaitResult(reply, timeoutMs);
}

void RecordingAbo::SubEvent(const int* ids, int count) {
  log_->append(listText("SubEvent", ids, count));
  real_->SubEvent(ids, count);
}

void RecordingAbo::SubParam(const int* ids, int count) {
  log_->append(listText("SubParam", ids, count));
  real_->SubParam(ids, count);
}

}  // namespace tlm::test
