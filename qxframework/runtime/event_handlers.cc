// The events one by one. Every call into a form or the add-on follows internal/guarded_call.h.

#include "qxframework/automation/com_object.h"
#include "qxframework/foundation/qx_bstr.h"
#include "qxframework/host/events.h"
#include "qxframework/host/form.h"
#include "qxframework/runtime/addon_form.h"
#include "qxframework/runtime/event_sink.h"
#include "qxframework/runtime/internal/framework_texts.h"
#include "qxframework/runtime/internal/guarded_call.h"
#include "qxframework/runtime/qx_idispatch.h"
#include "qxframework/util/qx_util.h"

#include <algorithm>

namespace {

constexpr OLECHAR kBubbleAtStart[] = u"BubbleEvent at start is %d";
constexpr OLECHAR kBubbleOnExit[] = u"BubbleEvent on exit is %d";
constexpr OLECHAR kFormThrew[] = u"Form %s threw exception";

// Set by the folder of the stock forms, which is above this one.
qx::LogSettingsOpener g_logSettingsOpener = nullptr;

// The form type is not used. It is read because an event that cannot name it is refused.
long readItemEvent(IItemEvent* event, long& type, VARIANT_BOOL& before) {
  CComBSTR formType;
  long hr = event->raw_GetEventType(&type);
  if (hr >= 0) hr = event->raw_GetBeforeAction(&before);
  if (hr >= 0) hr = event->raw_GetFormTypeEx(&formType);
  return std::min(hr, 0L);
}

bool isCommonMenuEntry(const CComBSTR& uid, qx::FrameworkText entry) {
  return uid == CQXUtil::GetMenuUID(CQXBSTR(u"QX_", ln_English), entry);
}

}  // namespace

void CQXEventSink::SetLogSettingsOpener(qx::LogSettingsOpener opener) {
  g_logSettingsOpener = opener;
}

template <class Operation>
void CQXEventSink::AskForm(Scope& hr, CQXAddOnForm* form, const CComBSTR& uid, short* bubble,
                           Operation operation) {
  const qx::RunningForms::Call call(m_forms.running(), form);
  qx::callWithBubble(
      hr, bubble, [&] { return operation(*form); }, kFormThrew, uid);
}

// Some events name no form. They belong to the selected form, if this add-on has registered it.
template <class Operation>
void CQXEventSink::AskSelectedForm(Scope& hr, short* bubble, Operation operation) {
  const CComPtr<IForm> selected = CQXUtil::GetSelectedForm(m_ptrApp);
  if (selected == nullptr) return;
  const CComBSTR uid = selected->GetUniqueID();
  CQXAddOnForm* const form = m_forms.find(uid).value_or(nullptr);
  if (form != nullptr) AskForm(hr, form, uid, bubble, operation);
}

template <class Operation>
void CQXEventSink::AskAddOnUnlessVetoed(Scope& hr, short* bubble, const OLECHAR* message,
                                        Operation operation) {
  if (*bubble != VARIANT_TRUE || m_pDispatch == nullptr) return;
  qx::callWithBubble(
      hr, bubble, [&] { return operation(*m_pDispatch); }, message);
}

long CQXEventSink::ItemEvent(BSTR formUID, IDispatch* event, short* bubble) {
  if (m_bShutdown) return S_OK;
  Scope hr(u"CQXEventSink::ItemEvent", 0, m_lAppId);
  hr.LogDbg1(kBubbleAtStart, *bubble);
  RouteItemEvent(hr, formUID, event, bubble);
  hr.LogDbg1(kBubbleOnExit, *bubble);
  return hr;
}

void CQXEventSink::RouteItemEvent(Scope& hr, BSTR formUID, IDispatch* event, short* bubble) {
  const CComBSTR uid(formUID);
  if (uid.IsEmpty() || event == nullptr) {
    hr = E_INVALIDARG;
    return;
  }
  const CComQIPtr<IItemEvent> itemEvent(event);
  if (itemEvent == nullptr) {
    hr = E_POINTER;
    return;
  }
  long type = 0;
  VARIANT_BOOL before = VARIANT_FALSE;
  hr = readItemEvent(itemEvent, type, before);
  if (hr < 0) return;

  // One line per form for every item event, as support expects in a trace at the highest level.
  m_forms.forEachUid([&](const CComBSTR& each) { hr.LogDbg2(u"Form map entry: %s", each); });
  const auto form = m_forms.find(uid);
  if (!form) {
    if (type == qx::kFormLoad && before == VARIANT_FALSE) RouteFormLoad(hr, itemEvent, bubble);
    return;
  }
  if (*form == nullptr) return;
  // The form may close itself in its operation. This call keeps the object until the event is over.
  const qx::RunningForms::Call running(m_forms.running(), *form);
  AskForm(hr, *form, uid, bubble,
          [&](CQXAddOnForm& each) { return each.OnItemEvent(itemEvent.p, bubble); });
  if (hr < 0) hr = S_FALSE;
  if (type == qx::kFormUnload && !running.formIsGone()) EndForm(hr, uid, *form);
}

void CQXEventSink::RouteFormLoad(Scope& hr, IItemEvent* event, short* bubble) {
  if (m_pDispatch == nullptr) return;
  qx::callWithBubble(
      hr, bubble, [&] { return m_pDispatch->OnFormLoad(event, bubble); },
      u"Add-on's OnFormLoad threw exception");
  if (hr < 0) hr = S_FALSE;
}

// The form's own operation may have let the host unload it already, nested in this event. Then the
// registry does nothing here.
void CQXEventSink::EndForm(Scope& hr, const CComBSTR& uid, CQXAddOnForm* form) {
  m_forms.end(form, [&] {
    if (qx::endedWell([&] { form->UnloadForm(); })) return;
    hr.LogError(kFormThrew, uid);
    hr = S_FALSE;
  });
}

