#include "qxdesk/screens/browser/web_screens.h"

#include "qxdesk/screens/browser/test_support.h"
#include "qxdesk/screens/objects/test_support.h"
#include "qxframework/automation/class_object.h"
#include "testing/registry_in_use.h"
#include "testing/temp_folder.h"

namespace qx::screens {
namespace {

/// A client with the key `web` and a server that the test plays.
class WebClient : public testing::Test {
 protected:
  WebClient() {
    const auto factory = makeFactory([server = server_] { return server; });
    CoRegisterClassObject(desk::kWebServerClass, factory, CLSCTX_ALL, 0, &cookie_);
  }
  ~WebClient() override { CoRevokeClassObject(cookie_); }

  /// Connects and returns what is printed on both outputs.
  std::string connect(const std::string& more = "") {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    result_ = api_->Connect(CComBSTR(toUtf16("embedded:?db=a&appid=15&web=127.0.0.1:0" + more)));
    return testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr();
  }

  CComPtr<FakeServer> server_ = makeObject<FakeServer>();
  DWORD cookie_ = 0;
  CComPtr<IHalvexGuiApi> api_ = makeGuiApi();
  long result_ = 0;
};

TEST_F(WebClient, PrintsTheAddressToOpen) {
  EXPECT_EQ(connect(), "open http://127.0.0.1:5/?token=x in a browser\n");
  EXPECT_EQ(result_, 0);
  EXPECT_EQ(server_->listened, "127.0.0.1:0");
}

TEST_F(WebClient, IsRefusedIfTheServerDoesNotStart) {
  server_->started = E_FAIL;
  server_->words = u"the port is in use";
  EXPECT_EQ(connect(), "web=127.0.0.1:0: the port is in use\n");
  EXPECT_EQ(result_, kConnectionStringNotValid);
  EXPECT_EQ(raisedBy([&] { api_->GetApplication(-1); }), kGeneralFailure);
  server_->started = S_OK;
  server_->words = u"x";
  EXPECT_EQ(connect(), "open x in a browser\n");
}

TEST_F(WebClient, IsRefusedIfThereIsNoServer) {
  CoRevokeClassObject(cookie_);
  const test::TempFolder folder;
  const test::RegistryInUse registry(folder.write("registry.toml", ""));
  EXPECT_TRUE(connect().starts_with(
      "web: the web server of the host could not be loaded; install its library and name it in "
      "the registry file, or leave the key out. "));
  EXPECT_EQ(result_, kConnectionStringNotValid);
}

TEST_F(WebClient, ThePagesActOnTheDeskOfTheClient) {
  connect();
  auto app = api_->GetApplication(-1);
  server_->receiver->PageOpened(1);
  pump();
  server_->take(1);
  // An add-on's call is a change, and so is an action of a test's user.
  app->GetStatusBar()->SetText(u"Hello", 0, smt_Info);
  pump();
  const auto texts = server_->take(1);
  ASSERT_EQ(texts.size(), 1U);
  EXPECT_EQ(texts[0], R"({"is":"patch","number":2,"ops":[{"op":"add","path":"/messages/0","value":)"
                      R"({"kind":"info","text":"Hello"}},{"op":"replace","path":"/status/kind",)"
                      R"("value":"info"},{"op":"replace","path":"/status/number","value":1},)"
                      R"({"op":"replace","path":"/status/text","value":"Hello"}]})");
}

TEST_F(WebClient, SaysGoodbyeBeforeTheDeskGoes) {
  connect();
  server_->receiver->PageOpened(1);
  const std::string close = R"({"do":"menu","id":1,"uid":"3001"})";
  server_->receiver->PageSaid(1, close.data(), close.size());
  api_.Release();
  EXPECT_EQ(server_->take(0),
            std::vector<std::string>{R"({"is":"bye","why":"The client has ended."})"});
  EXPECT_EQ(server_->stops, 1);
  pump();
}

TEST_F(WebClient, TheScriptAnswersBoxesBeforeThePages) {
  const test::TempFolder folder;
  const std::string play = "&play=" + folder.write("play.txt", "answer 2\n").string();
  connect(play);
  auto app = api_->GetApplication(-1);
  app->PutStartupDone(VARIANT_TRUE);
  testing::internal::CaptureStdout();
  pump();
  testing::internal::GetCapturedStdout();
  server_->receiver->PageOpened(1);
  EXPECT_EQ(app->MessageBox(u"Sure?", 1, u"Yes", u"No", u""), 2);
  ScriptedClock clock;
  const ScopedClock scoped(clock);
  clock.steps = {[&] {
    const std::string answer = R"({"do":"answer","box":1,"button":2})";
    server_->receiver->PageSaid(1, answer.data(), answer.size());
  }};
  testing::internal::CaptureStdout();
  EXPECT_EQ(app->MessageBox(u"Again?", 1, u"Yes", u"No", u""), 2);
  testing::internal::GetCapturedStdout();
}

}  // namespace
}  // namespace qx::screens
