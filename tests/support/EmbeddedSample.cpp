#include <TlmServer/Catalogue.h>
#include <TlmServer/SampleModel.h>

#include <gtest/gtest.h>

#include "EmbeddedServer.h"

namespace tlm::test {

std::unique_ptr<EmbeddedServer> EmbeddedServer::withSample(server::CoreOptions options) {
  std::unique_ptr<EmbeddedServer> server(new EmbeddedServer);
  server->options_ = std::move(options);
  server->data_ = server::makeMemoryStoreData(server::Catalogue::builtIn());
  std::string error;
  server::ModelTables tables(server::Catalogue::builtIn());
  if (!server::loadBuiltInSample(&tables, &error) ||
      !server::openMemoryStore(server->data_)->import(server::tablesToStore(tables), &error)) {
    ADD_FAILURE() << "the sample: " << error;
    return server;
  }
  server->open();
  return server;
}

}  // namespace tlm::test
