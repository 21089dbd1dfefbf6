#include "qxframework/runtime/framework_util.h"

#include "qxframework/dbdef/tables_lock.h"
#include "qxframework/foundation/qx_bstr.h"
#include "qxframework/foundation/version.h"
#include "qxframework/host/application.h"
#include "qxframework/host/company.h"
#include "qxframework/host/metadata.h"
#include "qxframework/logging/function_log.h"
#include "qxframework/logging/result_names.h"
#include "qxframework/runtime/internal/framework_texts.h"
#include "qxframework/xml/dom.h"

namespace {

// Resources of the framework: its tables as they are created and as they grow, and the menu
// batches. 501 and 503, with the quit entry, are carried and not used.
constexpr unsigned kTables = 400;
constexpr unsigned kTablesUpgrade = 401;
constexpr unsigned kMenuAdd = 500;
constexpr unsigned kMenuRemove = 502;

// The form that owns the menu bar.
constexpr long kMenuBarFormType = 169;

constexpr OLECHAR kExtension[] = u"";
constexpr OLECHAR kZeroVersion[] = u"0.00.00.00.00";
constexpr OLECHAR kVersionTable[] = u"@QXEXTDBVERSION";

// The version column of old releases is too short for a version with its emergency fix.
constexpr long kVersionField = 1;
constexpr long kLeastVersionSize = 11;
constexpr long kVersionSize = 15;

constexpr long kSecondButton = 2;

// Without the stamp "Upgrading": the version table, which would hold it, may be created here.
long createTables(CQXDbDef& tables, unsigned resource) {
  CQXVersion version(kZeroVersion);
  return tables.Create(resource, true, version);
}

// Must run before the upgrade writes its stamp, which an old column would cut off.
void widenVersionColumn(ICompany* company) {
  const CComQIPtr<IUserFieldsMD> field(company->GetBusinessObject(qx::kUserFieldsMD));
  if (field->GetByKey(kVersionTable, kVersionField) != VARIANT_TRUE) return;
  if (field->GetSize() >= kLeastVersionSize) return;
  field->PutSize(kVersionSize);
  field->PutEditSize(kVersionSize);
  field->Update();
}

bool wantsToRestart(IApplication* app, HvLanguages language, const CComBSTR& question) {
  return app->MessageBox(question, 1, qx::frameworkText(qx::kTextExit, language),
                         qx::frameworkText(qx::kTextUpgrade, language), u"") == kSecondButton;
}

}  // namespace

CQXFrameworkUtil::CQXFrameworkUtil() : CQXResourceLoader(qx::frameworkModule()) {}

long CQXFrameworkUtil::CheckDatabase(CComPtr<IApplication> app, CComPtr<ICompany> company) {
  Scope hr(u"CQXFrameworkUtil::CheckDatabase", 0, 0);
  // The versions are read under the lock: while it was waited for, another machine may have created
  // the tables.
  const qx::TablesLock lock(app, company);
  try {
    CQXDbDef tables(app, company, *this, kExtension, ln_English, nullptr);
    BringUpToDate(hr, tables, DatabaseState(tables), app, company);
  } catch (const _com_error& error) {
    if (error.Error() != QX_E_DATABASE) {
      hr.LogError(u"Exception caught when creating db tables.\n");
    }
    hr.LogError(u"Failed to create/update framework db tables.\n");
    hr = error.Error();
  }
  return hr;
}

// The query fails if the version table does not exist yet, which is what a new company looks like.
CQXDbDef::_DBCHECK CQXFrameworkUtil::DatabaseState(CQXDbDef& tables) {
  CQXDbDef::_DBCHECK state = CQXDbDef::dbc_Ok;
  try {
    tables.CheckVersion(state);
  } catch (const _com_error& error) {
    if (error.Error() != QX_E_DATABASE) qx::raiseError(QX_E_DATABASE);
    state = CQXDbDef::dbc_NoVersion;
  }
  return state;
}

