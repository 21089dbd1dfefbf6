#pragma once

// The form behind CQXInitProgress: a line of text and a bar of 15 cells, which are disabled edits.
// A visible cell is a filled one.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/host/controls.h"
#include "qxframework/runtime/addon_form.h"

class CFrmInitProgress : public CQXAddOnFormInternal {
 public:
  static constexpr long kMessage = 205;
  static constexpr long kCells = 15;

  // The items from 206 on are the cells.
  DECLARE_XML_FORM_EX(u"QX_FIN", 200, u"QX", {u"QX_FIN_TITLE", 204, u""},
                      {u"QX_FIN_ST_MESSAGE", 205, u""}, {u"QX_FIN_ET_PROGRESS1", 206, u""},
                      {u"QX_FIN_ET_PROGRESS2", 207, u""}, {u"QX_FIN_ET_PROGRESS3", 208, u""},
                      {u"QX_FIN_ET_PROGRESS4", 209, u""}, {u"QX_FIN_ET_PROGRESS5", 210, u""},
                      {u"QX_FIN_ET_PROGRESS6", 211, u""}, {u"QX_FIN_ET_PROGRESS7", 212, u""},
                      {u"QX_FIN_ET_PROGRESS8", 213, u""}, {u"QX_FIN_ET_PROGRESS9", 214, u""},
                      {u"QX_FIN_ET_PROGRESS10", 215, u""}, {u"QX_FIN_ET_PROGRESS11", 216, u""},
                      {u"QX_FIN_ET_PROGRESS12", 217, u""}, {u"QX_FIN_ET_PROGRESS13", 218, u""},
                      {u"QX_FIN_ET_PROGRESS14", 219, u""}, {u"QX_FIN_ET_PROGRESS15", 220, u""})

 public:
  using CQXAddOnFormInternal::CQXAddOnFormInternal;
  ~CFrmInitProgress() override = default;

  long OnItemEvent(CComPtr<IItemEvent> event, short* bubble) override;
  long OnInitForm() override;

  /// Shows the text and fills `steps` more cells. Throws the client's _com_error.
  void DisplayMessage(const OLECHAR* text, long steps);
  /// Fills the bar to its end.
  void ShowProgressComplete();
  /// Shows or hides the form. Throws the client's _com_error.
  void PutVisible(bool visible);
  /// Returns the text at the end of a start, in the client's language.
  CComBSTR EndText(bool success);

 private:
  // A full bar begins anew, so it is a sign of activity and not a percentage.
  void ShowProgress(long steps);
  void ClearProgressBar();
  void SetItemVisible(long id, bool visible);

  CComPtr<IStaticText> m_ptrMessage;
  long m_lCellsShown = 0;
};
