#include "qxframework/stock/addon_menu.h"

#include "qxframework/automation/com_error.h"
#include "qxframework/logging/function_log.h"

#include <algorithm>
#include <memory>

namespace {

using Scope = CReturnValue<long>;

}  // namespace

CQXAddOnMenu::CQXAddOnMenu(CComPtr<IMenuItem> parent, CComPtr<IApplication> application,
                           CComBSTR uid, CComBSTR text, HvMenuType type, long position,
                           short enabled, short checked)
    : m_ptrApp(application) {
  if (m_ptrApp != nullptr) m_ptrApp->raw_GetAppId(&m_lAppId);
  Scope hr(u"CQXAddOnMenu::CQXAddOnMenu", 0, m_lAppId);
  try {
    if (parent == nullptr || uid.IsEmpty()) qx::raiseError(E_INVALIDARG);
    m_ptrHostMenus = parent->GetSubMenus();
    // An entry that an earlier run of the add-on left must not block this one.
    m_ptrItem = m_ptrHostMenus->Item(CComVariant(uid));
    if (m_ptrItem != nullptr) m_ptrHostMenus->Remove(m_ptrItem);
    // The entry is gone, so a failure below must not leave it as this node's.
    m_ptrItem.Release();
    m_ptrItem = m_ptrHostMenus->Add(uid, text, type, position);
    m_ptrItem->PutChecked(checked);
    m_ptrItem->PutEnabled(enabled);
  } catch (const _com_error& error) {
    hr = error.Error();
    hr.LogError(u"CQXAddOnMenu - Failed to create menu item [0x%08X]!\n", error.Error());
  }
}

CQXAddOnMenu::~CQXAddOnMenu() {
  Scope hr(u"CQXAddOnMenu::~CQXAddOnMenu", 0, m_lAppId);
  for (const auto& [uid, child] : m_Children) delete child;
  m_Children.clear();
  try {
    if (m_ptrHostMenus != nullptr && m_ptrItem != nullptr) m_ptrHostMenus->Remove(m_ptrItem);
  } catch (const _com_error& error) {
    hr = error.Error();
    hr.LogError(u"~CQXAddOnMenu - Failed to remove menu item [0x%08X]!\n", error.Error());
  }
}

long CQXAddOnMenu::AddSubMenu(CComBSTR uid, CComBSTR text, HvMenuType type, long position,
                              short enabled, short checked) {
  Scope hr(u"CQXAddOnMenu::AddSubMenu", 0, m_lAppId);
  try {
    if (m_ptrItem == nullptr) qx::raiseError(E_POINTER);
    if (FindChild(uid) != m_Children.end()) return hr;
    auto child = std::make_unique<CQXAddOnMenu>(m_ptrItem, m_ptrApp, uid, text, type, position,
                                                enabled, checked);
    m_Children.emplace_back(uid, child.get());
    child.release();
  } catch (const _com_error& error) {
    hr = error.Error();
    hr.LogError(u"AddSubMenu: Failed to add sub-menu [0x%08X]!\n", error.Error());
  }
  return hr;
}

long CQXAddOnMenu::DelSubMenu(CComBSTR uid) {
  const auto found = FindChild(uid);
  if (found != m_Children.end()) {
    // Taken out first: the removal can make the client raise events that look at this tree.
    const std::unique_ptr<CQXAddOnMenu> child(found->second);
    m_Children.erase(found);
    return S_OK;
  }
  for (const auto& [childUid, child] : m_Children) {
    if (const long result = child->DelSubMenu(uid); result != S_FALSE) return result;
  }
  return S_FALSE;
}

CQXAddOnMenu* CQXAddOnMenu::GetSubMenu(CComBSTR uid) {
  const auto found = FindChild(uid);
  if (found != m_Children.end()) return found->second;
  for (const auto& [childUid, child] : m_Children) {
    if (CQXAddOnMenu* const deeper = child->GetSubMenu(uid)) return deeper;
  }
  return nullptr;
}

CQXAddOnMenu::Children::iterator CQXAddOnMenu::FindChild(const CComBSTR& uid) {
  return std::find_if(m_Children.begin(), m_Children.end(),
                      [&](const auto& child) { return child.first.View() == uid.View(); });
}
