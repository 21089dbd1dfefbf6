#include "qxdesk/screens/browser/author_panel.h"

#include "qxdesk/screens/browser/test_support.h"
#include "qxframework/automation/class_object.h"
#include "testing/scoped_variable.h"
#include "testing/temp_folder.h"

#include <fstream>

namespace qx::screens {
namespace {

using nlohmann::json;

/// A statement log to which the test reports.
class FakeStatementLog final : public ComObject<desk::IStatementLog> {
 public:
  HRESULT Attach(desk::IStatementListener* listener) override {
    listeners.emplace_back(listener);
    return S_OK;
  }
  HRESULT Detach(desk::IStatementListener* listener) override {
    std::erase_if(listeners, [&](const auto& each) { return each.p == listener; });
    return S_OK;
  }
  void report(const std::string& text, long rows, long code) {
    desk::StatementReport report;
    report.text = text.data();
    report.length = text.size();
    report.rows = rows;
    report.microseconds = 210;
    report.code = code;
    for (const auto& listener : listeners) listener->StatementRan(report);
  }

  std::vector<CComPtr<desk::IStatementListener>> listeners;
};

class AuthorPanelTest : public PagesTest {
 protected:
  AuthorPanelTest() {
    const auto factory = makeFactory([log = statements_] { return log; });
    CoRegisterClassObject(desk::kStatementLogClass, factory, CLSCTX_ALL, 0, &cookie_);
  }
  ~AuthorPanelTest() override { CoRevokeClassObject(cookie_); }

  /// Returns the texts of one kind that the page has got, without times.
  std::vector<json> takeKind(desk::PageNumber page, const std::string& kind) {
    std::vector<json> out;
    for (const std::string& text : server_->take(page)) {
      json message = json::parse(text);
      if (message.at("is") != kind) continue;
      for (json& entry : message["list"]) {
        entry.erase("microseconds");
        if (!entry.contains("sinks")) continue;
        for (json& sink : entry["sinks"]) sink.erase("microseconds");
      }
      out.push_back(std::move(message));
    }
    return out;
  }

