// A real server core over a store in memory.
#ifndef TLMTEST_EMBEDDEDSERVER_H
#define TLMTEST_EMBEDDEDSERVER_H

#include <TlmServer/Core.h>
#include <TlmServer/MemoryStore.h>

#include <memory>
#include <string>

namespace tlm::test {

// Never ends by itself: it uses up its budget of time, and a request is under way for as long.
inline constexpr char kEndlessScript[] = "Endless()\n{\n  var i;\n  i = 0;\n  while (0 < 1) i = i + 1;\n}\n";

// A failure to set it up is a failure of the test, and core() is null then.
class EmbeddedServer {
 public:
  // With a model text (ModelText.h) or, by the second form, with the sample that the program brings.
  explicit EmbeddedServer(const std::string& model, server::CoreOptions options = {});
  static std::unique_ptr<EmbeddedServer> withSample(server::CoreOptions options = {});
  ~EmbeddedServer();

  server::Core* core() { return core_.get(); }
  server::MemoryStoreData& store() { return *data_; }

  // Stops the core and opens a new one on the same store.
  void restart();

 private:
  EmbeddedServer() = default;
  void open();

  server::CoreOptions options_;
  std::shared_ptr<server::MemoryStoreData> data_;
  std::unique_ptr<server::Core> core_;
};

}  // namespace tlm::test

#endif
