#include "qxdesk/screens/objects/client.h"

#include "qxdesk/screens/objects/test_support.h"
#include "qxframework/os/message_loop.h"
#include "testing/scoped_variable.h"
#include "testing/temp_folder.h"

namespace qx::screens {
namespace {

class PlayingClient : public testing::Test {
 protected:
  CComPtr<IApplication> connect(const std::string& script) {
    const auto api = makeGuiApi();
    const std::string connection =
        "embedded:?db=a&appid=11&play=" + folder_.write("play.txt", script).string();
    EXPECT_EQ(api->Connect(CComBSTR(toUtf16(connection))), 0);
    return api->GetApplication(-1);
  }
  /// Runs the queued tasks and those that they post. Returns the output.
  static std::string pump() {
    testing::internal::CaptureStdout();
    MSG message;
    // One call runs the tasks that are queued; those that they post need a further one.
    for (int calls = 0; calls < 10; ++calls) {
      while (PeekMessageW(&message, PM_REMOVE)) DispatchMessageW(&message);
    }
    return testing::internal::GetCapturedStdout();
  }

  test::TempFolder folder_;
};

TEST_F(PlayingClient, WaitsForTheStartAndPlaysInTheMessageLoop) {
  const auto app = connect("menu 3001\nprint forms\n");
  EXPECT_EQ(pump(), "");
  app->PutStartupDone(VARIANT_FALSE);
  EXPECT_EQ(pump(), "");
  app->PutStartupDone(VARIANT_TRUE);
  EXPECT_EQ(app->GetForms()->Count(), 1);
  EXPECT_EQ(pump(), "picked menu 3001\nF_0 169 \"Main Menu\"\nF_1 3101 \"Sales Order\" selected\n");
  app->PutStartupDone(VARIANT_TRUE);
  EXPECT_EQ(pump(), "");
}

TEST_F(PlayingClient, StopsPlayingWhenTheLastObjectIsGone) {
  auto app = connect("menu 1288\n");
  app->PutStartupDone(VARIANT_TRUE);
  app.Release();
  EXPECT_EQ(pump(), "");
}

TEST_F(PlayingClient, FinishesTheStepThatReleasesTheLastObject) {
  auto app = connect("shutdown\nprint forms\n");
  const CComQIPtr<IConnectionPointContainer> container(app.p);
  CComPtr<IConnectionPoint> point;
  container->FindConnectionPoint(DIID_IApplicationEvents, &point);
  const auto sink = makeObject<AutomationSink>([&](const std::string&, VARIANT_BOOL*) {
    const_cast<CComQIPtr<IConnectionPointContainer>&>(container).Release();
    point.Release();
    app.Release();
    return S_OK;
  });
  DWORD cookie = 0;
  point->Advise(sink.p, &cookie);
  app->PutStartupDone(VARIANT_TRUE);
  EXPECT_EQ(pump(), "shut the client down\nF_0 169 \"Main Menu\" selected\n");
}

TEST(SharedProgressBar, IsHeldByOneClientOfTheMachine) {
  const test::TempFolder folder;
  const test::ScopedVariable variable("QX_RUNTIME_DIR", folder.path().string());
  desk::ConnectionString connection;
  connection.database = "a";
  connection.appId = 12;
  connection.sharedProgressBar = true;
  {
    Client first(connection);
    Client second(connection);
    auto progress = first.desk().statusBar.createProgress(u"x", 1, false);
    EXPECT_EQ(raisedBy([&] { second.desk().statusBar.createProgress(u"x", 1, false); }),
              kGeneralFailure);
    progress->stop();
    EXPECT_NE(second.desk().statusBar.createProgress(u"x", 1, false), nullptr);
  }
}

}  // namespace
}  // namespace qx::screens
