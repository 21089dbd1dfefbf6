#include "qxdesk/screens/objects/dispatch_sink.h"

#include "qxdesk/screens/objects/event_args.h"
#include "qxframework/automation/com_object.h"
#include "qxframework/automation/developer_trace.h"
#include "qxframework/automation/variant.h"
#include "qxframework/host/events.h"

#include <array>
#include <variant>

namespace qx::screens {
namespace {

struct IdOf {
  DISPID operator()(const ItemEvent&) const { return kItemEvent; }
  DISPID operator()(const MenuEvent&) const { return kMenuEvent; }
  DISPID operator()(const AppEvent&) const { return kAppEvent; }
  DISPID operator()(const StatusBarEvent&) const { return kStatusBarEvent; }
  DISPID operator()(const ProgressBarEvent&) const { return kProgressBarEvent; }
  DISPID operator()(const PrintEvent&) const { return kPrintEvent; }
  DISPID operator()(const ReportDataEvent&) const { return kReportDataEvent; }
  DISPID operator()(const RightClickEvent&) const { return kRightClickEvent; }
  DISPID operator()(const FormDataEvent&) const { return kFormDataEvent; }
};

// The arguments of one call. They are added in the order in which a caller would write them.
class Arguments {
 public:
  explicit Arguments(const Event& event) {
    if (const auto* app = std::get_if<AppEvent>(&event)) {
      add(CComVariant(app->type));
    } else if (const auto* status = std::get_if<StatusBarEvent>(&event)) {
      add(CComVariant(CComBSTR(status->text)));
      add(CComVariant(status->type));
    } else {
      if (const auto* item = std::get_if<ItemEvent>(&event)) {
        add(CComVariant(CComBSTR(item->formUid)));
      }
      add(CComVariant(makeEventArgument(event).p));
    }
  }
  void addVeto(VARIANT_BOOL& flag) {
    CComVariant veto;
    veto.vt = VT_BYREF | VT_BOOL;
    veto.pboolVal = &flag;
    add(veto);
  }
  DISPPARAMS params() {
    DISPPARAMS out;
    out.rgvarg = values_.data() + values_.size() - count_;
    out.cArgs = static_cast<UINT>(count_);
    return out;
  }

 private:
  void add(const CComVariant& value) { values_[values_.size() - ++count_] = value; }

  std::array<CComVariant, 3> values_;  // filled from the end, which reverses the order
  std::size_t count_ = 0;
};

bool canBeVetoed(const Event& event) {
  return !std::holds_alternative<AppEvent>(event) && !std::holds_alternative<StatusBarEvent>(event);
}

}  // namespace

void DispatchSink::deliver(const Event& event, bool& bubble) noexcept {
  // The sink sees the veto of the sinks before it. If it takes the veto back, the event source
  // restores it.
  VARIANT_BOOL flag = bubble ? VARIANT_TRUE : VARIANT_FALSE;
  const HRESULT result = guarded([&]() -> HRESULT {
    Arguments arguments(event);
    if (canBeVetoed(event)) arguments.addVeto(flag);
    DISPPARAMS params = arguments.params();
    return sink_->Invoke(std::visit(IdOf(), event), GUID{}, LOCALE_USER_DEFAULT, DISPATCH_METHOD,
                         &params, nullptr, nullptr, nullptr);
  });
  // A failed call may have written the flag before it failed.
  if (result >= 0) {
    bubble = flag != VARIANT_FALSE;
  } else {
    // Guarded, since this function must not throw and the text may need memory.
    guarded([] { developerTrace(u"An event sink failed; its veto does not count.\n"); });
  }
}

}  // namespace qx::screens
