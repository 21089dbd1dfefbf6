#pragma once

// A ready-made picker of records: the user chooses one row of a query in a dialog that can be
// sorted and searched. The key of the row arrives in put_Key of the form that asked.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/host/application.h"
#include "qxframework/host/company.h"

class CQXAddOnForm;

/// Stateless. A failure is logged and thrown as a _com_error.
class QX_API CQXChooseList {
 public:
  CQXChooseList() = default;
  CQXChooseList(const CQXChooseList&) = default;
  /// Does nothing.
  CQXChooseList& operator=(const CQXChooseList&) { return *this; }

  /// Runs `sql` and lets the user choose a row, whose first column is the key. The key is handed to
  /// `parent` by put_Key: at once, without a dialog, if there is exactly one row and `alwaysShow`
  /// is false; else when the user chooses. The key is empty if the user does not choose.
  ///
  /// `subtitle` names the records and may be empty; `findText` fills the find field. `allowNew` and
  /// `allowCopy` add a button that opens `targetForm` for a new record or a copy; the form belongs
  /// to the caller until then. `hideFirstColumn` hides the key, which needs a second column.
  ///
  /// Returns 0. Throws E_POINTER without a company or a parent, the client's code for a failed
  /// query or form, and E_INVALIDARG for a single row whose key is neither text nor number.
  static long GetKey(CComBSTR subtitle, CComBSTR findText, CComBSTR sql, bool allowNew,
                     bool allowCopy, CQXAddOnForm* parent, CComPtr<IApplication> application,
                     CComPtr<ICompany> company, bool alwaysShow, bool hideFirstColumn,
                     CQXAddOnForm* targetForm);
  /// Opens `form` as a child of `parent` with initial mode 1, for a new record. Returns 0. Throws
  /// E_POINTER for a form that is null or deleted, and what CreateForm throws; as does the next.
  static long ChooseListNew(CQXAddOnForm* form, CComPtr<IApplication> application,
                            CComPtr<ICompany> company, CQXAddOnForm* parent);
  /// Opens `form` as a child of `parent` with initial mode 2, for a copy of the record `key`.
  static long ChooseListCopy(CQXAddOnForm* form, CComPtr<IApplication> application,
                             CComPtr<ICompany> company, CQXAddOnForm* parent, CComBSTR key);
};
