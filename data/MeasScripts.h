// The queries that the configurator sends to the server, in the server's script language
// (docs/script-language.md). Each is one function; `%1` in its name takes a text that makes the name unique.
// The texts go through QString::arg, so no other `%` followed by a digit may stand in them.
#ifndef TLMMEAS_MEASSCRIPTS_H
#define TLMMEAS_MEASSCRIPTS_H

#include <array>
#include <cstddef>

namespace meas_scripts {

// Puts the pieces of a script together when the program is built.
template <size_t... Sizes>
constexpr auto join(const char (&... parts)[Sizes]) {
  std::array<char, (... + (Sizes - 1)) + 1> text{};
  size_t end = 0;
  const auto append = [&text, &end](const char* part, size_t length) {
    for (size_t i = 0; i < length; ++i) text[end++] = part[i];
  };
  (append(parts, Sizes - 1), ...);
  return text;
}

// The columns of a measurement row: the table that scripts 4 and 5 return.
inline constexpr char kColumns[] = R"(  result = CTblNew();
  CTblFldAdd(result, "KeyLink", fld_Char, 32);
  CTblFldAdd(result, "ClassName", fld_Memo, 0);
  CTblFldAdd(result, "name_", fld_Memo, 0);
  CTblFldAdd(result, "locId", fld_Int64, 0);
  CTblFldAdd(result, "work_", fld_Bool, 0);
  CTblFldAdd(result, "MeasurementCategoryKey", fld_Char, 32);
  CTblFldAdd(result, "RemoteUnitKey", fld_Char, 32);
  CTblFldAdd(result, "MeasurementArchGroupKey", fld_Char, 32);
  CTblFldAdd(result, "primaryLocId", fld_Int64, 0);
  CTblFldAdd(result, "CheckTu", fld_Bool, 0);
)";

// Adds the row of the measurement r_meas, if it has an object.
inline constexpr char kRow[] = R"(    v = CRecFldGet(r_meas, "KeyLink");
    r_ido = CTblRecSeek(t_ido, 0, v);
    if (type(r_ido[0]) == var_Rec) {
      val_tu = 0;
      r_disc = CTblRecSeek(t_disc, 0, v);
      if (type(r_disc[0]) == var_Rec) val_tu = CRecFldGet(r_disc[0], "CheckTu");
      tmp = CTblRecNew(result);
      CRecFldPut(tmp, 0, v);
      CRecFldPut(tmp, 1, CRecFldGet(r_ido[0], "ClassName"));
      CRecFldPut(tmp, 2, CRecFldGet(r_ido[0], "name_"));
      CRecFldPut(tmp, 3, CRecFldGet(r_meas, "locId"));
      CRecFldPut(tmp, 4, CRecFldGet(r_meas, "work_"));
      CRecFldPut(tmp, 5, CRecFldGet(r_meas, "MeasurementCategoryKey"));
      CRecFldPut(tmp, 6, CRecFldGet(r_meas, "RemoteUnitKey"));
      CRecFldPut(tmp, 7, CRecFldGet(r_meas, "MeasurementArchGroupKey"));
      CRecFldPut(tmp, 8, CRecFldGet(r_meas, "primaryLocId"));
      CRecFldPut(tmp, 9, val_tu);
      CTblRecPost(tmp);
    }
    i = i + 1;
)";

// Adds the row of a taken number: that of the measurement `rec`.
inline constexpr char kTaken[] = R"(      val = CRecFldGet(rec, "KeyLink");
      r_ido = CTblRecSeek(t_ido, 0, val);
      name = "";
      if (type(r_ido[0]) == var_Rec) name = CRecFldGet(r_ido[0], "name_");
      tmp = CTblRecNew(result);
      CRecFldPut(tmp, 0, CRecFldGet(rec, "locId"));
      CRecFldPut(tmp, 1, name);
      CTblRecPost(tmp);
)";

inline constexpr auto kUnitMeasurements = join(R"(f%1(rtu)
{
  var t_ido, t_meas, t_disc, r_meas, r_ido, r_disc, tmp, i, n, v, val_tu;
  t_ido = _ModelTableByName("IdentifiedObject");
  t_meas = _ModelTableByName("Measurement");
  t_disc = _ModelTableByName("Discrete");
)",
                                               kColumns, R"(
  r_meas = CTblRecSeek(t_meas, 3, rtu);
  if (type(r_meas[0]) != var_Rec) exit;
  i = r_meas[1];
  n = CTblRecCount(t_meas);
  while (i < n) {
    r_meas = CTblRec(t_meas, 3, i);
    v = CRecFldGet(r_meas, "RemoteUnitKey");
    if (type(v) != var_Str || cmp(v, rtu) != 0) break;
)",
                                               kRow, R"(  }
}
)");

