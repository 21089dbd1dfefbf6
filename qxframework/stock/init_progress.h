#pragma once

// Shows the user that an add-on is starting: a small form with a text and a bar.
//
//   CQXInitProgress progress(application, company, addOn);
//   progress.OpenInitForm();
//   progress.DisplayProgressMessage(u"Creating tables", 3);
//   progress.CloseInitForm(true);
//
// A progress display must never stop a start, so nothing is thrown. If the user closes the form,
// the next call opens a new one.

#include "qxframework/automation/com_ptr.h"
#include "qxframework/host/application.h"
#include "qxframework/host/company.h"

class CFrmInitProgress;
class CQXAddOn;

/// A handle on the form. A copy shares the form. The sink owns the form's object, so the handle
/// leaves it open when it goes.
class QX_API CQXInitProgress {
 public:
  /// Opens nothing. `addOn` is not owned.
  CQXInitProgress(CComPtr<IApplication> application, CComPtr<ICompany> company,
                  const CQXAddOn* addOn);
  CQXInitProgress(const CQXInitProgress& other) = default;
  CQXInitProgress& operator=(const CQXInitProgress& other) = default;
  ~CQXInitProgress() = default;

  /// Opens the form, or shows it again. Returns S_OK even if it cannot be opened.
  long OpenInitForm();
  /// Shows the text and fills `steps` more cells of 15; a full bar begins anew. 0 or less changes
  /// only the text. Opens the form if there is none. Returns the last result.
  long DisplayProgressMessage(const OLECHAR* text, long steps);
  /// Fills the bar, shows for one second that the start has succeeded or failed, and hides the
  /// form. Opens the form if there is none. Returns S_OK.
  long CloseInitForm(bool success);

 private:
  /// Returns the form, or null if there is none or it has been closed.
  CFrmInitProgress* Form();
  bool ShowEnd(const CComBSTR& text);

  CFrmInitProgress* m_pForm = nullptr;
  CComPtr<IApplication> m_ptrApp;
  CComPtr<ICompany> m_ptrCompany;
  long m_lAppId = -1;
  const CQXAddOn* m_pAddOn;
};
