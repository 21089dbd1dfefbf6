#include "qxframework/forms/addon_xml_form.h"

#include "qxframework/automation/com_error.h"
#include "qxframework/automation/format.h"
#include "qxframework/automation/text.h"
#include "qxframework/host/item_types.h"
#include "qxframework/logging/function_log.h"

namespace {

using Scope = CReturnValue<long>;

// The client refuses longer UIDs of forms, items and columns.
constexpr std::size_t kUidLength = 10;

// A part of the outline that nothing can be created in place of.
[[noreturn]] void failWithout(Scope& hr, const OLECHAR* message) {
  hr = E_INVALIDARG;
  hr.LogError(message);
  qx::raiseError(hr);
}

}  // namespace

CComPtr<IXMLDOMNode> CQXAddOnXMLForm::Child(const CComPtr<IXMLDOMNode>& parent, const OLECHAR* name,
                                            long expectedChildren) {
  // A null parent is an outline that an adder cannot work on; the loader would pass it over.
  if (parent == nullptr) qx::raiseError(E_POINTER);
  return m_Loader.GetChildNode(m_lAppId, parent, name, expectedChildren, true);
}

CQXAddOnXMLForm::Element CQXAddOnXMLForm::CreateChild(const CComPtr<IXMLDOMNode>& parent,
                                                      const OLECHAR* name) {
  const Element child = m_ptrDocument->createElement(name);
  parent->appendChild(child);
  return child;
}

// Returns the child, or a new one after `onMissing` has said so.
template <class OnMissing>
CComPtr<IXMLDOMNode> CQXAddOnXMLForm::ChildOrNew(const CComPtr<IXMLDOMNode>& parent,
                                                 const OLECHAR* name, OnMissing onMissing) {
  const auto child = Child(parent, name);
  if (child != nullptr) return child;
  onMissing();
  return CComPtr<IXMLDOMNode>(CreateChild(parent, name).p);
}

CQXAddOnXMLForm::CQXAddOnXMLForm(long appId, unsigned int resourceId,
                                 const CQXResourceLoader& loader, const std::vector<XMLMAP>* map,
                                 HvLanguages language)
    : m_Language(language), m_lAppId(appId), m_Loader(loader) {
  const Scope hr(u"CQXAddOnXMLForm::CQXAddOnXMLForm", 0, m_lAppId);
  CComBSTR xml;
  m_Loader.GetResourceFileContents(m_lAppId, resourceId, xml);
  Construct(xml, map);
}

CQXAddOnXMLForm::CQXAddOnXMLForm(long appId, CComBSTR xml, const CQXResourceLoader& loader,
                                 const std::vector<XMLMAP>* map, HvLanguages language)
    : m_Language(language), m_lAppId(appId), m_Loader(loader) {
  const Scope hr(u"CQXAddOnXMLForm::CQXAddOnXMLForm", 0, m_lAppId);
  Construct(xml, map);
}

void CQXAddOnXMLForm::Construct(CComBSTR xml, const std::vector<XMLMAP>* map) {
  Scope hr(u"CQXAddOnXMLForm::Construct", 0, m_lAppId);
  m_Loader.LoadXML(m_lAppId, xml, m_ptrDocument, map, m_Language);
  const auto application = Child(m_ptrDocument, u"application");
  if (application == nullptr) failWithout(hr, u"<application> node not found.\n");
  const auto forms = Child(application, u"forms");
  if (forms == nullptr) failWithout(hr, u"<forms> node not found.\n");
  // One document describes one form, which the 1 insists on here and below.
  const auto action = Child(forms, u"action", 1);
  if (action == nullptr) failWithout(hr, u"<action> node under <forms> not found.\n");
  const auto form = Child(action, u"form", 1);
  if (form == nullptr) failWithout(hr, u"<form> node not found.\n");
  m_ptrForm = form;

  const auto sources = ChildOrNew(m_ptrForm, u"datasources", [&] {
    hr.LogInfo(u"<datasources> does not exist - will be created now.\n");
  });
  m_ptrDBSourcesAction = ActionOfSources(sources, u"dbdatasources");
  m_ptrUserSourcesAction = ActionOfSources(sources, u"userdatasources");
  m_ptrItemsAction = ActionOf(ChildOrNew(m_ptrForm, u"items", [&] {
    hr.LogInfo(u"<items> does not exist - will be created now.\n");
  }));
}

CComBSTR CQXAddOnXMLForm::GetXML() {
  return m_ptrDocument == nullptr ? CComBSTR(u"") : m_ptrDocument->xml();
}

CComPtr<IXMLDOMNode> CQXAddOnXMLForm::SetAttribute(CComPtr<IXMLDOMElement> element, CComBSTR name,
                                                   CComBSTR value) {
  if (qx::toLower(name.View()) == u"uid") value = CComBSTR(value.View().substr(0, kUidLength));
  CComPtr<IXMLDOMNode> attribute = element->attributes()->getNamedItem(name);
  if (attribute != nullptr) {
    attribute->putNodeValue(CComVariant(value));
    return attribute;
  }
  const CComPtr<IXMLDOMAttribute> added = m_ptrDocument->createAttribute(name);
  added->putValue(CComVariant(value));
  element->setAttributeNode(added);
  return added;
}

