#include "Station.h"

#include <RecordAccess.h>
#include <TlmServer/Generate.h>
#include <TlmServer/MemoryStore.h>
#include <host/embedded/EmbeddedTransport.h>

#include <QCoreApplication>

#include <stdexcept>
#include <vector>

namespace tlm::bench {

std::unique_ptr<server::Core> generatedCore(int units, int measurements) {
  using namespace server;
  std::string error;
  const auto data = makeMemoryStoreData(Catalogue::builtIn());
  auto store = openMemoryStore(data);
  {
    ModelTables tables(Catalogue::builtIn(), ModelTables::Keys::kLater);
    GenerateOptions options;
    options.units = units;
    options.measurements = measurements;
    if (!generateModel(options, &tables, &error)) throw std::runtime_error(error);
    std::vector<std::pair<std::string, const MDArray*>> all;
    for (const TableDef& table : Catalogue::builtIn().tables()) {
      if (MDARecCount(tables.table(table.name)) > 0 && !Catalogue::describesItself(table.name))
        all.emplace_back(table.name, tables.table(table.name));
    }
    if (!store->import(all, &error)) throw std::runtime_error(error);
  }
  auto core = Core::open(std::move(store), {}, &error);
  if (!core) throw std::runtime_error(error);
  return core;
}

Station::Station(server::Core& core) : Station(std::make_unique<EmbeddedTransport>(core, server::Caller{"bench"})) {}

Station::Station(std::unique_ptr<ITransport> line)
    : session_(std::make_unique<TlmSession>(std::move(line))),
      module_(std::make_unique<CTlmMeasConfig>(this)),
      view_(module_->findChild<QTreeView*>("tV_MeasConfig")) {
  module_->show();
  QCoreApplication::processEvents();
}

Station::~Station() { module_.reset(); }

QModelIndex Station::unit(int number) {
  const MDRData* row = MDARec(module_->tblRemoteUnit.array, 0, number);
  const QModelIndex index = model().findByKey(fieldText(module_->tblRemoteUnit, row, 0, module_->moduleCodec));
  for (QModelIndex above = index.parent(); above.isValid(); above = above.parent()) view_->expand(above);
  return index;
}

}  // namespace tlm::bench
