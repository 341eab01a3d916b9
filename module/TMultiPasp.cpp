#include "TMultiPasp.h"

#include <TlmClient/CLiteModel.h>
#include <TlmClient/CTlmCliSes.h>

#include <QDateTime>
#include <QSet>
#include <QTreeView>

#include <cstring>

#include "CTlmMeasConfig.h"
#include "RecordAccess.h"
#include "WorkWithData.h"

namespace {

constexpr char kNothing[] = "(нет)";
constexpr char kNoField[] = "[none]";
constexpr char kPartly[] = "PartiallyChecked";
constexpr char kZero[] = "0";
constexpr char kTimeFormat[] = "dd.MM.yy hh:mm:ss";

MDRVar read(const MDRField* field, const MDRData* record) {
  MDRVar value{};
  MDRGetVal(field, record, &value);
  return value;
}

// Null texts are empty, null flags off, null numbers zero.
bool sameText(const MDRVar& a, const MDRVar& b) {
  const uint32_t length = a.isNull ? 0 : a.text.length;
  if (length != (b.isNull ? 0 : b.text.length)) return false;
  return length == 0 || std::memcmp(a.text.data, b.text.data, length) == 0;
}
bool flag(const MDRVar& value) { return !value.isNull && value.flag; }
int64_t whole(const MDRVar& value) {
  if (value.isNull) return 0;
  return value.type == MDX_INT32 ? value.i32 : value.i64;
}
double real(const MDRVar& value) {
  if (value.isNull) return 0;
  return value.type == MDX_FLOAT ? double(value.f32) : value.f64;
}

// How values of one kind are compared and written, and what stands for a difference.
struct Kind {
  bool (*same)(const MDRVar& a, const MDRVar& b);
  QString (*text)(const MDRVar& value, QTextCodec* codec);
  const char* differ;
};

const Kind kTexts = {sameText, [](const MDRVar& v, QTextCodec* codec) { return decodeVar(v, codec); }, ""};
const Kind kFlags = {
    [](const MDRVar& a, const MDRVar& b) { return flag(a) == flag(b); },
    [](const MDRVar& v, QTextCodec*) { return flag(v) ? QStringLiteral("true") : QStringLiteral("false"); }, kPartly};
const Kind kWholes = {[](const MDRVar& a, const MDRVar& b) { return whole(a) == whole(b); },
                      [](const MDRVar& v, QTextCodec*) { return QString::number(whole(v)); }, kZero};
const Kind kReals = {[](const MDRVar& a, const MDRVar& b) { return real(a) == real(b); },
                     [](const MDRVar& v, QTextCodec*) { return QString::number(real(v), 'g', 6); }, kZero};

// Null for a type that is not compared.
const Kind* kindOf(const MDRField* field) {
  switch (field ? int(field->type) : MDX_NONE) {
    case MDX_TEXT:
    case MDX_MEMO:
      return &kTexts;
    case MDX_BOOL:
      return &kFlags;
    case MDX_INT32:
    case MDX_INT64:
      return &kWholes;
    case MDX_FLOAT:
    case MDX_DOUBLE:
      return &kReals;
    default:
      return nullptr;
  }
}

QString timeText(CTlmCliSes* session, double serverTime) {
  constexpr double kMsInDay = 86'400'000;
  const QDateTime start(QDate(1899, 12, 30), QTime(0, 0), Qt::UTC);
  const double seconds = session->MdxTimeToSesTime(serverTime) * kMsInDay / 1000;
  return start.addSecs(qRound64(seconds)).toString(QString::fromLatin1(kTimeFormat));
}

}  // namespace

TMultiPasp::TMultiPasp(CTlmMeasConfig* owner, QTreeView* tree, const CMDArray& selected) : module(owner), view(tree) {
  records.code = MDACopy(records.array, selected.array, 3);
  records.KeyAdd("KeyLink", 0);
  while (MDAKeyCount(records.array) > 1) MDAKeyDel(records.array, 0);
}

