#include "CTlmMeasConfig.h"
#include "RecordAccess.h"
#include "Requests.h"
#include "WorkWithData.h"

#include <TlmClient/CTlmCliSes.h>

#include <QDebug>

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <vector>

namespace {

// A reference table: where it is kept, what is asked for, its keys by number.
struct ReferenceTable {
  CMDArray CTlmMeasConfig::*table;
  const char* body;
  std::vector<const char*> keys;
};

const std::array<ReferenceTable, 8>& referenceTables() {
  using M = CTlmMeasConfig;
  static const std::array<ReferenceTable, 8> tables = {{
      {&M::tblFields, "Fields", {"KeyLink", "TablesKey;nameLat", "TablesKey;pos"}},
      {&M::tblRemoteUnit,
       "RemoteUnit,KeyLink,RemoteUnitFolderKey,SrvGroup,StateRtu,name_,ClassName",
       {"KeyLink", "RemoteUnitFolderKey"}},
      {&M::tblRemoteUnitFolder, "RemoteUnitFolder", {"KeyLink", "ParentKey"}},
      {&M::tblTables, "Tables,KeyLink,nameLat,nameLoc,parent,param", {"KeyLink", "nameLat"}},
      {&M::tblFieldsType, "FieldsType", {"KeyLink"}},
      {&M::tblArchGroup, "MeasurementArchGroup", {"KeyLink", "aggregatedName", "aggregatedData"}},
      {&M::tblArchives, "Archives", {"KeyLink"}},
      {&M::tblCalculations, "Calculations", {"KeyLink", "fname", "fnamee"}},
  }};
  return tables;
}

// A table structure of the module, by the server's name of the table.
struct TableStructure {
  const char* name;
  CMDArray CTlmMeasConfig::*structure;
};
constexpr TableStructure kStructures[] = {
    {"Analog", &CTlmMeasConfig::strAnalog},
    {"Discrete", &CTlmMeasConfig::strDiscrete},
    {"Accumulator", &CTlmMeasConfig::strAccumulator},
    {"StringMeasurement", &CTlmMeasConfig::strStringMeasurement},
    {"IdentifiedObject", &CTlmMeasConfig::strIdentifiedObject},
    {"Measurement", &CTlmMeasConfig::strMeasurement},
    {"RemoteUnit", &CTlmMeasConfig::strRemoteUnit},
    {"RemoteUnitFolder", &CTlmMeasConfig::strRemoteUnitFolder},
};

using Replies = std::array<MDXCliParam*, 8>;

// Queues all tables and sends them in one block. False when the block failed as a whole.
bool exchangeBlock(CTlmCliSes* session, Replies& replies) {
  session->BlockBeg();
  for (size_t i = 0; i < replies.size(); ++i) {
    const char* body = referenceTables()[i].body;
    if (!session->PacketExec("TableRecords", reinterpret_cast<const unsigned char*>(body),
                             static_cast<int>(std::strlen(body)), &replies[i])) {
      session->BlockEnd(false, nullptr);
      return false;
    }
  }
  MDXCliParam* blockReply = nullptr;
  const ScopeGuard guard([&] {
    if (blockReply) session->PrmFree(blockReply);
  });
  return session->BlockEnd(true, &blockReply) && session->WaitResult(&blockReply, -1) && replyIsGood(blockReply);
}

// The keys that came with the rows go; the positions 0 to n - 1 hold the list.
void unpackWithKeys(CMDArray& table, const MDXCliParam* reply, const std::vector<const char*>& keys) {
  if (!unpackReply(reply, &table, 0)) return;
  for (const char* key : keys) table.KeyAdd(key, 0);
  while (MDAKeyCount(table.array) > static_cast<int>(keys.size())) MDAKeyDel(table.array, 0);
}

// Names of fields and of aggregated data are sought without regard to case.
void ignoreCase(CMDArray& table, int key) {
  uint32_t* flags = MDAKeyFlags(table.array, key);
  if (!flags || (*flags & MDX_KEY_NOCASE)) return;
  *flags |= MDX_KEY_NOCASE;
  table.code = MDARecSort(table.array, key);
}

}  // namespace

void CTlmMeasConfig::loadMdxTables() {
  CTlmCliSes* ses = session();
  if (!ses) return;
  Replies replies{};
  const ScopeGuard guard([&] {
    for (MDXCliParam* reply : replies) {
      if (reply) ses->PrmFree(reply);
    }
  });
  if (!exchangeBlock(ses, replies)) return;
  for (size_t i = 0; i < replies.size(); ++i) {
    const ReferenceTable& row = referenceTables()[i];
    unpackWithKeys(this->*row.table, replies[i], row.keys);
    if (row.table == &CTlmMeasConfig::tblFields || row.table == &CTlmMeasConfig::tblArchGroup)
      ignoreCase(this->*row.table, 1);
  }
}

void CTlmMeasConfig::GetStructTables() {
  for (const TableStructure& row : kStructures) GetTableStructure(session(), row.name, &(this->*row.structure));
}

void CTlmMeasConfig::FillTableStructures() {
  tableNames.clear();
  tableLists.clear();
  for (int i = 0; i < kClassesForSave; ++i) {
    tableNames.append(TablesForSave[i].className);
    tableLists.append(TablesForSave[i].tables);
    const QStringList parts = TablesForSave[i].tables.split(',');
    tableStructs[i].clear();
    qDebug() << TablesForSave[i].className << parts;
    for (int part = 0; part < parts.size(); ++part) {
      const auto found = std::find_if(std::begin(kStructures), std::end(kStructures), [&](const TableStructure& row) {
        return parts[part] == QLatin1String(row.name);
      });
      if (found == std::end(kStructures))
        qDebug() << part << parts[part];
      else
        tableStructs[i].append(&(this->*found->structure));
    }
  }
}

namespace {

// The class whose measurements an archive of that kind takes, or null. Analog measurements have two kinds.
const char* classOfArchive(int kind) {
  constexpr const char* kClasses[] = {nullptr, "Analog", "Discrete", "Accumulator", "StringMeasurement", "Analog"};
  return kind >= 0 && kind < static_cast<int>(std::size(kClasses)) ? kClasses[kind] : nullptr;
}

}  // namespace

QString classOfArchGroup(const CMDArray& groups, const MDRData* group, const CMDArray& archives) {
  MDRVar archiveKey{};
  groups.GetVal(group, "ArchivesKey", archiveKey);
  if (!isText(archiveKey) || archiveKey.text.length == 0) return QString();
  const MDRData* archive = MDARecSeekV(archives.array, 0, &archiveKey, nullptr);
  int32_t kind = 0;
  if (!archive || MDRGetAsInt32(MDRFldByName(archives.array, "type_"), archive, &kind) < 0) return QString();
  return QString::fromLatin1(classOfArchive(kind));
}

void CTlmMeasConfig::FillClassesEnabledAgreg() {
  classesEnabledAgreg.clear();
  const MDRVar yes = boolVar(true);
  int position = 0;
  const MDRData* group = MDARecSeekV(tblArchGroup.array, 2, &yes, &position);
  while (group) {
    const QString className = classOfArchGroup(tblArchGroup, group, tblArchives);
    if (!className.isEmpty() && !classesEnabledAgreg.contains(className)) classesEnabledAgreg.append(className);
    group = MDARec(tblArchGroup.array, 2, ++position);
    MDRVar aggregated{};
    if (group) tblArchGroup.GetVal(group, "aggregatedData", aggregated);
    if (!hasValue(aggregated) || aggregated.flag == 0) break;
  }
}
