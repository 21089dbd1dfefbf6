#pragma once

// The document of one form while the form is created. It is loaded and localised from a resource or
// a text, completed to the outline that the client expects, and changed by the form's OnCreateForm;
// then its text goes to the client, which opens the form.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/host/enums.h"
#include "qxframework/resources/resource_loader.h"
#include "qxframework/resources/xml_map.h"
#include "qxframework/xml/dom.h"

#include <vector>

/// The outline, in which element names are compared without case:
///
///   application            the root
///     forms
///       action             the only child of forms
///         form             the only child of the action
///           datasources
///             dbdatasources/action
///             userdatasources/action/datasource...
///           items
///             action/item/specific
///
/// The form and what is above it must be there; the rest is created where it is missing. Positions
/// and sizes are in pixels. The texts of the adders are final: no symbols are replaced in them.
class QX_API CQXAddOnXMLForm {
 public:
  /// Read XML resource `resourceId` of the loader's module, or the text `xml`, and replace its
  /// symbols by `map` and the strings of `language`, as CQXResourceLoader::LoadXML does. Throw
  /// _com_error: E_INVALIDARG for a document that cannot be loaded or lacks a part of the outline.
  CQXAddOnXMLForm(long appId, unsigned int resourceId, const CQXResourceLoader& loader,
                  const std::vector<XMLMAP>* map, HvLanguages language);
  CQXAddOnXMLForm(long appId, CComBSTR xml, const CQXResourceLoader& loader,
                  const std::vector<XMLMAP>* map, HvLanguages language);
  CQXAddOnXMLForm(const CQXAddOnXMLForm&) = delete;
  CQXAddOnXMLForm& operator=(const CQXAddOnXMLForm&) = delete;

  /// Loads another document in place of the present one. Throws as the constructors do.
  void Construct(CComBSTR xml, const std::vector<XMLMAP>* map);

  /// Returns the `form` element.
  CComQIPtr<IXMLDOMElement> GetForm() const { return m_ptrForm; }
  /// Returns the document as text; empty if there is no document.
  CComBSTR GetXML();

  /// Sets an attribute, which keeps its place if it exists, and returns it. The value of `uid` in
  /// any case of letters is cut to 10 characters, which is as long as the client allows.
  CComPtr<IXMLDOMNode> SetAttribute(CComPtr<IXMLDOMElement> element, CComBSTR name, CComBSTR value);

  /// Adds an item of any type and returns its element. Each adder throws _com_error if the document
  /// refuses a text.
  CComQIPtr<IXMLDOMElement> AddItem(long type, CComBSTR uid, long top, long left, long fromPane,
                                    long toPane, long width, long height, CComBSTR description);
  /// Add a button or a static text with its caption and return the item. Mind the order of the
  /// numbers: the two differ.
  CComQIPtr<IXMLDOMElement> AddButton(CComBSTR uid, CComBSTR caption, long top, long left,
                                      long fromPane, long toPane, CComBSTR description, long width,
                                      long height);
  CComQIPtr<IXMLDOMElement> AddStatic(CComBSTR uid, CComBSTR caption, long top, long left,
                                      long width, long height, long fromPane, long toPane,
                                      CComBSTR description);
  /// Binds a control, given by its `specific` element, or a column to a user data source.
  CComQIPtr<IXMLDOMElement> AddDataBind(CComPtr<IXMLDOMElement> specific, CComBSTR alias);
  /// Adds a column to the matrix with exactly that UID. The matrix's `specific` must hold nothing
  /// but `columns`, and that nothing but one `action`; throws _com_error otherwise, and E_POINTER
  /// if there is no such matrix.
  CComQIPtr<IXMLDOMElement> AddColumn(CComBSTR matrixUid, CComBSTR uid, CComBSTR title, long type,
                                      long width, CComBSTR description);
  /// Adds a user data source for texts of up to `size` characters.
  CComQIPtr<IXMLDOMElement> AddUserDataSource(CComBSTR uid, long type, long size);

 private:
  using Element = CComQIPtr<IXMLDOMElement>;

  CComPtr<IXMLDOMNode> Child(const CComPtr<IXMLDOMNode>& parent, const OLECHAR* name,
                             long expectedChildren = -1);
  template <class OnMissing>
  CComPtr<IXMLDOMNode> ChildOrNew(const CComPtr<IXMLDOMNode>& parent, const OLECHAR* name,
                                  OnMissing onMissing);
  Element CreateChild(const CComPtr<IXMLDOMNode>& parent, const OLECHAR* name);
  Element ActionOf(const CComPtr<IXMLDOMNode>& parent);
  Element ActionOfSources(const CComPtr<IXMLDOMNode>& sources, const OLECHAR* name);
  Element AddLabelled(Element item, CComBSTR caption);
  CComPtr<IXMLDOMNode> FindItem(const CComBSTR& uid);
  void SetNumber(const Element& element, const OLECHAR* name, long value);

  CComPtr<IXMLDOMDocument> m_ptrDocument;
  Element m_ptrForm;
  Element m_ptrItemsAction;
  Element m_ptrDBSourcesAction;
  Element m_ptrUserSourcesAction;
  HvLanguages m_Language;
  long m_lAppId;
  CQXResourceLoader m_Loader;
};
