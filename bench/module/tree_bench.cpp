// Deletes of much at once.
#include "tree_bench.h"

#include <ChangeSet.h>
#include <RecordAccess.h>
#include <TlmClient/CPopMessageBox.h>
#include <TlmClient/CTlmCliSes.h>
#include <WorkWithData.h>

#include <QAbstractButton>
#include <QItemSelection>

#include <stdexcept>

#include "Station.h"

namespace tlm::bench {
namespace {

constexpr int kUnits = 100;
constexpr int kMeasurements = 10'000;
constexpr int kRounds = 5;

enum class Units { kUnopened, kOpened };

// Every row at the top with all below it.
QStringList rowsOfAll(Station& station) {
  CTlmMeasConfig& module = station.module();
  QStringList rows;
  for (int i = 0; i < MDARecCount(module.tblRemoteUnit.array); ++i) {
    const MDRData* unit = MDARec(module.tblRemoteUnit.array, 0, i);
    const QString key = fieldText(module.tblRemoteUnit, unit, 0, module.moduleCodec);
    rows.append(key + ",RemoteUnit");
    module.GetMeasurementsForRTU(key, &rows, false, QString());
  }
  return rows;
}

// The block that such a delete sends, sent by itself.
double blockAlone() {
  const auto core = generatedCore(kUnits, kMeasurements);
  Station station(*core);
  CTlmMeasConfig& module = station.module();
  module.ModuleStart();
  ChangeSet changes;
  for (const QString& row : rowsOfAll(station))
    module.PrepareDelRec(changes.tables, changes.arrays, row.section(',', 0, 0), row.section(',', 1));
  for (int i = 0; i < MDARecCount(module.tblRemoteUnitFolder.array); ++i) {
    const MDRData* folder = MDARec(module.tblRemoteUnitFolder.array, 0, i);
    addKeyRecord(changes.tables, changes.arrays, "RemoteUnitFolder", module.strRemoteUnitFolder,
                 module.moduleCodec->fromUnicode(fieldText(module.tblRemoteUnitFolder, folder, 0, module.moduleCodec)),
                 MDX_REC_DELETE);
  }
  CTlmCliSes* session = module.session();
  return seconds([&] {
    session->BlockBeg();
    queueChanges(session, changes, module.moduleCodec);
    MDXCliParam* reply = nullptr;
    if (!session->BlockEnd(true, &reply) || !session->WaitResult(&reply, -1)) throw std::runtime_error("no answer");
    int32_t status = -1;
    MDRGetAsInt32(MDXParamFld(reply, MDX_REPLY_STATUS), reply, &status);
    session->PrmFree(reply);
    if (status != 0) throw std::runtime_error("the block was refused");
  });
}

// From the click on "Yes" until the server has carried the block out: its next answer comes behind it.
double deleteAll(Units units) {
  const auto core = generatedCore(kUnits, kMeasurements);
  Station station(*core);
  CTlmMeasConfig& module = station.module();
  module.ModuleStart();
  if (units == Units::kOpened)
    for (int i = 0; i < kUnits; ++i) module.AddMeasForRTU(station.unit(i), QString(), false, QString());
  QItemSelection top(module.treeModel->index(0, 0), module.treeModel->index(module.treeModel->rowCount() - 1, 0));
  station.view().selectionModel()->select(top, QItemSelectionModel::ClearAndSelect);
  module.ExecActDel();
  const double took = seconds([&] {
    module.popMessageBox->buttons().first()->click();
    CMDArray structure;
    GetTableStructure(module.session(), "Analog", &structure);
  });
  CMDArray left;
  module.FillCmdArray(module.session(), "RemoteUnit", left);
  if (module.treeModel->rowCount() != 0 || MDARecCount(left.array) != 0) throw std::runtime_error("something is left");
  return took;
}

std::vector<Result> deleteFolderBench() {
  const auto [unopened, block] = inTurn(
      kRounds, [] { return deleteAll(Units::kUnopened); }, [] { return blockAlone(); });
  const auto [opened, again] = inTurn(
      kRounds, [] { return deleteAll(Units::kOpened); }, [] { return blockAlone(); });
  return {atMost("delete.folder.unopened", unopened * 1e3, block * 1e3, "ms", 3),
          atMost("delete.folder.opened", opened * 1e3, again * 1e3, "ms", 3)};
}

}  // namespace

void addTreeBenches(Registry& registry) { registry.add("delete.folder", deleteFolderBench); }

}  // namespace tlm::bench
