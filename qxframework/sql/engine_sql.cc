#include "qxframework/sql/engine_sql.h"

#include "qxframework/automation/format.h"
#include "qxframework/host/company.h"
#include "qxframework/host/recordset.h"

namespace qx::dbdef {

const OLECHAR* EngineText::of(long engine) const {
  if (engine == kKordb) return kordb;
  return engine == kDb2 ? db2 : other;
}

const EngineText kSelectVersion{
    u"select \"U_Version\", \"U_Status\" from \"@QXEXTDBVERSION\" where \"U_ExtID\" = '%s' order "
    u"by \"Code\" desc",
    u"select U_Version, U_Status  from @QXEXTDBV where U_ExtID = '%s' order by Code desc",
    u"select U_Version, U_Status from [@QXEXTDBVERSION] where U_ExtID = '%s' order by Code desc"};

const EngineText kSelectEmergencyFix{
    u"select (case when \"U_EFNum\" is null then '00' else \"U_EFNum\" end) as \"U_EFNum\" from "
    u"\"@QXEXTDBVERSION\" where \"U_ExtID\" = '%s' order by \"Code\" desc",
    u"select (case when U_EFNum is null then '00' else U_EFNum end) as U_EFNum from @QXEXTDBV "
    u"where U_ExtID = '%s' order by Code desc",
    u"select (case when U_EFNum is null then '00' else U_EFNum end) as U_EFNum from "
    u"[@QXEXTDBVERSION] where U_ExtID = '%s' order by Code desc"};

const EngineText kDeleteStamp{
    u"delete from \"@QXEXTDBVERSION\" where \"U_ExtID\" = '%s' and \"U_Version\" = '%s' and "
    u"\"U_EFNum\"= '%02d'",
    u"delete from @QXEXTDBV where U_ExtID = '%s' and U_Version = '%s' and U_EFNum= '%02d'",
    u"delete from [@QXEXTDBVERSION] where U_ExtID = '%s' and U_Version = '%s' and U_EFNum= "
    u"'%02d'"};

const EngineText kInsertStamp{
    u"insert into \"@QXEXTDBVERSION\" (\"Code\", \"Name\", \"U_ExtID\", \"U_Version\", "
    u"\"U_EFNum\", \"U_Status\", \"U_Rdate\")   values ('%s', '%s', '%s', '%s', '%02d', '%s', "
    u"CURRENT_TIMESTAMP)",
    u"insert into @QXEXTDBV (Code, Name, U_ExtID, U_Version,  U_EFNum, U_Status, U_Rdate)   "
    u"values ('%s', '%s', '%s', '%s', '%02d', '%s', CURRENT TIMESTAMP)",
    u"insert into [@QXEXTDBVERSION] (Code, Name, U_ExtID, U_Version, U_EFNum, U_Status, U_Rdate)   "
    u"values ('%s', '%s', '%s', '%s', '%02d', '%s', getdate())"};

const EngineText kVersionTable{u"@QXEXTDBVERSION", u"@QXEXTDBV", u"@QXEXTDBVERSION"};

const EngineText kSelectMaxCode{u"SELECT MAX(\"Code\") FROM \"%s\"", u"SELECT MAX(Code) FROM %s",
                                u"SELECT MAX(Code) FROM [%s]"};

const EngineText kSelectUserField{
    u"SELECT \"FieldID\" FROM CUFD WHERE \"TableID\" = '@%s' AND \"AliasID\" = '%s'",
    u"SELECT FieldID FROM CUFD WHERE TableID = '@%s' AND AliasID = '%s'",
    u"SELECT FieldID FROM CUFD WHERE TableID = '@%s' AND AliasID = '%s'"};

const EngineText kSelectTableField{
    u"SELECT \"FieldID\" FROM CUFD WHERE \"TableID\" = '%s' AND \"AliasID\" = '%s'",
    u"SELECT FieldID FROM CUFD WHERE TableID = '%s' AND AliasID = '%s'",
    u"SELECT FieldID FROM CUFD WHERE TableID = '%s' AND AliasID = '%s'"};

const EngineText kSelectTaxRate{
    u"SELECT \"Code\", \"Rate\", \"EffecDate\" FROM VTG1 WHERE (\"Code\" = '%s') AND "
    u"(\"EffecDate\"<=CURRENT_TIMESTAMP) ORDER BY \"EffecDate\" DESC",
    u"SELECT Code, Rate, EffecDate FROM VTG1 WHERE (Code = '%s') AND (EffecDate<= "
    u"TIMESTAMP_ISO(CURRENT DATE)) ORDER BY EffecDate DESC",
    u"SELECT Code, Rate, EffecDate FROM VTG1 WHERE (Code = '%s') AND (EffecDate<=GetDate()) "
    u"ORDER BY EffecDate DESC"};

const EngineText kSelectPostingPeriod{
    u"SELECT \"Category\", \"SubNum\", \"F_RefDate\" FROM OFPR WHERE (\"F_RefDate\"<='%s') AND "
    u"'%s' <=(ADDDATE(\"T_RefDate\", 1))",
    u"SELECT Category, SubNum,  F_RefDate FROM OFPR WHERE (F_RefDate<=TIMESTAMP_ISO('%s')) AND "
    u"TIMESTAMP_ISO('%s')<=(T_RefDate + 1 DAYS)",
    u"SELECT Category, SubNum, F_RefDate FROM OFPR WHERE (F_RefDate<=CONVERT(datetime,'%s',112)) "
    u"AND CONVERT(datetime,'%s',112)<=(DATEADD(day,1,T_RefDate))"};

std::u16string tableNameOn(long engine, std::u16string_view name) {
  const bool cut = engine == kDb2 && name.size() > 9;
  return std::u16string(cut ? name.substr(0, 8) : name);
}

namespace {

// The token with the quotes strictly between its first and last character doubled.
std::u16string doubleInnerQuotes(std::u16string_view token) {
  std::u16string out;
  for (std::size_t i = 0; i < token.size(); ++i) {
    out.push_back(token[i]);
    if (token[i] == u'\'' && i > 0 && i + 1 < token.size()) out.push_back(u'\'');
  }
  return out;
}

}  // namespace

RowInsert::RowInsert(long engine, std::u16string_view table, std::u16string_view code)
    : engine_(engine), table_(table) {
  columns_ = engine == kKordb ? u"\"Code\", \"Name\"" : u"Code, Name";
  values_.append(u"'").append(code).append(u"', '").append(code).append(u"'");
}

void RowInsert::add(std::u16string_view field, std::u16string_view token) {
  hasFields_ = true;
  if (engine_ == kKordb) {
    columns_.append(u", \"U_").append(field).append(u"\"");
  } else {
    columns_.append(u", U_").append(field);
  }
  values_ += u", ";
  if (!token.starts_with(u'\'')) {
    values_ += token;
    return;
  }
  if (engine_ != kDb2 && engine_ != kSybase) values_.push_back(u'N');
  values_ += doubleInnerQuotes(token);
}

std::u16string RowInsert::text() const {
  const EngineText shape{u"insert into \"%s\"(%s) values (%s)", u"insert into %s (%s) values (%s)",
                         u"insert into [%s] (%s) values (%s)"};
  return format(shape.of(engine_), table_, columns_, values_);
}

CComVariant fieldValue(IRecordset* recordset, long index, VARTYPE type) {
  CComVariant value;
  if (recordset->GetEoF() != VARIANT_TRUE)
    value = recordset->GetFields()->Item(CComVariant(index))->GetValue();
  if (value.vt == VT_NULL) value = CComVariant();
  raiseIfFailed(value.ChangeType(type));
  return value;
}

std::u16string fieldText(IRecordset* recordset, long index) {
  return std::u16string(viewOfBstr(fieldValue(recordset, index, VT_BSTR).bstrVal));
}

}  // namespace qx::dbdef
