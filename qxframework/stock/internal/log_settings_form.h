#pragma once

// The dialog of the menu entry "Halvex Add-On Log Settings": how much the logging component
// records, and into how many files of which size.

#include "qxframework/automation/com_ptr.h"
#include "qxframework/host/controls.h"
#include "qxframework/runtime/addon_form.h"

class CLog;

class CFrmLogSettings : public CQXAddOnFormInternal {
  DECLARE_XML_FORM_EX(u"QX_FLS", 300, u"QX", {u"QX_FLS_TITLE", 311, u""},
                      {u"QX_FLS_ST_LOGLEVEL", 304, u""}, {u"QX_FLS_CB_LOGLEVEL", 315, u""},
                      {u"QX_FLS_ST_MODULES", 306, u""}, {u"QX_FLS_CB_MODULES", 314, u""},
                      {u"QX_FLS_ST_LOGCOUNT", 303, u""}, {u"QX_FLS_ET_LOGCOUNT", 313, u""},
                      {u"QX_FLS_ST_LOGSIZE", 305, u""}, {u"QX_FLS_ET_LOGSIZE", 312, u""},
                      {u"QX_ITM_BT_OK", 1, u""}, {u"QX_ITM_BT_CANCEL", 2, u""})

 public:
  using CQXAddOnFormInternal::CQXAddOnFormInternal;
  ~CFrmLogSettings() override = default;

  long OnItemEvent(CComPtr<IItemEvent> event, short* bubble) override;
  long OnInitForm() override;

  /// Opens the dialog for the event sink. Throws what CreateForm throws.
  static long Open(CQXAddOn* addOn, CComPtr<IApplication> application, CComPtr<ICompany> company);

 private:
  long LoadLoggingData();
  long SaveLoggingData();
  void FillLevelCombo(const CComPtr<IComboBox>& combo, const CLog* settings);
  void FillModuleCombo(const CComPtr<IComboBox>& combo);
  void OnClick(short* bubble);
  void OnValidate(const CComBSTR& item, short* bubble);
  void ShowStatusBarText(unsigned int id);
  template <class Control>
  CComPtr<Control> ControlOf(CReturnValue<long>& hr, long id, const OLECHAR* symbol);
  long NumberIn(const CComPtr<IEditText>& edit);

  long m_lAppNumber = 0;  // for the log; nothing sets it
};
