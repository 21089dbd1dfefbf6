// The table of versions: which version of which extension is installed.

#include "qxframework/dbdef/db_def.h"

#include "qxframework/dbdef/internal/definition_sql.h"
#include "qxframework/foundation/numbers.h"
#include "qxframework/foundation/version.h"
#include "qxframework/host/application.h"
#include "qxframework/host/company.h"
#include "qxframework/host/metadata.h"
#include "qxframework/host/recordset.h"
#include "qxframework/logging/function_log.h"
#include "qxframework/logging/result_names.h"
#include "qxframework/resources/resource_loader.h"
#include "qxframework/sql/dialects.h"
#include "qxframework/sql/recordset_cell.h"
#include "qxframework/util/qx_util.h"
#include "qxframework/xml/dom.h"

namespace {

constexpr OLECHAR kZeroVersion[] = u"0.00.00.00.00";
constexpr long kVersionBuffer = 100;

CComPtr<IRecordset> openRecordset(ICompany* company) {
  return CComQIPtr<IRecordset>(company->GetBusinessObject(qx::kRecordset));
}

template <class Scope>
void runLogged(Scope& hr, const CComPtr<IRecordset>& recordset, const std::u16string& sql) {
  hr.LogDbg0(u"SQL: \"%s\"\n", sql);
  recordset->DoQuery(CComBSTR(sql));
}

}  // namespace

const CComBSTR CQXDbDef::STATUS_UPGRADING(u"Upgrading");
const CComBSTR CQXDbDef::STATUS_FAILED(u"Upgrade failed");
const CComBSTR CQXDbDef::STATUS_INSTALLED(u"Installed");

CQXDbDef::CQXDbDef(CComPtr<IApplication> application, CComPtr<ICompany> company,
                   CQXResourceLoader& loader, CComBSTR extensionId, HvLanguages language,
                   HINSTANCE module)
    : m_ptrCompany(company),
      m_lLogId(application->GetAppId()),
      m_bstrExtId(extensionId),
      m_Language(language),
      m_ptrApp(application),
      m_ResourceLoader(loader) {
  CReturnValue<void> log(u"CQXDbDef::CQXDbDef", m_lLogId, false);
  OLECHAR version[kVersionBuffer] = {};
  if (module != nullptr) {
    CQXUtil::GetFileVersionForModule(m_lLogId, version, kVersionBuffer, module);
  } else {
    CQXUtil::GetFileVersion(m_lLogId, version, kVersionBuffer);
  }
  m_bstrFileVersion = version;
}

CQXDbDef::~CQXDbDef() = default;

long CQXDbDef::GetFileVersion(CQXVersion& version) {
  CReturnValue<long> hr(u"CQXDbDef::GetFileVersion", 0, m_lLogId, false);
  version.SetVersion(CString(m_bstrFileVersion));
  return hr;
}

long CQXDbDef::GetDBVersion(CQXVersion& version) {
  CReturnValue<long> hr(u"CQXDbDef::GetDBVersion", 0, m_lLogId, false);
  try {
    const qx::Dialect& dialect = qx::dialectOf(m_ptrCompany->GetDbServerType());
    const CComPtr<IRecordset> recordset = openRecordset(m_ptrCompany);
    runLogged(hr, recordset, qx::format(qx::dbdef::kSelectVersion.of(dialect), m_bstrExtId.View()));
    recordset->MoveFirst();  // the highest code is the latest row
    version.SetVersion(CString(qx::cellText(recordset, 0)));
    version.SetStatus(CString(qx::cellText(recordset, 1)));
  } catch (const _com_error& error) {
    // A missing table ends here, too: the caller knows it by the code that is thrown.
    long code = 0;
    CComBSTR text;
    m_ptrCompany->raw_GetLastError(&code, &text.m_str);
    hr.LogError(u"Error code from RX-API: %d / %s\n", code, text.View());
    hr.LogError(u"Failed to get version for %s from db: %s", m_bstrExtId.View(),
                hr.xstrerror(static_cast<unsigned long>(error.Error())));
    hr = QX_E_DATABASE;
    qx::raiseError(hr);
  }
  // A statement of its own, since the tables of early releases lack the column.
  if (!version.GetStatus().IsEmpty()) version.SetEF(ReadEmergencyFix());
  return hr;
}

