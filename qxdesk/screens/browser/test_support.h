#pragma once

// A web server that records what the desk sends, and a desk with pages that a test plays.

#include "qxdesk/screens/browser/desk_pages.h"
#include "qxdesk/screens/model/test_support.h"
#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_object.h"
#include "qxframework/os/clock.h"
#include "qxframework/os/message_loop.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace qx::screens {

/// Records the texts and closes of each page. May be called from any thread.
class FakeServer final : public ComObject<desk::IWebServer> {
 public:
  HRESULT Start(BSTR listen, desk::IWebDesk* desk, BSTR* address) override {
    listened = toUtf8(viewOfBstr(listen));
    receiver = desk;
    if (giveText(words, address) != S_OK) return E_OUTOFMEMORY;
    return started;
  }
  void Send(desk::PageNumber page, const char* text, std::size_t length) noexcept override {
    const std::lock_guard lock(mutex_);
    sent_[page].emplace_back(text, length);
    if (onSend) onSend(sent_[page].back());
  }
  void ClosePage(desk::PageNumber page) noexcept override {
    const std::lock_guard lock(mutex_);
    closed_.push_back(page);
  }
  void Stop() noexcept override { ++stops; }

  /// Return what has come since the last call. Texts for page 0 are for all pages.
  std::vector<std::string> take(desk::PageNumber page) {
    const std::lock_guard lock(mutex_);
    return std::exchange(sent_[page], {});
  }
  std::vector<desk::PageNumber> takeClosed() {
    const std::lock_guard lock(mutex_);
    return std::exchange(closed_, {});
  }

  std::string listened;
  CComPtr<desk::IWebDesk> receiver;
  std::u16string words = u"http://127.0.0.1:5/?token=x";
  HRESULT started = S_OK;
  int stops = 0;
  std::function<void(const std::string&)> onSend;

 private:
  std::mutex mutex_;
  std::map<desk::PageNumber, std::vector<std::string>> sent_;
  std::vector<desk::PageNumber> closed_;
};

/// Runs the tasks that are queued on this thread and those that they post.
inline void pump() {
  MSG message;
  for (int calls = 0; calls < 10; ++calls) {
    while (PeekMessageW(&message, PM_REMOVE)) DispatchMessageW(&message);
  }
}

/// A clock that calls the test where the desk waits, once per wait.
class ScriptedClock final : public ManualClock {
 public:
  bool waitFor(const std::future<void>& event, std::chrono::milliseconds limit) override {
    limits.push_back(limit);
    if (!steps.empty()) {
      const auto step = std::move(steps.front());
      steps.erase(steps.begin());
      step();
      if (Clock::waitFor(event, {})) return true;
    }
    return ManualClock::waitFor(event, limit);
  }

  std::vector<std::function<void()>> steps;
  std::vector<std::chrono::milliseconds> limits;
};

/// A desk, its pages and a server without a network, on one thread.
class PagesTest : public testing::Test {
 protected:
  void open(desk::PageNumber page) { pages_.receiver()->PageOpened(page); }
  void close(desk::PageNumber page) { pages_.receiver()->PageClosed(page); }
  void say(desk::PageNumber page, const std::string& text) {
    pages_.receiver()->PageSaid(page, text.data(), text.size());
  }
  void tick() { pages_.receiver()->Tick(); }
  /// Opens a page and drops what it gets.
  void openQuietly(desk::PageNumber page) {
    open(page);
    pump();
    server_->take(page);
  }
  /// Says something and returns all that the page gets of it, one text per line.
  std::string ask(desk::PageNumber page, const std::string& text) {
    say(page, text);
    pump();
    return taken(page);
  }
  std::string taken(desk::PageNumber page) {
    std::string out;
    for (const std::string& text : server_->take(page)) out += text + "\n";
    return out;
  }
  std::string openOrder() { return toUtf8(desk_.openSystemForm(u"3101")->uid()); }
  MessageBoxCall box(std::u16string text) {
    MessageBoxCall call;
    call.text = std::move(text);
    call.buttons = {u"Yes", u"No", u""};
    return call;
  }

  ScriptedClock clock_;
  ScopedClock scoped_{clock_};
  Desk desk_{testSettings()};
  CComPtr<FakeServer> server_ = makeObject<FakeServer>();
  std::shared_ptr<int> life_ = std::make_shared<int>(0);
  DeskPages pages_{
      desk_, CComPtr<desk::IWebServer>(server_.p),
      [life = std::weak_ptr<int>(life_)]() -> std::shared_ptr<void> { return life.lock(); }};
};

/// Applies what a page gets as the page does.
class PagePicture {
 public:
  /// Throws for a text out of order and for a patch that does not fit.
  void take(const std::string& text) {
    const auto message = nlohmann::json::parse(text);
    const std::string kind = message.at("is");
    if (kind == "state") {
      state = message.at("state");
      number_ = message.at("number");
    } else if (kind == "patch") {
      if (message.at("number") != ++number_) throw std::runtime_error("a patch is missing");
      state = state.patch(message.at("ops"));
    } else {
      others.push_back(message);
    }
  }
  void take(const std::vector<std::string>& texts) {
    for (const std::string& text : texts) take(text);
  }

  nlohmann::json state;
  std::vector<nlohmann::json> others;

 private:
  std::uint64_t number_ = 0;
};

}  // namespace qx::screens
