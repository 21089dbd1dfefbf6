#include "qxdesk/web/server.h"

#include "qxdesk/web/web_service.h"
#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_object.h"
#include "qxframework/automation/text.h"

#include <mutex>
#include <string_view>
#include <utility>
#include <vector>

namespace qx::web {
namespace {

class WebServer final : public ComObject<desk::IWebServer> {
 public:
  explicit WebServer(ServiceSettings settings) : settings_(std::move(settings)) {}
  ~WebServer() override { Stop(); }

  HRESULT Start(BSTR listen, IWebDesk* desk, BSTR* address) override;
  void Send(PageNumber page, const char* text, std::size_t length) noexcept override;
  void ClosePage(PageNumber page) noexcept override;
  void Stop() noexcept override;

 private:
  /// A server that runs. The desk is released after the thread has ended.
  struct Service {
    CComPtr<IWebDesk> desk;
    WebService web;
  };

  HRESULT start(BSTR listen, IWebDesk* desk, std::string& address);
  std::shared_ptr<Service> service();

  ServiceSettings settings_;
  std::mutex lock_;
  std::shared_ptr<Service> service_;  // null: not started, or stopped
};

HRESULT WebServer::Start(BSTR listen, IWebDesk* desk, BSTR* address) {
  if (address == nullptr) return E_POINTER;
  *address = nullptr;
  if (desk == nullptr) return E_POINTER;
  return guarded([&]() -> HRESULT {
    std::string said;
    const HRESULT result = start(listen, desk, said);
    const HRESULT given = giveText(toUtf16(said), address);
    return result < 0 ? result : given;
  });
}

HRESULT WebServer::start(BSTR listen, IWebDesk* desk, std::string& address) try {
  const std::lock_guard guard(lock_);
  if (service_ != nullptr) {
    address = "The server has been started already.";
    return E_FAIL;
  }
  const ListenAddress where = parseListenAddress(toUtf8(viewOfBstr(listen)));
  service_ = std::shared_ptr<Service>(new Service{desk, {where, settings_, desk}});
  address = service_->web.address();
  return S_OK;
} catch (const ListenAddressError& error) {
  address = error.what();
  return E_INVALIDARG;
} catch (const std::exception& error) {
  address = error.what();
  return E_FAIL;
}

std::shared_ptr<WebServer::Service> WebServer::service() {
  const std::lock_guard guard(lock_);
  return service_;
}

// A text that memory does not suffice for is lost; the page misses its number and loads anew.
void WebServer::Send(PageNumber page, const char* text, std::size_t length) noexcept {
  guarded([&] {
    if (const auto running = service(); running != nullptr) {
      running->web.send(page, std::make_shared<const std::string>(text, length));
    }
  });
}

void WebServer::ClosePage(PageNumber page) noexcept {
  guarded([&] {
    if (const auto running = service(); running != nullptr) running->web.refuse(page);
  });
}

void WebServer::Stop() noexcept {
  guarded([&] {
    std::shared_ptr<Service> stopped;
    {
      const std::lock_guard guard(lock_);
      // The thread cannot wait for its own end.
      if (service_ != nullptr && service_->web.isOwnProcess() && service_->web.isOwnThread())
        return;
      stopped = std::exchange(service_, nullptr);
    }
    if (stopped == nullptr) return;
    if (!stopped->web.isOwnProcess()) {
      // This is a child of the process that runs the thread. Nothing of it may be destroyed here:
      // the thread's sockets are watched through a descriptor that both processes share.
      static auto* const kept = new std::vector<std::shared_ptr<Service>>;
      kept->push_back(std::move(stopped));
      return;
    }
    stopped->web.stop(settings_.limits.stop);
  });
}

}  // namespace

CComPtr<desk::IWebServer> makeWebServer(const ServiceSettings& settings) {
  return makeObject<WebServer>(settings);
}

}  // namespace qx::web