CComQIPtr<IXMLDOMElement> CQXAddOnXMLForm::AddItem(long type, CComBSTR uid, long top, long left,
                                                   long fromPane, long toPane, long width,
                                                   long height, CComBSTR description) {
  const Element item = CreateChild(m_ptrItemsAction, u"item");
  SetAttribute(item, u"uid", uid);
  SetNumber(item, u"type", type);
  SetNumber(item, u"top", top);
  SetNumber(item, u"left", left);
  SetNumber(item, u"width", width);
  SetNumber(item, u"height", height);
  SetNumber(item, u"visible", 1);
  SetNumber(item, u"enabled", 1);
  SetNumber(item, u"form_pane", fromPane);  // frozen spelling, which the client knows
  SetNumber(item, u"to_pane", toPane);
  SetNumber(item, u"disp_desc", 0);
  SetNumber(item, u"right_just", 0);
  SetAttribute(item, u"description", description);
  return item;
}

CComQIPtr<IXMLDOMElement> CQXAddOnXMLForm::AddButton(CComBSTR uid, CComBSTR caption, long top,
                                                     long left, long fromPane, long toPane,
                                                     CComBSTR description, long width,
                                                     long height) {
  return AddLabelled(
      AddItem(qx::kButton, uid, top, left, fromPane, toPane, width, height, description), caption);
}

CComQIPtr<IXMLDOMElement> CQXAddOnXMLForm::AddStatic(CComBSTR uid, CComBSTR caption, long top,
                                                     long left, long width, long height,
                                                     long fromPane, long toPane,
                                                     CComBSTR description) {
  return AddLabelled(
      AddItem(qx::kStaticText, uid, top, left, fromPane, toPane, width, height, description),
      caption);
}

CComQIPtr<IXMLDOMElement> CQXAddOnXMLForm::AddDataBind(CComPtr<IXMLDOMElement> specific,
                                                       CComBSTR alias) {
  const Element bind = CreateChild(specific, u"databind");
  SetNumber(bind, u"databound", 1);
  SetAttribute(bind, u"alias", alias);
  return bind;
}

CComQIPtr<IXMLDOMElement> CQXAddOnXMLForm::AddColumn(CComBSTR matrixUid, CComBSTR uid,
                                                     CComBSTR title, long type, long width,
                                                     CComBSTR description) {
  const auto specific = FindItem(matrixUid)->firstChild();
  const auto columns = Child(specific, u"columns", 1);
  const Element column = CreateChild(Child(columns, u"action", 1), u"column");
  SetAttribute(column, u"title", title);
  SetNumber(column, u"width", width);
  SetNumber(column, u"type", type);
  SetAttribute(column, u"uid", uid);
  SetAttribute(column, u"description", description);
  SetNumber(column, u"visible", 1);
  SetNumber(column, u"editable", 1);
  SetNumber(column, u"disp_desc", 0);
  SetNumber(column, u"right_just", 0);
  return column;
}

CComQIPtr<IXMLDOMElement> CQXAddOnXMLForm::AddUserDataSource(CComBSTR uid, long type, long size) {
  const Element source = CreateChild(m_ptrUserSourcesAction, u"datasource");
  SetAttribute(source, u"uid", uid);
  SetNumber(source, u"type", type);
  SetNumber(source, u"size", size);
  return source;
}

// Returns the only child of `parent`, an action, or a new one.
CQXAddOnXMLForm::Element CQXAddOnXMLForm::ActionOf(const CComPtr<IXMLDOMNode>& parent) {
  if (const auto action = Child(parent, u"action", 1); action != nullptr) return action;
  const Element action = CreateChild(parent, u"action");
  SetAttribute(action, u"type", u"add");
  return action;
}

CQXAddOnXMLForm::Element CQXAddOnXMLForm::ActionOfSources(const CComPtr<IXMLDOMNode>& sources,
                                                          const OLECHAR* name) {
  return ActionOf(ChildOrNew(sources, name, [] {}));
}

CQXAddOnXMLForm::Element CQXAddOnXMLForm::AddLabelled(Element item, CComBSTR caption) {
  SetAttribute(CreateChild(item, u"specific"), u"caption", caption);
  return item;
}

CComPtr<IXMLDOMNode> CQXAddOnXMLForm::FindItem(const CComBSTR& uid) {
  const auto items = m_ptrItemsAction->childNodes();
  while (const auto item = items->nextNode()) {
    // A comment has no attributes.
    const auto attributes = item->attributes();
    if (attributes == nullptr) continue;
    const auto itemUid = attributes->getNamedItem(u"uid");
    if (itemUid != nullptr && itemUid->text().View() == uid.View()) return item;
  }
  return nullptr;
}

void CQXAddOnXMLForm::SetNumber(const Element& element, const OLECHAR* name, long value) {
  SetAttribute(element, name, CComBSTR(qx::format(u"%d", value)));
}
