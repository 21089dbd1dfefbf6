// A run over a definition: its tables and their rows.

#include "qxframework/automation/format.h"
#include "qxframework/dbdef/db_def.h"
#include "qxframework/dbdef/internal/definition_node.h"
#include "qxframework/dbdef/internal/definition_sql.h"
#include "qxframework/dbdef/internal/schema_progress.h"
#include "qxframework/dbdef/tables_lock.h"
#include "qxframework/foundation/qx_bstr.h"
#include "qxframework/foundation/version.h"
#include "qxframework/host/application.h"
#include "qxframework/host/company.h"
#include "qxframework/host/metadata.h"
#include "qxframework/host/recordset.h"
#include "qxframework/logging/function_log.h"
#include "qxframework/logging/result_names.h"
#include "qxframework/resources/resource_loader.h"
#include "qxframework/sql/dialects.h"
#include "qxframework/util/qx_util.h"
#include "qxframework/xml/dom.h"

using qx::dbdef::forEachChild;
using qx::dbdef::isElement;
using qx::dbdef::skipNode;

namespace {

constexpr long kBarMinutes = 30;
constexpr unsigned kCheckDatabaseText = 223;
constexpr std::u16string_view kResourceMark = u"*RES*";

// Returns the host's number for a table type; 0 for any other text, which leaves the host's
// default.
long tableTypeOf(std::u16string_view text) {
  constexpr std::u16string_view kTypes[] = {u"MasterData", u"MasterDataLines", u"Document",
                                            u"DocumentLines"};
  for (std::size_t i = 0; i < std::size(kTypes); ++i)
    if (kTypes[i] == text) return static_cast<long>(i) + 1;
  return 0;
}
constexpr unsigned kCreateTableText = 221;
constexpr unsigned kCreateFieldsText = 222;
constexpr unsigned kWaitForOtherText = 225;
constexpr unsigned kWaitForOwnText = 226;

}  // namespace

long CQXDbDef::Create(unsigned int resource, bool noUpgradeStamp, CQXVersion& version) {
  CReturnValue<long> hr(u"CQXDbDef::Create", 0, m_lLogId, false);
  // Before the progress bar: the check of the framework's tables, too, has the lock and then waits
  // for the bar.
  const qx::TablesLock lock(m_ptrApp, m_ptrCompany);
  try {
    if (version.GetVersionAsBSTR().View() == u"0.00.00.00.00") GetFileVersion(version);
    if (GetProgressBar(kBarMinutes, FrameworkText(kCheckDatabaseText), 1) ==
        qx::dbdef::kWaitTimeout) {
      hr.LogError(u"Timeout received while waiting for progress bar");
      hr = E_FAIL;
      return hr;
    }
    if (!noUpgradeStamp) WriteStamp(STATUS_UPGRADING, version.GetVersionAsBSTR());

    CComBSTR text;
    m_ResourceLoader.GetResourceFileContents(m_lLogId, resource, text);
    m_ResourceLoader.LoadXML(m_lLogId, text, m_ptrDocument, nullptr, m_Language);
    const CComPtr<IXMLDOMElement> root = m_ptrDocument->documentElement();
    const CComPtr<IXMLDOMNode> database = root->selectSingleNode(u"//database");
    // Without tables there is neither a last stamp nor an end of the progress bar. This is the
    // contract.
    if (database == nullptr) {
      hr.LogWarning(u"<database> XML tag not found - no DB tables will be created.");
      return hr;
    }
    // The last group's result is the run's; a failed group does not end the run.
    if (!forEachChild(database, [&](const auto& child) { hr = CreateTables(child); })) {
      hr.LogWarning(u"No DB tables found under <database>.");
      return hr;
    }
    WriteStamp(STATUS_INSTALLED, version.GetVersionAsBSTR());
  } catch (...) {
    hr.LogError(u"Exception occurred on creation of database");
    hr = E_FAIL;
  }
  StopProgressBar();
  return hr;
}

long CQXDbDef::SetResourceMap(CSimpleMap<CString, int>* map) {
  CReturnValue<long> hr(u"CQXDbDef::SetResourceMap", 0, m_lLogId, false);
  m_pResourceMap = map;
  return hr;
}

