#include "qxdesk/screens/browser/desk_pages.h"

#include "qxdesk/screens/browser/page_texts.h"
#include "qxdesk/screens/model/held.h"
#include "qxdesk/screens/model/ui_codes.h"
#include "qxframework/automation/com_object.h"
#include "qxframework/os/clock.h"

#include <nlohmann/json.hpp>

#include <string>
#include <utility>

namespace qx::screens {
namespace {

// A person sees no more pictures than that.
constexpr std::chrono::milliseconds kBetweenPictures{50};
// The time for which a message box waits if the last page goes: that of a reload and more.
constexpr std::chrono::seconds kPatience{30};

bool hasButton(const MessageBoxCall& box, std::int64_t button) {
  return button >= 1 && button <= 3 && !box.buttons[static_cast<std::size_t>(button - 1)].empty();
}

PageOutcome refusalBecause(std::string why) {
  return {PageOutcome::Result::kRefused, kNotValidTarget, std::move(why)};
}

}  // namespace

DeskPages::DeskPages(Desk& desk, CComPtr<desk::IWebServer> server, Keep keep)
    : desk_(desk),
      keep_(std::move(keep)),
      queue_(TaskQueue::ofThisThread()),
      traffic_(makeObject<PageTraffic>(std::move(server), [this](PageTurn turn) { serve(turn); })) {
  desk_.boxes.setLastAnswerer([this](const MessageBoxCall& box) { return askPages(box); });
  desk_.setStopObserver([this] { stopped(); });
  publish();  // so that there is a state for the first page
}

DeskPages::~DeskPages() {
  end("The client has ended.");
  desk_.setStopObserver(nullptr);
  desk_.boxes.setLastAnswerer(nullptr);
}

void DeskPages::end(std::string_view why) {
  detach();
  traffic_->end(why);
}

std::uint64_t DeskPages::eventBegins() noexcept {
  touch();
  return panel_ == nullptr ? 0 : panel_->nextEvent();
}

void DeskPages::eventEnded(const Event& event, const EventRecord& record) noexcept {
  // A handler may have closed the panel.
  if (panel_ != nullptr) guarded([&] { panel_->add(event, record); });
}

void DeskPages::serve(PageTurn turn) {
  const auto kept = keep_();
  if (kept == nullptr) return;
  switch (turn) {
    case PageTurn::kText:
      return serveText();
    case PageTurn::kPages:
      return servePages();
    case PageTurn::kBeat:
      if (panel_ != nullptr) panel_->readLog();
      return sendPanel();
  }
}

void DeskPages::servePages() {
  std::erase_if(panelPages_, [&](PageNumber page) { return !traffic_->isOpen(page); });
  if (panelPages_.empty()) panel_.reset();
  if (!traffic_->hasPages()) return detach();
  attach();
  // The state was not kept while no page was open.
  publish();
}

void DeskPages::serveText() {
  // There may be none: an open message box has served it already.
  const auto text = traffic_->take();
  if (!text) return;
  const auto message = readPageMessage(text->text);
  if (!message) return traffic_->close(text->page);
  if (serveAlways(text->page, *message)) return;
  if (message->verb == PageVerb::kAnswer) {
    return reply(text->page, *message, refusalBecause("That message box is no longer open."));
  }
  act(text->page, *message);
}

bool DeskPages::serveAlways(PageNumber page, const PageMessage& message) {
  if (message.verb == PageVerb::kRows) {
    const std::string text = answerRows(desk_, message);
    if (!text.empty()) traffic_->send(page, text);
    return true;
  }
  if (message.verb != PageVerb::kPanel) return false;
  showPanel(page, message.shown);
  reply(page, message, {});
  return true;
}

void DeskPages::act(PageNumber page, const PageMessage& message) {
  const PageOutcome outcome = [&] {
    const Held acting(acting_, acting_ + 1);
    return performPageAction(desk_, message);
  }();
  // The page gets the new state before the reply, so that the reply means that all is shown.
  publish();
  sendPanel();
  reply(page, message, outcome);
  if (stopAsked_) end("The client has ended.");
}

void DeskPages::reply(PageNumber page, const PageMessage& message, const PageOutcome& outcome) {
  if (!message.id) return;
  switch (outcome.result) {
    case PageOutcome::Result::kDone:
      return traffic_->send(page, doneText(*message.id));
    case PageOutcome::Result::kVetoed:
      return traffic_->send(page, vetoedText(*message.id));
    case PageOutcome::Result::kRefused:
      return traffic_->send(page, refusedText(*message.id, outcome.code, outcome.why));
  }
}

void DeskPages::attach() {
  if (std::exchange(attached_, true)) return;
  desk_.events.setObserver(this);
  desk_.setShowObserver([this] { showNow(); });
  desk::CallGate::instance().watch(this);
}

void DeskPages::detach() {
  if (!std::exchange(attached_, false)) return;
  desk::CallGate::instance().endWatch(this);
  desk_.setShowObserver(nullptr);
  desk_.events.setObserver(nullptr);
  panelPages_.clear();
  panel_.reset();
}

void DeskPages::touch() noexcept {
  touched_ = true;
  if (turnPosted_) return;
  guarded([&] {
    turnPosted_ = queue_.post([this, keep = keep_] {
      // Without what keeps it, this object is gone.
      if (const auto kept = keep()) guarded([&] { endTurn(); });
    });
  });
}

void DeskPages::endTurn() {
  turnPosted_ = false;
  if (!attached_) return;
  if (touched_) publish();
  sendPanel();
}

void DeskPages::publish() {
  touched_ = false;
  traffic_->publish(stateOf(desk_, box_, &traffic_->state()));
}

void DeskPages::showNow() {
  touch();
  const auto now = currentClock().monotonic();
  if (shownAt_ && now - *shownAt_ < kBetweenPictures) return;
  shownAt_ = now;
  // What the add-on does succeeds whether or not it can be shown.
  guarded([&] {
    publish();
    sendPanel();
  });
}

void DeskPages::stopped() {
  if (attached_) publish();
  sendPanel();
  // The page that has ended the client gets its reply first.
  if (acting_ > 0) {
    stopAsked_ = true;
  } else {
    end("The client has ended.");
  }
}

std::optional<long> DeskPages::askPages(const MessageBoxCall& call) {
  if (!traffic_->hasPages()) return std::nullopt;
  const OpenBox box{++boxes_, call};
  PageMessage answer;
  std::optional<PageText> from;
  {
    const Held<const OpenBox*> open(box_, &box);
    publish();
    sendPanel();
    from = waitForAnswer(box, answer);
  }
  publish();
  if (!from) return std::nullopt;
  reply(from->page, answer, {});
  return static_cast<long>(answer.button);
}

std::optional<PageText> DeskPages::waitForAnswer(const OpenBox& box, PageMessage& answer) {
  while (auto text = traffic_->wait(kPatience)) {
    if (const auto message = answerIn(*text, box)) {
      answer = *message;
      return text;
    }
  }
  return std::nullopt;
}

// Serves one text while the box is open. Returns it if it is the answer to the box.
std::optional<PageMessage> DeskPages::answerIn(const PageText& text, const OpenBox& box) {
  const auto message = readPageMessage(text.text);
  if (!message) {
    traffic_->close(text.page);
    return std::nullopt;
  }
  if (serveAlways(text.page, *message)) return std::nullopt;
  if (message->verb != PageVerb::kAnswer) {
    reply(text.page, *message, refusalBecause("A message box is open; answer it first."));
  } else if (message->box != box.number) {
    reply(text.page, *message, refusalBecause("That message box is no longer open."));
  } else if (!hasButton(box.call, message->button)) {
    reply(text.page, *message, refusalBecause("The message box has no such button."));
  } else {
    return message;
  }
  return std::nullopt;
}

void DeskPages::showPanel(PageNumber page, bool shown) {
  if (!shown) {
    panelPages_.erase(page);
    if (panelPages_.empty()) panel_.reset();
    return;
  }
  // A page that has closed meanwhile would keep the panel.
  if (!traffic_->isOpen(page)) return;
  panelPages_.insert(page);
  // The first turn of a page may still be to come.
  attach();
  if (panel_ == nullptr) {
    panel_ = std::make_unique<AuthorPanel>(statementLogOfThisProcess(), logFileOfThisProcess());
  }
}

void DeskPages::sendPanel() {
  if (panel_ == nullptr) return;
  for (const std::string& text : panel_->takeTexts()) {
    for (const PageNumber page : panelPages_) traffic_->send(page, text);
  }
}

}  // namespace qx::screens
