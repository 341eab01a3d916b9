#include "fixture.h"

#include <QApplication>
#include <QClipboard>
#include <QDir>
#include <QLineEdit>
#include <QTextCodec>

namespace tlm::test {

namespace {

QTextCodec* codec() { return QTextCodec::codecForName("Windows-1251"); }

std::optional<QString> textOf(const MDRField* field, const MDRData* record) {
  MDRVar value{};
  MDRGetVal(field, record, &value);
  if (value.isNull) return std::nullopt;
  switch (value.type) {
    case MDX_BOOL:
      return value.flag ? "true" : "false";
    case MDX_INT32:
      return QString::number(value.i32);
    case MDX_INT64:
      return QString::number(qlonglong(value.i64));
    case MDX_DOUBLE:
      return QString::number(value.f64, 'g', 15);
    default:
      return codec()->toUnicode(value.text.data, int(value.text.length));
  }
}

void setText(CMDArray* array, MDRData* record, const char* field, const QByteArray& bytes) {
  MDRVar value{};
  value.type = MDX_TEXT;
  value.text.length = uint32_t(bytes.size());
  value.text.data = bytes.constData();
  array->SetVal(record, field, value);
}

bool structure(CTlmCliSes* session, const QByteArray& table, CMDArray* out) {
  MDXCliParam* reply = nullptr;
  const auto* body = reinterpret_cast<const unsigned char*>(table.constData());
  if (!session->PacketExec("TableStructure", body, table.size(), &reply) || !session->WaitResult(&reply, -1))
    return false;
  int length = 0;
  void* data = nullptr;
  MDRGetTextRef(MDXParamFld(reply, MDX_REPLY_PAYLOAD), reply, &length, &data);
  const bool read = data && MDXArrayUnPackN(out->array, data, size_t(length), 1) == 0;
  session->PrmFree(reply);
  return read;
}

}  // namespace

CMDArray* ChangeSet::array(const QString& table) const {
  const int at = tables.indexOf(table);
  return at < 0 ? nullptr : arrays[at];
}

QString ChangeSet::marked(const QString& table, int row) const {
  const CMDArray* found = array(table);
  const MDRData* record = found ? MDARec(found->array, 0, row) : nullptr;
  if (!record) return "no record";
  QStringList out;
  for (int i = 0; i < MDAFldCount(found->array); ++i) {
    const MDRField* field = MDRFldByNum(found->array, i);
    if (MDRIsUser(field, record, nullptr) == 1)
      out << QString(field->name) + "=" + textOf(field, record).value_or("null");
  }
  return out.join(", ");
}

int ChangeSet::kind(const QString& table, int row) const {
  const CMDArray* found = array(table);
  const MDRData* record = found ? MDARec(found->array, 0, row) : nullptr;
  return record ? MDRGetFlags(record) : -1;
}

std::optional<QString> ChangeSet::value(const QString& table, const QString& field, int row) const {
  const CMDArray* found = array(table);
  const MDRData* record = found ? MDARec(found->array, 0, row) : nullptr;
  return record ? textOf(MDRFldByName(found->array, field.toLatin1().constData()), record) : std::nullopt;
}

std::string PassportTest::defaultModel() {
  return R"(
folder Северные сети
  unit ПС Северная
    analog 1001 P Т-1 {UnitKey=@МВт;MeasurementArchGroupKey=@Часовая;CheckArch=1;staleTime=30;highAlarm=125.5;highAlarmOn=1;smoothing=1;engMax=150;comment=Проверено}
    analog 1002 Q Т-1 {UnitKey=@Мвар;primaryLocId=1001}
    discrete 1003 В-110 {CheckTu=1;inversion=1;signalKind=0}
  unit ПС Южная
    accumulator 1101 Счетчик
    string 1102 Режим
table MeasurementUnit МВт {symbol=МВт}
table MeasurementUnit Мвар {symbol=Мвар}
table MeasurementArchGroup Часовая {description=Часовые значения}
table MeasurementArchGroup Суточная {description=Суточные значения}
table ServerGroups Группа 1 {number=1}
table ServerGroups Группа 2 {number=2}
table Calculations RES1001 {fname=RES1001;formula=VAL1002+VAL1003;enabled=1;period=10}
)";
}

PassportTest::PassportTest(const std::string& model)
    : server_(model),
      line_(*server_.core(), "engineer", &failures_, &log_),
      tabs_(new QTabWidget(&window_)),
      tree_(new QTreeView),
      model_(codec()),
      passport_(std::make_unique<TlmPassport>(false)) {
  auto* layout = new QVBoxLayout(&window_);
  layout->setContentsMargins(2, 2, 2, 2);
  layout->addWidget(tabs_);
  auto* page = new QWidget;
  auto* inner = new QVBoxLayout(page);
  inner->setContentsMargins(0, 0, 0, 0);
  inner->addWidget(tree_);
  tabs_->addTab(page, QString::fromUtf8("Свойства"));
  QFont small = tabs_->font();
  small.setPointSize(8);
  tabs_->setFont(small);
  tree_->setFont(small);
  passport_->SetEditable(true);
  passport_->BindModelsTabWidg(tabs_, nullptr);
  passport_->SetStretchLastSection(tree_, false);
  changes_ = std::make_unique<QSignalSpy>(passport_.get(), &TlmPassport::TlmPasspChanged);
  messages_ = std::make_unique<QSignalSpy>(passport_.get(), &TlmPassport::TlmPasspMessage);
  window_.resize(560, 640);
  window_.show();
  tree_->setColumnWidth(0, 270);
  tree_->setColumnWidth(1, 250);
  settle();
}

