#pragma once

// The smallest add-on, for programs that measure the framework.

#include "qxframework/resources/resource_loader.h"
#include "qxframework/runtime/addon.h"
#include "qxframework/runtime/addon_form.h"
#include "qxframework/runtime/event_sink.h"
#include "qxframework/runtime/qx_idispatch.h"

#include <chrono>

namespace qx::bench {

/// A form that ignores its events.
class IdleForm : public CQXAddOnForm {
  DECLARE_XML_FORM_EX(u"BENCH", -1, u"BENCH")
 public:
  explicit IdleForm(const CQXAddOn* addOn) : CQXAddOnForm(addOn, -1) {}
  long OnItemEvent(CComPtr<IItemEvent>, short*) override { return S_OK; }
};

/// Attaches to every form that the client opens, unless `attaches` is false.
class BenchHandler : public CQXIDispatch {
 public:
  explicit BenchHandler(const CQXAddOn* addOn) : addOn_(addOn) {}
  long OnApplicationLoad(IDispatch* application, ICompany* opened) override {
    loaded = std::chrono::steady_clock::now();
    app = CComQIPtr<IApplication>(application);
    company = opened;
    return S_OK;
  }
  long OnFormLoad(IItemEvent* event, short*) override {
    if (!attaches) return S_OK;
    auto* form = new IdleForm(addOn_);  // passes to the event sink
    form->InitForm(app, app->GetForms()->GetFormByUID(event->GetFormUID()));
    return S_OK;
  }
  long OnReservedEvent() override { return S_OK; }
  long OnMenuEvent(IMenuEvent*, short*) override { return S_OK; }
  long OnChangeLanguage() override { return S_OK; }
  long OnChangeCompany(ICompany*) override { return S_OK; }
  long OnApplicationUnload() override { return S_OK; }
  long OnProgressBarEvent(IMenuEvent*, short*) override { return S_OK; }
  long OnStatusBarEvent(BSTR, long) override { return S_OK; }

  bool attaches = true;
  CComPtr<IApplication> app;
  CComPtr<ICompany> company;
  std::chrono::steady_clock::time_point loaded;  ///< the time of OnApplicationLoad

 private:
  const CQXAddOn* addOn_;
};

/// The add-on itself. After Connect its handler has the client and the company.
class BenchAddOn : public CQXAddOn {
 public:
  using CQXAddOn::CQXAddOn;
  CQXIDispatch* CreateDispatch() override { return handler = new BenchHandler(this); }
  CQXResourceLoader* GetResourceLoader() override { return &loader_; }

  BenchHandler* handler = nullptr;  ///< owned by the framework

 private:
  CQXResourceLoader loader_;
};

}  // namespace qx::bench