inline constexpr auto kUnitlessMeasurements = join(R"(f%1()
{
  var t_ido, t_meas, t_disc, r_meas, r_ido, r_disc, tmp, i, n, v, val_tu, rtu, fl_null;
  t_ido = _ModelTableByName("IdentifiedObject");
  t_meas = _ModelTableByName("Measurement");
  t_disc = _ModelTableByName("Discrete");
)",
                                                   kColumns, R"(
  rtu = "";
  fl_null = "false";
  r_meas = CTblRecSeek(t_meas, 3, rtu);
  if (type(r_meas[0]) != var_Rec) {
    if (cmp(rtu, "") != 0) exit;
    rtu = null;
    r_meas = CTblRecSeek(t_meas, 3, rtu);
    if (type(r_meas[0]) != var_Rec) exit;
    fl_null = "true";
  }
  i = r_meas[1];
  n = CTblRecCount(t_meas);
  while (i < n || rtu != null) {
    v = null;  // behind the last row: the empty texts have ended
    if (i < n) {
      r_meas = CTblRec(t_meas, 3, i);
      v = CRecFldGet(r_meas, "RemoteUnitKey");
    }
    if (rtu != null) {
      if (type(v) != var_Str || cmp(v, rtu) != 0) {
        if (cmp(fl_null, "true") == 0) break;
        rtu = null;
        r_meas = CTblRecSeek(t_meas, 3, rtu);
        if (type(r_meas[0]) != var_Rec) exit;
        fl_null = "true";
        i = r_meas[1];
        continue;
      }
    }
    else if (type(v) != 0) break;
)",
                                                   kRow, R"(  }
}
)");

inline constexpr auto kFreeInRange = join(R"(f%1(countNeed, locidBeg, locidEnd, step)
{
  var t_ido, t_meas, r_meas, r_ido, rec, tmp, n, idx, val, name, v, vPrev, i, count;
  t_ido = _ModelTableByName("IdentifiedObject");
  t_meas = _ModelTableByName("Measurement");
  n = CTblRecCount(t_meas);
  result = CTblNew();
  CTblFldAdd(result, "locId", fld_Int32, 0);
  CTblFldAdd(result, "name_", fld_Memo, 0);
  r_meas = CTblRecSeek(t_meas, 1, locidBeg);
  idx = r_meas[1];
  if (type(r_meas[0]) == var_Rec) {
      rec = r_meas[0];
      if (type(CRecFldGet(rec, "locId")) != var_Int) exit;
)",
                                          kTaken, R"(      count = 1;
  }
  else {
    tmp = CTblRecNew(result);
    CRecFldPut(tmp, 0, locidBeg);
    CRecFldPut(tmp, 1, "FreeLocId");
    CTblRecPost(tmp);
    count = 1;
    r_meas = CTblRec(t_meas, 1, idx);
    if (type(r_meas) == var_Rec && idx < n) {
      val = CRecFldGet(r_meas, "locId");
      if (type(val) != var_Int) exit;
      v = int(val);
      if (v - locidBeg > step) {
        count = int((v - locidBeg) / step);
        if (count > countNeed) count = countNeed;
        i = 1;
        while (i < count) {
          tmp = CTblRecNew(result);
          CRecFldPut(tmp, 0, locidBeg + i * step);
          CRecFldPut(tmp, 1, "FreeLocId");
          CTblRecPost(tmp);
          i = i + 1;
        }
      }
    }
  }
  if (count == countNeed) exit;
  vPrev = locidBeg + (count - 1) * step;
  while (idx < n && count < countNeed && vPrev + step < locidEnd) {
    r_meas = CTblRecSeek(t_meas, 1, vPrev + step);
    if (type(r_meas[0]) == var_Rec) {
      rec = r_meas[0];
      if (type(CRecFldGet(rec, "locId")) != var_Int) exit;
)",
                                          kTaken, R"(    }
    else {
      tmp = CTblRecNew(result);
      CRecFldPut(tmp, 0, vPrev + step);
      CRecFldPut(tmp, 1, "FreeLocId");
      CTblRecPost(tmp);
    }
    count = count + 1;
    vPrev = vPrev + step;
    idx = r_meas[1];
  }
  // Behind the last number everything is free; the bounds differ from those above on purpose.
  while (idx >= n && count <= countNeed && vPrev + step <= locidEnd) {
    tmp = CTblRecNew(result);
    CRecFldPut(tmp, 0, vPrev + step);
    CRecFldPut(tmp, 1, "FreeLocId");
    CTblRecPost(tmp);
    count = count + 1;
    vPrev = vPrev + step;
  }
}
)");

}  // namespace meas_scripts

// 1. The lowest hole between the measurement numbers, or 0.
inline constexpr const char* kScriptFreeLocId = R"(f%1()
{
  var t_meas, rec, idx, n, val, v, vPrev;
  Result = 0;
  t_meas = _ModelTableByName("Measurement");
  n = CTblRecCount(t_meas);
  if (n == 0) exit;
  rec = CTblRec(t_meas, 1, 0);
  val = CRecFldGet(rec, "locId");
  if (type(val) != var_Int) exit;
  vPrev = int(val);
  idx = 1;
  while (idx < n) {
    rec = CTblRec(t_meas, 1, idx);
    val = CRecFldGet(rec, "locId");
    if (type(val) != var_Int) break;
    v = int(val);
    if (v - vPrev > 1) {
      Result = vPrev + 1;
      exit;
    }
    vPrev = v;
    idx = idx + 1;
  }
  Result = 0;
}
)";