long CQXEventSink::OnMenuEvent(IMenuEvent* event, short* bubble) {
  if (m_bShutdown) return S_OK;
  if (event == nullptr) return S_FALSE;
  Scope hr(u"CQXEventSink::OnMenuEvent", 0, m_lAppId);
  hr.LogDbg1(kBubbleAtStart, *bubble);
  RouteMenuEvent(hr, event, bubble);
  hr.LogDbg1(kBubbleOnExit, *bubble);
  return hr;
}

void CQXEventSink::RouteMenuEvent(Scope& hr, IMenuEvent* event, short* bubble) {
  CComBSTR uid;
  bool before = false;
  try {
    uid = event->GetMenuUID();
    before = event->GetBeforeAction() == VARIANT_TRUE;
    hr.LogDbg1(u"Menu: %s Action: %s", uid.IsEmpty() ? u"''" : uid.View(),
               before ? u"Before" : u"After");
    const bool inner = event->GetInnerEvent() == VARIANT_TRUE;
    hr.LogDbg0(inner ? u"InnerEvent: %s" : u"OuterEvent: %s", uid.View());
  } catch (const _com_error&) {
    hr = E_INVALIDARG;
    return;
  }
  // The common entries belong to the framework: the quit entry acts after the action, since the
  // stop removes the very menu that is being used; the log settings entry acts before and vetoes
  // the rest.
  if (isCommonMenuEntry(uid, qx::kTextQuit)) {
    if (!before) hr = UnloadApplication();
  } else if (isCommonMenuEntry(uid, qx::kTextLogSettings)) {
    if (before) OpenLogSettings(hr, bubble);
  } else {
    AskSelectedForm(hr, bubble,
                    [&](CQXAddOnForm& form) { return form.OnMenuEvent(event, bubble); });
    AskAddOnUnlessVetoed(hr, bubble, u"Add-on's OnMenuEvent threw exception",
                         [&](CQXIDispatch& addOn) { return addOn.OnMenuEvent(event, bubble); });
  }
}

// Vetoes the menu event only if the form opens.
void CQXEventSink::OpenLogSettings(Scope& hr, short* bubble) {
  if (g_logSettingsOpener == nullptr) {
    hr.LogError(u"Failed to create instance of CFrmLogSettings.\n");
    return;
  }
  hr = qx::guarded([&] { return g_logSettingsOpener(m_pAddOn, m_ptrApp, m_ptrCompany); });
  if (hr < 0) {
    hr.LogError(u"Failed to create FrmLogSettings form.\n");
    return;
  }
  *bubble = VARIANT_FALSE;
}

long CQXEventSink::StatusBarEvent(BSTR text, long type) {
  if (m_bShutdown) return S_OK;
  Scope hr(u"CQXEventSink::StatusBarEvent", 0, m_lAppId);
  qx::askHandler(hr, m_pDispatch, u"Add-on's OnStatusBarEvent handler threw an exception",
                 [&](CQXIDispatch& addOn) { return addOn.OnStatusBarEvent(text, type); });
  return hr;
}

// Events that belong to no form go to the add-on's handler only, which may veto.
template <class Operation>
long CQXEventSink::PassToAddOn(const OLECHAR* name, short* bubble, const OLECHAR* message,
                               Operation operation) {
  if (m_bShutdown) return S_OK;
  Scope hr(name, 0, m_lAppId);
  const qx::BubbleRule rule(bubble);
  qx::askHandler(hr, m_pDispatch, message, operation);
  return hr;
}

long CQXEventSink::ProgressBarEvent(IMenuEvent* event, short* bubble) {
  return PassToAddOn(u"CQXEventSink::ProgressBarEvent", bubble,
                     u"Add-on's OnProgressBarEvent handler threw an exception",
                     [&](CQXIDispatch& addOn) { return addOn.OnProgressBarEvent(event, bubble); });
}

long CQXEventSink::PrintEvent(IDispatch* event, short* bubble) {
  return PassToAddOn(u"CQXEventSink::PrintEvent", bubble,
                     u"Add-on's OnPrintEvent handler threw an exception",
                     [&](CQXIDispatch& addOn) { return addOn.OnPrintEvent(event, bubble); });
}

long CQXEventSink::ReportDataEvent(IDispatch* event, short* bubble) {
  return PassToAddOn(u"CQXEventSink::ReportDataEvent", bubble,
                     u"Add-on's OnReportDataEvent handler threw an exception",
                     [&](CQXIDispatch& addOn) { return addOn.OnReportDataEvent(event, bubble); });
}

// Failures of the form do not keep the event from the add-on; only a veto does.
long CQXEventSink::RightClickEvent(IContextMenuInfo* info, short* bubble) {
  if (m_bShutdown) return S_OK;
  Scope hr(u"CQXEventSink::RightClickEvent", 0, m_lAppId);
  AskSelectedForm(hr, bubble,
                  [&](CQXAddOnForm& form) { return form.OnRightClickEvent(info, bubble); });
  AskAddOnUnlessVetoed(hr, bubble, u"Add-on's OnRightClickEvent threw exception",
                       [&](CQXIDispatch& addOn) { return addOn.OnRightClickEvent(info, bubble); });
  return hr;
}

// Returns 0 even if the form fails: the host reads the veto only.
long CQXEventSink::FormDataEvent(IBusinessObjectInfo* info, short* bubble) {
  if (m_bShutdown) return S_OK;
  Scope hr(u"CQXEventSink::FormDataEvent", 0, m_lAppId);
  AskSelectedForm(hr, bubble,
                  [&](CQXAddOnForm& form) { return form.OnFormDataEvent(info, bubble); });
  return hr = S_OK;
}
