#pragma once

// Shared by the tests of the event handlers: a running sink with one selected form, and events as
// the client delivers them.

#include "qxframework/host/events.h"
#include "qxframework/runtime/addon_fixture.h"
#include "qxframework/runtime/event_sink.h"
#include "qxframework/runtime/framework_host_fixture.h"
#include "testing/fake_events.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qx::test {

inline constexpr bool kBefore = true;
inline constexpr bool kAfter = false;

inline Hook giving(long result) {
  return [result](short*) { return result; };
}
inline Hook setting(short veto, long result = 0) {
  return [veto, result](short* bubble) { return *bubble = veto, result; };
}

/// A running sink with the selected form F1 registered.
class EventHandlersTest : public testing::Test {
 protected:
  EventHandlersTest()
      : addOn(host), dispatch(host, hooks), sink(host.application.p, &dispatch, &addOn) {
    host.application->sink = &sink;
    form = new TestForm(host, &addOn, &host.addForm(u"F1", true));
    sink.RegisterForm(form);
    log.records.clear();
  }
  ~EventHandlersTest() override {
    CQXEventSink::SetLogSettingsOpener(nullptr);
    if (!host.called("F1.~Form")) delete form;
  }

  long item(long type, bool before, const OLECHAR* uid = u"F1") {
    const auto event = makeObject<FakeItemEvent>(type, before);
    return sink.ItemEvent(CComBSTR(uid), event.p, &bubble);
  }
  long menu(const OLECHAR* uid, bool before = kBefore) {
    const auto event = makeObject<FakeMenuEvent>(uid, before);
    return sink.OnMenuEvent(event.p, &bubble);
  }
  std::vector<std::string> messages(std::u16string_view function) const {
    return messagesOf(log, function);
  }
  bool logged(int level, std::u16string_view message) const { return log.has(level, message); }

  RecordingLogger log;
  FrameworkHost host;
  Hooks hooks;
  TestAddOn addOn;
  TestDispatch dispatch;
  CQXEventSink sink;
  TestForm* form = nullptr;
  short bubble = -1;
};

}  // namespace qx::test
