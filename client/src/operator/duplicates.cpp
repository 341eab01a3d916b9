#include "duplicates.h"

#include <TlmClient/CTlmCliSes.h>
#include <TlmClient/GenGuid32.h>
#include <TlmMdx/values.h>
#include <TlmWire/messages.h>

#include <QTextCodec>

#include <algorithm>

#include "exchange.h"

namespace tlm {
namespace {

constexpr char kTable[] = "Dublies";
constexpr int kByMeasurement = 1;  // the server's key on "MeasurementKey"
constexpr int kAnswerMs = 5000;

MDRVar bytesVar(const QByteArray& bytes) {
  return mdx::textVar({bytes.constData(), static_cast<size_t>(bytes.size())});
}

QByteArray textOf(const CMDArray& rows, const MDRData* record, const char* field) {
  MDRVar value{};
  rows.GetVal(record, field, value);
  if (!mdx::hasValue(value) || !mdx::hasTextType(value)) return {};
  return QByteArray(value.text.data, static_cast<int>(value.text.length));
}

int numberOf(const CMDArray& rows, const MDRData* record, const char* field, int otherwise) {
  int32_t number = 0;
  const MDRField* const handle = MDRFldByName(rows.array, field);
  return handle && MDRGetAsInt32(handle, record, &number) >= 0 ? number : otherwise;
}

constexpr int kNoAnswer = -1;

// Takes the table that a request answers with. Returns the status of the answer.
int askTable(CTlmCliSes* session, const char* name, const QByteArray& body, CMDArray* into) {
  MDXCliParam* reply = nullptr;
  const auto* bytes = reinterpret_cast<const unsigned char*>(body.constData());
  if (!session || !session->PacketExec(name, bytes, body.size(), &reply)) return kNoAnswer;
  if (!session->WaitResult(&reply, kAnswerMs) || !reply) return kNoAnswer;
  int32_t status = kNoAnswer;
  int length = 0;
  void* data = nullptr;
  MDRGetAsInt32(MDXParamFld(reply, MDX_REPLY_STATUS), reply, &status);
  if (status == wire::kOk && (MDRGetTextRef(MDXParamFld(reply, MDX_REPLY_PAYLOAD), reply, &length, &data) < 0 ||
                              !data || MDXArrayUnPackN(into->array, data, static_cast<size_t>(length), 1) != 0))
    status = kNoAnswer;
  session->PrmFree(reply);
  return status;
}

// The body of "RecByKey": the rows of a table that have a value in one of its keys.
QByteArray keyQuestion(const char* table, int key, const QByteArray& value) {
  CMDArray question;
  const MDRFldDesc fields[] = {{"tblname", 32, MDX_TEXT, {}}, {"idxnum", 0, MDX_INT32, {}}, {"fld_0", 0, MDX_MEMO, {}}};
  for (const MDRFldDesc& field : fields) MDAFldAdd(question.array, 1, &field);
  MDRData* const record = MDARecNew(question.array);
  question.SetVal(record, 0, bytesVar(table));
  question.SetVal(record, 1, mdx::int32Var(key));
  question.SetVal(record, 2, bytesVar(value));
  MDRData* const posted = question.RecPost(record);
  if (MDRRecPack(question.array, posted, 1, 1) < 0) return {};
  return QByteArray(reinterpret_cast<const char*>(posted->packed), static_cast<int>(posted->packedLength));
}

void put(CMDArray* rows, MDRData* record, const char* field, const MDRVar& value, bool written) {
  rows->SetVal(record, field, value);
  if (written) MDRSetUser(MDRFldByName(rows->array, field), record, 1);
}

}  // namespace

bool Duplicates::read(CTlmCliSes* session, CMDArray* found) const {
  return askTable(session, "RecByKey", keyQuestion(kTable, kByMeasurement, measurement_), found) == wire::kOk;
}

Duplicates::Load Duplicates::load(CTlmCliSes* session, const QByteArray& measurement) {
  rows_.clear();
  kept_.clear();
  measurement_ = measurement;
  own_ = 0;
  CMDArray own;
  CMDArray found;
  const int status = askTable(session, "RecByKeyLink", measurement, &own);
  if (status == wire::kNotFound) return kGone;
  if (status != wire::kOk || !read(session, &found)) return kFailed;
  own_ = MDARecCount(own.array) > 0 ? numberOf(own, MDARec(own.array, 0, 0), "locId", 0) : 0;
  for (int i = 0; i < MDARecCount(found.array); ++i) {
    const MDRData* const record = MDARec(found.array, 0, i);
    Kept kept;
    kept.row.key = textOf(found, record, "KeyLink");
    kept.row.locId = numberOf(found, record, "dublLocId", 0);
    kept.row.enabled = numberOf(found, record, "enabled", 0) != 0;
    kept.row.mode = numberOf(found, record, "mode", 0);
    kept.priority = numberOf(found, record, "priority", 0);
    describe(session, &kept.row);
    kept_.append(kept);
  }
  std::stable_sort(kept_.begin(), kept_.end(), [](const Kept& a, const Kept& b) { return a.priority < b.priority; });
  for (const Kept& kept : qAsConst(kept_)) rows_.append(kept.row);
  return kLoaded;
}

void Duplicates::describe(CTlmCliSes* session, Duplicate* row) const {
  const Answer answer = ask(session, "MeasParams", line("locId", QByteArray::number(row->locId)), kAnswerMs);
  if (!answer.good()) {
    row->name = QStringLiteral("(измерения нет на сервере)");
    return;
  }
  const Lines lines(answer.text);
  const QString unit = lines.value("unitName");
  row->name = unit.isEmpty() ? lines.value("name") : QStringLiteral("%1: %2").arg(unit, lines.value("name"));
  row->value = lines.has("text") ? lines.value("text") : QStringLiteral("нет данных");
}

const Duplicates::Kept* Duplicates::kept(const QByteArray& key) const {
  const auto found = std::find_if(kept_.begin(), kept_.end(), [&](const Kept& kept) { return kept.row.key == key; });
  return found == kept_.end() ? nullptr : &*found;
}

// The order counts by itself: numbers that are not 1, 2, 3 are no edit of anybody's.
bool Duplicates::isEdited() const {
  if (rows_.size() != kept_.size()) return true;
  for (int i = 0; i < rows_.size(); ++i) {
    const Duplicate& was = kept_.at(i).row;
    const Duplicate& is = rows_.at(i);
    if (was.key != is.key || was.enabled != is.enabled || was.mode != is.mode) return true;
  }
  return false;
}

bool Duplicates::add(CTlmCliSes* session, int locId, QString* problem) {
  const auto twice = std::find_if(rows_.begin(), rows_.end(), [&](const Duplicate& row) { return row.locId == locId; });
  if (locId == own_) {
    *problem = QStringLiteral("Измерение не может быть дублем самого себя.");
  } else if (twice != rows_.end()) {
    *problem = QStringLiteral("Измерение № %1 уже стоит в списке.").arg(locId);
  } else {
    const Answer answer = ask(session, "MeasParams", line("locId", QByteArray::number(locId)), kAnswerMs);
    if (!answer.good())
      *problem = answer.kind == Answer::kGiven ? QStringLiteral("Измерения № %1 нет на сервере.").arg(locId)
                                               : refusalText(answer);
  }
  if (!problem->isEmpty()) return false;
  Duplicate row;
  row.key = GenGuid32();
  row.locId = locId;
  row.isNew = true;
  describe(session, &row);
  rows_.append(row);
  return true;
}

// Of a row that stands on the server only what is another now is written.
void Duplicates::fillChanges(CMDArray* changes) const {
  for (int i = 0; i < rows_.size(); ++i) {
    const Duplicate& row = rows_.at(i);
    const Kept* const was = kept(row.key);
    const int priority = i + 1;
    const bool order = !was || was->priority != priority;
    const bool enabled = !was || was->row.enabled != row.enabled;
    const bool mode = !was || was->row.mode != row.mode;
    if (!order && !enabled && !mode) continue;
    MDRData* const record = MDARecNew(changes->array);
    put(changes, record, "KeyLink", bytesVar(row.key), !was);
    if (!was) put(changes, record, "MeasurementKey", bytesVar(measurement_), true);
    if (!was) put(changes, record, "dublLocId", mdx::int64Var(row.locId), true);
    if (order) put(changes, record, "priority", mdx::int32Var(priority), true);
    if (enabled) put(changes, record, "enabled", mdx::boolVar(row.enabled), true);
    if (mode) put(changes, record, "mode", mdx::int32Var(row.mode), true);
    MDRSetFlags(record, was ? MDX_REC_UPDATE : MDX_REC_INSERT);
    changes->RecPost(record);
  }
  for (const Kept& gone : kept_) {
    const auto same = [&](const Duplicate& row) { return row.key == gone.row.key; };
    if (std::any_of(rows_.begin(), rows_.end(), same)) continue;
    MDRData* const record = MDARecNew(changes->array);
    put(changes, record, "KeyLink", bytesVar(gone.row.key), false);
    MDRSetFlags(record, MDX_REC_DELETE);
    changes->RecPost(record);
  }
}

bool Duplicates::save(CTlmCliSes* session, QString* problem) const {
  CMDArray changes;
  if (askTable(session, "TableStructure", kTable, &changes) != wire::kOk) {
    *problem = QStringLiteral("Сервер не ответил, ничего не записано.");
    return false;
  }
  fillChanges(&changes);
  MDXCliParam* whole = nullptr;
  session->BlockBeg();
  if (!session->SqlUpdate(kTable, changes.array, true, nullptr)) {
    session->BlockEnd(false, nullptr);
    *problem = QStringLiteral("Изменения не отправлены.");
    return false;
  }
  if (!session->BlockEnd(true, &whole)) {
    *problem = QStringLiteral("Нет связи с сервером, ничего не записано.");
    return false;
  }
  if (!session->WaitResult(&whole, kAnswerMs) || !whole) {
    *problem = QStringLiteral("Сервер не ответил: записаны ли изменения, не известно.");
    return false;
  }
  int32_t status = -1;
  MDRGetAsInt32(MDXParamFld(whole, MDX_REPLY_STATUS), whole, &status);
  char* why = nullptr;
  if (status != 0) MDRGetTextPtr(MDXParamFld(whole, MDX_REPLY_PAYLOAD), whole, &why);
  if (status != 0) *problem = QStringLiteral("Сервер не принял изменения: %1").arg(serverCodec()->toUnicode(why));
  session->PrmFree(whole);
  return status == 0;
}

}  // namespace tlm
