#pragma once

// The base class of every form that an add-on or the framework opens. One object stands for one
// form of the host: it declares the symbols and the kind of the form, takes part in its creation,
// registers with the event sink and gets the form's events there. When the host has unloaded the
// form, the sink calls UnloadForm and deletes the object.
//
// A form class states what it is with DECLARE_XML_FORM_EX (form_declaration.h) and overrides
// OnItemEvent and the hooks that it needs.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/forms/form_declaration.h"
#include "qxframework/host/application.h"
#include "qxframework/host/company.h"
#include "qxframework/host/controls.h"
#include "qxframework/host/events.h"
#include "qxframework/host/form.h"
#include "qxframework/host/recordset.h"
#include "qxframework/resources/xml_map.h"

#include <string>
#include <vector>

class CQXAddOn;

/// What a form is opened for. The framework only passes it on.
enum _HVX_ADDON_FORM_MODE : int {
  afm_New = 1,
  afm_Copy = 2,
  afm_Default = 3,
};

class QX_API CQXAddOnForm {
 public:
  /// `addOn` is not owned. The form's declaration overwrites `resourceId`.
  CQXAddOnForm(const CQXAddOn* addOn, long resourceId);
  /// Does not close the host's form.
  virtual ~CQXAddOnForm();
  CQXAddOnForm(const CQXAddOnForm&) = delete;
  CQXAddOnForm& operator=(const CQXAddOnForm&) = delete;

  /// The declaration: the symbols with their closing row; form type, resource id and extension id;
  /// one more, or one less, open form of the class, with the new number.
  virtual void InitXMLMap() = 0;
  virtual void InitFormType() = 0;
  virtual long IncrementInstance() = 0;
  virtual long DecrementInstance() = 0;
  /// A child form hands back a chosen record; the child is gone from then on.
  virtual long put_Key(const OLECHAR* key);
  /// The form's events. `bubble` is the veto: 0 stops the host's action.
  virtual long OnItemEvent(CComPtr<IItemEvent> event, short* bubble) = 0;
  virtual long OnMenuEvent(CComPtr<IMenuEvent> event, short* bubble);
  virtual long OnFormDataEvent(CComPtr<IBusinessObjectInfo> info, short* bubble);
  virtual long OnRightClickEvent(CComPtr<IContextMenuInfo> info, short* bubble);
  /// For a form whose frame is larger than its resource assumes.
  virtual long FixFormSize();
  /// The host's form is there: fill its controls. A negative result closes the form.
  virtual long OnInitForm();
  /// All is done, before the form is shown.
  virtual long OnFormLoaded();
  virtual long OnUnloadForm();

  const CQXAddOn* GetAddOn() const { return m_pAddOn; }
  /// E_POINTER, with both outputs untouched, while there is no host form.
  long GetFormUID(CComBSTR& uid, CComBSTR& extId);
  long PutCompany(CComPtr<ICompany> company);
  long PutParent(CQXAddOnForm* parent);
  long PutChild(CQXAddOnForm* child);
  long PutCopyKey(CComBSTR& key);
  /// For the form's own OnInitForm.
  long PutInitialFormMode(_HVX_ADDON_FORM_MODE mode);

  /// Attaches to a form that the host has opened. Failures are raised as _com_error, after the
  /// host's form has been closed. The company is the caller's to set.
  long InitForm(CComPtr<IApplication> application, CComPtr<IForm> form);
  /// The end of the form, called by the sink: the result is that of OnUnloadForm.
  long UnloadForm();

  /// The symbol behind an item's number, or the number in decimal.
  CComBSTR HVXItemUIDToResourceSymbol(long id);
  /// Between a date and its text in the company's form: 0 for an empty text or when the host cannot
  /// read it, an empty text when the host cannot write it.
  double DateFromString(const OLECHAR* text);
  CComBSTR StringFromDate(double date);
  /// Clicks an edit or a button, or such a cell of a matrix (rows from 1); others are left alone.
  void SetItemFocus(CComBSTR uid);
  void SetItemFocus(unsigned int id);
  void SetItemFocus(unsigned int matrixId, unsigned int columnId, unsigned int row);

 protected:
  /// "%s_%d" of `type` and the number of this form.
  CComBSTR CreateUID(const OLECHAR* type);
  /// An item that is not there raises what the host raised.
  CComPtr<IItem> GetFormItem(CComBSTR uid);
  CComPtr<IItem> GetFormItem(long id);
  /// The item's control; null when it is of another kind than `T`.
  template <class T>
  CComQIPtr<T> GetFormItemSpecific(CComBSTR uid) {
    return CComQIPtr<T>(GetFormItemControl(uid));
  }
  template <class T>
  CComQIPtr<T> GetFormItemSpecific(long id) {
    return CComQIPtr<T>(GetFormItemControl(DecimalUID(id)));
  }
  /// The value of the selected entry, an empty text when there is none or it cannot be had.
  CComBSTR GetSelectedInComboBox(unsigned int id);
  CComBSTR GetSelectedInComboBox(CComPtr<IComboBox> comboBox);

  CComPtr<IForm> m_ptrForm;
  CComBSTR m_bstrXML;  // the form's XML, if it is not the resource
  long m_lResourceId;
  std::vector<XMLMAP> m_vecXMLMap;
  CComBSTR m_bstrFormType;
  std::u16string m_strExtId;
  const CQXAddOn* m_pAddOn;
  CComPtr<IApplication> m_ptrApp;
  CComPtr<ICompany> m_ptrCompany;
  CComPtr<IRecordset> m_ptrRecordset;
  CComBSTR m_bstrKey;
  CQXAddOnForm* m_pParent = nullptr;
  CQXAddOnForm* m_pChild = nullptr;
  _HVX_ADDON_FORM_MODE m_InitialFormMode = afm_Default;
  CComBSTR m_bstrCopyKey;
  long m_lInstance = 0;

 private:
  long RegisterForm();
  void CloseAndRaise [[noreturn]] (long code);
  /// The application number for the log, -1 when there is no application that tells it.
  long LogId() const;
  static CComBSTR DecimalUID(long id);
  CComPtr<IDispatch> GetFormItemControl(const CComBSTR& uid);
  CComPtr<IDataHelper> DataHelper();
};
