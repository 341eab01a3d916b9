// The single steps of a paste, called with lists of their own.
#pragma once

#include "ChangeSet.h"
#include "Colleague.h"
#include "PasteWindow.h"

namespace tlm::test {

// The lists of a paste, for calls of its single steps.
struct PasteLists : ChangeSet {
  QList<int> srcLocIds;
  QList<int> newLocIds;
  QList<int> numbers{11, 12, 13};
  int used = 0;
  QString newKey = "before";

  const CMDArray* table(const char* name) const {
    const int at = tables.indexOf(name);
    return at < 0 ? nullptr : arrays[at];
  }
  const MDRData* row(const char* name, int number = 0) const { return MDARec(table(name)->array, 0, number); }
  int rows(const char* name) const { return table(name) ? MDARecCount(table(name)->array) : 0; }
};

class PasteRules : public PasteWindow {
 protected:
  void start() {
    startBoth();
    for (const char* unit : {"КП-1", "КП-2", "КП-3"}) openSorted(unit);
  }

  bool prepare(PasteLists& lists, const QString& srcKey, const char* className, const QString& target, bool isCopy,
               bool rename = false, int primary = 0, const QString& group = QString()) {
    return module->PrepareSaveGroupCopyORCut(lists.tables, lists.arrays, srcKey, className, target, lists.newKey,
                                             lists.used, lists.newLocIds, rename, lists.numbers, isCopy, primary,
                                             group);
  }
  void walk(PasteLists& lists, const QString& xml, const QString& parentKey, bool isCopy, bool withAgreg) {
    QDomDocument read;
    ASSERT_TRUE(read.setContent(xml));
    module->ParseSubLevelXml(read.documentElement(), lists.tables, lists.arrays, parentKey, QModelIndex(), nullptr,
                             lists.used, isCopy, lists.srcLocIds, lists.newLocIds, lists.numbers, withAgreg);
  }
  // A value with "*" behind it where the field carries the changed mark.
  QString value(const PasteLists& lists, const char* table, const char* field, int row = 0) {
    const CMDArray* array = lists.table(table);
    if (!array) return "no table";
    const MDRData* record = lists.row(table, row);
    MDRVar found{};
    array->GetVal(record, field, found);
    const QString text = !hasValue(found) ? QString("null")
                         : isText(found)  ? decodeVar(found, module->moduleCodec)
                                          : QString::number(asInteger(found));
    return isMarked(*array, record, module->GetPosFieldAtCMDArray(const_cast<CMDArray*>(array), field)) ? text + '*'
                                                                                                        : text;
  }
  // The fields of a table that carry the mark.
  QStringList marked(const PasteLists& lists, const char* table) {
    QStringList names;
    const CMDArray& array = *lists.table(table);
    for (int i = 0; i < MDAFldCount(array.array); ++i)
      if (isMarked(array, lists.row(table), i)) names += MDAFldName(array.array, i);
    return names;
  }
  int flags(const PasteLists& lists, const char* table) { return MDRGetFlags(lists.row(table)); }

  void paste(const QString& xml, const QModelIndex& target, bool isCopy = true, bool withAgreg = true) {
    module->ParseUpLevelXml(xml, target, isCopy, withAgreg);
    EXPECT_TRUE(eventsAreIn());
  }
  QString element(const char* tag, const char* name, const char* more = "", const QString& inner = QString()) {
    return QString("<%1 ClassName='%2' KeyLink='%3' %4>%5</%1>")
        .arg(tag, qstrcmp(tag, "Folder") == 0 ? "" : tag, key(name), more, inner);
  }
  static QString doc(const QString& elements) { return "<!DOCTYPE MyTreeCopy><MyTree>" + elements + "</MyTree>"; }
  int calls(const QString& call) { return int(app.log.filter(QRegExp("^" + QRegExp::escape(call))).size()); }
};

}  // namespace tlm::test