// Looks the selected objects up, in the order of the selection; those that are not among the records are passed
// over. An object selected by both of its columns counts once.
void TMultiPasp::readSelection() {
  const QItemSelection selection = view->selectionModel() ? view->selectionModel()->selection() : QItemSelection();
  if (selection == read_) return;
  read_ = selection;
  rows_.clear();
  lastKey_.clear();
  QSet<const void*> seen;
  for (const QModelIndex& index : selection.indexes()) {
    if (seen.contains(index.internalPointer())) continue;
    seen.insert(index.internalPointer());
    const QString key = module->GetKeyLinkByModelIndex(index);
    const MDRData* row = key.isEmpty() ? nullptr : seekText(records, 0, key, module->moduleCodec);
    if (!row) continue;
    rows_.push_back(row);
    lastKey_ = key;
  }
}

bool TMultiPasp::func(const QString& field, QString& value) {
  value = QString();
  if (MDAKeyCount(records.array) == 0 || MDARecCount(records.array) == 0) return false;
  readSelection();
  const QStringList parts = field.split(QLatin1Char('.'));
  if (parts.size() < 2) return false;
  if (parts[1].compare(QLatin1String("KeyLink"), Qt::CaseInsensitive) == 0) return true;
  const QByteArray name = module->moduleCodec->fromUnicode(parts[1]);
  if (!allAgree(MDRFldByName(records.array, name.constData()), value)) return true;
  return displayText(parts[0], parts[1], value);
}

// False, with what stands for a difference, at the first value that is not that of the first object.
bool TMultiPasp::allAgree(const MDRField* field, QString& value) const {
  const Kind* kind = kindOf(field);
  if (!kind || rows_.empty()) return true;
  const MDRVar first = read(field, rows_.front());
  for (const MDRData* row : rows_) {
    if (kind->same(first, read(field, row))) continue;
    value = QString::fromLatin1(kind->differ);
    return false;
  }
  value = kind->text(first, module->moduleCodec);
  return true;
}

// The value as the server's model of the last object puts it. Without that model the raw value stands.
bool TMultiPasp::displayText(const QString& table, const QString& field, QString& value) {
  CLiteModel model(module->moduleCodec);
  module->getLiteModel(lastKey_, model);
  TModelRecord found[3];
  const int count = model.GetRecordsByKey(lastKey_.toStdString(), found);
  for (int i = 0; i < count; ++i) {
    if (table.compare(QString::fromStdString(found[i].table->Name()), Qt::CaseInsensitive) != 0) continue;
    value = model.TextValue(found[i], field);
    if (value == QLatin1String(kNoField)) return false;
    if (declaredText(model, found[i], field, value)) break;
  }
  return true;
}

// Puts a text of the model as the field's declared type wants it. True when nothing more is to follow.
bool TMultiPasp::declaredText(CLiteModel& model, const TModelRecord& record, const QString& field, QString& value) {
  const QString table = QString::fromStdString(record.table->Name());
  QString param;
  model.FldParams(table, field, param);
  const QString declared = GetTypeField(&module->tblFields, &module->tblTables, &module->tblFieldsType, table,
                                        module->moduleCodec->fromUnicode(field).constData());
  if (declared == QLatin1String("GUID_REF")) {
    if (value.isEmpty()) value = QString::fromUtf8(kNothing);
  } else if (declared == QLatin1String("BOOLEAN")) {
    if (ParseParam(QStringLiteral("ENUM"), param).isEmpty())
      value = value == QLatin1String("1") ? QStringLiteral("true") : QStringLiteral("false");
  } else if (declared == QLatin1String("DATETIME")) {
    if (!value.isEmpty()) value = timeText(module->session(), value.toDouble());
  } else if (declared == QLatin1String("INTEGER") && !ParseParam(QStringLiteral("Meas"), param).isEmpty()) {
    if (value.isEmpty() || value == QLatin1String(kZero)) {
      value = QString::fromUtf8(kNothing);
      return true;
    }
    QString key;
    const QString name = GetNameByLocId(value.toInt(), "Measurement", &model, key);
    if (!name.isEmpty()) value += QLatin1Char(',') + name;
    return true;
  } else if (declared == QLatin1String("INTEGER") && !ParseParam(QStringLiteral("SrvGroups"), param).isEmpty()) {
    if (module->srvGroups.isEmpty()) GetSrvGroup(module->session(), &module->srvGroups);
    value = GetServerGroup(value, &module->srvGroups);
  }
  return false;
}
