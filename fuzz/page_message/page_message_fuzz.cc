// Arbitrary bytes as what a page says to a small desk, one message per line. Nothing that a page
// says may break the desk: afterwards its forms, their selection and its menus still agree, and the
// page still gets the state as it is.

#include "qxdesk/screens/browser/desk_pages.h"
#include "qxdesk/session/web_server.h"
#include "qxframework/automation/com_object.h"
#include "qxframework/host/item_types.h"
#include "qxframework/os/clock.h"
#include "qxframework/os/message_loop.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace qx::screens {
namespace {

/// Keeps the picture that each page has, by applying each difference.
class Pages final : public ComObject<desk::IWebServer> {
 public:
  HRESULT Start(BSTR, desk::IWebDesk*, BSTR*) override { return E_NOTIMPL; }
  void Send(desk::PageNumber page, const char* text, std::size_t length) noexcept override {
    const auto message = nlohmann::json::parse(std::string_view(text, length));
    nlohmann::json& picture = pictures[page];
    if (message.at("is") == "state") picture = message.at("state");
    if (message.at("is") == "patch") picture = picture.patch(message.at("ops"));
  }
  void ClosePage(desk::PageNumber) noexcept override { open = false; }
  void Stop() noexcept override { stopped = true; }

  std::map<desk::PageNumber, nlohmann::json> pictures;
  bool open = true;
  bool stopped = false;
};

/// Lets the page vanish where the desk would wait for it.
class VanishingClock final : public ManualClock {
 public:
  bool waitFor(const std::future<void>& event, std::chrono::milliseconds limit) override {
    if (receiver != nullptr) receiver->PageClosed(1);
    vanished = true;
    return ManualClock::waitFor(event, limit);
  }

  desk::IWebDesk* receiver = nullptr;
  bool vanished = false;
};

/// Shows a box on one item, and changes the desk under the page's feet.
class AddOn final : public EventSink {
 public:
  explicit AddOn(Desk& desk) : desk_(desk) {}
  void deliver(const Event& event, bool& bubble) noexcept override {
    const auto* item = std::get_if<ItemEvent>(&event);
    if (item == nullptr || !item->before) return;
    guarded([&] {
      if (item->itemUid == u"5") bubble = false;
      if (item->itemUid == u"6" && item->type == kItemPressed) showBox();
      const auto form = desk_.forms.find(u"A");
      if (item->itemUid == u"7" && form != nullptr) form->removeItem(u"7");
    });
  }

 private:
  void showBox() {
    MessageBoxCall box;
    box.text = u"Sure?";
    desk_.boxes.show(box);
  }

  Desk& desk_;
};

std::shared_ptr<FormModel> makeForm() {
  auto form = std::make_shared<FormModel>(u"A", u"-1", false);
  const auto add = [&](const char16_t* uid, long type) -> ItemModel& {
    ItemModel item;
    item.uid = uid;
    item.type = type;
    return form->addItem(std::move(item));
  };
  add(u"1", kButton);
  add(u"4", kEditText);
  add(u"5", kEditText);
  add(u"6", kButton);
  add(u"7", kEditText);
  MatrixModel& matrix = *add(u"20", kMatrix).matrix;
  MatrixColumn column;
  column.uid = u"1";
  matrix.addColumn(column);
  matrix.addRows(3, -1);
  matrix.selectionMode = kSelectMany;
  ComboModel& combo = *add(u"8", kComboBox).combo;
  combo.add(u"Open", u"O");
  combo.add(u"Closed", u"C");
  form->visible = true;
  return form;
}

void check(bool holds) {
  if (!holds) std::abort();
}

void checkDesk(const Desk& desk) {
  int selected = 0;
  for (const auto& form : desk.forms.all()) {
    check(form->isOpen() && desk.forms.find(form->uid()) == form);
    selected += form->isSelected() ? 1 : 0;
    check(form->focus.empty() || form->findItem(form->focus) != nullptr);
    check(form->rect.top >= 0);
  }
  check(selected <= 1);
  check(desk.events.depth() == 0);
}

void run(std::string_view text) {
  VanishingClock clock;
  const ScopedClock scoped(clock);
  Desk desk(DeskSettings{});
  // Messages open the host's own forms. With one from the start, each case would take twice as
  // long.
  desk.forms.open(makeForm());
  const auto progress = desk.statusBar.createProgress(u"Loading", 3, true);
  desk.events.attach(std::make_shared<AddOn>(desk));
  const auto seen = makeObject<Pages>();
  const auto life = std::make_shared<int>(0);
  DeskPages pages(desk, CComPtr<desk::IWebServer>(seen.p),
                  [&]() -> std::shared_ptr<void> { return life; });
  clock.receiver = pages.receiver();
  pages.receiver()->PageOpened(1);
  MSG message;
  while (!text.empty() && seen->open) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(text.size(), line.size() + 1));
    pages.receiver()->PageSaid(1, line.data(), line.size());
    // What follows a press that opens a box may answer the box.
    if (line.find("\"6\"") == std::string_view::npos) PeekMessageW(&message, PM_REMOVE);
  }
  const auto runTurns = [&] {
    for (int calls = 0; calls < 3; ++calls) PeekMessageW(&message, PM_REMOVE);
  };
  runTurns();
  checkDesk(desk);
  // The page sees the desk as it is; if it is gone, the next one does.
  desk::PageNumber page = 1;
  if (clock.vanished || !seen->open) {
    page = 2;
    pages.receiver()->PageClosed(1);
    pages.receiver()->PageOpened(page);
    runTurns();
  }
  if (!seen->stopped) check(seen->pictures.at(page) == stateOf(desk, nullptr, nullptr));
}

}  // namespace
}  // namespace qx::screens

// Much of the address sanitizer's time goes into the stacks of allocations, of which a state has
// thousands. The few calls that are kept still name the place.
extern "C" QX_API const char* __asan_default_options() { return "malloc_context_size=4"; }

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view text;
  if (size > 0) text = {reinterpret_cast<const char*>(data), size};
  qx::screens::run(text);
  return 0;
}
