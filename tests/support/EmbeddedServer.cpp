#include "EmbeddedServer.h"

#include <TlmServer/Catalogue.h>

#include <gtest/gtest.h>

#include "ModelText.h"

namespace tlm::test {

EmbeddedServer::EmbeddedServer(const std::string& model, server::CoreOptions options)
    : options_(std::move(options)), data_(server::makeMemoryStoreData(server::Catalogue::builtIn())) {
  std::string error;
  const auto store = server::openMemoryStore(data_);
  if (!writeModel(model, *store, &error)) {
    ADD_FAILURE() << "the model text: " << error;
    return;
  }
  open();
}

EmbeddedServer::~EmbeddedServer() = default;

void EmbeddedServer::open() {
  std::string error;
  core_ = server::Core::open(server::openMemoryStore(data_), options_, &error);
  if (!core_) ADD_FAILURE() << "the core: " << error;
}

void EmbeddedServer::restart() {
  core_.reset();
  open();
}

}  // namespace tlm::test
