#pragma once

// The lock of a company under which its tables are made, on all machines that use the company.
//
// CQXDbDef::Create and the framework's own check take it. An add-on that checks a version and
// creates tables accordingly holds it around both: else two machines find the tables missing, and
// the second one repeats the run of the first, with the rows of its definition.
//
//   const qx::TablesLock lock(application, company);
//   tables.CheckVersion(state);
//   if (state != CQXDbDef::dbc_Ok) tables.Create(resource, false, version);

#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/export.h"
#include "qxframework/host/application.h"
#include "qxframework/host/company.h"
#include "qxframework/host/company_sharing.h"

namespace qx {

/// Holds the lock while it lives. The same company may be locked again meanwhile.
class QX_API TablesLock {
 public:
  /// Waits without a time limit. After two seconds, and then each minute, the log, the developer
  /// trace and, unless `application` is null, the status bar show who holds the lock. A company
  /// without ICompanySharing is not locked, nor is one that refuses, which the log shows: the work
  /// goes on as on a machine that has the company for itself.
  TablesLock(const CComPtr<IApplication>& application, const CComPtr<ICompany>& company);
  ~TablesLock();
  TablesLock(const TablesLock&) = delete;
  TablesLock& operator=(const TablesLock&) = delete;

 private:
  CComPtr<ICompanySharing> m_ptrSharing;  // null if nothing is locked
};

}  // namespace qx
