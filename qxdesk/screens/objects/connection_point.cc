#include "qxdesk/screens/objects/connection_point.h"

#include "qxdesk/screens/objects/dispatch_sink.h"
#include "qxdesk/session/host_object_base.h"
#include "qxframework/automation/com_object.h"
#include "qxframework/host/ids.h"

#include <utility>

namespace qx::screens {
namespace {

class ConnectionPoint final : public ComObject<IConnectionPoint> {
 public:
  explicit ConnectionPoint(std::shared_ptr<Client> client) : client_(std::move(client)) {}

  HRESULT GetConnectionInterface(IID* iid) override {
    return desk::hostCall([&] { return desk::giveValue<IID>(DIID_IApplicationEvents, iid); });
  }
  HRESULT Advise(IUnknown* sink, DWORD* cookie) override {
    return desk::hostCall([&]() -> HRESULT {
      if (sink == nullptr || cookie == nullptr) return E_POINTER;
      *cookie = 0;
      // Events are dispatch calls; the event interface has no other form.
      CComQIPtr<IDispatch> target(sink);
      if (target == nullptr) return CONNECT_E_CANNOTCONNECT;
      // The same sink may be attached again; it then gets each event once per cookie.
      *cookie = client_->desk().events.attach(std::make_shared<DispatchSink>(target));
      return S_OK;
    });
  }
  HRESULT Unadvise(DWORD cookie) override {
    const CComPtr<IConnectionPoint> self(this);  // the sink may hold the last one
    return desk::hostCall(
        [&] { return client_->desk().events.detach(cookie) ? S_OK : CONNECT_E_NOCONNECTION; });
  }

 private:
  std::shared_ptr<Client> client_;
};

}  // namespace

CComPtr<IConnectionPoint> makeConnectionPoint(std::shared_ptr<Client> client) {
  return makeObject<ConnectionPoint>(std::move(client));
}

}  // namespace qx::screens
