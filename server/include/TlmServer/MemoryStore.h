// A store without a file, for tests and benches: what it holds ends with it, unless it is copied out.
#ifndef TLMSERVER_MEMORYSTORE_H
#define TLMSERVER_MEMORYSTORE_H

#include <TlmServer/Store.h>

#include <memory>

namespace tlm::server {

// What a store in memory holds. Several stores may be opened on one, one after another, as on a file.
struct MemoryStoreData;
std::shared_ptr<MemoryStoreData> makeMemoryStoreData(const Catalogue& catalogue);

// The data must be used by one store at a time.
std::unique_ptr<Store> openMemoryStore(std::shared_ptr<MemoryStoreData> data);

// Makes the next commits fail with `error`, or work again when it is empty.
void failCommits(MemoryStoreData& data, const std::string& error);

}  // namespace tlm::server

#endif
