#pragma once

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/registry.h"
#include "qxframework/automation/wide_string.h"
#include "qxframework/host/enums.h"
#include "qxframework/os/debug_trace.h"
#include "qxframework/os/module.h"

class CQXBSTR;
class CQXCurrency;
class IApplication;
class ICompany;
class IForm;
class IValidValues;
class IXMLDOMNode;

/// Static functions about the framework's surroundings: versions of modules and of the host's
/// libraries, the registry, languages, texts, the status bar, small helpers on host objects, and
/// what the company's tables know about taxes, rates and posting periods.
///
/// The first `long`, where there is one, is the application number for the log, -1 when there is no
/// application. Version functions report by E_FAIL or an empty text and do not raise.
class QX_API CQXUtil {
 public:
  /// "DE"; "EN" for a language that is not listed.
  static const OLECHAR* ISOLangIDFromHVXLanguage(HvLanguages language);
  /// The language id for resources; 1033 for a language that is not listed.
  static unsigned short LangIDFromHVXLanguage(HvLanguages language);

  /// Version of the framework's module, as GetFileVersionForModule.
  static long GetFileVersion(long appId, OLECHAR* buffer, long size);
  /// "9.20.00.01.7": the file version and, behind the last point, the fix of one character, "00"
  /// without one. `size` in units. E_FAIL, with an empty buffer, for a module without a version
  /// block, a file version of more than 15 characters or a buffer that is too small.
  static long GetFileVersionForModule(long appId, OLECHAR* buffer, long size, HINSTANCE module);
  /// The version block of the file at `path`, which may stand in double quotes, on one line; empty
  /// when there is none.
  static CString GetVersionInfoFromResource(const CString& path);

  /// The code behind the highest one of a user table, eight upper-case hexadecimal digits, and its
  /// number; "00000000" for an empty table. An empty text when the query fails. Nothing reserves
  /// the code.
  static CComBSTR GetNextCodeValue(long appId, CComPtr<ICompany> company, CComBSTR table,
                                   long* number);
  /// The tax on `net` by the newest rate of `taxGroup` that is in force, rounded as
  /// CQXCurrency::Round does; 0 when the group has none. This and the next two report by E_FAIL and
  /// leave in the out arguments what they had reached. A code goes into the statement as it stands:
  /// one that a user typed goes through ConvertStrToSqlFormat first.
  static long CalculateTaxFromNet(long appId, CComPtr<ICompany> company, CQXCurrency net,
                                  CComBSTR taxGroup, CQXCurrency& tax);
  /// The host's rate of the currency on that day; E_FAIL with a rate of 0 when it has none.
  static long GetCurrencyRate(long appId, CComPtr<ICompany> company, double date,
                              const CComBSTR& currency, CQXCurrency& rate);
  /// The period that the day belongs to. `found` is -1 whenever the query ran; with no period for
  /// the day the category is empty, so ask for that. A period reaches over the day behind its last,
  /// which may also be the first of the next: then either is found.
  static long GetPostingPeriod(long appId, CComPtr<ICompany> company, double date,
                               CComBSTR& category, long& subNumber, long& found, double& firstDate);
  /// "%s%d"
  static CComBSTR GetMenuUID(CQXBSTR prefix, long id);

  /// "%d.%d" of the type library of the host's UI library and of its database library.
  static long GetHVXVersion(long appId, CComBSTR& version);
  static long GetRXAPIVersion(long appId, CComBSTR& version);
  static CString GetCOMObjectVersion(GUID clsid);
  /// Where the registry says that the class lives; empty when it does not.
  static CString GetCOMObjectPath(GUID clsid);
  /// Reads `valueName` of the key `key` + `keyTail`; false when it is not there or of another type.
  static bool getRegistryValue(HKEY root, const OLECHAR* key, const OLECHAR* valueName,
                               CString& out, const OLECHAR* keyTail);
  static bool getRegistryLongValue(HKEY root, const OLECHAR* key, const OLECHAR* valueName,
                                   long& out, const OLECHAR* keyTail);

  /// Removes comments below `node`. It goes two levels deep in a way of its own: see the source.
  static long RemoveXMLCommentNodes(long appId, CComPtr<IXMLDOMNode> node, long depth);
  static void ValidValuesRemoveAll(CComPtr<IValidValues> validValues);
  /// The executable of the process that owns the window; empty when it cannot be told.
  static CComBSTR GetWindowModuleName(HWND window);
  /// The program's name without folder and extension.
  static CComBSTR GetFileName();
  /// Doubles each single quote.
  static void ConvertStrToSqlFormat(CComBSTR& text);

  static long SetStatusBarMessage(CComPtr<IApplication> application, HvStatusBarMessageType type,
                                  CComBSTR text);
  static long SetStatusBarErrorMessage(CComPtr<IApplication> application, CComBSTR text);
  static long SetStatusBarInfoMessage(CComPtr<IApplication> application, CComBSTR text);
  static long SetStatusBarWarningMessage(CComPtr<IApplication> application, CComBSTR text);
  /// & " ' < > replaced by the five entities.
  static CComBSTR ReplaceXMLEntityChars(CComBSTR text);

  /// The first form of the client with its selected flag set, else the first form, else null.
  static CComPtr<IForm> GetSelectedForm(CComPtr<IApplication> application);
};
