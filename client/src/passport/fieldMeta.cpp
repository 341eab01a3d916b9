#include "passport/fieldMeta.h"

#include <TlmMdx/mdx.h>

namespace tlm::passport {

namespace {

FieldKind kindByStorage(int type) {
  switch (type) {
    case MDX_BOOL:
      return FieldKind::kFlag;
    case MDX_INT32:
    case MDX_INT64:
      return FieldKind::kInteger;
    case MDX_FLOAT:
    case MDX_DOUBLE:
      return FieldKind::kDouble;
    default:
      return FieldKind::kText;
  }
}

FieldKind integerKind(const FieldMeta& meta) {
  if (!paramPart(meta.param, "Meas").isEmpty()) return FieldKind::kMeasNumber;
  if (!paramPart(meta.param, "SrvGroups").isEmpty()) return FieldKind::kServerGroup;
  return meta.choices.isEmpty() ? FieldKind::kInteger : FieldKind::kChoice;
}

FieldKind kindOf(const FieldMeta& meta) {
  struct Row {
    const char* declared;
    FieldKind kind;
  };
  static const Row rows[] = {{"TEXT", FieldKind::kText},         {"MEMO", FieldKind::kMemo},
                             {"GUID", FieldKind::kKey},          {"GUID_REF", FieldKind::kReference},
                             {"DOUBLE", FieldKind::kDouble},     {"ENUM", FieldKind::kChoice},
                             {"DATETIME", FieldKind::kDateTime}, {"BOOLEAN", FieldKind::kFlag}};
  if (meta.name.compare(QLatin1String("KeyLink"), Qt::CaseInsensitive) == 0) return FieldKind::kKey;
  if (meta.declared == QLatin1String("INTEGER") || meta.declared == QLatin1String("INT64")) return integerKind(meta);
  for (const Row& row : rows)
    if (meta.declared == QLatin1String(row.declared))
      return row.kind == FieldKind::kFlag && !meta.choices.isEmpty() ? FieldKind::kChoice : row.kind;
  return kindByStorage(meta.type);
}

void setLimits(FieldMeta* meta) {
  const bool narrow = meta->type == MDX_INT32;
  const bool whole = narrow || meta->type == MDX_INT64;
  meta->max = narrow  ? std::numeric_limits<int32_t>::max()
              : whole ? double(std::numeric_limits<int64_t>::max())
                      : std::numeric_limits<double>::max();
  meta->min = narrow ? std::numeric_limits<int32_t>::min() : -meta->max;
  bool given = false;
  const double min = paramPart(meta->param, "MIN").toDouble(&given);
  if (given) meta->min = qMax(min, meta->min);
  const double max = paramPart(meta->param, "MAX").toDouble(&given);
  if (given) meta->max = qMin(max, meta->max);
}

FieldMetaPtr describe(const FieldSource& source) {
  auto meta = std::make_shared<FieldMeta>();
  static_cast<FieldSource&>(*meta) = source;
  if (meta->title.isEmpty()) meta->title = meta->name;
  meta->id = meta->table + "." + meta->name;
  meta->choices = parseChoices(paramPart(meta->param, "ENUM"));
  meta->refTable = paramPart(meta->param, "REF");
  meta->unit = paramPart(meta->param, "UNIT");
  meta->longest = meta->size > 0 ? meta->size : paramPart(meta->param, "LEN").toInt();
  meta->readOnly = !paramPart(meta->param, "READONLY").isEmpty();
  meta->kind = kindOf(*meta);
  setLimits(meta.get());
  return meta;
}

}  // namespace

bool FieldSource::operator==(const FieldSource& other) const {
  return number == other.number && type == other.type && size == other.size && name == other.name &&
         table == other.table && title == other.title && declared == other.declared && param == other.param;
}

FieldMetaPtr FieldMetas::of(const FieldSource& source) {
  FieldMetaPtr& known = known_[source.table + "." + source.name];
  FieldSource named = source;
  if (named.title.isEmpty()) named.title = named.name;
  if (!known || !(static_cast<const FieldSource&>(*known) == named)) {
    known = describe(named);
    all_.push_back(known);
  }
  return known;
}

}  // namespace tlm::passport
