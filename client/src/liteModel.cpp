#include <TlmClient/CLiteModel.h>

#include <TlmWire/liteModel.h>

#include <QLocale>

#include <map>
#include <vector>

#include "passport/catalogue.h"
#include "passport/values.h"

using tlm::passport::Catalogue;
using tlm::passport::FieldSource;
using tlm::passport::TableInfo;

namespace {

const char* const kNone = "[none]";
constexpr size_t kKeptCatalogues = 32;

using CatalogueBytes = std::string;

// The catalogue part is the same for all objects of a class, and reading it costs more than all the rest.
std::shared_ptr<const Catalogue> catalogueOf(const CatalogueBytes& bytes, const MDArray* tables, const MDArray* fields,
                                             const MDArray* types) {
  static std::map<CatalogueBytes, std::shared_ptr<const Catalogue>> kept;
  auto found = kept.find(bytes);
  if (found != kept.end()) return found->second;
  if (kept.size() >= kKeptCatalogues) kept.clear();
  auto read = std::make_shared<Catalogue>();
  read->read(tables, fields, types);
  kept.emplace(bytes, read);
  return read;
}

}  // namespace

const std::string& CModelTable::Name() const { return name_; }

MDArray* CModelTable::Array() const { return array_->array; }

struct CLiteModel::Data {
  std::vector<std::unique_ptr<CModelTable>> tables;
  std::shared_ptr<const Catalogue> catalogue = std::make_shared<Catalogue>();
  QStringList chain;

  CModelTable* table(const QString& name) const {
    for (const auto& entry : tables)
      if (name.compare(QString::fromStdString(entry->name_), Qt::CaseInsensitive) == 0) return entry.get();
    return nullptr;
  }
  const MDArray* array(const char* name) const {
    const CModelTable* found = table(QString::fromLatin1(name));
    return found ? found->Array() : nullptr;
  }
  void readCatalogue(const tlm::wire::LiteModelBlock& block);
  QString rowText(const QString& table, const QString& key) const;
  QString valueText(const FieldSource& field, const QVariant& value) const;
};

void CLiteModel::Data::readCatalogue(const tlm::wire::LiteModelBlock& block) {
  CatalogueBytes bytes;
  for (const auto& entry : block.tables)
    if (entry.name == "Tables" || entry.name == "Fields" || entry.name == "FieldsType") bytes += entry.packed;
  catalogue = catalogueOf(bytes, array("Tables"), array("Fields"), array("FieldsType"));
  chain = catalogue->chain(QString::fromStdString(block.className));
  if (chain.isEmpty() && !tables.empty()) chain << QString::fromStdString(tables.front()->name_);
}

// The text that stands for a row of a reference table: its column "DISPLAY", or that of a parent table's
// row. The key itself when the model has no such row.
QString CLiteModel::Data::rowText(const QString& name, const QString& key) const {
  for (const TableInfo* info = catalogue->table(name); info; info = catalogue->parent(*info)) {
    const CModelTable* found = info->display.isEmpty() ? nullptr : table(info->name);
    if (!found) continue;
    if (const MDRData* row = tlm::passport::seekText(found->Array(), 0, key)) {
      const MDRField* field = MDRFldByName(found->Array(), info->display.toLatin1().constData());
      return tlm::passport::plainText(tlm::passport::readValue(field, row));
    }
  }
  return key;
}

QString CLiteModel::Data::valueText(const FieldSource& field, const QVariant& value) const {
  if (!value.isValid()) return {};
  if (field.declared == QLatin1String("GUID_REF")) {
    const QString key = value.toString();
    return key.isEmpty() ? key : rowText(tlm::passport::paramPart(field.param, "REF"), key);
  }
  const bool isFlag = value.type() == QVariant::Bool;
  if (isFlag || value.type() == QVariant::LongLong) {
    const QString texts = tlm::passport::paramPart(field.param, "ENUM");
    const QString text = tlm::passport::choiceText(tlm::passport::parseChoices(texts), value.toLongLong());
    if (!text.isNull()) return text;
  }
  return isFlag ? QString::number(value.toInt()) : tlm::passport::plainText(value);
}

CLiteModel::CLiteModel(QTextCodec*) : data_(std::make_unique<Data>()) {}

CLiteModel::~CLiteModel() = default;

bool CLiteModel::LoadFromBuff(const char* buffer, int length) {
  Clear();
  tlm::wire::LiteModelBlock block;
  if (!buffer || length <= 0 || !tlm::wire::readLiteModel(buffer, size_t(length), &block)) return false;
  for (const auto& entry : block.tables) {
    auto table = std::make_unique<CModelTable>();
    table->name_ = entry.name;
    table->array_ = std::make_unique<CMDArray>();
    if (MDXArrayUnPackN(table->Array(), entry.packed.data(), entry.packed.size(), 1) != 0) {
      Clear();
      return false;
    }
    data_->tables.push_back(std::move(table));
  }
  data_->readCatalogue(block);
  return true;
}

void CLiteModel::Clear() { data_ = std::make_unique<Data>(); }

bool CLiteModel::IsEmpty() const { return data_->tables.empty(); }

CModelTable* CLiteModel::GetTableByName(const std::string& name) const {
  return data_->table(QString::fromStdString(name));
}

int CLiteModel::GetRecordsByKey(const std::string& key, TModelRecord (&out)[3]) const {
  int found = 0;
  for (const QString& name : data_->chain) {
    CModelTable* table = data_->table(name);
    MDRData* record = table ? tlm::passport::seekText(table->Array(), 0, QString::fromStdString(key)) : nullptr;
    if (record && found < 3) out[found++] = {table, record};
  }
  return found;
}

QString CLiteModel::TextValue(const TModelRecord& record, const QString& field) const {
  const MDRField* handle =
      record.table && record.record ? MDRFldByName(record.table->Array(), field.toLatin1().constData()) : nullptr;
  if (!handle) return QString::fromLatin1(kNone);
  FieldSource source;
  data_->catalogue->field(QString::fromStdString(record.table->Name()), field, &source);
  return data_->valueText(source, tlm::passport::readValue(handle, record.record));
}

bool CLiteModel::FldParams(const QString& table, const QString& field, QString& params, QString* title,
                           QString* declared) const {
  FieldSource source;
  if (!data_->catalogue->field(table, field, &source)) return false;
  params = source.param;
  if (title) *title = source.title;
  if (declared) *declared = source.declared;
  return true;
}
