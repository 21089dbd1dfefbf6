#pragma once

// The base class of every form that an add-on or the framework opens. One object belongs to one
// form of the host: it declares the symbols and the kind of the form, takes part in its creation,
// registers with the event sink and gets the form's events from it. When the host has unloaded the
// form, the sink calls UnloadForm and deletes the object.
//
// A form class declares itself with DECLARE_XML_FORM_EX (form_declaration.h) and overrides
// OnItemEvent and the hooks that it needs. qx::openForm opens a form:
//
//   qx::openForm(std::make_unique<OrderForm>(addOn), application, company);
//
// Two sources hold its operations: addon_form.cc the life of a form, addon_form_items.cc its items.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/forms/form_declaration.h"
#include "qxframework/host/application.h"
#include "qxframework/host/company.h"
#include "qxframework/host/controls.h"
#include "qxframework/host/events.h"
#include "qxframework/host/form.h"
#include "qxframework/host/recordset.h"
#include "qxframework/resources/resource_loader.h"
#include "qxframework/resources/xml_map.h"

#include <memory>
#include <string>
#include <vector>

class CQXAddOn;
class CQXAddOnXMLForm;

template <class T>
class CReturnValue;

/// The purpose that a form is opened for. The framework only hands it on.
enum _HVX_ADDON_FORM_MODE : int {
  afm_New = 1,
  afm_Copy = 2,
  afm_Default = 3,
};

class QX_API CQXAddOnForm {
 public:
  /// `addOn` is not owned. The form's declaration overwrites `resourceId`.
  CQXAddOnForm(const CQXAddOn* addOn, long resourceId);
  /// Does not close the host's form. The object gets no more events, and other forms lose their
  /// pointers to it.
  virtual ~CQXAddOnForm();
  CQXAddOnForm(const CQXAddOnForm&) = delete;
  CQXAddOnForm& operator=(const CQXAddOnForm&) = delete;

  /// Appends the symbols of the form and the closing row.
  virtual void InitXMLMap() = 0;
  /// Sets the form type, the resource id and the extension id.
  virtual void InitFormType() = 0;
  /// Count the open forms of the class up and down, and return the new number.
  virtual long IncrementInstance() = 0;
  virtual long DecrementInstance() = 0;
  /// Takes the key of the record that the user has chosen in a child form, and forgets the child.
  virtual long put_Key(const OLECHAR* key);
  /// Events of the form. `bubble` is the veto: 0 stops the host's action. In an item event, a
  /// negative result is logged as 1.
  virtual long OnItemEvent(CComPtr<IItemEvent> event, short* bubble) = 0;
  virtual long OnMenuEvent(CComPtr<IMenuEvent> event, short* bubble);
  virtual long OnFormDataEvent(CComPtr<IBusinessObjectInfo> info, short* bubble);
  virtual long OnRightClickEvent(CComPtr<IContextMenuInfo> info, short* bubble);
  /// Enlarges the form by 12 units in height if its frame is higher than 30, and by 8 in width if
  /// it is wider than 10. For hosts whose frames are larger than the form's resource assumes.
  virtual long FixFormSize();
  /// Stores the new document of the form, whose text is that of the form if it has one, else that
  /// of its resource. Returns false if there is none. Throws what the constructor of the document
  /// throws.
  virtual bool CreateXMLForm(CQXAddOnXMLForm** xmlForm);
  /// Called when the host's form exists, to fill its controls. A negative result closes the form.
  /// A hook that throws fails with the code of the _com_error, else with E_FAIL.
  virtual long OnInitForm();
  /// Called before the host's form exists, to change its document. After a negative result there
  /// will be no form.
  virtual long OnCreateForm(CQXAddOnXMLForm* xmlForm);
  /// Called when the form is complete, before it is shown. A negative result closes the form, which
  /// is no failure of the creation.
  virtual long OnFormLoaded();
  /// Called when the host has unloaded the form, before this object is deleted.
  virtual long OnUnloadForm();

  const CQXAddOn* GetAddOn() const { return m_pAddOn; }
  /// Reads the UID of the host's form and the extension id. Returns E_POINTER and leaves both
  /// outputs unchanged while there is no host form.
  long GetFormUID(CComBSTR& uid, CComBSTR& extId);
  long PutCompany(CComPtr<ICompany> company);
  long PutParent(CQXAddOnForm* parent);
  long PutChild(CQXAddOnForm* child);
  long PutCopyKey(CComBSTR& key);
  /// Stores the purpose, for the form's own OnInitForm.
  long PutInitialFormMode(_HVX_ADDON_FORM_MODE mode);