// 2. 1 if the number is taken.
inline constexpr const char* kScriptLocIdIsBusy = R"(f%1(locid)
{
  var t_meas, rec;
  Result = 0;
  t_meas = _ModelTableByName("Measurement");
  rec = CTblRecSeek(t_meas, 1, locid);
  if (type(rec[0]) == var_Rec) Result = 1;
}
)";

// 3. 1 if a measurement of the remote unit has the text in its name.
inline constexpr const char* kScriptNameInUnit = R"(f%1(rtu, val)
{
  var t_ido, t_meas, r_meas, r_ido, idx, n, v;
  Result = 0;
  t_ido = _ModelTableByName("IdentifiedObject");
  t_meas = _ModelTableByName("Measurement");
  r_meas = CTblRecSeek(t_meas, 3, rtu);
  if (type(r_meas[0]) != var_Rec) exit;
  idx = r_meas[1];
  n = CTblRecCount(t_meas);
  while (idx < n) {
    r_meas = CTblRec(t_meas, 3, idx);
    v = CRecFldGet(r_meas, "RemoteUnitKey");
    if (type(v) != var_Str || cmp(v, rtu) != 0) break;
    v = CRecFldGet(r_meas, "KeyLink");
    r_ido = CTblRecSeek(t_ido, 0, v);
    if (type(r_ido[0]) == var_Rec) {
      v = CRecFldGet(r_ido[0], "name_");
      if (type(v) == var_Str && posi(v, val) >= 0) {
        Result = 1;
        exit;
      }
    }
    idx = idx + 1;
  }
}
)";

// 4. The measurements of a remote unit.
inline constexpr const char* kScriptUnitMeasurements = meas_scripts::kUnitMeasurements.data();

// 5. The measurements without a remote unit: those with an empty text first, then those with null.
// Null stands first in the key's order, so the walk begins with the empty texts and then goes back.
inline constexpr const char* kScriptUnitlessMeasurements = meas_scripts::kUnitlessMeasurements.data();

// 6. Free numbers, `countNeed` of them, from `locidBeg` on.
inline constexpr const char* kScriptFreeFromGiven = R"(f%1(countNeed, locidBeg)
{
  var t_ido, t_meas, r_meas, tmp, n, idx, val, v, vPrev, i, count, count1;
  t_ido = _ModelTableByName("IdentifiedObject");
  t_meas = _ModelTableByName("Measurement");
  n = CTblRecCount(t_meas);
  result = CTblNew();
  CTblFldAdd(result, "locId", fld_Int32, 0);
  r_meas = CTblRecSeek(t_meas, 1, locidBeg);
  idx = r_meas[1];
  if (type(r_meas[0]) == var_Rec) count = 0;
  else {
    r_meas = CTblRec(t_meas, 1, idx);
    val = CRecFldGet(r_meas, "locId");
    if (type(val) != var_Int) exit;
    v = int(val);
    count = v - locidBeg;
    if (count > countNeed) count = countNeed;
    i = 0;
    while (i < count) {
      tmp = CTblRecNew(result);
      CRecFldPut(tmp, 0, locidBeg + i);
      CTblRecPost(tmp);
      i = i + 1;
    }
  }
  if (count > 0) vPrev = locidBeg + count - 1;
  else vPrev = locidBeg;
  while (idx < n && count < countNeed) {
    r_meas = CTblRecSeek(t_meas, 1, vPrev + 1);
    idx = r_meas[1];
    if (type(r_meas[0]) == var_Rec) {
      vPrev = vPrev + 1;
      continue;
    }
    if (idx >= n && count < countNeed) {  // the table has ended: all higher numbers are free
      count1 = countNeed - count;
      v = vPrev + 1;
      i = 0;
      while (i < count1) {
        tmp = CTblRecNew(result);
        CRecFldPut(tmp, 0, v + i);
        CTblRecPost(tmp);
        count = count + 1;
        i = i + 1;
      }
      exit;
    }
    r_meas = CTblRec(t_meas, 1, idx);
    val = CRecFldGet(r_meas, "locId");
    if (type(val) != var_Int) exit;
    v = int(val);
    count1 = v - (vPrev + 1);
    if (count + count1 > countNeed) count1 = countNeed - count;
    v = vPrev + 1;
    i = 0;
    while (i < count1) {
      tmp = CTblRecNew(result);
      CRecFldPut(tmp, 0, v + i);
      CTblRecPost(tmp);
      count = count + 1;
      i = i + 1;
    }
    vPrev = vPrev + count1;
  }
}
)";

// 7. The numbers of a range, each with the name of its measurement or "FreeLocId".
inline constexpr const char* kScriptFreeInRange = meas_scripts::kFreeInRange.data();

#endif
