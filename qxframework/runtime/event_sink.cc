#include "qxframework/runtime/event_sink.h"

#include "qxframework/automation/com_object.h"
#include "qxframework/host/events.h"
#include "qxframework/host/form.h"
#include "qxframework/logging/function_log.h"
#include "qxframework/runtime/addon_form.h"
#include "qxframework/runtime/internal/event_args.h"
#include "qxframework/runtime/internal/framework_texts.h"
#include "qxframework/util/qx_util.h"

#include <algorithm>
#include <iterator>

struct CQXEventSink::EventEntry {
  DISPID id;
  UINT minimumArgs;
  const OLECHAR* tooFew;
  void (*deliver)(CQXEventSink& sink, qx::EventArgs& args);
};

// InitXMLMap is called from the constructor, so an override in a derived class has no effect here;
// the symbols are those of this class.
CQXEventSink::CQXEventSink(IApplication* application, CQXIDispatch* dispatch, CQXAddOn* addOn)
    : m_ptrApp(application), m_pDispatch(dispatch), m_pAddOn(addOn) {
  m_lAppId = m_ptrApp->GetAppId();
  InitXMLMap();
}

HRESULT CQXEventSink::QueryInterface(REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  const bool known =
      iid == IUnknown::kIid || iid == IDispatch::kIid || iid == DIID_IApplicationEvents;
  *object = known ? static_cast<IDispatch*>(this) : nullptr;
  return known ? S_OK : E_NOINTERFACE;
}

HRESULT CQXEventSink::GetTypeInfoCount(UINT* count) {
  if (count != nullptr) *count = 0;
  return E_NOTIMPL;
}

HRESULT CQXEventSink::GetTypeInfo(UINT, LCID, ITypeInfo**) { return E_NOTIMPL; }

HRESULT CQXEventSink::GetIDsOfNames(REFIID, OLECHAR**, UINT, LCID, DISPID*) { return E_NOTIMPL; }

// The edge to the host. Calls into forms and the add-on are guarded one by one; the guard here
// catches what a host that is gone raises between them.
HRESULT CQXEventSink::Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* params, VARIANT*,
                             EXCEPINFO*, UINT*) {
  if (!m_bEventsEnabled) return S_OK;
  const HRESULT result = qx::guarded([&] {
    qx::EventArgs args(params);
    Dispatch(id, args);
  });
  if (result < 0) {
    qx::guarded([&] {
      Scope hr(u"CQXEventSink::Invoke", result, m_lAppId, true);
      hr.LogError(u"Event %d failed: %s\n", id, Scope::xstrerror(static_cast<unsigned long>(hr)));
    });
  }
  return S_OK;
}

// Every object is asked for the interface that its handler takes. Frozen: the object of a progress
// bar event is asked for the interface of a menu event, so a host's progress bar object arrives as
// null.
void CQXEventSink::Dispatch(DISPID id, qx::EventArgs& args) {
  using Sink = CQXEventSink;
  using Args = qx::EventArgs;
  static constexpr EventEntry kEvents[] = {
      {qx::kItemEvent, 3, u"Too few arguments for item event",
       [](Sink& sink, Args& a) { sink.ItemEvent(a.text(0), a.object(1), a.bubble(2)); }},
      {qx::kMenuEvent, 2, u"Too few arguments for menu event",
       [](Sink& sink, Args& a) { sink.OnMenuEvent(a.object<IMenuEvent>(0), a.bubble(1)); }},
      {qx::kAppEvent, 1, u"Too few arguments for application event",
       [](Sink& sink, Args& a) { sink.OnAppEvent(a.number(0)); }},
      {qx::kStatusBarEvent, 2, u"Too few arguments for status bar event",
       [](Sink& sink, Args& a) { sink.StatusBarEvent(a.text(0), a.number(1)); }},
      {qx::kProgressBarEvent, 2, u"Too few arguments for progress bar event",
       [](Sink& sink, Args& a) { sink.ProgressBarEvent(a.object<IMenuEvent>(0), a.bubble(1)); }},
      {qx::kPrintEvent, 2, u"Too few arguments for print event",
       [](Sink& sink, Args& a) { sink.PrintEvent(a.object(0), a.bubble(1)); }},
      {qx::kReportDataEvent, 2, u"Too few arguments for report data event",
       [](Sink& sink, Args& a) { sink.ReportDataEvent(a.object(0), a.bubble(1)); }},
      {qx::kRightClickEvent, 2, u"Too few arguments for right click event",
       [](Sink& sink, Args& a) {
         sink.RightClickEvent(a.object<IContextMenuInfo>(0), a.bubble(1));
       }},
      {qx::kFormDataEvent, 2, u"Too few arguments for form data event",
       [](Sink& sink, Args& a) {
         sink.FormDataEvent(a.object<IBusinessObjectInfo>(0), a.bubble(1));
       }},
  };
  const auto* const event = std::find_if(std::begin(kEvents), std::end(kEvents),
                                         [&](const EventEntry& each) { return each.id == id; });
  if (event == std::end(kEvents)) {
    Scope hr(u"CQXEventSink::Invoke", 0, m_lAppId, true);
    hr.LogError(u"Unknown event type %d in Invoke", id);
  } else if (args.count() < event->minimumArgs) {
    Scope hr(u"CQXEventSink::Invoke", 0, m_lAppId, true);
    hr.LogError(event->tooFew);
  } else {
    event->deliver(*this, args);
  }
}

long CQXEventSink::RegisterForm(CQXAddOnForm* form) {
  Scope hr(u"CQXEventSink::RegisterForm", 0, m_lAppId);
  if (form == nullptr) return hr = E_INVALIDARG;
  CComBSTR uid;
  CComBSTR extId;
  hr = form->GetFormUID(uid, extId);
  if (hr < 0) return hr;
  hr.LogInfo(u"Registering form '%s'\n", uid.View());
  m_forms.add(uid, form);
  return hr;
}

long CQXEventSink::GetSelectedForm(CComBSTR extId, CQXAddOnForm*& out) {
  Scope hr(u"CQXEventSink::GetSelectedForm", 0, m_lAppId);
  const CComPtr<IForm> selected =
      CQXUtil::GetSelectedForm(CComQIPtr<IApplication>(m_ptrEventSource));
  if (selected == nullptr) {
    hr.LogInfo(u"No selected form found.\n");
    return hr = S_FALSE;
  }
  const auto form = m_forms.find(selected->GetUniqueID());
  if (!form) return hr = S_FALSE;
  out = *form;
  if (out == nullptr) return hr = S_FALSE;
  CComBSTR uid;
  CComBSTR formExtId;
  out->GetFormUID(uid, formExtId);
  if (formExtId.IsEmpty()) {
    hr.LogWarning(
        u"Form does not provide ExtID. Developer note: use rather DECLARE_XML_FORM_EX.\n");
  } else {
    hr.LogDbg0(u"Requested ExtID='%s' Form ExtID='%s'\n", extId.View(), formExtId.View());
  }
  if (extId == formExtId) return hr;
  out = nullptr;
  return hr = S_FALSE;
}
