#include "qxdesk/screens/objects/status_bar_objects.h"

#include "qxdesk/screens/objects/host_object.h"

#include <utility>

namespace qx::screens {
namespace {

// Holds the progress bar. The last release frees it, as Stop does.
class ProgressBarObject final : public HostObject<IProgressBar> {
 public:
  ProgressBarObject(std::shared_ptr<Client> client, std::shared_ptr<Progress> progress)
      : HostObject(std::move(client)), progress_(std::move(progress)) {}

  HRESULT raw_PutText(BSTR text) override {
    return run([&] { progress_->setText(textOf(text)); });
  }
  HRESULT raw_PutValue(long value) override {
    return run([&] { progress_->setValue(value); });
  }
  HRESULT raw_GetValue(long* out) override {
    return give(out, [&] { return progress_->value(); });
  }
  HRESULT raw_Stop() override {
    return run([&] { progress_->stop(); });
  }

 private:
  std::shared_ptr<Progress> progress_;
};

class StatusBarObject final : public HostObject<IStatusBar> {
 public:
  using HostObject::HostObject;

  HRESULT raw_CreateProgressBar(BSTR text, long maximum, VARIANT_BOOL stoppable,
                                IProgressBar** out) override {
    return giveNew(out, [&] {
      auto progress =
          desk().statusBar.createProgress(textOf(text), maximum, stoppable != VARIANT_FALSE);
      return makeObject<ProgressBarObject>(clientPtr(), std::move(progress));
    });
  }
  HRESULT raw_SetText(BSTR text, long displayTime, HvStatusBarMessageType type) override {
    return run([&]() -> HRESULT {
      if (type < smt_None || type > smt_Info) return E_INVALIDARG;
      // Without the event of a status message: that one is for messages of the host itself.
      desk().statusBar.show({textOf(text), type, displayTime});
      return S_OK;
    });
  }
};

}  // namespace

CComPtr<IStatusBar> makeStatusBar(std::shared_ptr<Client> client) {
  return makeObject<StatusBarObject>(std::move(client));
}

}  // namespace qx::screens
