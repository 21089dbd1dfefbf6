#include "qxdesk/screens/objects/application.h"

#include "qxdesk/screens/objects/test_support.h"
#include "qxdesk/session/login_context.h"
#include "qxdesk/session/ui_session.h"
#include "qxframework/automation/developer_trace.h"
#include "qxframework/automation/type_info.h"

namespace qx::screens {
namespace {

using Entry = EmbeddedTest;
using Application = EmbeddedTest;
using Events = EmbeddedTest;

TEST(EntryObject, RefusesAnInvalidConnectionString) {
  const auto api = makeGuiApi();
  EXPECT_EQ(api->Connect(u"nonsense"), kConnectionStringNotValid);
  EXPECT_EQ(api->Connect(CComBSTR()), kConnectionStringNotValid);
  EXPECT_EQ(raisedBy([&] { api->GetApplication(-1); }), kGeneralFailure);
}

TEST(EntryObject, RefusesAPlayScriptThatCannotBeRead) {
  const auto api = makeGuiApi();
  EXPECT_EQ(api->Connect(u"embedded:?db=a&appid=8&play=/nonexistent/p.txt"),
            kConnectionStringNotValid);
}

TEST_F(Entry, AcceptsAnyIdentifier) {
  EXPECT_EQ(api_->PutAddOnIdentifier(CComBSTR(std::u16string(88, u'A'))), S_OK);
  EXPECT_EQ(api_->PutAddOnIdentifier(CComBSTR()), S_OK);
}

TEST_F(Entry, ReturnsOnlyTheConnectedClient) {
  EXPECT_EQ(raisedBy([&] { api_->GetApplication(0); }), E_INVALIDARG);
}

TEST_F(Entry, TypeInformationLeadsToTheVersion) {
  for (IDispatch* object : {static_cast<IDispatch*>(api_.p), static_cast<IDispatch*>(app_.p)}) {
    CComPtr<ITypeInfo> info;
    ASSERT_EQ(object->GetTypeInfo(0, 0, &info), S_OK);
    CComPtr<ITypeLib> library;
    UINT index = 9;
    ASSERT_EQ(info->GetContainingTypeLib(&library, &index), S_OK);
    TLIBATTR* attributes = nullptr;
    ASSERT_EQ(library->GetLibAttr(&attributes), S_OK);
    EXPECT_EQ(attributes->wMajorVerNum, 9);
    EXPECT_EQ(attributes->wMinorVerNum, 20);
    library->ReleaseTLibAttr(attributes);
    EXPECT_EQ(object->GetTypeInfo(1, 0, &info), DISP_E_BADINDEX);
  }
}

TEST_F(Entry, ConnectionsWithOneApplicationIdShareAClient) {
  const auto second = makeGuiApi();
  ASSERT_EQ(second->Connect(u"embedded:?db=/data/x/../Harbour.db&appid=7&language=9"), 0);
  const auto other = second->GetApplication(-1);
  EXPECT_EQ(other->GetLanguage(), ln_English);
  app_->GetMenus()->Add(u"X", u"mine", mt_String, -1);
  EXPECT_NE(other->GetMenus()->Item(u"X"), nullptr);
  const auto third = makeGuiApi();
  ASSERT_EQ(third->Connect(u"embedded:?db=other&appid=6"), 0);
  EXPECT_EQ(third->GetApplication(-1)->GetMenus()->Item(u"X"), nullptr);
}

/// Keeps the developer's trace while it lives.
class Trace {
 public:
  Trace() {
    setDeveloperTraceSink([](std::u16string_view text) { lines += toUtf8(text); });
  }
  ~Trace() {
    setDeveloperTraceSink(nullptr);
    lines.clear();
  }
  Trace(const Trace&) = delete;
  Trace& operator=(const Trace&) = delete;

