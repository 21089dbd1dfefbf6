#pragma once

// CQXUtil: static functions about the surroundings of the framework. Each source file has one
// subject:
//
// | file                | subject                                                              |
// |---------------------|----------------------------------------------------------------------|
// | qx_util.cc          | languages, texts, programs, the registry, XML comments, valid values |
// | qx_util_version.cc  | versions of modules and of the host's libraries                      |
// | qx_util_business.cc | taxes, currency rates and posting periods                            |
// | qx_util_host.cc     | codes of user tables, the status bar, the selected form              |

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

/// Helpers for add-ons. `appId` is the application number for the log; -1 without an application.
/// Version functions report a failure by E_FAIL or an empty text and throw nothing.
class QX_API CQXUtil {
 public:
  /// Returns the ISO code of a language, such as "DE"; "EN" for an unknown language.
  static const OLECHAR* ISOLangIDFromHVXLanguage(HvLanguages language);
  /// Returns the language id of resources; 1033 for an unknown language.
  static unsigned short LangIDFromHVXLanguage(HvLanguages language);

  /// Does the same as GetFileVersionForModule for the framework's module.
  static long GetFileVersion(long appId, OLECHAR* buffer, long size);
  /// Writes "9.20.00.01.7" to the buffer: the file version and, after the last point, the fix of
  /// one character, or "00" without a fix. `size` is in units. Returns E_FAIL and empties the
  /// buffer for a module without a version block, a file version of more than 15 characters and a
  /// buffer that is too small.
  static long GetFileVersionForModule(long appId, OLECHAR* buffer, long size, HINSTANCE module);
  /// Returns the version block of a file on one line; an empty text if it has none. `path` may be
  /// in double quotes.
  static CString GetVersionInfoFromResource(const CString& path);

  /// Returns the code that follows the highest one of a user table, as eight upper-case hexadecimal
  /// digits, and writes its number to `number` unless that is null. An empty table has the code
  /// "00000000". Returns an empty text if the query fails. The code is not reserved.
  static CComBSTR GetNextCodeValue(long appId, CComPtr<ICompany> company, CComBSTR table,
                                   long* number);
  /// Computes the tax on `net` by the newest rate of `taxGroup` that is in force, rounded as
  /// CQXCurrency::Round does; 0 if the group has no rate. This function and the next two report
  /// failures by E_FAIL; out arguments then keep the values that they have so far. A code is
  /// written into the statement unchanged: apply ConvertStrToSqlFormat to one that a user typed.
  static long CalculateTaxFromNet(long appId, CComPtr<ICompany> company, CQXCurrency net,
                                  CComBSTR taxGroup, CQXCurrency& tax);
  /// Reads the host's rate of the currency on that day. E_FAIL and a rate of 0 if it has none.
  static long GetCurrencyRate(long appId, CComPtr<ICompany> company, double date,
                              const CComBSTR& currency, CQXCurrency& rate);
  /// Reads the period of a day. If the day has no period, the category is empty; test that, since
  /// `found` is -1 whenever the query succeeds. A period includes the day after its last day, which
  /// may be the first day of the next period: then either is found.
  static long GetPostingPeriod(long appId, CComPtr<ICompany> company, double date,
                               CComBSTR& category, long& subNumber, long& found, double& firstDate);
  /// Returns the prefix followed by the number.
  static CComBSTR GetMenuUID(CQXBSTR prefix, long id);

  /// Read the version, as "9.20", of the type library of the host's UI library and of its database
  /// library.
  static long GetHVXVersion(long appId, CComBSTR& version);
  static long GetRXAPIVersion(long appId, CComBSTR& version);
  /// Returns the same for any class; an empty text if it cannot be read.
  static CString GetCOMObjectVersion(GUID clsid);
  /// Returns the path of a class in the registry; an empty text if it has none.
  static CString GetCOMObjectPath(GUID clsid);
  /// Read the value `valueName` of the key `key` + `keyTail`. Return false if it is missing or of
  /// another type.
  static bool getRegistryValue(HKEY root, const OLECHAR* key, const OLECHAR* valueName,
                               CString& out, const OLECHAR* keyTail);
  static bool getRegistryLongValue(HKEY root, const OLECHAR* key, const OLECHAR* valueName,
                                   long& out, const OLECHAR* keyTail);

  /// Removes the comments that are children of `node` and, by calls of itself, those below. Not all
  /// of them: a call with a `depth` of 2 removes nothing, and each child that is no comment gets a
  /// depth that is 1 higher than that of the child before it; the first one gets `depth`. So in a
  /// call with a depth of 0 the third such child keeps its comments. Comments below the first,
  /// second and fourth are removed by the same rule. Returns S_OK, or the code of a node that
  /// cannot be read or changed; throws E_POINTER for a null node.
  static long RemoveXMLCommentNodes(long appId, CComPtr<IXMLDOMNode> node, long depth);
  /// Removes all values; logs those that cannot be removed.
  static void ValidValuesRemoveAll(CComPtr<IValidValues> validValues);
  /// Returns the executable of the process that owns the window; an empty text if it is unknown.
  static CComBSTR GetWindowModuleName(HWND window);
  /// Returns the program's name without folder and extension.
  static CComBSTR GetFileName();
  /// Doubles each single quote.
  static void ConvertStrToSqlFormat(CComBSTR& text);

  /// Show a message on the status bar. Return the host's result.
  static long SetStatusBarMessage(CComPtr<IApplication> application, HvStatusBarMessageType type,
                                  CComBSTR text);
  static long SetStatusBarErrorMessage(CComPtr<IApplication> application, CComBSTR text);
  static long SetStatusBarInfoMessage(CComPtr<IApplication> application, CComBSTR text);
  static long SetStatusBarWarningMessage(CComPtr<IApplication> application, CComBSTR text);
  /// Replaces & " ' < and > by their entities.
  static CComBSTR ReplaceXMLEntityChars(CComBSTR text);

  /// Returns the first selected form of the client or, if none is selected, the first form; null if
  /// there is no form.
  static CComPtr<IForm> GetSelectedForm(CComPtr<IApplication> application);
};