PassportTest::~PassportTest() { passport_.reset(); }

bool PassportTest::load(CLiteModel* model, const QString& objectKey) {
  model->Clear();
  const QByteArray body = "obj=" + objectKey.toUtf8() + '\0';
  MDXCliParam* reply = nullptr;
  if (!session()->PacketExec("LiteModel", reinterpret_cast<const unsigned char*>(body.constData()), body.size(),
                             &reply) ||
      !session()->WaitResult(&reply, -1))
    return false;
  int length = 0;
  void* data = nullptr;
  MDRGetTextRef(MDXParamFld(reply, MDX_REPLY_TEXT), reply, &length, &data);
  const bool read = data && model->LoadFromBuff(static_cast<const char*>(data), length);
  session()->PrmFree(reply);
  return read;
}

void PassportTest::show(const char* name, const char* live) {
  ASSERT_TRUE(load(&model_, key(name)));
  QByteArray value(live ? live : "");
  passport_->SetObject(key(name), &model_, session(), live ? value.data() : nullptr, nullptr, true, false);
}

void PassportTest::showNew(const char* className, const QString& newKey, const QString& unitKey, int locId) {
  CMDArray objects, measurements;
  ASSERT_TRUE(structure(session(), "IdentifiedObject", &objects));
  ASSERT_TRUE(structure(session(), "Measurement", &measurements));
  for (CMDArray* array : {&objects, &measurements}) {
    MDRData* record = MDARecNew(array->array);
    MDRSetFlags(record, 1);
    setText(array, record, "KeyLink", newKey.toLatin1());
    if (array == &objects) setText(array, record, "ClassName", className);
    if (array == &objects) setText(array, record, "name_", codec()->fromUnicode(QString::fromUtf8("Новое")));
    MDRVar number{};
    number.type = MDX_INT32;
    number.i32 = locId;
    if (array == &measurements) array->SetVal(record, "locId", number);
    if (array == &measurements) setText(array, record, "RemoteUnitKey", unitKey.toLatin1());
    array->RecPost(record);
  }
  QStringList tables{"IdentifiedObject", "Measurement"};
  QList<CMDArray*> arrays{&objects, &measurements};
  passport_->SetObjectNew(newKey, className, session(), &tables, &arrays, className, true, false);
}

QModelIndex PassportTest::cell(const QString& id, int column) const {
  QAbstractItemModel* model = tree_->model();
  if (id == "live") return model->index(0, column);
  QStringList names;
  passport_->GetPassportFields(names);
  int at = names.indexOf(id);
  for (int g = 0; g < model->rowCount() && at >= 0; ++g) {
    const QModelIndex group = model->index(g, 0);
    if (at < model->rowCount(group)) return model->index(at, column, group);
    at -= model->rowCount(group);
  }
  return {};
}

bool PassportTest::isMarked(const QString& id) const {
  return cell(id).data(Qt::FontRole).value<QFont>().bold() && cell(id).data(Qt::ForegroundRole).isValid();
}

void PassportTest::click(const QString& id, int column) {
  const QModelIndex at = cell(id, column);
  ASSERT_TRUE(at.isValid()) << id.toStdString();
  tree_->scrollTo(at);
  QTest::mouseClick(tree_->viewport(), Qt::LeftButton, Qt::NoModifier, tree_->visualRect(at).center());
}

QWidget* PassportTest::openEditor(const QString& id) {
  click(id);
  return editor();
}

QWidget* PassportTest::editor() const {
  QWidget* focus = QApplication::focusWidget();
  return focus && focus->parent() == tree_->viewport() ? focus : nullptr;
}

void PassportTest::type(const QString& id, const QString& text, Qt::Key end) {
  QWidget* opened = openEditor(id);
  ASSERT_TRUE(opened) << id.toStdString();
  auto* field = qobject_cast<QLineEdit*>(opened);
  if (field && text.isEmpty()) {
    field->selectAll();
    QTest::keyClick(field, Qt::Key_Delete);
  }
  // A key carries one character; QTest knows keys for Latin-1 only.
  for (const QChar c : text) {
    QKeyEvent down(QEvent::KeyPress, Qt::Key_unknown, Qt::NoModifier, QString(c));
    QApplication::sendEvent(opened, &down);
  }
  QTest::keyClick(opened, end);
  settle();
}

void PassportTest::press(Qt::Key pressed, Qt::KeyboardModifiers modifiers) {
  QTest::keyClick(QApplication::focusWidget() ? QApplication::focusWidget() : tree_, pressed, modifiers);
  settle();
}

ChangeSet PassportTest::handOver() {
  ChangeSet out;
  passport_->GetNewValuesFull(out.tables, out.arrays);
  return out;
}

QString PassportTest::prop(const char* table, const char* field) const {
  QString value;
  return passport_->GetValueProp(table, field, value) ? value : "unknown";
}

bool PassportTest::picture(const char* name) {
  const QString folder = qEnvironmentVariable("TLM_PICTURES");
  if (folder.isEmpty()) return false;
  settle();
  return !QDir().mkpath(folder) || !window_.grab().save(folder + "/" + name + ".png");
}

}  // namespace tlm::test
