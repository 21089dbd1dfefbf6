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

/// Looks after what all add-ons of a client share: the framework's own tables, and the common
/// entries of the "Add-Ons" menu. As a resource loader it reads the framework's module.
class QX_API CQXFrameworkUtil : public CQXResourceLoader {
 public:
  CQXFrameworkUtil();

  /// Creates or upgrades the framework's tables if this module needs it. Returns 0, also for tables
  /// of a newer framework, which are left alone; 0x80040503 if the user refuses to restart an
  /// incomplete upgrade; or the code of a failure of the host.
  long CheckDatabase(CComPtr<IApplication> app, CComPtr<ICompany> company);
  /// Add and remove the common entries; `map` has their symbols. The menu bar is never left frozen.
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
