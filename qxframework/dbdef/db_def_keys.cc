// The user keys of a definition.

#include "qxframework/dbdef/db_def.h"
#include "qxframework/dbdef/internal/definition_node.h"
#include "qxframework/host/application.h"
#include "qxframework/host/company.h"
#include "qxframework/host/metadata.h"
#include "qxframework/logging/function_log.h"
#include "qxframework/logging/result_names.h"
#include "qxframework/xml/dom.h"

namespace {

constexpr int kKeyNameLength = 10;  // the host's limit

CComPtr<IUserKeysMD> openKeys(ICompany* company) {
  return CComQIPtr<IUserKeysMD>(company->GetBusinessObject(qx::kUserKeysMD));
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
