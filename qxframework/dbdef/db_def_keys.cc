// The user keys of a definition.

#include "qxframework/automation/format.h"
#include "qxframework/automation/text.h"
#include "qxframework/dbdef/db_def.h"
#include "qxframework/dbdef/internal/definition_node.h"
#include "qxframework/host/application.h"
#include "qxframework/host/company.h"
#include "qxframework/host/metadata.h"
#include "qxframework/logging/function_log.h"
#include "qxframework/logging/result_names.h"
#include "qxframework/util/qx_util.h"
#include "qxframework/xml/dom.h"

#include <optional>
#include <string>

namespace {

constexpr int kKeyNameLength = 10;  // the host's limit
constexpr long kMostKeys = 1000;    // of a table, for a host whose list never ends
constexpr unsigned kKeyLostText = 224;

CComPtr<IUserKeysMD> openKeys(ICompany* company) {
  return CComQIPtr<IUserKeysMD>(company->GetBusinessObject(qx::kUserKeysMD));
}

// Returns the name of the host's key with that index, in upper case; nothing if it has none or
// fails.
std::optional<std::u16string> keyAt(IUserKeysMD* keys, const CComBSTR& table, long index) {
  VARIANT_BOOL found = VARIANT_FALSE;
  CComBSTR name;
  if (keys->raw_GetByKey(table, index, &found) < 0 || found != VARIANT_TRUE) return std::nullopt;
  if (keys->raw_GetKeyName(&name) < 0) return std::nullopt;
  return qx::toUpper(name.View());
}

// The host has no look-up by name. Its names of user tables begin with "@", those of its own tables
// do not.
bool hasKey(IUserKeysMD* keys, std::u16string_view table, const CComBSTR& key) {
  const std::u16string name = qx::toUpper(key.View());
  for (const CComBSTR& target : {CComBSTR(u"@" + std::u16string(table)), CComBSTR(table)}) {
    for (long index = 0; index < kMostKeys; ++index) {
      const std::optional<std::u16string> found = keyAt(keys, target, index);
      if (!found) break;
      if (*found == name) return true;
    }
  }
  return false;
}

}  // namespace

long CQXDbDef::CreateUserIndexes(const CComBSTR& table, CComPtr<IXMLDOMNode> node) {
  CReturnValue<long> hr(u"CQXDbDef::CreateUserIndexes", 0, m_lLogId, false);
  const CComPtr<IXMLDOMNodeList> children = node->childNodes();
  if (children == nullptr || children->length() == 0) {
    hr.LogInfo(u"No user keys found under '<%s>'.\n", node->nodeName().View());
    return hr;
  }
  while (const CComPtr<IXMLDOMNode> child = children->nextNode()) {
    hr = AddOrRemoveUserIndex(table, child);
    if (hr != 0) break;  // the first failure ends the list
  }
  if (hr == 0) {
    hr.LogInfo(u"All user indexes for '%s' successfully created.\n", table.View());
  } else {
    hr.LogError(u"Not all user indexes for '%s' were created.\n", table.View());
  }
  return hr;
}