// One branch per state of the tables. A newer framework has added columns that this one does not
// use, so its tables serve as they are.
void CQXFrameworkUtil::BringUpToDate(Scope& hr, CQXDbDef& tables, CQXDbDef::_DBCHECK state,
                                     IApplication* app, ICompany* company) {
  switch (state) {
    case CQXDbDef::dbc_Ok:
      hr.LogDbg0(u"Db is OK.\n");
      return;
    case CQXDbDef::dbc_NoVersion:
      hr.LogInfo(u"Db tables do not exist yet.\n");
      hr = createTables(tables, kTables);
      return;
    case CQXDbDef::dbc_Older:
      return Upgrade(hr, tables, company);
    case CQXDbDef::dbc_Newer:
      hr.LogInfo(u"Db tables are for a newer version.\n");
      return;
    case CQXDbDef::dbc_Incomplete:
      return RestartUpgrade(hr, tables, app);
  }
  hr.LogError(u"Unknown result from version check.\n");
  hr = E_INVALIDARG;
}

void CQXFrameworkUtil::Upgrade(Scope& hr, CQXDbDef& tables, ICompany* company) {
  CQXVersion database(kZeroVersion);
  CQXVersion file(kZeroVersion);
  widenVersionColumn(company);
  tables.GetDBVersion(database);
  tables.GetFileVersion(file);
  hr.LogInfo(u"Db tables are for version %s. Add-on version is %s. Db is OK.\n",
             database.GetVersionAsBSTR(), file.GetVersionAsBSTR());
  hr = createTables(tables, kTablesUpgrade);
  if (hr == S_OK && file > database) hr = tables.SetInstalled(file);
}

// Another process may still be upgrading, and the stamp does not show whether it runs or has died.
// Only the user can know, so the user is asked twice.
void CQXFrameworkUtil::RestartUpgrade(Scope& hr, CQXDbDef& tables, IApplication* app) {
  hr.LogWarning(u"Uncompleted update detected.\n");
  CQXVersion database(kZeroVersion);
  tables.GetDBVersion(database);
  const HvLanguages language = app->GetLanguage();
  CQXBSTR question(language);
  question.Format(qx::frameworkText(qx::kTextRestartUpgrade, language),
                  database.GetVersionAsBSTR());
  if (wantsToRestart(app, language, question) &&
      wantsToRestart(app, language, qx::frameworkText(qx::kTextReallyRestartUpgrade, language))) {
    hr = createTables(tables, kTables);
  } else {
    hr = QX_E_UPGRADE_RUNNING;
  }
}

CComBSTR CQXFrameworkUtil::MenuXML(const CComPtr<IApplication>& app, unsigned int resource,
                                   const std::vector<XMLMAP>* map) {
  const long appId = app->GetAppId();
  CComBSTR text;
  GetResourceFileContents(appId, resource, text);
  CComPtr<IXMLDOMDocument> document;
  qx::raiseIfFailed(LoadXML(appId, text, document, map, app->GetLanguage()));
  return document->xml();
}

long CQXFrameworkUtil::CreateMenuTree(CComPtr<IApplication> app, const std::vector<XMLMAP>* map) {
  Scope hr(u"CQXFrameworkUtil::CreateMenuTree", 0, 0);
  CComPtr<IForm> menuBar;
  try {
    menuBar = app->GetForms()->GetFormByTypeAndCount(kMenuBarFormType, 1);
    // Frozen, so that the user does not see the entries appear one by one.
    menuBar->Freeze(VARIANT_TRUE);
    hr = app->LoadBatchActions(MenuXML(app, kMenuAdd, map));
    menuBar->Freeze(VARIANT_FALSE);
    menuBar->Update();
  } catch (const _com_error& error) {
    hr.LogError(u"Exception caught: %d", error.Error());
    hr = error.Error();
    // The raw operations: a second failure must not replace the first.
    if (menuBar != nullptr) {
      menuBar->raw_Freeze(VARIANT_FALSE);
      menuBar->raw_Update();
    }
  }
  return hr;
}

long CQXFrameworkUtil::RemoveMenuTree(CComPtr<IApplication> app, const std::vector<XMLMAP>* map) {
  Scope hr(u"CQXFrameworkUtil::RemoveMenuTree", 0, 0);
  hr.LogDbg0(u"Removing common menu of Add-Ons");
  try {
    hr = app->LoadBatchActions(MenuXML(app, kMenuRemove, map));
  } catch (const _com_error& error) {
    hr.LogError(u"Exception caught: %d", error.Error());
    hr = error.Error();
  }
  if (hr < 0) {
    CComBSTR report;
    if (app != nullptr) app->raw_GetLastBatchResults(&report);
    hr.LogError(u"Failed to remove menu: %s", report.View());
  }
  return hr;
}