long CQXDbDef::ReplaceByResource(CComBSTR& text) {
  CReturnValue<long> hr(u"CQXDbDef::ReplaceByResource", 0, m_lLogId, false);
  if (m_pResourceMap == nullptr || !text.View().starts_with(kResourceMark)) return hr;
  const int row = m_pResourceMap->FindKey(CString(text.View().substr(kResourceMark.size())));
  if (row < 0) return hr;
  CQXBSTR localised(m_Language);
  const auto id = static_cast<unsigned>(m_pResourceMap->GetValueAt(row));
  if (m_ResourceLoader.LoadStringW(localised, id, m_Language)) text = CComBSTR(localised.View());
  return hr;
}

long CQXDbDef::CreateTables(CComPtr<IXMLDOMNode> node) {
  CReturnValue<long> hr(u"CQXDbDef::CreateTables", 0, m_lLogId, false);
  const CComBSTR group = node->nodeName();
  const bool userTables = group.View() == u"usertables";
  if (!userTables && group.View() != u"tables") {
    skipNode(hr, node);
    return hr;
  }
  const bool found = forEachChild(node, [&](const CComPtr<IXMLDOMNode>& child) {
    const CComBSTR tag = child->nodeName();
    if (tag.View() != u"usertable" && tag.View() != u"table") {
      skipNode(hr, child);
      return;
    }
    const CComBSTR name = TableName(child);
    if (userTables) hr = CreateTable(child);
    FillTable(name, child, userTables);
  });
  if (!found) hr.LogError(u"Nothing found under '<%s>'.\n", group.View());
  return hr;
}

// Creates fields, rows and keys of one table, in the order of the definition.
void CQXDbDef::FillTable(const CComBSTR& table, CComPtr<IXMLDOMNode> node, bool isUserTable) {
  CReturnValue<void> log(u"CQXDbDef::CreateTables", m_lLogId, true);
  const bool found = forEachChild(node, [&](const CComPtr<IXMLDOMNode>& child) {
    const CComBSTR tag = child->nodeName();
    if (tag.View() == u"userfields") {
      CreateUserFields(table, child, isUserTable);
    } else if (tag.View() == u"data") {
      // A failure ends this element only; a failed field ends the whole run.
      try {
        InsertData(table, child);
      } catch (const _com_error&) {
        log.LogError(u"Unable to insert data into %s", table.View());
      }
    } else if (tag.View() == u"userkeys") {
      CreateUserIndexes(table, child);
    } else {
      skipNode(log, child);
    }
  });
  if (!found) log.LogError(u"Nothing found under '<%s>'.\n", node->nodeName().View());
}

long CQXDbDef::CreateTable(CComPtr<IXMLDOMNode> node) {
  CReturnValue<long> hr(u"CQXDbDef::CreateTable", 0, m_lLogId, false);
  const CComBSTR name = TableName(node);
  if (name.IsEmpty()) {
    hr.LogError(u"Table name not provided.\n");
    hr = QX_E_DATABASE;
    qx::raiseError(hr);
  }
  const CComBSTR description = LocalisedText(
      node, u"TableDescription", u"Error trying to localize description of table '%s'.\n", name);
  const CComBSTR type = Attribute(node, u"TableType");

  // The host allows one metadata object at a time: this one is released at the end of the block.
  const CComQIPtr<IUserTablesMD> tables(m_ptrCompany->GetBusinessObject(qx::kUserTablesMD));
  if (tables->GetByKey(name) == VARIANT_TRUE) {
    hr.LogInfo(u"Table '%s' already exists\n", name.View());
    return hr;
  }
  tables->PutTableName(name);
  if (!!description) tables->PutTableDescription(qx::dbdef::hostDescription(description));
  if (const long number = tableTypeOf(type.View()); number != 0) tables->PutTableType(number);
  if (tables->Add() != 0) {
    hr.LogError(u"Failed to create table '%s': %s.\n", name.View(), LastErrorText().View());
    hr = QX_E_DATABASE;
    qx::raiseError(hr);
  }
  hr.LogInfo(u"Table '%s' created.\n", name.View());
  return hr;
}

