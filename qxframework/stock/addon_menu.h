#pragma once

// Menu entries that an add-on puts into the client's menu bar while it runs. A node is one entry;
// it appears when the node is made and disappears with it. Deleting the root of a tree removes the
// whole branch.
//
//   CQXAddOnMenu menu(parent, application, u"ORD", u"Orders", mt_Popup, -1, VARIANT_TRUE,
//                     VARIANT_FALSE);
//   menu.AddSubMenu(u"ORD_NEW", u"New order", mt_String, -1, VARIANT_TRUE, VARIANT_FALSE);

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/host/application.h"
#include "qxframework/host/menu.h"

#include <utility>
#include <vector>

/// A node of the tree. Nothing is thrown; failures are logged.
class QX_API CQXAddOnMenu {
 public:
  /// Adds the entry below `parent`, at `position` as IMenus::Add counts. An entry with the same UID
  /// that an earlier run left there is removed first. If the client refuses, or if `parent` is null
  /// or `uid` empty, the node has no entry, which AddSubMenu reports.
  CQXAddOnMenu(CComPtr<IMenuItem> parent, CComPtr<IApplication> application, CComBSTR uid,
               CComBSTR text, HvMenuType type, long position, short enabled, short checked);
  /// Removes the entries below this one, then this one.
  virtual ~CQXAddOnMenu();
  CQXAddOnMenu(const CQXAddOnMenu&) = delete;
  CQXAddOnMenu& operator=(const CQXAddOnMenu&) = delete;

  /// Adds an entry below this one. Returns 0, also if there is a direct child with that UID, which
  /// then stays unchanged; E_POINTER if this node has no entry. An entry that the client refuses
  /// still counts as a child.
  long AddSubMenu(CComBSTR uid, CComBSTR text, HvMenuType type, long position, short enabled,
                  short checked);
  /// Deletes the descendant with that UID: a direct child, else the first in depth. Returns 0, or 1
  /// if there is none.
  long DelSubMenu(CComBSTR uid);
  /// Returns the descendant with that UID, found in the same order, or null. The tree keeps it.
  CQXAddOnMenu* GetSubMenu(CComBSTR uid);
  /// Returns the number of direct children.
  int SubMenuCount() const { return static_cast<int>(m_Children.size()); }

 private:
  using Children = std::vector<std::pair<CComBSTR, CQXAddOnMenu*>>;

  Children::iterator FindChild(const CComBSTR& uid);

  CComPtr<IMenus> m_ptrHostMenus;
  CComPtr<IMenuItem> m_ptrItem;
  CComPtr<IApplication> m_ptrApp;
  long m_lAppId = 0;
  Children m_Children;  // owned, in the order of their creation
};