long CQXDbDef::AddOrRemoveUserIndex(const CComBSTR& table, CComPtr<IXMLDOMNode> node) {
  CReturnValue<long> hr(u"CQXDbDef::AddOrRemoveUserIndex", 0, m_lLogId, false);
  if (node->nodeType() != NODE_ELEMENT) {
    qx::dbdef::skipNode(hr, node);
    return hr;
  }
  try {
    const CComPtr<IUserKeysMD> keys = openKeys(m_ptrCompany);
    CString name(Attribute(node, u"Name"));
    if (name.GetAt(0) == u'-') {
      RemoveUserIndex(keys, table, CComBSTR(name.Mid(1).View()));
      return hr;
    }
    if (name.GetLength() > kKeyNameLength) {
      hr.LogWarning(u"Key name for table '<%s>' is longer than 10 characters: '<%s>'.\n",
                    table.View(), name.View());
      name = name.Left(kKeyNameLength);
    }
    keys->PutTableName(table);
    keys->PutKeyName(CComBSTR(name.View()));
    keys->PutUnique(Attribute(node, u"Unique").View() == u"1" ? 1 : 0);
    const CComPtr<IUserKeysMD_Elements> elements = keys->GetElements();
    const bool found = qx::dbdef::forEachChild(
        node, [&](const CComPtr<IXMLDOMNode>& child) { AddUserIndexElement(elements, child); });
    if (found) {
      hr = keys->Add();
      if (hr != 0) ShowLostIndex(keys, table, CComBSTR(name.View()));
    } else {
      hr.LogError(u"No elements found for user key under '<%s>'.\n", node->nodeName().View());
      hr = QX_E_DATABASE;
    }
    if (hr == 0) {
      hr.LogInfo(u"User key '%s' was successfully added to '%s'", name.View(), table.View());
    } else {
      hr.LogError(u"Failed to add user key '%s' to '%s'", name.View(), table.View());
    }
  } catch (const _com_error& error) {
    hr.LogError(u"Failed to get user keys object for %s from db: %s", table.View(),
                hr.xstrerror(static_cast<unsigned long>(error.Error())));
    hr = QX_E_DATABASE;
    qx::raiseError(hr);
  }
  return hr;
}

// The run ends as "Installed", so no later run makes the key: the user must know. A key that exists
// is no loss; a second run of a definition finds all of them.
void CQXDbDef::ShowLostIndex(CComPtr<IUserKeysMD> keys, const CComBSTR& table,
                             const CComBSTR& key) {
  try {
    long code = 0;
    CComBSTR reason;
    m_ptrCompany->raw_GetLastError(&code, &reason);  // before the look-up, which has its own
    if (hasKey(keys, table.View(), key)) return;
    CQXUtil::SetStatusBarErrorMessage(
        m_ptrApp,
        CComBSTR(qx::format(FrameworkText(kKeyLostText), key.View(), table.View(), reason.View())));
  } catch (const _com_error&) {
    // The log has the failure in any case.
  }
}

// A key that does not exist or cannot be removed is only logged: the run goes on with the next key.
void CQXDbDef::RemoveUserIndex(CComPtr<IUserKeysMD> keys, const CComBSTR& table,
                               const CComBSTR& key) {
  CReturnValue<void> log(u"CQXDbDef::AddOrRemoveUserIndex", m_lLogId, true);
  log.LogInfo(u"Trying to remove the key %s in table %s.\n", key.View(), table.View());
  const CComBSTR target(u"@" + std::u16string(table.View()));
  // The host has no look-up by name. The first index that it refuses follows the last key.
  for (long index = 0; keys->GetByKey(target, index) == VARIANT_TRUE; ++index) {
    if (keys->GetKeyName().View() != key.View()) continue;
    if (keys->Remove() == 0) {
      log.LogInfo(u"Key has been removed successfully");
    } else {
      log.LogError(u"Failed to remove the key %s in table %s(Remove() failed).\n", key.View(),
                   table.View());
    }
    return;
  }
  log.LogError(u"Failed to remove the key %s in table %s(can't find it).\n", key.View(),
               table.View());
}

long CQXDbDef::AddUserIndexElement(CComPtr<IUserKeysMD_Elements> elements,
                                   CComPtr<IXMLDOMNode> node) {
  CReturnValue<long> hr(u"CQXDbDef::AddUserIndexElement", 0, m_lLogId, false);
  if (node->nodeType() != NODE_ELEMENT) {
    qx::dbdef::skipNode(hr, node);
    return hr;
  }
  const CComBSTR name = Attribute(node, u"Name");
  if (!name) return hr;
  elements->PutColumnAlias(name);
  elements->Add();
  return hr;
}