  /// Opens the host's form from the document, registers it and shows it. Returns 0 or a result
  /// above 0 of a hook. Throws _com_error with the code of the step that failed; the host's form is
  /// closed then, and the caller still owns this object. After a return the sink owns it, and if
  /// the form was closed on the way the object no longer exists: prefer qx::openForm.
  long CreateForm(CComPtr<IApplication> application, CComPtr<ICompany> company);
  /// Attaches this object to a form that the host has opened. Throws _com_error: E_POINTER without
  /// an application or a form; else after the host's form has been closed. The caller sets the
  /// company with PutCompany.
  long InitForm(CComPtr<IApplication> application, CComPtr<IForm> form);
  /// Called by the sink at the end of the form. Returns the result of OnUnloadForm.
  long UnloadForm();
  /// Returns true if `form` points to a form object that exists.
  static bool IsLive(const CQXAddOnForm* form);

  /// Returns the symbol of an item's number, or the number in decimal if it has none.
  CComBSTR HVXItemUIDToResourceSymbol(long id);
  /// Convert between a date and its text in the company's format. Return 0 for an empty text or one
  /// that the host cannot read, and an empty text for a date that the host cannot write.
  double DateFromString(const OLECHAR* text);
  CComBSTR StringFromDate(double date);
  /// Moves the focus by clicking an edit field or a button, or a cell of a matrix in a column of
  /// such items or of linked buttons (rows from 1). Other items are left alone. Throws _com_error
  /// if there is no such item.
  void SetItemFocus(CComBSTR uid);
  void SetItemFocus(unsigned int id);
  void SetItemFocus(unsigned int matrixId, unsigned int columnId, unsigned int row);

 protected:
  /// Does the work of CreateXMLForm with the resources of `loader`.
  bool CreateXMLFormFrom(CQXAddOnXMLForm** xmlForm, const CQXResourceLoader& loader);
  /// Returns the application number for the log, or -1 if there is no application or it fails.
  long LogId() const;
  /// Returns "%s_%d" of `type` and the instance number of this form.
  CComBSTR CreateUID(const OLECHAR* type);
  /// Return an item by its UID or its number. Throw the host's _com_error if there is none.
  CComPtr<IItem> GetFormItem(CComBSTR uid);
  CComPtr<IItem> GetFormItem(long id);
  /// Returns the item's control, or null if the item is of another kind than `T`.
  template <class T>
  CComQIPtr<T> GetFormItemSpecific(CComBSTR uid) {
    return CComQIPtr<T>(GetFormItemControl(uid));
  }
  template <class T>
  CComQIPtr<T> GetFormItemSpecific(long id) {
    return CComQIPtr<T>(GetFormItemControl(DecimalUID(id)));
  }
  /// Return the value of the selected entry, or an empty text if none is selected or the host
  /// fails.
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
  long Create(const CComPtr<IApplication>& application, const CComPtr<ICompany>& company);
  std::unique_ptr<CQXAddOnXMLForm> BuildXMLForm(CReturnValue<long>& hr);
  void OpenInClient(CReturnValue<long>& hr, CQXAddOnXMLForm& xmlForm);
  void FailCreation [[noreturn]] (CReturnValue<long>& hr, const OLECHAR* message);
  long RegisterForm();
  void CloseAndRaise [[noreturn]] (long code);
  static CComBSTR DecimalUID(long id);
  CComPtr<IDispatch> GetFormItemControl(const CComBSTR& uid);
  CComPtr<IDataHelper> DataHelper();
};

/// The base class of the framework's own forms, whose documents are resources of the framework.
class QX_API CQXAddOnFormInternal : public CQXAddOnForm {
 public:
  explicit CQXAddOnFormInternal(const CQXAddOn* addOn);
  ~CQXAddOnFormInternal() override;
  bool CreateXMLForm(CQXAddOnXMLForm** xmlForm) override;

 protected:
  /// Returns a string of the framework in the client's language; empty if there is none.
  CComBSTR LoadText(unsigned int id);

  CQXResourceLoader m_Loader;
};

namespace qx {

/// Opens a form and returns it, or null if it was closed while it opened. The sink owns the form
/// from then on and deletes it when the client has unloaded it. If CreateForm throws, deletes the
/// form and passes the exception on.
template <class Form>
Form* openForm(std::unique_ptr<Form> form, const CComPtr<IApplication>& application,
               const CComPtr<ICompany>& company) {
  form->CreateForm(application, company);
  Form* const opened = form.release();
  return CQXAddOnForm::IsLive(opened) ? opened : nullptr;
}

}  // namespace qx
