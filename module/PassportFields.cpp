#include "PassportFields.h"

#include "CTlmMeasConfig.h"

namespace {

using Config = CTlmMeasConfig;

const PassportForm& unitForm() {
  static const PassportForm form = {
      {"IdentifiedObject.KeyLink", "IdentifiedObject.ClassName"},
      {},
      {{"IdentifiedObject", &Config::strIdentifiedObject, &Config::tblRemoteUnit, {"classname", "name_"}},
       {"RemoteUnit", &Config::strRemoteUnit, &Config::tblRemoteUnit, {"RemoteUnitFolderKey"}}}};
  return form;
}

const PassportForm& folderForm() {
  static const PassportForm form = {
      {"RemoteUnitFolder.KeyLink"},
      {},
      {{"RemoteUnitFolder", &Config::tblRemoteUnitFolder, &Config::tblRemoteUnitFolder, {"caption", "ParentKey"}}}};
  return form;
}

const PassportForm& measurementForm() {
  static const PassportForm form = {
      {"IdentifiedObject.KeyLink", "IdentifiedObject.ClassName"},
      {"Measurement.RemoteUnitKey", "Measurement.primaryLocId", "Measurement.UnitKey", "Measurement.PSRKey",
       "Measurement.TerminalKey", "Measurement.MeasurementArchGroupKey"},
      {{"IdentifiedObject", &Config::strIdentifiedObject, &Config::measRecords, {"classname", "name_"}},
       {"Measurement", &Config::strMeasurement, &Config::measRecords, {"locId", "RemoteUnitKey"}}}};
  return form;
}

struct FormRow {
  const char* className;
  const PassportForm& (*form)();
};

constexpr FormRow kForms[] = {
    {"RemoteUnit", unitForm},      {"RemoteUnitFolder", folderForm}, {"analog", measurementForm},
    {"discrete", measurementForm}, {"accumulator", measurementForm}, {"StringMeasurement", measurementForm},
};

}  // namespace

const PassportForm* passportForm(const QString& className) {
  for (const FormRow& row : kForms)
    if (className.compare(QLatin1String(row.className), Qt::CaseInsensitive) == 0) return &row.form();
  return nullptr;
}

QStringList lockedFields(const PassportForm& form, bool aggregated) {
  QStringList fields;
  for (const char* field : form.locked) fields += QLatin1String(field);
  if (aggregated)
    for (const char* field : form.lockedAggregated) fields += QLatin1String(field);
  return fields;
}