long CQXDbDef::ReadEmergencyFix() {
  CReturnValue<long> number(u"CQXDbDef::GetDBVersion", 0, m_lLogId, true);
  try {
    const qx::Dialect& dialect = qx::dialectOf(m_ptrCompany->GetDbServerType());
    const CComPtr<IRecordset> recordset = openRecordset(m_ptrCompany);
    runLogged(number, recordset,
              qx::format(qx::dbdef::kSelectEmergencyFix.of(dialect), m_bstrExtId.View()));
    recordset->MoveFirst();
    number = qx::leadingNumber(qx::cellText(recordset, 0));
  } catch (const _com_error&) {
    number = 0;  // the table has no such column yet
  }
  return number;
}

long CQXDbDef::CheckVersion(_DBCHECK& result) {
  CReturnValue<long> hr(u"CQXDbDef::CheckVersion", 0, m_lLogId, false);
  CQXVersion dbVersion(kZeroVersion);
  CQXVersion fileVersion(kZeroVersion);
  GetDBVersion(dbVersion);
  GetFileVersion(fileVersion);
  const CString status = dbVersion.GetStatus();
  const bool complete = status.View() == STATUS_INSTALLED.View();
  // An empty status first, then a newer database, whose status does not matter.
  if (status.IsEmpty()) {
    result = dbc_NoVersion;
  } else if (dbVersion > fileVersion) {
    result = dbc_Newer;
  } else if (!complete) {
    result = dbc_Incomplete;
  } else {
    result = dbVersion < fileVersion ? dbc_Older : dbc_Ok;
  }
  return hr;
}

long CQXDbDef::SetInitFailed(CQXVersion& version) {
  CReturnValue<long> hr(u"CQXDbDef::SetInitFailed", 0, m_lLogId, false);
  CQXVersion current(kZeroVersion);
  if (GetDBVersion(current) != 0) {
    hr = E_FAIL;
    hr.LogError(u"GetDBVersion failed!");
  }
  if (current.GetStatus().View() != STATUS_INSTALLED.View()) {
    hr = E_FAIL;
    hr.LogError(u"Current status is %s, not changed!", current.GetStatus().GetString());
  } else {
    hr = WriteStamp(STATUS_FAILED, version.GetVersionAsBSTR());
  }
  return hr;
}

long CQXDbDef::SetInstalled(CQXVersion& version) {
  CReturnValue<long> hr(u"CQXDbDef::SetInstalled", 0, m_lLogId, false);
  hr = WriteStamp(STATUS_INSTALLED, version.GetVersionAsBSTR());
  return hr;
}

long CQXDbDef::SetDBStatus(CQXVersion& version) {
  CReturnValue<long> hr(u"CQXDbDef::SetDBStatus", 0, m_lLogId, false);
  hr = WriteStamp(CComBSTR(version.GetStatus().View()), version.GetVersionAsBSTR());
  return hr;
}

// Deletes, then inserts, without a transaction: a failure between the two leaves no row for that
// version. The deleted row is that of the file version, whichever version is stamped.
long CQXDbDef::WriteStamp(const CComBSTR& status, const CComBSTR& version) {
  CReturnValue<long> hr(u"CQXDbDef::WriteStamp", 0, m_lLogId, false);
  try {
    const qx::Dialect& dialect = qx::dialectOf(m_ptrCompany->GetDbServerType());
    const CComPtr<IRecordset> recordset = openRecordset(m_ptrCompany);
    CQXVersion stamped(kZeroVersion);
    stamped.SetVersion(CString(m_bstrFileVersion));
    runLogged(hr, recordset,
              qx::format(qx::dbdef::kDeleteStamp.of(dialect), m_bstrExtId.View(),
                         stamped.GetVersionWithoutEFAsBSTR().View(), stamped.GetEF()));

    const CComBSTR code = CQXUtil::GetNextCodeValue(
        m_lLogId, m_ptrCompany, CComBSTR(qx::dbdef::kVersionTable.of(dialect)), nullptr);
    if (version.View() != kZeroVersion) stamped.SetVersion(CString(version));
    runLogged(hr, recordset,
              qx::format(qx::dbdef::kInsertStamp.of(dialect), code.View(), code.View(),
                         m_bstrExtId.View(), stamped.GetVersionWithoutEFAsBSTR().View(),
                         stamped.GetEF(), status.View()));
  } catch (const _com_error& error) {
    hr.LogError(u"SQL failed: %s", hr.xstrerror(static_cast<unsigned long>(error.Error())));
    hr = QX_E_DATABASE;
    qx::raiseError(hr);
  }
  return hr;
}
