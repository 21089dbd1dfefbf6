#pragma once

// The connection to the company database. It is made through the client, which knows the open
// company. If that fails, or if the add-on asked for it, it is made by the hand-shake: the client
// answers a cookie of the company object with a login context.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_ptr.h"

class IApplication;
class ICompany;
class IDispatch;

namespace qx {

/// What a connection is made from.
struct CompanyLogin {
  long appId;                  ///< for the log
  IApplication* client;        ///< has the language and answers the hand-shake
  IDispatch* application;      ///< the same object as the company wants it
  bool throughClient;          ///< false: by the hand-shake at once
  const CComBSTR& identifier;  ///< the add-on's, for the hand-shake
};

/// Connects a new company object and puts it into `company`. Returns 0, or QX_E_CONNECTION after
/// the reason has been logged and shown in the client, or E_FAIL if something other than a
/// _com_error was thrown. After a failure `company` may hold an object that is not connected.
long connectCompany(const CompanyLogin& login, CComPtr<ICompany>& company);

/// Disconnects and releases the company. Returns the host's result, or 0 if the host threw.
long disconnectCompany(long appId, CComPtr<ICompany>& company);

}  // namespace qx
