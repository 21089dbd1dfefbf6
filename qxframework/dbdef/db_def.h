#pragma once

// The tables of an extension in the company database: db_def.cc has the versions that are
// installed, db_def_create.cc the run over a definition with tables and rows, db_def_fields.cc and
// db_def_keys.cc its fields and keys. internal/schema_progress.h shows the progress of a run.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/simple_map.h"
#include "qxframework/automation/wide_string.h"
#include "qxframework/foundation/version.h"
#include "qxframework/host/application.h"
#include "qxframework/host/company.h"
#include "qxframework/host/enums.h"
#include "qxframework/os/module.h"
#include "qxframework/resources/resource_loader.h"

class IProgressBar;
class IUserFieldsMD;
class IUserKeysMD;
class IUserKeysMD_Elements;
class IXMLDOMDocument;
class IXMLDOMNode;

namespace qx::dbdef {
class SchemaProgress;
}  // namespace qx::dbdef

/// Keeps the tables of an extension in step with the version of its module. It reads and writes the
/// table of installed versions, and creates tables, fields, keys and rows from an XML definition. A
/// definition only adds: tables, fields and keys that exist do not change.
///
/// Operations throw a _com_error of QX_E_DATABASE (0x80040500, see result_names.h) unless they say
/// otherwise.
class QX_API CQXDbDef {
 public:
  /// The version of the extension's tables, compared with that of its module.
  enum _DBCHECK {
    dbc_Ok = 0,
    dbc_NoVersion = 1,   // no row for the extension
    dbc_Older = 2,       // older than the module, last run complete
    dbc_Newer = 3,       // newer than the module
    dbc_Incomplete = 4,  // the last run did not complete
  };

  static const CComBSTR STATUS_UPGRADING;  // "Upgrading"
  static const CComBSTR STATUS_FAILED;     // "Upgrade failed"
  static const CComBSTR STATUS_INSTALLED;  // "Installed"

  /// Reads the file version of `module`, or of the framework for null.
  CQXDbDef(CComPtr<IApplication> application, CComPtr<ICompany> company, CQXResourceLoader& loader,
           CComBSTR extensionId, HvLanguages language, HINSTANCE module);
  ~CQXDbDef();
  CQXDbDef(const CQXDbDef&) = delete;
  CQXDbDef& operator=(const CQXDbDef&) = delete;

  long GetFileVersion(CQXVersion& version);
  /// Reads version and status of the extension's latest row; an empty status without a row.
  long GetDBVersion(CQXVersion& version);
  long CheckVersion(_DBCHECK& result);
  /// Stamps "Upgrade failed" if the status is "Installed"; returns E_FAIL for any other status.
  long SetInitFailed(CQXVersion& version);
  long SetInstalled(CQXVersion& version);
  /// Stamps the status of `version`.
  long SetDBStatus(CQXVersion& version);

  /// Brings the database up to the definition in XML resource `resource`. Stamps "Upgrading" first,
  /// unless `noUpgradeStamp`, and "Installed" at the end. The version "0.00.00.00.00" is replaced
  /// by the file version.
  ///
  /// Returns E_FAIL, without the stamp "Installed", for text that is no XML, for a table or a field
  /// that lacks a required attribute, has an unknown type or is refused by the host, for a stamp
  /// that fails, and if the progress bar is not free within 30 minutes. Other failures are only
  /// logged, and the run ends with its stamp and 0: a row that fails ends its `data` element, a key
  /// its `userkeys`, and an unknown element is skipped. The host gets a `LinkedTable` unchanged.
  /// Without a `database` element, or with an empty one, the result is also 0, but the last stamp
  /// is missing: a run stamped "Upgrading" stays incomplete, and the progress bar stays on the
  /// screen, held by this object. A further call on the same object therefore waits 30 minutes for
  /// its own bar and returns E_FAIL: destroy the object and use a new one for the next run.
  ///
  /// The status bar shows two things to the user: a key that the host refuses and that does not
  /// exist, with its table and the reason, since the stamp "Installed" hides the loss; and what a
  /// run is waiting for as long as the progress bar is not free.
  long Create(unsigned int resource, bool noUpgradeStamp, CQXVersion& version);
  /// Sets the string ids of the keys that follow "*RES*"; null for none. The caller owns the map.
  long SetResourceMap(CSimpleMap<CString, int>* map);
  /// Replaces "*RES*KEY" by the string with the id that the resource map has for KEY. Leaves any
  /// other text unchanged.
  long ReplaceByResource(CComBSTR& text);

 private:
  long WriteStamp(const CComBSTR& status, const CComBSTR& version);
  long ReadEmergencyFix();

  long CreateTables(CComPtr<IXMLDOMNode> node);
  long CreateTable(CComPtr<IXMLDOMNode> node);
  void FillTable(const CComBSTR& table, CComPtr<IXMLDOMNode> node, bool isUserTable);
  long CreateUserFields(const CComBSTR& table, CComPtr<IXMLDOMNode> node, bool isUserTable);
  long CreateField(const CComBSTR& table, CComPtr<IXMLDOMNode> node, bool isUserTable);
  long SetValidValues(CComPtr<IUserFieldsMD> field, CComPtr<IXMLDOMNode> node);
  long UserFieldExists(const CComBSTR& table, const CComBSTR& field, bool isUserTable);
  long InsertData(const CComBSTR& table, CComPtr<IXMLDOMNode> node);
  long CreateUserIndexes(const CComBSTR& table, CComPtr<IXMLDOMNode> node);
  long AddOrRemoveUserIndex(const CComBSTR& table, CComPtr<IXMLDOMNode> node);
  void RemoveUserIndex(CComPtr<IUserKeysMD> keys, const CComBSTR& table, const CComBSTR& key);
  void ShowLostIndex(CComPtr<IUserKeysMD> keys, const CComBSTR& table, const CComBSTR& key);
  long AddUserIndexElement(CComPtr<IUserKeysMD_Elements> elements, CComPtr<IXMLDOMNode> node);

  long GetProgressBar(long minutes, const CComBSTR& title, long maximum);
  long CreateProgressBar(const CComBSTR& title, long maximum);
  void ShowWait(long minutesLeft, bool ownBar);
  void DisplayProgressMessage(const CComBSTR& text);
  void SignalTableInitialized(const CComBSTR& table, long kind);
  void StopProgressBar();
  qx::dbdef::SchemaProgress Progress();

  CComBSTR Attribute(CComPtr<IXMLDOMNode> node, const OLECHAR* name);
  CComBSTR TableName(CComPtr<IXMLDOMNode> node);
  CComBSTR LocalisedText(CComPtr<IXMLDOMNode> node, const OLECHAR* attribute,
                         const OLECHAR* failure, const CComBSTR& name);
  CComBSTR FrameworkText(unsigned int id);
  CComBSTR LastErrorText();

  CComPtr<IXMLDOMDocument> m_ptrDocument;
  CComPtr<ICompany> m_ptrCompany;
  long m_lLogId;
  CComBSTR m_bstrExtId;
  CComBSTR m_bstrFileVersion;
  HvLanguages m_Language;
  CSimpleMap<CString, int>* m_pResourceMap = nullptr;
  CComPtr<IApplication> m_ptrApp;
  CComPtr<IProgressBar> m_ptrProgressBar;
  long m_lProgress = 0;
  CQXResourceLoader& m_ResourceLoader;
};
