// Requests to the server, look-ups in the reference tables, and the loaders of the tree. The members of
// CTlmMeasConfig that belong to this folder are listed in its header.
//
// GUI thread only. No function shows anything unless it says so. Texts of records are Windows-1251.
#ifndef TLMMEAS_WORKWITHDATA_H
#define TLMMEAS_WORKWITHDATA_H

#include <TlmMdx/CMDArray.h>

#include <QList>
#include <QString>
#include <QStringList>

#include <string>
#include <vector>

class CLiteModel;
class CTlmCliSes;
class CTlmMeasConfig;
class myConfNode;

// Key numbers of the server's table "Measurement".
inline constexpr int KEY_MEAS_LOCID = 1;
inline constexpr int KEY_MEAS_RTU = 3;

// Each class of objects with its tables in writing order, joined by ",".
struct TTablesForSave {
  QString className;
  QString tables;
};
inline constexpr int kClassesForSave = 6;
extern const TTablesForSave TablesForSave[kClassesForSave];

// ---- WorkWithData_requests.cpp ---------------------------------------------------------------------------

// The structure of a table. True only if `out` then has fields.
bool GetTableStructure(CTlmCliSes* session, std::string table, CMDArray* out);
// The records of one object, of several (keys joined by ","), or of the measurement with a number ("#1001").
// True only if `out` then has records.
bool GetRecByKey(CTlmCliSes* session, std::string key, CMDArray* out);
// The records of a table with these values in one of its keys. True only if `out` then has records.
bool GetToolRecByKey1(CTlmCliSes* session, const char** table, int key, std::vector<MDRVar> values, CMDArray* out);
// The live value of an object as text, which the caller releases with delete[]. False leaves `text` alone.
bool GetValue(CTlmCliSes* session, QString key, char*& text);
// The name of a remote unit whose field "prefName" is true; empty in every other case.
QString GetPrefix(CTlmCliSes* session, QString key);
// The server groups, each as "number=name". False when the server does not tell them.
bool GetSrvGroup(CTlmCliSes* session, QStringList* out);

// ---- WorkWithData_catalogue.cpp --------------------------------------------------------------------------

// The name of a server group out of the list of GetSrvGroup; empty if there is none.
QString GetServerGroup(QString number, QStringList* groups);
// The key of a table's parent table. `key` is the table's key, or with byKeyLink false its name.
bool GetParentTableKey(CMDArray* tables, QString key, QString& parent, bool byKeyLink);
QString GetNameTableByKey(CMDArray* tables, QString key);
// The row of "Fields" for a field of a table, or null.
MDRData* GetFldRec(CMDArray* fields, CMDArray* tables, QString table, const char* field);
// The declared type of a field, such as "BOOLEAN"; empty when unknown.
QString GetTypeField(CMDArray* fields, CMDArray* tables, CMDArray* types, QString table, const char* field);
// The name of an object of the model; empty if it has none.
QString GetNameByKey(QString key, CLiteModel* model);
// The name of the object with that number in a table of the model; its key in `key`, which stays as it was
// when a step fails.
QString GetNameByLocId(int locId, std::string table, CLiteModel* model, QString& key);
// One value out of a parameter text of "name=value" pieces divided by ";".
QString ParseParam(QString name, QString text);
// For qsort: two doubles by their whole parts, then by their hundredths.
int compDoubleOb(const void* a, const void* b);

// ---- WorkWithData_start.cpp ------------------------------------------------------------------------------

// The class of the measurements that a row of "MeasurementArchGroup" takes, by the kind of its archive; empty when it
// takes none.
QString classOfArchGroup(const CMDArray& groups, const MDRData* group, const CMDArray& archives);

// ---- WorkWithData_tree.cpp: folders and remote units -----------------------------------------------------

// The tree down to the remote units, with the measurements that have none. The caller owns the root. Null for
// a null module.
myConfNode* InitTreeRTU(CTlmMeasConfig* module);
void GetEmptyRTU(myConfNode* root, CTlmMeasConfig* module);
// Each is 1 when its array was walked, also without a hit; 0 for a null argument or an empty array.
int GetFolderRTU(myConfNode* root, CTlmMeasConfig* module);
int GetSubFolderRTU(MDRVar& parentKey, myConfNode* parent, CTlmMeasConfig* module);
int GetRTUInFold(MDRVar& folderKey, myConfNode* parent, CTlmMeasConfig* module);
int GetRTU(myConfNode* root, CTlmMeasConfig* module);

// ---- WorkWithData_measurements.cpp: the measurements of one unit -----------------------------------------

// Makes the nodes of a unit's measurements out of `measRecords`. The groups go to the two lists, side by side,
// and what these hold already is used again; the caller hangs them under the unit. With skipOne the
// measurement `skipKey` gets no node (not where there are aggregated measurements). 0 for a null argument or
// an empty array, else 1.
int GetMeasurements(MDRVar& rtuKey, myConfNode* unit, CTlmMeasConfig* module, QStringList* groupClasses,
                    QList<myConfNode*>* groupNodes, bool skipOne, QString skipKey);
int GetMeasurementsWithoutAgreg(MDRVar& rtuKey, myConfNode* unit, CTlmMeasConfig* module, QStringList* groupClasses,
                                QList<myConfNode*>* groupNodes, bool skipOne, QString skipKey);
int GetMeasurementsWithAgreg(MDRVar& rtuKey, myConfNode* unit, CTlmMeasConfig* module, QStringList* groupClasses,
                             QList<myConfNode*>* groupNodes, QStringList* aggKeys, QList<int>* primaryLocIds,
                             QStringList* aggPairs, QStringList* aggClasses, bool skipOne, QString skipKey);
// True if the row names a primary measurement (its number in *primaryLocId, which may be null) and its archive
// group is marked as aggregated data.
bool CheckAgregatedMeas(MDRData* record, CMDArray* table, CMDArray* archGroups, int* primaryLocId);

#endif
