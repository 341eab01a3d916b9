#include "FailingSession.h"

#include <TlmWire/messages.h>

#include <utility>

#include "Recording.h"

namespace tlm::test {

void Failures::add(const QString& call, Fail fail, int nth, int status) { rules_.append({call, fail, nth, status, 0}); }

const Failures::Rule* Failures::hit(const QString& call) {
  const Rule* found = nullptr;
  for (Rule& rule : rules_) {
    if (!call.startsWith(rule.call)) continue;
    ++rule.met;
    if (!found && (rule.nth == 0 || rule.met == rule.nth)) found = &rule;
  }
  return found;
}

FailingSession::~FailingSession() {
  for (MDXCliParam* reply : own_) MDXParamFree(reply);
}

bool FailingSession::allows(const QString& call, MDXCliParam** reply) {
  marks_.erase(reply);
  const Failures::Rule* const rule = failures_->hit(call);
  if (!rule) return true;
  if (rule->fail == Fail::kRefuseToSend) return false;
  if (!reply) return true;
  marks_[reply] = {rule->fail, rule->status};
  if (open_) queued_.push_back(reply);
  return true;
}

void FailingSession::BlockBeg() {
  queued_.clear();
  open_ = true;
  real_->BlockBeg();
}

bool FailingSession::PacketExec(const char* name, const unsigned char* data, int length, MDXCliParam** reply) {
  return allows(packetText(name, data, length), reply) && real_->PacketExec(name, data, length, reply);
}

bool FailingSession::CalcExec(const char* script, CVar* args, MDXCliParam** reply) {
  return allows(scriptText(script), reply) && real_->CalcExec(script, args, reply);
}

bool FailingSession::ProcExec(const char* procedure, CVar* args, MDXCliParam** reply) {
  return allows(procedureText(procedure), reply) && real_->ProcExec(procedure, args, reply);
}

bool FailingSession::SqlUpdate(const char* table, MDArray* records, bool flag, MDXCliParam** reply) {
  return allows(updateText(table, records), reply) && real_->SqlUpdate(table, records, flag, reply);
}

bool FailingSession::BlockEnd(bool send, MDXCliParam** reply) {
  open_ = false;
  if (send && !allows(blockEndText(send, reply != nullptr), reply)) {
    real_->BlockEnd(false, nullptr);
    return false;
  }
  if (reply) blocks_[reply] = std::exchange(queued_, {});
  return real_->BlockEnd(send, reply);
}

bool FailingSession::WaitResult(MDXCliParam** reply, int timeoutMs) {
  const Failures::Rule* const rule = failures_->hit(waitText(timeoutMs));
  if (rule) marks_[reply] = {rule->fail == Fail::kRefuseToSend ? Fail::kTimeOut : rule->fail, rule->status};
  bool answered = real_->WaitResult(reply, timeoutMs);
  const auto marked = marks_.find(reply);
  if (marked != marks_.end()) {
    const Mark mark = marked->second;
    marks_.erase(marked);
    answered = spoil(reply, mark);
  }
  spoilSingles(reply);
  return answered;
}

void FailingSession::spoilSingles(MDXCliParam** whole) {
  const auto block = blocks_.find(whole);
  if (block == blocks_.end()) return;
  for (MDXCliParam** single : block->second) {
    const auto mark = marks_.find(single);
    if (mark == marks_.end()) continue;
    if (*single) spoil(single, mark->second);
    marks_.erase(mark);
  }
  blocks_.erase(block);
}

// Replaces a real reply by what the mark says. Returns what WaitResult is to give.
bool FailingSession::spoil(MDXCliParam** reply, const Mark& mark) {
  real_->PrmFree(*reply);
  *reply = nullptr;
  if (mark.fail == Fail::kTimeOut) return false;
  if (mark.fail != Fail::kNoReply) *reply = ownReply(mark);
  return true;
}

MDXCliParam* FailingSession::ownReply(const Mark& mark) {
  wire::Reply reply;
  if (mark.fail == Fail::kStatus) reply = wire::Reply::failure(mark.status, "refused by the test");
  if (mark.fail == Fail::kEmptyText) reply = {wire::kOk, std::string(), std::string()};
  MDXCliParam* const record = wire::replyRecord(reply);
  own_.insert(record);
  return record;
}

void FailingSession::PrmFree(MDXCliParam* reply) {
  if (own_.erase(reply) > 0)
    MDXParamFree(reply);
  else
    real_->PrmFree(reply);
}

}  // namespace tlm::test