  static inline std::string lines;
};

TEST_F(Entry, AClientRefusesAConnectionToAnotherDatabase) {
  const Trace trace;
  const auto second = makeGuiApi();
  EXPECT_EQ(second->Connect(u"embedded:?appid=7&db=/data/Quay.db"), kConnectionStringNotValid);
  EXPECT_EQ(
      trace.lines,
      "the client with appid 7 was started with \"embedded:?db=/data/Harbour.db&appid=7\" and "
      "cannot be used with \"embedded:?appid=7&db=/data/Quay.db\"; give db, engine "
      "and accept the same values, or take another appid\n");
  EXPECT_EQ(raisedBy([&] { second->GetApplication(-1); }), kGeneralFailure);
}

TEST_F(Entry, AClientRefusesAConnectionWithAnotherEngine) {
  const Trace trace;
  EXPECT_EQ(makeGuiApi()->Connect(u"embedded:?db=/data/Harbour.db&engine=db2&appid=7"),
            kConnectionStringNotValid);
  EXPECT_EQ(
      trace.lines,
      "the client with appid 7 was started with \"embedded:?db=/data/Harbour.db&appid=7\" and "
      "cannot be used with \"embedded:?db=/data/Harbour.db&engine=db2&appid=7\"; give db, "
      "engine and accept the same values, or take another appid\n");
}

TEST_F(Entry, AClientRefusesAConnectionThatAcceptsOtherForms) {
  const Trace trace;
  EXPECT_EQ(makeGuiApi()->Connect(u"embedded:?db=/data/Harbour.db&accept=brackets&appid=7"),
            kConnectionStringNotValid);
  EXPECT_EQ(
      trace.lines,
      "the client with appid 7 was started with \"embedded:?db=/data/Harbour.db&appid=7\" and "
      "cannot be used with \"embedded:?db=/data/Harbour.db&accept=brackets&appid=7\"; give db, "
      "engine and accept the same values, or take another appid\n");
}

TEST(EntryObject, RefusesAnotherServerWithoutPrintingPasswords) {
  const Trace trace;
  const auto first = makeGuiApi();
  ASSERT_EQ(first->Connect(u"embedded:?db=odbc:DSN=a;Pwd=se%26cret&appid=13"), 0);
  const auto kept = first->GetApplication(-1);
  EXPECT_EQ(makeGuiApi()->Connect(u"embedded:?appid=13&db=odbc:DSN=b%25;Pwd=word&user=anna"),
            kConnectionStringNotValid);
  EXPECT_EQ(
      trace.lines,
      "the client with appid 13 was started with \"embedded:?db=odbc:DSN=a;Pwd=***&appid=13\" "
      "and cannot be used with \"embedded:?appid=13&db=odbc:DSN=b%25;Pwd=***&user=anna\"; "
      "give db, engine and accept the same values, or take another appid\n");
}

TEST_F(Entry, AClientThatChangedItsCompanyIsFoundByTheOldDatabaseAndTheNew) {
  EXPECT_EQ(user_->ChangeCompany(CComBSTR(u"/data/Quay.db")), S_OK);
  EXPECT_EQ(makeGuiApi()->Connect(u"embedded:?db=/data/Quay.db&appid=7"), 0);
  EXPECT_EQ(makeGuiApi()->Connect(u"embedded:?db=/data/Harbour.db&appid=7"), 0);
}

TEST_F(Entry, ClientEndsWithItsLastObject) {
  app_->GetMenus()->Add(u"X", u"mine", mt_String, -1);
  const auto held = app_->GetStatusBar();
  app_.Release();
  user_.Release();
  api_ = makeGuiApi();
  ASSERT_EQ(api_->Connect(u"embedded:?db=/data/Harbour.db&appid=7"), 0);
  EXPECT_NE(api_->GetApplication(-1)->GetMenus()->Item(u"X"), nullptr);
  api_.Release();
  const_cast<CComPtr<IStatusBar>&>(held).Release();
  api_ = makeGuiApi();
  ASSERT_EQ(api_->Connect(u"embedded:?db=/data/Harbour.db&appid=7"), 0);
  EXPECT_EQ(api_->GetApplication(-1)->GetMenus()->Item(u"X"), nullptr);
}

TEST_F(Application, ReportsUserCompanyAndLanguage) {
  EXPECT_EQ(app_->GetAppId(), 7);
  EXPECT_EQ(app_->GetLanguage(), ln_English);
  const auto company = app_->GetCompanyInfo();
  EXPECT_EQ(utf8(company->GetUserName()), "manager");
  EXPECT_EQ(utf8(company->GetCompanyName()), "Harbour");
  EXPECT_EQ(utf8(company->GetDatabaseName()), "Harbour");
  EXPECT_EQ(user_->ChangeLanguage(9), S_OK);
  EXPECT_EQ(app_->GetLanguage(), ln_German);
  EXPECT_EQ(user_->ChangeLanguage(4), E_INVALIDARG);
}

TEST_F(Application, EncodesTheLoginContextForTheCookie) {
  const desk::LoginTarget target{"/data/Harbour.db", 1, ln_English, u"manager", u"Harbour"};
  const CComBSTR context = app_->GetCompanyInfo()->GetConnectionContext(u"cookie");
  EXPECT_EQ(desk::decodeLoginContext(context.View(), u"cookie"), target);
  const CComQIPtr<desk::IUiSession> session(app_.p);
  CComBSTR direct;
  ASSERT_EQ(session->GetLoginContext(CComBSTR(u"other"), &direct), S_OK);
  EXPECT_EQ(desk::decodeLoginContext(direct.View(), u"other"), target);
  EXPECT_EQ(desk::decodeLoginContext(direct.View(), u"cookie"), std::nullopt);
}

TEST_F(Application, KeepsTheStartUpFlag) {
  EXPECT_EQ(app_->GetStartupDone(), VARIANT_FALSE);
  app_->PutStartupDone(VARIANT_TRUE);
  EXPECT_EQ(app_->GetStartupDone(), VARIANT_TRUE);
}

TEST_F(Application, BoxesTakeTheQueuedAnswers) {
  EXPECT_EQ(user_->QueueAnswer(2), S_OK);
  EXPECT_EQ(user_->QueueAnswer(4), E_INVALIDARG);
  EXPECT_EQ(app_->MessageBox(u"Exit?", 1, u"Exit", u"Upgrade", u""), 2);
  CComBSTR text;
  ASSERT_EQ(user_->GetLastBoxText(&text), S_OK);
  EXPECT_EQ(utf8(text), "Exit?");
  EXPECT_EQ(app_->MessageBox(u"Init", 1, u"OK", CComBSTR(), CComBSTR()), 1);
}

class Answerer final : public ComObject<desk::IBoxAnswerer> {
 public:
  HRESULT AnswerBox(BSTR text, long, long* button) override {
    if (viewOfBstr(text) != u"known") return S_FALSE;
    *button = 3;
    return S_OK;
  }
};

TEST_F(Application, BoxesAskTheAnswerer) {
  ASSERT_EQ(user_->SetBoxAnswerer(makeObject<Answerer>()), S_OK);
  EXPECT_EQ(app_->MessageBox(u"known", 1, u"a", u"b", u"c"), 3);
  EXPECT_EQ(app_->MessageBox(u"unknown", 2, u"a", u"b", u"c"), 2);
  EXPECT_EQ(user_->SetBoxAnswerer(nullptr), S_OK);
  EXPECT_EQ(app_->MessageBox(u"known", 1, u"a", u"b", u"c"), 1);
}

TEST_F(Application, ReportsBatchesByCodeAndDocument) {
  EXPECT_EQ(app_->LoadBatchActions(u"<Application/>"), S_OK);
  EXPECT_EQ(utf8(app_->GetLastBatchResults()), R"(<result actions="0" applied="0" failed="0"/>)");
  EXPECT_EQ(raisedBy([&] { app_->LoadBatchActions(CComBSTR()); }), kCannotLoadXml);
}

TEST_F(Application, ProgressBarHasOneHolder) {
  const auto bar = app_->GetStatusBar();
  auto progress = bar->CreateProgressBar(u"Check database", 1, VARIANT_FALSE);
  EXPECT_EQ(raisedBy([&] { bar->CreateProgressBar(u"x", 1, VARIANT_FALSE); }), kGeneralFailure);
  progress->PutText(u"half");
  progress->PutValue(1);
  EXPECT_EQ(progress->GetValue(), 1);
  CComBSTR status;
  user_->PrintStatus(&status);
  EXPECT_EQ(utf8(status), "progress \"half\" 1/1\n");
  progress->Stop();
  auto next = bar->CreateProgressBar(u"x", 1, VARIANT_FALSE);
  next.Release();
  EXPECT_NE(bar->CreateProgressBar(u"x", 1, VARIANT_FALSE), nullptr);
}

TEST_F(Application, UserMovesTheFocusByTheTabKey) {
  openOrder();
  CComBSTR form(u"F_1");
  VARIANT_BOOL done = VARIANT_FALSE;
  const auto focus = [&] {
    CComBSTR item;
    EXPECT_EQ(user_->GetFocus(form, &item), S_OK);
    return utf8(item);
  };
  EXPECT_EQ(focus(), "");
  EXPECT_EQ(user_->PressItem(form, CComBSTR(u"4"), &done), S_OK);
  EXPECT_EQ(user_->PressTab(form, &done), S_OK);
  EXPECT_EQ(done, VARIANT_TRUE);
  EXPECT_EQ(focus(), "5");
  EXPECT_EQ(user_->PressBackTab(form, &done), S_OK);
  EXPECT_EQ(done, VARIANT_TRUE);
  EXPECT_EQ(focus(), "4");
  EXPECT_EQ(user_->PressBackTab(form, nullptr), E_POINTER);
  EXPECT_EQ(user_->PressTab(CComBSTR(u"none"), &done), kInvalidForm);
  EXPECT_EQ(user_->PressTab(form, nullptr), E_POINTER);
  CComBSTR item;
  EXPECT_EQ(user_->GetFocus(CComBSTR(u"none"), &item), kInvalidForm);
  EXPECT_EQ(user_->GetFocus(form, nullptr), E_POINTER);
}

TEST_F(Application, UserClicksCellsWithKeysHeldDown) {
  openOrder();
  CComBSTR form(u"F_1");
  CComBSTR matrix(u"20");
  CComBSTR column(u"1");
  VARIANT_BOOL done = VARIANT_FALSE;
  const auto click = [&](long keys) {
    return user_->ClickCellWithKeys(form, matrix, column, 1, keys, &done);
  };
  for (const long keys : {0L, +desk::kShiftKey, +desk::kCtrlKey, 3L}) {
    EXPECT_EQ(click(keys), S_OK) << keys;
    EXPECT_EQ(done, VARIANT_TRUE) << keys;
  }
  EXPECT_EQ(click(4), E_INVALIDARG);
  EXPECT_EQ(click(-1), E_INVALIDARG);
  EXPECT_EQ(user_->ClickCellWithKeys(form, matrix, column, 1, 0, nullptr), E_POINTER);
}

TEST_F(Application, ShowsMessagesInTheStatusBar) {
  app_->GetStatusBar()->SetText(u"wrong count", 20, smt_Error);
  EXPECT_EQ(raisedBy([&] {
              app_->GetStatusBar()->SetText(u"x", 20, static_cast<HvStatusBarMessageType>(9));
            }),
            E_INVALIDARG);
  CComBSTR status;
  user_->PrintStatus(&status);
  EXPECT_EQ(utf8(status), "error: wrong count\n");
}

TEST_F(Application, CallGateRefusesACall) {
  desk::CallGate& gate = desk::CallGate::instance();
  gate.refuse(2, E_ACCESSDENIED);
  EXPECT_EQ(raisedBy([&] { app_->GetAppId(); }), S_OK);
  EXPECT_EQ(raisedBy([&] { app_->GetForms(); }), E_ACCESSDENIED);
  EXPECT_EQ(raisedBy([&] { app_->GetForms(); }), S_OK);
  EXPECT_EQ(gate.count(), 3);
  CComBSTR menus;
  user_->PrintMenus(&menus);
  EXPECT_EQ(gate.count(), 3);
}

TEST_F(Application, RefusesNullOutPointers) {
  EXPECT_EQ(app_->raw_GetForms(nullptr), E_POINTER);
  EXPECT_EQ(app_->raw_GetAppId(nullptr), E_POINTER);
  EXPECT_EQ(app_->raw_GetLastBatchResults(nullptr), E_POINTER);
  EXPECT_EQ(app_->GetCompanyInfo()->raw_GetUserName(nullptr), E_POINTER);
  EXPECT_EQ(user_->PickMenu(CComBSTR(u"1288"), nullptr), E_POINTER);
}

TEST_F(Events, ArriveWithTheArgumentsInReverseOrderAndTheVetoByReference) {
  const auto form = openOrder();
  const auto sink = listen();
  VARIANT_BOOL done = VARIANT_FALSE;
  user_->PickMenu(CComBSTR(u"1288"), &done);
  user_->KeyDown(CComBSTR(u"F_1"), CComBSTR(u"4"), 65, &done);
  user_->RightClick(CComBSTR(u"F_1"), CComBSTR(u"4"), &done);
  user_->FireFormData(CComBSTR(u"F_1"), CComBSTR(u"17"), CComBSTR(u"99"), &done);
  user_->FireStatusBar(CComBSTR(u"saved"), smt_Info);
  user_->FireProgressBar(&done);
  user_->FirePrint(CComBSTR(u"F_1"), &done);
  user_->FireReportData(CComBSTR(u"F_1"), &done);
  user_->ChangeCompany(CComBSTR(u"/data/Quay.db"));
  user_->Shutdown();
  user_->ServerTermination();
  EXPECT_EQ(sink->log, (Log{"101(before 1288, -1)",
                            "101(after 1288, -1)",
                            "100(F_1, before 2 3101 F_1.4..0.65, -1)",
                            "100(F_1, after 2 3101 F_1.4..0.65, -1)",
                            "107(before F_1.4, -1)",
                            "107(after F_1.4, -1)",
                            "108(before F_1 17 99, -1)",
                            "108(after F_1 17 99, -1)",
                            "103(saved, 3)",
                            "104(object, -1)",
                            "104(object, -1)",
                            "105(object, -1)",
                            "105(object, -1)",
                            "106(object, -1)",
                            "106(object, -1)",
                            "102(65)",
                            "100(F_1, before 20 3101 F_1...0.0, -1)",
                            "100(F_1, after 20 3101 F_1...0.0, -1)",
                            "100(F_1, before 17 3101 F_1...0.0, -1)",
                            "100(F_1, after 17 3101 F_1...0.0, -1)",
                            "102(64)",
                            "102(67)"}));
}

TEST_F(Events, VetoCountsOnlyBeforeTheAction) {
  openOrder();
  listen([](const std::string& words, VARIANT_BOOL* veto) {
    const bool stop = words.starts_with("100(F_1, before 1 ") || words.find("after") != words.npos;
    if (veto != nullptr && stop) *veto = VARIANT_FALSE;
    return S_OK;
  });
  VARIANT_BOOL done = VARIANT_TRUE;
  EXPECT_EQ(user_->PressItem(CComBSTR(u"F_1"), CComBSTR(u"1"), &done), S_OK);
  EXPECT_EQ(done, VARIANT_FALSE);
  EXPECT_EQ(user_->KeyDown(CComBSTR(u"F_1"), CComBSTR(u"4"), 65, &done), S_OK);
  EXPECT_EQ(done, VARIANT_TRUE);
}

TEST_F(Events, SinkThatFailsOrThrowsDoesNotVeto) {
  const auto failing = listen([](const std::string&, VARIANT_BOOL* veto) {
    *veto = VARIANT_FALSE;
    return E_FAIL;
  });
  const auto throwing = listen([](const std::string&, VARIANT_BOOL*) -> HRESULT { throw 42; });
  VARIANT_BOOL done = VARIANT_FALSE;
  EXPECT_EQ(user_->PickMenu(CComBSTR(u"1288"), &done), S_OK);
  EXPECT_EQ(done, VARIANT_TRUE);
  EXPECT_EQ(failing->log.size(), 2U);
  EXPECT_EQ(throwing->log.size(), 2U);
}

TEST_F(Events, SinkMayUnadviseItselfDuringAnEvent) {
  const auto sink =
      listen([this](const std::string&, VARIANT_BOOL*) { return point()->Unadvise(cookie_); });
  user_->Shutdown();
  user_->Shutdown();
  EXPECT_EQ(sink->log, (Log{"102(64)"}));
  EXPECT_EQ(point()->Unadvise(cookie_), CONNECT_E_NOCONNECTION);
  long count = -1;
  user_->GetSinkCount(&count);
  EXPECT_EQ(count, 0);
}

TEST_F(Events, OnlyTheEventInterfaceHasAConnectionPoint) {
  IID iid{};
  EXPECT_EQ(point()->GetConnectionInterface(&iid), S_OK);
  EXPECT_EQ(iid, DIID_IApplicationEvents);
  CComQIPtr<IConnectionPointContainer> container(app_.p);
  CComPtr<IConnectionPoint> none;
  EXPECT_EQ(container->FindConnectionPoint(IDispatch::kIid, &none), CONNECT_E_NOCONNECTION);
  DWORD cookie = 0;
  EXPECT_EQ(point()->Advise(nullptr, &cookie), E_POINTER);
  EXPECT_EQ(point()->Advise(makeObject<Answerer>(), &cookie), CONNECT_E_CANNOTCONNECT);
}

TEST_F(Events, HandlerMayActDuringAnEvent) {
  const auto sink = listen([this](const std::string& words, VARIANT_BOOL*) {
    if (words != "101(before 43523, -1)") return S_OK;
    VARIANT_BOOL done = VARIANT_FALSE;
    return user_->PickMenu(CComBSTR(u"1288"), &done);
  });
  VARIANT_BOOL done = VARIANT_FALSE;
  user_->PickMenu(CComBSTR(u"43523"), &done);
  EXPECT_EQ(sink->log, (Log{"101(before 43523, -1)", "101(before inner 1288, -1)",
                            "101(after inner 1288, -1)", "101(after 43523, -1)"}));
}

TEST_F(Application, DrawsAFormForItsUser) {
  app_->LoadBatchActions(
      CComBSTR(u"<Application><forms><action type=\"add\"><form uid=\"A\" title=\"T\" width=\"88\" "
               u"height=\"42\"><items><action type=\"add\"><item type=\"16\" uid=\"E\" left=\"8\" "
               u"width=\"64\" height=\"14\"/></action></items></form></action></forms>"
               u"</Application>"));
  VARIANT_BOOL done = VARIANT_FALSE;
  ASSERT_EQ(user_->TypeInto(CComBSTR(u"A"), CComBSTR(u"E"), CComBSTR(u"ab"), &done), S_OK);
  ASSERT_EQ(user_->FireStatusBar(CComBSTR(u"saved"), smt_Info), S_OK);
  CComBSTR drawing;
  ASSERT_EQ(user_->DrawForm(CComBSTR(u"A"), &drawing), S_OK);
  EXPECT_EQ(toUtf8(drawing.View()), "+- T ------+\n| {ab____} |\n+----------+\n info: saved\n");
  EXPECT_EQ(user_->DrawForm(CComBSTR(u"B"), &drawing), kInvalidForm);
  EXPECT_EQ(user_->DrawForm(CComBSTR(u"A"), nullptr), E_POINTER);
}

TEST_F(Events, HandlerMayReleaseTheLastObjectOfTheClient) {
  listen([this](const std::string&, VARIANT_BOOL*) {
    app_.Release();
    api_.Release();
    user_.Release();
    return S_OK;
  });
  desk::IDeskUser* user = user_.p;
  EXPECT_EQ(user->Shutdown(), S_OK);
  EXPECT_EQ(user_, nullptr);
}

}  // namespace
}  // namespace qx::screens
