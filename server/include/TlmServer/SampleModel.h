// The sample model: text files that become rows of the model tables. The format is told in sample/README.md.
#ifndef TLMSERVER_SAMPLEMODEL_H
#define TLMSERVER_SAMPLEMODEL_H

#include <TlmServer/Device.h>
#include <TlmServer/ModelTables.h>
#include <TlmServer/SqliteStore.h>

#include <memory>
#include <string>
#include <vector>

namespace tlm::server {

// One file of a model in text: its name, for messages, and what it holds.
struct ModelFile {
  std::string name;
  std::string text;
};

// Adds the rows of the files to the tables, which must be empty. False with "FILE:LINE: ..." in *error; the
// tables then hold the rows that came before.
bool readModelFiles(const std::vector<ModelFile>& files, ModelTables* tables, std::string* error);

// The same with every .tsv file under a folder, in the order of their names.
bool loadSample(const std::string& folder, ModelTables* tables, std::string* error);

// The same with the sample that is built into the program.
bool loadBuiltInSample(ModelTables* tables, std::string* error);

// The same with the reference tables of the built-in sample only: units of measure, categories, archives and
// their groups, voltages, classes of events, texts of states, server groups.
bool loadBuiltInReferences(ModelTables* tables, std::string* error);

// How the simulated device of the built-in sample takes commands.
DeviceHabits sampleHabits();

// The tables that go into a store: all but those that describe the catalogue. Valid as long as `tables`.
NamedTables tablesToStore(const ModelTables& tables);

// The one operator of the sample, who may command: sample/README.md tells name and password.
bool addSampleUser(Store& store, const Catalogue& catalogue, std::string* error);

// Makes a store that holds the built-in sample and its operator, as createSqliteStore does.
std::unique_ptr<Store> createSampleStore(const std::string& path, const Catalogue& catalogue, std::string* error,
                                         StoreError* why = nullptr);

// Opens the store of that name, or makes it with the sample (*made) when there is none. Of two that start together
// one makes it, and the other meets it as any store that is there.
std::unique_ptr<Store> openOrCreateSampleStore(const std::string& path, const Catalogue& catalogue, bool* made,
                                               std::string* error, StoreError* why = nullptr);

}  // namespace tlm::server

#endif
