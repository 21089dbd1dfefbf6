#include "qxframework/dbdef/internal/definition_sql.h"

#include "qxframework/automation/format.h"

namespace qx::dbdef {

const TextByQuoting kVersionTable{
    .brackets = u"@QXEXTDBVERSION", .bare = u"@QXEXTDBV", .doubleQuotes = u"@QXEXTDBVERSION"};

// The emergency fix has a statement of its own: the tables of early releases lack its column.
const TextByQuoting kSelectVersion{
    .brackets =
        u"select U_Version, U_Status from [@QXEXTDBVERSION] where U_ExtID = '%s' order by "
        u"Code desc",
    .bare = u"select U_Version, U_Status  from @QXEXTDBV where U_ExtID = '%s' order by Code desc",
    .doubleQuotes =
        u"select \"U_Version\", \"U_Status\" from \"@QXEXTDBVERSION\" where "
        u"\"U_ExtID\" = '%s' order by \"Code\" desc"};

const TextByQuoting kSelectEmergencyFix{
    .brackets =
        u"select (case when U_EFNum is null then '00' else U_EFNum end) as U_EFNum from "
        u"[@QXEXTDBVERSION] where U_ExtID = '%s' order by Code desc",
    .bare =
        u"select (case when U_EFNum is null then '00' else U_EFNum end) as U_EFNum from "
        u"@QXEXTDBV where U_ExtID = '%s' order by Code desc",
    .doubleQuotes =
        u"select (case when \"U_EFNum\" is null then '00' else \"U_EFNum\" end) as "
        u"\"U_EFNum\" from \"@QXEXTDBVERSION\" where \"U_ExtID\" = '%s' order by "
        u"\"Code\" desc"};

const TextByQuoting kDeleteStamp{
    .brackets =
        u"delete from [@QXEXTDBVERSION] where U_ExtID = '%s' and U_Version = '%s' and "
        u"U_EFNum= '%02d'",
    .bare = u"delete from @QXEXTDBV where U_ExtID = '%s' and U_Version = '%s' and U_EFNum= '%02d'",
    .doubleQuotes =
        u"delete from \"@QXEXTDBVERSION\" where \"U_ExtID\" = '%s' and \"U_Version\" = "
        u"'%s' and \"U_EFNum\"= '%02d'"};

const TextByQuoting kInsertStamp{
    .brackets =
        u"insert into [@QXEXTDBVERSION] (Code, Name, U_ExtID, U_Version, U_EFNum, "
        u"U_Status, U_Rdate)   values ('%s', '%s', '%s', '%s', '%02d', '%s', getdate())",
    .bare =
        u"insert into @QXEXTDBV (Code, Name, U_ExtID, U_Version,  U_EFNum, U_Status, U_Rdate)  "
        u" values ('%s', '%s', '%s', '%s', '%02d', '%s', CURRENT TIMESTAMP)",
    .doubleQuotes =
        u"insert into \"@QXEXTDBVERSION\" (\"Code\", \"Name\", \"U_ExtID\", "
        u"\"U_Version\", \"U_EFNum\", \"U_Status\", \"U_Rdate\")   values ('%s', '%s', "
        u"'%s', '%s', '%02d', '%s', CURRENT_TIMESTAMP)"};

const TextByQuoting kSelectUserField{
    .brackets = u"SELECT FieldID FROM CUFD WHERE TableID = '@%s' AND AliasID = '%s'",
    .bare = u"SELECT FieldID FROM CUFD WHERE TableID = '@%s' AND AliasID = '%s'",
    .doubleQuotes =
        u"SELECT \"FieldID\" FROM CUFD WHERE \"TableID\" = '@%s' AND \"AliasID\" = '%s'"};

const TextByQuoting kSelectTableField{
    .brackets = u"SELECT FieldID FROM CUFD WHERE TableID = '%s' AND AliasID = '%s'",
    .bare = u"SELECT FieldID FROM CUFD WHERE TableID = '%s' AND AliasID = '%s'",
    .doubleQuotes =
        u"SELECT \"FieldID\" FROM CUFD WHERE \"TableID\" = '%s' AND \"AliasID\" = '%s'"};

std::u16string definedTableName(const Dialect& dialect, std::u16string_view name) {
  const bool cut = dialect.shortTableNames && name.size() > 9;
  return std::u16string(cut ? name.substr(0, 8) : name);
}

namespace {

const TextByQuoting kInsertRow{.brackets = u"insert into [%s] (%s) values (%s)",
                               .bare = u"insert into %s (%s) values (%s)",
                               .doubleQuotes = u"insert into \"%s\"(%s) values (%s)"};

std::u16string doubleInnerQuotes(std::u16string_view token) {
  std::u16string out;
  for (std::size_t i = 0; i < token.size(); ++i) {
    out.push_back(token[i]);
    // The first and the last character delimit the literal, whatever the last one is.
    if (token[i] == u'\'' && i > 0 && i + 1 < token.size()) out.push_back(u'\'');
  }
  return out;
}

std::u16string inDialect(const Dialect& dialect, std::u16string_view column) {
  return std::u16string(columnName(dialect, CComBSTR(column)).View());
}

}  // namespace

RowInsert::RowInsert(const Dialect& dialect, std::u16string_view table, std::u16string_view code)
    : dialect_(dialect), table_(table) {
  columns_ = inDialect(dialect, u"Code") + u", " + inDialect(dialect, u"Name");
  values_.append(u"'").append(code).append(u"', '").append(code).append(u"'");
}

void RowInsert::add(std::u16string_view field, std::u16string_view token) {
  hasFields_ = true;
  columns_ += u", " + inDialect(dialect_, u"U_" + std::u16string(field));
  values_ += u", ";
  if (!token.starts_with(u'\'')) {
    values_ += token;
    return;
  }
  if (dialect_.nationalRows) values_.push_back(u'N');
  values_ += doubleInnerQuotes(token);
}

std::u16string RowInsert::text() const {
  return format(kInsertRow.of(dialect_), table_, columns_, values_);
}

}  // namespace qx::dbdef
