#pragma once

#include "qxframework/automation/com_ptr.h"
#include "qxframework/dbdef/db_def.h"
#include "qxframework/resources/resource_loader.h"

#include <vector>

class CQXVersion;
class IApplication;
class ICompany;

template <class T>
class CReturnValue;

/// What every add-on does to the client that all share: it checks the framework's own tables, and
/// adds and removes the common entries of the "Add-Ons" menu. As a loader it reads the framework's
/// module.
class QX_API CQXFrameworkUtil : public CQXResourceLoader {
 public:
  CQXFrameworkUtil();

  /// Creates or upgrades the framework's tables where they are not as this module needs them.
  /// Tables of a newer framework are left alone, with success. 0x80040503 when the user does not
  /// want to restart an incomplete upgrade; the code of what a host object raised.
  long CheckDatabase(CComPtr<IApplication> app, CComPtr<ICompany> company);
  /// `map` has the symbols of the entries. The menu bar is never left frozen.
  long CreateMenuTree(CComPtr<IApplication> app, const std::vector<XMLMAP>* map);
  long RemoveMenuTree(CComPtr<IApplication> app, const std::vector<XMLMAP>* map);

 private:
  using Scope = CReturnValue<long>;

  static CQXDbDef::_DBCHECK DatabaseState(CQXDbDef& tables);
  void BringUpToDate(Scope& hr, CQXDbDef& tables, CQXDbDef::_DBCHECK state, IApplication* app,
                     ICompany* company);
  static void Upgrade(Scope& hr, CQXDbDef& tables, ICompany* company);
  static void RestartUpgrade(Scope& hr, CQXDbDef& tables, IApplication* app);
  CComBSTR MenuXML(const CComPtr<IApplication>& app, unsigned int resource,
                   const std::vector<XMLMAP>* map);
};
