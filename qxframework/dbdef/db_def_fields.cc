// The user fields of a definition and their valid values.

#include "qxframework/dbdef/db_def.h"
#include "qxframework/dbdef/internal/definition_node.h"
#include "qxframework/dbdef/internal/definition_sql.h"
#include "qxframework/foundation/numbers.h"
#include "qxframework/host/application.h"
#include "qxframework/host/company.h"
#include "qxframework/host/metadata.h"
#include "qxframework/host/recordset.h"
#include "qxframework/logging/function_log.h"
#include "qxframework/logging/result_names.h"
#include "qxframework/sql/dialects.h"
#include "qxframework/xml/dom.h"

#include <algorithm>
#include <iterator>

using qx::dbdef::forEachChild;
using qx::dbdef::isElement;

namespace {

constexpr long kNoSize = 0;
constexpr long kSizeAttribute = -1;  // the definition has the size

// A type keyword of a definition with the host's numbers for it.
struct FieldType {
  std::u16string_view keyword;
  long type;
  long subType;
  long size;
};

constexpr FieldType kFieldTypes[] = {
    {u"ID", 2, 0, 9},
    {u"INT", 2, 0, 9},
    {u"NUMC", 2, 0, kSizeAttribute},
    {u"CHAR", 0, 0, kSizeAttribute},
    {u"CURR", 4, 80, kNoSize},
    {u"FLOAT", 4, 81, kNoSize},
    {u"PERC", 4, 37, kNoSize},
    {u"FLAG", 0, 0, 1},
    {u"DATE", 3, 0, kNoSize},
    {u"TIME", 3, 84, kNoSize},
    {u"MEMO", 1, 0, kNoSize},
};

const FieldType* findFieldType(std::u16string_view keyword) {
  const auto* type = std::find_if(std::begin(kFieldTypes), std::end(kFieldTypes),
                                  [&](const auto& each) { return each.keyword == keyword; });
  return type == std::end(kFieldTypes) ? nullptr : type;
}

template <class Scope, class... Args>
[[noreturn]] void fail(Scope& hr, const OLECHAR* text, const Args&... args) {
  hr.LogError(text, args...);
  hr = QX_E_DATABASE;
  qx::raiseError(hr);
}

// The host may change the size: the edit size follows the value that it keeps.
void setSize(IUserFieldsMD* field, long size) {
  field->PutSize(size);
  field->PutEditSize(field->GetSize());
}

}  // namespace

long CQXDbDef::CreateUserFields(const CComBSTR& table, CComPtr<IXMLDOMNode> node,
                                bool isUserTable) {
  CReturnValue<long> hr(u"CQXDbDef::CreateUserFields", 0, m_lLogId, false);
  forEachChild(node, [&](const CComPtr<IXMLDOMNode>& child) {
    if (!isElement(hr, child, u"userfield")) return;
    SignalTableInitialized(table, 0);
    hr = CreateField(table, child, isUserTable);
  });
  return hr;
}

