#include "qxdesk/screens/model/event_source.h"

#include "qxdesk/screens/model/test_support.h"

#include <gtest/gtest.h>

namespace qx::screens {
namespace {

std::shared_ptr<ProbeSink> probe(ProbeSink::Handler handler = nullptr) {
  return std::make_shared<ProbeSink>(std::move(handler));
}

TEST(EventSource, ReachesEverySinkInTheOrderOfAttachment) {
  EventSource source;
  Log order;
  for (const char* name : {"a", "b"}) {
    source.attach(probe([&order, name](const std::string&, bool&) { order.push_back(name); }));
  }
  EXPECT_TRUE(source.raise(AppEvent{66}));
  EXPECT_EQ(order, (Log{"a", "b"}));
}

TEST(EventSource, LaterSinkCannotTakeAVetoBack) {
  EventSource source;
  bool cameIn = true;
  source.attach(probe([](const std::string&, bool& bubble) { bubble = false; }));
  source.attach(probe([&](const std::string&, bool& bubble) {
    cameIn = bubble;
    bubble = true;
  }));
  EXPECT_FALSE(source.raise(MenuEvent{u"1"}));
  EXPECT_FALSE(cameIn);
}

TEST(EventSource, SinkMayDetachItselfDuringAnEvent) {
  EventSource source;
  std::uint32_t cookie = 0;
  const auto first = probe([&](const std::string&, bool&) { source.detach(cookie); });
  const auto second = probe();
  cookie = source.attach(first);
  source.attach(second);
  source.raise(AppEvent{64});
  source.raise(AppEvent{66});
  EXPECT_EQ(first->log, (Log{"app 64"}));
  EXPECT_EQ(second->log, (Log{"app 64", "app 66"}));
}

TEST(EventSource, SinkDetachedDuringAnEventDoesNotGetIt) {
  EventSource source;
  const auto second = probe();
  std::uint32_t cookie = 0;
  source.attach(probe([&](const std::string&, bool&) { source.detach(cookie); }));
  cookie = source.attach(second);
  source.raise(AppEvent{64});
  EXPECT_EQ(second->log, Log{});
}

TEST(EventSource, SinkAttachedDuringAnEventDoesNotGetIt) {
  EventSource source;
  const auto late = probe();
  source.attach(probe([&, done = false](const std::string&, bool&) mutable {
    if (!std::exchange(done, true)) source.attach(late);
  }));
  source.raise(AppEvent{64});
  source.raise(AppEvent{65});
  EXPECT_EQ(late->log, (Log{"app 65"}));
}

TEST(EventSource, CountsTheDepthOfNestedEvents) {
  EventSource source;
  std::vector<int> depths;
  source.attach(probe([&](const std::string& words, bool&) {
    depths.push_back(source.depth());
    if (words == "app 64") source.raise(AppEvent{65});
  }));
  source.raise(AppEvent{64});
  EXPECT_EQ(depths, (std::vector<int>{1, 2}));
  EXPECT_EQ(source.depth(), 0);
}

TEST(EventSource, CookieIsUsedOnce) {
  EventSource source;
  const auto cookie = source.attach(probe());
  EXPECT_NE(cookie, 0U);
  EXPECT_TRUE(source.detach(cookie));
  EXPECT_FALSE(source.detach(cookie));
  EXPECT_NE(source.attach(probe()), cookie);
}

/// Notes what it learns of each event.
class Observer final : public EventObserver {
 public:
  std::uint64_t eventBegins() noexcept override { return wants ? ++number : 0; }
  void eventEnded(const Event& event, const EventRecord& record) noexcept override {
    std::string line = std::to_string(record.number) + " depth " + std::to_string(record.depth) +
                       " " + wordsOf(event) + (record.veto ? " vetoed:" : ":");
    for (const auto& answer : record.answers) {
      line += " " + std::to_string(answer.sink) + (answer.veto ? " veto" : "");
    }
    log.push_back(line);
  }

  bool wants = true;
  std::uint64_t number = 0;
  Log log;
};

TEST(EventSource, ReportsEachEventToItsObserver) {
  EventSource source;
  Observer observer;
  source.setObserver(&observer);
  source.attach(probe([&](const std::string& words, bool&) {
    if (words == "app 66") source.raise(AppEvent{65});
  }));
  source.attach(probe(veto("before menu 1")));
  source.attach(probe());
  source.raise(AppEvent{66});
  EXPECT_FALSE(source.raise(MenuEvent{u"1"}));
  EXPECT_EQ(observer.log, (Log{"2 depth 1 app 65: 1 2 3", "1 depth 0 app 66: 1 2 3",
                               "3 depth 0 before menu 1 vetoed: 1 2 veto 3"}));
}

TEST(EventSource, ReportsNothingIfNoRecordIsWantedOrTheObservationHasEnded) {
  EventSource source;
  Observer observer;
  observer.wants = false;
  source.setObserver(&observer);
  source.raise(AppEvent{66});
  observer.wants = true;
  source.attach(probe([&](const std::string&, bool&) { source.setObserver(nullptr); }));
  source.raise(AppEvent{66});
  source.raise(AppEvent{66});
  EXPECT_EQ(observer.log, Log{});
  EXPECT_EQ(observer.number, 1U);
}

}  // namespace
}  // namespace qx::screens
