#pragma once

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/simple_map.h"
#include "qxframework/automation/wide_string.h"
#include "qxframework/host/enums.h"
#include "qxframework/os/module.h"

class CQXResourceLoader;
class CQXVersion;
class IApplication;
class ICompany;
class IProgressBar;
class IUserFieldsMD;
class IUserKeysMD;
class IUserKeysMD_Elements;
class IXMLDOMDocument;
class IXMLDOMNode;

namespace qx::dbdef {
class SchemaProgress;
}  // namespace qx::dbdef

/// Keeps the tables of an extension in step with the version of its module: the table of installed
/// versions on one side, the creation of tables, fields, keys and rows from an XML definition on
/// the other. The definition is additive: what exists is left as it is.
///
/// Faults are raised as _com_error of 0x80040500, where an operation does not say otherwise.
class QX_API CQXDbDef {
 public:
  /// How the tables of the extension stand to its module.
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

  /// The file version is that of `module`, or of the framework for null.
  CQXDbDef(CComPtr<IApplication> application, CComPtr<ICompany> company, CQXResourceLoader& loader,
           CComBSTR extensionId, HvLanguages language, HINSTANCE module);
  ~CQXDbDef();
  CQXDbDef(const CQXDbDef&) = delete;
  CQXDbDef& operator=(const CQXDbDef&) = delete;

  long GetFileVersion(CQXVersion& version);
  /// Version and status of the extension's latest row; an empty status when there is none.
  long GetDBVersion(CQXVersion& version);
  long CheckVersion(_DBCHECK& result);
  /// Turns a row that reads "Installed" into "Upgrade failed"; E_FAIL for any other.
  long SetInitFailed(CQXVersion& version);
  long SetInstalled(CQXVersion& version);
  /// Writes the status that the version carries.
  long SetDBStatus(CQXVersion& version);

  /// Brings the database up to the definition in XML resource `resource`, stamping "Upgrading"
  /// ahead unless `noUpgradeStamp`, and "Installed" behind. "0.00.00.00.00" stands for the file
  /// version and is replaced by it.
  ///
  /// E_FAIL, without the "Installed" stamp, for text that is no XML, a table or field that lacks
  /// what it must have, is of an unknown type or refused by the host, a stamp that fails, and a
  /// progress bar that nobody gave up in 30 minutes. What else fails is logged, and the run is
  /// stamped and 0 all the same: a row ends its `data` element, a key its `userkeys`, and an
  /// element that is not known is passed over. The host gets a `LinkedTable` as it is. Without a
  /// `database` element, or with an empty one, the result is 0 as well, but nothing is stamped
  /// behind: what was stamped "Upgrading" stays incomplete, and the progress bar stays up.
  long Create(unsigned int resource, bool noUpgradeStamp, CQXVersion& version);
  /// The string ids of the keys behind "*RES*"; not owned, null for none.
  long SetResourceMap(CSimpleMap<CString, int>* map);
  /// Replaces "*RES*KEY" by the string that the resource map has for KEY; any other text stays.
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
  long AddUserIndexElement(CComPtr<IUserKeysMD_Elements> elements, CComPtr<IXMLDOMNode> node);

  long GetProgressBar(long minutes, const CComBSTR& title, long maximum);
  long CreateProgressBar(const CComBSTR& title, long maximum);
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
