// One client of a server: a session over any transport, and what a test asks of it.
#ifndef TLMTEST_PEER_H
#define TLMTEST_PEER_H

#include <TlmClient/TlmSession.h>
#include <TlmMdx/CMDArray.h>

#include <QStringList>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tlm::test {

// What a reply holds; freed with it.
struct Answer {
  bool came = false;  // WaitResult gave true
  int status = -1;
  bool hasPayload = false;
  std::string payload;
  bool hasText = false;
  std::string text;
};

class Peer {
 public:
  explicit Peer(std::unique_ptr<ITransport> transport);

  TlmSession& session() { return session_; }

  Answer ask(const std::string& name, const std::string& body, int timeoutMs = -1);
  Answer script(const std::string& text, CVar* arguments = nullptr, int timeoutMs = -1);
  Answer collect(MDXCliParam** reply, int timeoutMs);

  // The rows of a table as it stands on the server; -1 when there is no answer.
  int rows(const std::string& table, CMDArray* into);

  // A change set for one text field of one row.
  static void fillSet(const std::string& table, const std::string& key, const std::string& field,
                      const std::string& text, CMDArray* set);
  static void fillName(const std::string& key, const std::string& name, CMDArray* set) {
    fillSet("IdentifiedObject", key, "name_", name, set);
  }
  // Sends it in a block of its own and waits: the status, or -1 without an answer.
  int write(const std::string& table, const std::string& key, const std::string& field, const std::string& text,
            int timeoutMs = 5000);
  int rename(const std::string& key, const std::string& name) { return write("IdentifiedObject", key, "name_", name); }
  // Sends it in a block that nobody waits for.
  bool renameUnwaited(const std::string& key, const std::string& name);

  std::string field(const std::string& table, const std::string& key, const std::string& field);
  std::string nameOf(const std::string& key) { return field("IdentifiedObject", key, "name_"); }

  void listen(const std::vector<int>& kinds);
  void listenValues(const std::vector<int>& locIds);

  // Runs the event loop until so many messages have been taken since the start. Each is a line:
  // "602 SEQUENCE KEY" or "value LOCID TEXT".
  bool waitForMessages(int count);
  QStringList messages();  // taken so far, those that wait included

  // What the session told, in order: "down", "up", "lost", "refused STATUS".
  QStringList told;

 private:
  void take();

  TlmSession session_;
  QStringList taken_;
};

// As processUntil, for conditions that become true without an event of Qt: they are looked at again and again.
bool eventually(const std::function<bool()>& condition, int limitMs = 20'000);

std::string bytesOf(const MDXCliParam* record, int position);
int64_t numberOf(const MDXCliParam* record, int position);

}  // namespace tlm::test

#endif
