// Measures the screens in a browser without a network: a server in this process stands for the real
// one, so that the figures are those of the host's own work.
//
// A press from a page, from its text to the reply after the changed state, against the same press
// by the driving interface; item events with the key `web` and no page against those without the
// key; and the bytes of a form with a matrix of 10,000 rows.

#include "bench/measure.h"
#include "qxdesk/session/web_server.h"
#include "qxframework/automation/class_object.h"
#include "qxframework/automation/com_error.h"
#include "qxframework/automation/com_object.h"
#include "qxframework/automation/connection_point.h"
#include "qxframework/automation/text.h"
#include "qxframework/host/controls.h"
#include "qxframework/host/events.h"
#include "qxframework/host/form.h"
#include "qxframework/os/message_loop.h"
#include "testing/embedded_client.h"
#include "testing/temp_folder.h"

#include <cstdio>
#include <exception>
#include <optional>
#include <string>
#include <string_view>

namespace {

constexpr int kRounds = 15;
constexpr int kPresses = 200;
constexpr double kUnfelt = 0.001;  // seconds a press
constexpr int kIdleRounds = 25;
constexpr int kEvents = 2'000;
constexpr long kRows = 10'000;

/// Counts what is sent.
class Server final : public qx::ComObject<qx::desk::IWebServer> {
 public:
  HRESULT Start(BSTR, qx::desk::IWebDesk* desk, BSTR* address) override {
    receiver = desk;
    return qx::giveText(u"http://127.0.0.1/", address);
  }
  void Send(qx::desk::PageNumber, const char* text, std::size_t length) noexcept override {
    ++texts;
    bytes += length;
    last.assign(text, length);
  }
  void ClosePage(qx::desk::PageNumber) noexcept override {}
  void Stop() noexcept override {}

  CComPtr<qx::desk::IWebDesk> receiver;
  long texts = 0;
  std::size_t bytes = 0;
  std::string last;
};

/// Reads what a handler reads of each event.
class Sink final : public qx::ComObject<qx::NoDispatch<IDispatch>> {
 public:
  HRESULT Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* params, VARIANT*, EXCEPINFO*,
                 UINT*) override {
    if (id != qx::kItemEvent) return S_OK;
    const CComQIPtr<IItemEvent> event(params->rgvarg[1].pdispVal);
    qx::bench::keep(event->GetItemUID().View().size() + static_cast<std::size_t>(event->GetRow()));
    return S_OK;
  }
};

void runTurns() {
  MSG message;
  while (PeekMessageW(&message, PM_REMOVE)) DispatchMessageW(&message);
}

/// A client with an open order and a sink.
class Place {
 public:
  Place(const qx::test::TempFolder& folder, const std::string& more)
      : client(folder.path() / "company.db", {.dialect = "mssql", .more = more, .appId = 0}) {
    const CComQIPtr<IConnectionPointContainer> container(client.application().p);
    CComPtr<IConnectionPoint> point;
    qx::raiseIfFailed(container->FindConnectionPoint(DIID_IApplicationEvents, &point));
    DWORD cookie = 0;
    qx::raiseIfFailed(point->Advise(qx::makeObject<Sink>().p, &cookie));
    form = client.openForm("3101");
  }
  /// Presses two items in turn, so that each press changes the focus.
  void press() { client.press(form, (second_ = !second_) ? "5" : "4"); }

  qx::test::EmbeddedClient client;
  std::string form;

 private:
  bool second_ = false;
};

class Bench {
 public:
  Bench() {
    const auto factory = qx::makeFactory([server = server_] { return server; });
    qx::raiseIfFailed(
        CoRegisterClassObject(qx::desk::kWebServerClass, factory, CLSCTX_ALL, 0, &cookie_));
    // The client starts with its first operation.
    web_.emplace(folder_, "&web=127.0.0.1:0");
    plain_.emplace(folder_, "");
    runTurns();
  }

  void idle() {
    const auto presses = [](Place& place) {
      return [&place] {
        for (int i = 0; i < kEvents; ++i) place.press();
      };
    };
    const auto best = qx::bench::compare(kIdleRounds, presses(*web_), presses(*plain_));
    std::printf("item events with web= and no page: %.2f us a press, without the key %.2f us\n",
                best.ours / kEvents * 1e6, best.peer / kEvents * 1e6);
    qx::bench::printRatio("web-idle", best.ratio());
  }

  void press() {
    server_->receiver->PageOpened(1);
    runTurns();
    const auto fromPage = [&] {
      for (int i = 0; i < kPresses; ++i) pressFromPage();
    };
    const auto byInterface = [&] {
      for (int i = 0; i < kPresses; ++i) plain_->press();
    };
    const long before = server_->texts;
    const auto best = qx::bench::compare(kRounds, fromPage, byInterface);
    std::printf("press from a page: %.1f us with %.1f texts, by the interface %.1f us\n",
                best.ours / kPresses * 1e6,
                static_cast<double>(server_->texts - before) / kRounds / kPresses,
                best.peer / kPresses * 1e6);
    // A press by the interface is a few calls in one thread, so a page is compared with twice that
    // and a millisecond, which nobody feels.
    const double most = 2 * best.peer + kPresses * kUnfelt;
    qx::bench::printRatio("web-press", best.ours / most);
  }

  void bytes() {
    std::size_t before = server_->bytes;
    const std::string uid = web_->client.openForm("3101");
    const auto form =
        web_->client.application()->GetForms()->GetFormByUID(CComBSTR(qx::toUtf16(uid)));
    const CComQIPtr<IMatrix> matrix(form->GetItems()->Item(CComVariant(u"20"))->GetSpecific());
    matrix->AddRow(kRows - 1, -1);
    runTurns();
    const std::size_t opening = server_->bytes - before;
    const std::size_t rows = bytesOfRows(uid);
    before = server_->bytes;
    const auto cell =
        matrix->GetColumns()->Item(CComVariant(u"1"))->GetCells()->Item(CComVariant(5000L));
    CComQIPtr<IEditText>(cell->GetSpecific())->PutString(u"C20000");
    runTurns();
    const std::size_t change = server_->bytes - before;
    std::printf(
        "a form with a matrix of %ld rows: %zu bytes at its opening and %zu for 40 rows; the "
        "change "
        "of a cell %zu bytes and the rows again\n",
        kRows, opening, rows, change);
  }

 private:
  void say(const std::string& text) {
    server_->receiver->PageSaid(1, text.data(), text.size());
    runTurns();
  }
  void pressFromPage() {
    second_ = !second_;
    say(R"({"do":"press","id":1,"form":")" + web_->form + R"(","item":")" + (second_ ? "5" : "4") +
        "\"}");
    if (server_->last != R"({"is":"reply","re":1,"result":"done"})") std::terminate();
  }
  std::size_t bytesOfRows(const std::string& form) {
    const std::size_t before = server_->bytes;
    say(R"({"do":"rows","id":2,"form":")" + form + R"(","item":"20","from":4980,"count":40})");
    return server_->bytes - before;
  }

  qx::test::TempFolder folder_;
  CComPtr<Server> server_ = qx::makeObject<Server>();
  DWORD cookie_ = 0;
  std::optional<Place> web_;
  std::optional<Place> plain_;
  bool second_ = false;
};

}  // namespace

int main() {
  try {
    Bench bench;
    bench.idle();
    bench.press();
    bench.bytes();
  } catch (const _com_error& error) {
    std::fprintf(stderr, "web_bench: %s; is QX_REGISTRY set?\n",
                 qx::toUtf8(qx::viewOf(error.ErrorMessage())).c_str());
    return 1;
  }
  return 0;
}