long CQXDbDef::InsertData(const CComBSTR& table, CComPtr<IXMLDOMNode> node) {
  CReturnValue<long> hr(u"CQXDbDef::InsertData", 0, m_lLogId, false);
  const qx::Dialect& dialect = qx::dialectOf(m_ptrCompany->GetDbServerType());
  const std::u16string target = u"@" + std::u16string(table.View());
  const CComQIPtr<IRecordset> recordset(m_ptrCompany->GetBusinessObject(qx::kRecordset));
  forEachChild(node, [&](const CComPtr<IXMLDOMNode>& row) {
    if (!isElement(hr, row, u"row")) return;
    const CComBSTR code =
        CQXUtil::GetNextCodeValue(m_lLogId, m_ptrCompany, CComBSTR(target), nullptr);
    qx::dbdef::RowInsert insert(dialect, target, code.View());
    const CComPtr<IXMLDOMNamedNodeMap> attributes = row->attributes();
    for (long i = 0; i < attributes->length(); ++i) {
      const CComPtr<IXMLDOMNode> attribute = attributes->item(i);
      insert.add(attribute->nodeName().View(), attribute->text().View());
    }
    if (!insert.hasFields()) return;
    const std::u16string sql = insert.text();
    hr.LogError(u"SQL: \"%s\"\n", sql);
    try {
      recordset->DoQuery(CComBSTR(sql));
    } catch (const _com_error& error) {
      hr.LogError(u"SQL failed: %s", hr.xstrerror(static_cast<unsigned long>(error.Error())));
      hr = QX_E_DATABASE;
      qx::raiseError(hr);
    }
  });
  return hr;
}

CComBSTR CQXDbDef::Attribute(CComPtr<IXMLDOMNode> node, const OLECHAR* name) {
  return m_ResourceLoader.GetXMLAttributeValue(node, name);
}

CComBSTR CQXDbDef::TableName(CComPtr<IXMLDOMNode> node) {
  return CComBSTR(qx::dbdef::definedTableName(qx::dialectOf(m_ptrCompany->GetDbServerType()),
                                              Attribute(node, u"TableName").View()));
}

// Returns the attribute with "*RES*" replaced; null if it is absent. Logs `failure` with `name` and
// throws if the text cannot be localised.
CComBSTR CQXDbDef::LocalisedText(CComPtr<IXMLDOMNode> node, const OLECHAR* attribute,
                                 const OLECHAR* failure, const CComBSTR& name) {
  CComBSTR text = Attribute(node, attribute);
  if (ReplaceByResource(text) < 0) {
    CReturnValue<long> hr(u"CQXDbDef::ReplaceByResource", QX_E_DATABASE, m_lLogId, true);
    hr.LogError(failure, name.View());
    qx::raiseError(hr);
  }
  return text;
}

// Returns a text of the framework's module in the application's language; empty if it has none.
CComBSTR CQXDbDef::FrameworkText(unsigned int id) {
  CQXResourceLoader loader(GetModuleHandleW(u"QXFramework.dll"));
  CQXBSTR text(m_Language);
  loader.LoadStringW(text, id, m_ptrApp->GetLanguage());
  return CComBSTR(text.View());
}

CComBSTR CQXDbDef::LastErrorText() {
  long code = 0;
  CComBSTR text;
  m_ptrCompany->GetLastError(code, text);
  return text;
}

// The progress of the run. SchemaProgress works on the two members.

long CQXDbDef::GetProgressBar(long minutes, const CComBSTR& title, long maximum) {
  return Progress().waitForBar(minutes, title, maximum,
                               [this](long left, bool own) { ShowWait(left, own); });
}

// A client that cannot show the message does not end the wait.
void CQXDbDef::ShowWait(long minutesLeft, bool ownBar) {
  try {
    const CComBSTR shape = FrameworkText(ownBar ? kWaitForOwnText : kWaitForOtherText);
    CQXUtil::SetStatusBarWarningMessage(m_ptrApp, CComBSTR(qx::format(shape, minutesLeft)));
  } catch (const _com_error&) {
  }
}

long CQXDbDef::CreateProgressBar(const CComBSTR& title, long maximum) {
  return Progress().createBar(title, maximum);
}

void CQXDbDef::DisplayProgressMessage(const CComBSTR& text) { Progress().show(text); }

void CQXDbDef::SignalTableInitialized(const CComBSTR& table, long kind) {
  CReturnValue<void> log(u"CQXDbDef::SignalTableInitialized", m_lLogId, false);
  const CComBSTR shape = FrameworkText(kind == 1 ? kCreateTableText : kCreateFieldsText);
  DisplayProgressMessage(CComBSTR(qx::format(shape, table.View())));
}

void CQXDbDef::StopProgressBar() { Progress().stop(); }

qx::dbdef::SchemaProgress CQXDbDef::Progress() {
  return {m_ptrApp, m_lLogId, m_ptrProgressBar, m_lProgress};
}