  test::TempFolder folder_;
  test::ScopedVariable variable_{"QX_LOG_DIR", folder_.path().string()};
  CComPtr<FakeStatementLog> statements_ = makeObject<FakeStatementLog>();
  DWORD cookie_ = 0;
};

TEST_F(AuthorPanelTest, ListsTheEventsWithTheAnswerOfEachSink) {
  openOrder();
  openQuietly(1);
  const auto quiet = listen(desk_);
  const auto vetoing = listen(desk_, veto("before item 6 F_1.4"));
  ask(1, R"({"do":"panel","id":1,"shown":true})");
  say(1, R"({"do":"press","id":2,"form":"F_1","item":"4"})");
  pump();
  const auto texts = takeKind(1, "events");
  ASSERT_EQ(texts.size(), 1U);
  EXPECT_EQ(texts[0].dump(),
            R"({"is":"events","list":[{"before":true,"char":0,"column":"","depth":0,)"
            R"("form":"F_1","formType":"3101","item":"4","kind":"item","menu":"","name":"kClick",)"
            R"("number":1,"row":0,"sinks":[{"sink":1,"veto":false},{"sink":2,"veto":true}],)"
            R"("text":"","type":6,"veto":true}]})");
}

TEST_F(AuthorPanelTest, NamesEveryKindOfEvent) {
  openQuietly(1);
  ask(1, R"({"do":"panel","shown":true})");
  EventSource& events = desk_.events;
  events.raise(MenuEvent{u"3001"});
  events.raise(AppEvent{66});
  events.raise(StatusBarEvent{u"hello", 2});
  events.raise(ProgressBarEvent{});
  events.raise(PrintEvent{u"F_1"});
  events.raise(ReportDataEvent{u"F_1"});
  events.raise(RightClickEvent{u"F_1", u"4"});
  events.raise(FormDataEvent{u"F_1", u"31", u"7"});
  ItemEvent unknown;
  unknown.type = 999;
  unknown.formUid = u"F_1";
  events.raise(unknown);
  pump();
  std::string names;
  const auto texts = takeKind(1, "events");
  ASSERT_EQ(texts.size(), 1U);
  for (const json& event : texts[0].at("list")) {
    names += event.at("kind").get<std::string>() + " " + event.at("name").get<std::string>() + " " +
             event.at("menu").get<std::string>() + event.at("form").get<std::string>() +
             event.at("item").get<std::string>() + " " + event.at("text").get<std::string>() + "\n";
  }
  EXPECT_EQ(names,
            "menu kMenuEvent 3001 \n"
            "app kLanguageChanged  \n"
            "status kStatusBarEvent  hello\n"
            "progress kProgressBarEvent  \n"
            "print kPrintEvent F_1 \n"
            "report kReportDataEvent F_1 \n"
            "right kRightClickEvent F_14 \n"
            "data kFormDataEvent F_1 31 7\n"
            "item 999 F_1 \n");
}

TEST_F(AuthorPanelTest, NestedEventsKeepTheNumberOfTheirBeginning) {
  openQuietly(1);
  const auto sink = listen(desk_, [&](const std::string& words, bool&) {
    if (words == "app 66") desk_.events.raise(AppEvent{65});
  });
  ask(1, R"({"do":"panel","shown":true})");
  desk_.events.raise(AppEvent{66});
  pump();
  const auto texts = takeKind(1, "events");
  ASSERT_EQ(texts.size(), 1U);
  std::string order;
  for (const json& event : texts[0].at("list")) {
    order += event.at("number").dump() + ":" + event.at("depth").dump() + " ";
  }
  EXPECT_EQ(order, "2:1 1:0 ");
}

TEST_F(AuthorPanelTest, OnlyThePagesThatShowThePanelGetIt) {
  openQuietly(1);
  openQuietly(2);
  ask(1, R"({"do":"panel","shown":true})");
  desk_.events.raise(AppEvent{66});
  pump();
  EXPECT_EQ(takeKind(1, "events").size(), 1U);
  EXPECT_EQ(takeKind(2, "events").size(), 0U);
  ask(1, R"({"do":"panel","shown":false})");
  EXPECT_TRUE(statements_->listeners.empty());
  desk_.events.raise(AppEvent{66});
  pump();
  EXPECT_EQ(takeKind(1, "events").size(), 0U);
}

TEST_F(AuthorPanelTest, EndsWithItsLastPage) {
  openQuietly(1);
  openQuietly(2);
  ask(1, R"({"do":"panel","shown":true})");
  EXPECT_EQ(statements_->listeners.size(), 1U);
  close(1);
  pump();
  EXPECT_TRUE(statements_->listeners.empty());
}

TEST_F(AuthorPanelTest, KeepsTheLastThousandEventsOfALongTurnInSeveralTexts) {
  openQuietly(1);
  ask(1, R"({"do":"panel","shown":true})");
  for (int i = 0; i < 1200; ++i) desk_.events.raise(AppEvent{66});
  pump();
  const auto texts = takeKind(1, "events");
  ASSERT_EQ(texts.size(), 10U);
  EXPECT_EQ(texts.front().at("list").front().at("number"), 201);
  EXPECT_EQ(texts.back().at("list").back().at("number"), 1200);
}

TEST_F(AuthorPanelTest, ListsTheStatements) {
  openQuietly(1);
  ask(1, R"({"do":"panel","shown":true})");
  statements_->report("SELECT 1", 4, 0);
  statements_->report("SELEC", -1, -2007);
  tick();
  pump();
  const auto texts = takeKind(1, "statements");
  ASSERT_EQ(texts.size(), 1U);
  EXPECT_EQ(texts[0].at("list").at(0).dump(),
            R"({"error":"","number":1,"rows":4,"text":"SELECT 1"})");
  EXPECT_EQ(texts[0].at("list").at(1).at("rows"), -1);
  EXPECT_NE(texts[0].at("list").at(1).at("error"), "");
}

TEST_F(AuthorPanelTest, ShowsTheRecordsSinceItWasOpenedOncePerTick) {
  const std::string path = logFileOfThisProcess();
  const auto append = [&](const std::string& text) { std::ofstream(path, std::ios::app) << text; };
  append("before\n");
  openQuietly(1);
  ask(1, R"({"do":"panel","shown":true})");
  append("after \xFF\n");
  pump();
  EXPECT_EQ(taken(1), "");
  tick();
  pump();
  EXPECT_EQ(taken(1), "{\"is\":\"log\",\"text\":\"after \xEF\xBF\xBD\\n\"}\n");
}

}  // namespace
}  // namespace qx::screens
