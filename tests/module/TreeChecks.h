// What must be true of a window's tree, of its arrays, and of the server, between any two acts.
#ifndef TLMTEST_TREECHECKS_H
#define TLMTEST_TREECHECKS_H

#include <TlmServer/Core.h>

#include <QMap>
#include <QString>
#include <QStringList>

class CTlmMeasConfig;

namespace tlm::test {

// Rows of folders, units and measurements by key; the fields that the tree needs, as text.
struct RowTexts {
  QMap<QString, QString> folders;
  QMap<QString, QString> units;
  QMap<QString, QString> measurements;
};
RowTexts serverRows(server::Core& core);
RowTexts moduleRows(const CTlmMeasConfig& module);

// The keys of rows that the server does not know: at most that of the object which is being added.
QStringList unsavedKeys(const RowTexts& held, const RowTexts& server);

// The tree against the arrays: every node has its row and stands where the row's links say, every row has one node.
// An unsaved object whose folder or unit went has none until it is saved or given up.
QStringList treeFaults(const CTlmMeasConfig& module, const QStringList& unsaved);

// The arrays against the tables of the server: all folders and units, and all measurements of opened units.
QStringList arrayFaults(const CTlmMeasConfig& module, const RowTexts& held, const RowTexts& server);

// The tree by keys, siblings in the order of their keys, without the unsaved objects, without an empty default unit,
// and below units only what `bothOpen` lists.
QString canonicalTree(const CTlmMeasConfig& module, const QStringList& unsaved, const QStringList& bothOpen);

// The units whose measurements the tree shows.
QStringList openUnits(const CTlmMeasConfig& module);

}  // namespace tlm::test

#endif