long CQXDbDef::CreateField(const CComBSTR& table, CComPtr<IXMLDOMNode> node, bool isUserTable) {
  CReturnValue<long> hr(u"CQXDbDef::CreateField", 0, m_lLogId, false);
  const CComBSTR name = Attribute(node, u"Name");
  if (name.IsEmpty()) fail(hr, u"Field name not provided for table: '%s'.\n", table.View());
  const CComBSTR description = LocalisedText(
      node, u"Description", u"Error trying to localize description of field '%s'.\n", name);
  const CComBSTR keyword = Attribute(node, u"Type");
  if (keyword.IsEmpty()) fail(hr, u"Field type not provided for table: '%s'.\n", table.View());
  const CComBSTR size = Attribute(node, u"Size");
  const CComBSTR defaultValue = Attribute(node, u"DefaultValue");
  const CComBSTR linkedTable = Attribute(node, u"LinkedTable");
  const CComBSTR mandatory = Attribute(node, u"Mandatory");
  hr.LogInfo(u"Name='%s' Desc='%s' Type='%s' Size='%s' DefVal='%s' LinkT='%s'\n", name.View(),
             description.View(), keyword.View(), size.View(), defaultValue.View(),
             linkedTable.View());
  // Before the host's object exists: an unknown type has no effect on the host.
  const FieldType* const type = findFieldType(keyword.View());
  if (type == nullptr) {
    fail(hr, u"Unknown type '%s' of field '%s' in table '%s'.\n", keyword.View(), name.View(),
         table.View());
  }

  CComQIPtr<IUserFieldsMD> field(m_ptrCompany->GetBusinessObject(qx::kUserFieldsMD));
  field->PutTableName(table);
  field->PutName(name);
  field->PutDescription(qx::dbdef::hostDescription(description));
  field->PutType(type->type);
  field->PutSubType(type->subType);
  if (type->size == kSizeAttribute) {
    if (size.IsEmpty()) fail(hr, u"Size not provided for '%s'.\n", field->GetName().View());
    setSize(field, qx::leadingNumber(size.View()));
  } else if (type->size != kNoSize) {
    setSize(field, type->size);
  }
  if (mandatory.View() == u"1") field->PutMandatory(1);
  if (!!defaultValue) field->PutDefaultValue(defaultValue);
  if (!linkedTable.IsEmpty()) field->PutLinkedTable(linkedTable);
  forEachChild(node, [&](const CComPtr<IXMLDOMNode>& child) {
    if (isElement(hr, child, u"ValidValues")) SetValidValues(field, child);
  });

  if (field->Add() == 0) {
    hr.LogInfo(u"Field '%s' in table '%s' created.\n", name.View(), table.View());
    return hr;
  }
  // Read before the dictionary is queried, since that query sets the last error, too.
  const CComBSTR refusal = LastErrorText();
  field.Release();  // the host allows one metadata object at a time
  if (UserFieldExists(table, name, isUserTable) != 0) {
    fail(hr, u"Failed to create field '%s' in table '%s': %s.\n", name.View(), table.View(),
         refusal.View());
  }
  hr.LogInfo(u"Field '%s' in table '%s' aleady exists.\n", name.View(), table.View());
  return hr;
}

long CQXDbDef::SetValidValues(CComPtr<IUserFieldsMD> field, CComPtr<IXMLDOMNode> node) {
  CReturnValue<long> hr(u"CQXDbDef::SetValidValues", 0, m_lLogId, false);
  if (!isElement(hr, node, u"ValidValues")) return hr;
  const CComPtr<IValidValuesMD> values = field->GetValidValues();
  const bool found = forEachChild(node, [&](const CComPtr<IXMLDOMNode>& child) {
    if (!isElement(hr, child, u"ValidValue")) return;
    const CComBSTR raw = Attribute(child, u"Value");
    const CComBSTR value =
        LocalisedText(child, u"Value", u"Error trying to localize valid value '%s'.\n", raw);
    const CComBSTR description = LocalisedText(
        child, u"Description", u"Error trying to localize description of valid value '%s'.\n", raw);
    // Set first, then added, for the first value as well.
    values->PutValue(value);
    values->PutDescription(description);
    values->Add();
    hr.LogInfo(u"Added Valid Value '%s' = '%s'\n", value.View(), description.View());
  });
  if (!found) hr.LogError(u"Nothing found under '<%s>'.\n", node->nodeName().View());
  return hr;
}

// Returns 0 if the dictionary has the field, 1 if it does not.
long CQXDbDef::UserFieldExists(const CComBSTR& table, const CComBSTR& field, bool isUserTable) {
  CReturnValue<long> hr(u"CQXDbDef::UserFieldExists", 0, m_lLogId, false);
  try {
    const auto& shape = isUserTable ? qx::dbdef::kSelectUserField : qx::dbdef::kSelectTableField;
    const std::u16string sql = qx::format(shape.of(qx::dialectOf(m_ptrCompany->GetDbServerType())),
                                          table.View(), field.View());
    const CComQIPtr<IRecordset> recordset(m_ptrCompany->GetBusinessObject(qx::kRecordset));
    hr.LogError(u"SQL: \"%s\"\n", sql);  // at this level by contract, although it is no error
    hr = recordset->DoQuery(CComBSTR(sql));
    if (hr < 0) {
      hr.LogError(u"Failed to check existence of user defined field '%s' in table '%s'",
                  field.View(), table.View());
      return hr;
    }
    hr = recordset->GetEoF() == VARIANT_TRUE ? S_FALSE : S_OK;
  } catch (const _com_error& error) {
    long code = 0;
    CComBSTR text;
    m_ptrCompany->raw_GetLastError(&code, &text.m_str);
    hr.LogError(u"Error code from RX-API: %d / %s\n", code, text.View());
    fail(hr, u"FFailed to check existence of user defined field: %s",
         hr.xstrerror(static_cast<unsigned long>(error.Error())));
  }
  return hr;
}
