// Keeps tables with the one header that is about them.

#include "qxframework/dbdef/db_def.h"

/// Brings the tables of the program up to date and returns the result of Create.
long bringUpToDate(CComPtr<IApplication> app, CComPtr<ICompany> company) {
  CQXResourceLoader loader;
  CQXDbDef tables(app, company, loader, u"OUT", app->GetLanguage(), GetModuleHandleW(nullptr));
  CQXDbDef::_DBCHECK state = CQXDbDef::dbc_Ok;
  tables.CheckVersion(state);
  CQXVersion version(u"0.00.00.00.00");
  tables.GetDBVersion(version);
  return version.GetStatus() == CQXDbDef::STATUS_INSTALLED ? 0 : tables.Create(100, false, version);
}
