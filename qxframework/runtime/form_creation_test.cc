// The creation of a form, step by step, with a client that opens the form of the document it gets.

#include "qxframework/automation/class_object.h"
#include "qxframework/forms/addon_xml_form.h"
#include "qxframework/logging/function_log.h"
#include "qxframework/runtime/addon_fixture.h"
#include "qxframework/runtime/addon_form.h"
#include "qxframework/runtime/framework_host_fixture.h"
#include "testing/fake_events.h"
#include "testing/raised_by.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

namespace qx::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Strings = std::vector<std::string>;

constexpr char16_t kDocument[] =
    u"<Application><forms><action type=\"add\"><form uid=\"TST\" title=\"TST_TITLE\"/></action>"
    u"</forms></Application>";

/// A form whose document is a text, and whose hooks run what a test wants.
class CreatedForm final : public TestForm {
 public:
  CreatedForm(FakeHost& host, const CQXAddOn* addOn) : TestForm(host, addOn, nullptr) {
    m_bstrXML = kDocument;
  }
  ~CreatedForm() override { s_count -= raised; }
  bool CreateXMLForm(CQXAddOnXMLForm** xmlForm) override {
    return hasDocument && TestForm::CreateXMLForm(xmlForm);
  }
  long OnCreateForm(CQXAddOnXMLForm* xmlForm) override {
    document = xmlForm;
    return runHook(host_, hooks, "OnCreateForm");
  }
  long OnFormLoaded() override { return runHook(host_, hooks, "OnFormLoaded"); }
  void InitFormType() override {
    TestForm::InitFormType();
    m_bstrFormType = type;
  }
  // The count is this test's own, so that it begins at 0 in each test.
  long IncrementInstance() override { return ++raised, ++s_count; }
  long DecrementInstance() override { return --raised, --s_count; }

  using TestForm::m_bstrXML;
  using TestForm::m_lInstance;
  using TestForm::m_ptrApp;
  using TestForm::m_ptrCompany;
  using TestForm::m_ptrForm;
  using TestForm::m_vecXMLMap;

  bool hasDocument = true;
  CComBSTR type{u"TST"};
  CQXAddOnXMLForm* document = nullptr;
  int raised = 0;  // by this object and not lowered

  static inline long s_count = 0;
};

class Internal final : public CQXAddOnFormInternal {
  DECLARE_XML_FORM_EX(u"QX_T", 500, u"QX", {u"A", 1, u""})

 public:
  using CQXAddOnFormInternal::CQXAddOnFormInternal;
  long OnItemEvent(CComPtr<IItemEvent>, short*) override { return S_OK; }
  long resource() const { return m_lResourceId; }
};

std::string wordsOf(unsigned long code) { return toUtf8(CReturnValue<long>::xstrerror(code)); }

class FormCreation : public testing::Test {
 protected:
  FormCreation() {
    addOn.Connect(0);
    createInstance(CLSID_HalvexCompany, CLSCTX_SERVER, &company.p);
    host.application->onBatch = [this](std::u16string_view xml) { open(xml); };
    form = std::make_unique<CreatedForm>(host, &addOn);
    host.calls.clear();
    log.records.clear();
  }
  /// Opens the form of the document in the client.
  void open(std::u16string_view xml) {
    const std::size_t at = xml.find(u"uid=\"") + 5;
    host.addForm(std::u16string(xml.substr(at, xml.find(u'"', at) - at)));
  }
  long create() { return form->CreateForm(host.application.p, company); }
  HRESULT createRaises() {
    return raisedBy([this] { create(); });
  }
  /// Lets the client raise the unload event of a form.
  void unload(const OLECHAR* uid) {
    CComVariant text(uid);
    CComVariant event(static_cast<IDispatch*>(makeObject<FakeItemEvent>(kFormUnload, false).p));
    VARIANT_BOOL bubble = VARIANT_TRUE;
    VARIANT veto{};
    veto.vt = VT_BYREF | VT_BOOL;
    veto.pboolVal = &bubble;
    host.fire(kItemEvent, {text, event, veto});
  }
  bool isRegistered(const OLECHAR* uid) {
    for (const CComPtr<FakeForm>& each : host.application->forms) each->selected = each->uid == uid;
    CQXAddOnForm* found = nullptr;
    return addOn.GetSelectedForm(u"EXT", found) == 0;
  }
  Strings messages(std::u16string_view function) const { return messagesOf(log, function); }
  Strings creationLog() const { return messages(u"CQXAddOnForm::CreateForm"); }

  RecordingLogger log;
  FrameworkHost host;
  TestAddOn addOn{host};
  CComPtr<ICompany> company;
  std::unique_ptr<CreatedForm> form;
};

TEST_F(FormCreation, OpensHiddenThenInitialisesRegistersAndShows) {
  EXPECT_EQ(create(), 0);
  EXPECT_THAT(host.calls, ElementsAre("OnCreateForm",
                                      "App.LoadBatchActions(<Application>\n"
                                      "  <forms>\n"
                                      "    <action type=\"add\">\n"
                                      "      <form uid=\"TST_1\" title=\"Title\" visible=\"0\">\n"
                                      "        <datasources>\n"
                                      "          <dbdatasources>\n"
                                      "            <action type=\"add\"/>\n"
                                      "          </dbdatasources>\n"
                                      "          <userdatasources>\n"
                                      "            <action type=\"add\"/>\n"
                                      "          </userdatasources>\n"
                                      "        </datasources>\n"
                                      "        <items>\n"
                                      "          <action type=\"add\"/>\n"
                                      "        </items>\n"
                                      "      </form>\n"
                                      "    </action>\n"
                                      "  </forms>\n"
                                      "</Application>\n)",
                                      ".OnInitForm", "OnFormLoaded", "Form.PutVisible(-1)"));
  EXPECT_EQ(form->m_lInstance, 1);
  EXPECT_EQ(form->m_ptrCompany, company);
  EXPECT_EQ(form->m_ptrApp.p, host.application.p);
  EXPECT_EQ(form->m_vecXMLMap.size(), 3U);
  EXPECT_TRUE(isRegistered(u"TST_1"));
  EXPECT_THAT(creationLog(), ElementsAre("LoadBatchActions returned: <result/>\n"));
}

TEST_F(FormCreation, OfAResourceThatIsMissingThrowsOutOfCreateForm) {
  form->m_bstrXML = CComBSTR();
  EXPECT_EQ(createRaises(), E_INVALIDARG);
  EXPECT_THAT(host.calls, IsEmpty());
  EXPECT_THAT(creationLog(), IsEmpty());
  EXPECT_EQ(CreatedForm::s_count, 0);
}

TEST_F(FormCreation, UsesTheLanguageOfTheClientAndTheLoaderOfTheAddOn) {
  host.application->language = ln_German;
  form->m_bstrXML = CComBSTR(
      u"<Application><forms><action><form uid=\"A\" title=\"TST_OK\"/></action></forms>"
      u"</Application>");
  form->m_vecXMLMap.emplace_back(u"TST_OK", 223, u"");
  std::u16string xml;
  host.application->onBatch = [&](std::u16string_view text) { open(xml = text); };
  EXPECT_EQ(create(), 0);
  EXPECT_NE(xml.find(u"title=\"Datenbank prüfen\""), std::u16string::npos) << toUtf8(xml);
}

TEST_F(FormCreation, LetsOnCreateFormChangeTheDocument) {
  form->hooks["OnCreateForm"] = [this](short*) {
    form->document->AddButton(u"5", u"Go", 1, 2, 0, 0, u"", 30, 10);
    return 0L;
  };
  std::u16string xml;
  host.application->onBatch = [&](std::u16string_view text) { open(xml = text); };
  create();
  EXPECT_NE(xml.find(u"caption=\"Go\""), std::u16string::npos) << toUtf8(xml);
}

TEST_F(FormCreation, WithoutADocumentFails) {
  form->hasDocument = false;
  EXPECT_EQ(createRaises(), E_FAIL);
  EXPECT_THAT(creationLog(), ElementsAre("OnCreateForm() failed.\n"));
  EXPECT_THAT(host.calls, IsEmpty());
  EXPECT_EQ(CreatedForm::s_count, 0);
}

TEST_F(FormCreation, ThatOnCreateFormRefusesLeavesNoFormAndDoesNotCount) {
  form->hooks["OnCreateForm"] = [](short*) { return E_ACCESSDENIED; };
  EXPECT_EQ(createRaises(), E_ACCESSDENIED);
  EXPECT_THAT(host.calls, ElementsAre("OnCreateForm"));
  EXPECT_THAT(creationLog(), ElementsAre("OnCreateForm() failed.\n"));
  EXPECT_EQ(CreatedForm::s_count, 0);
}

TEST_F(FormCreation, ThatTheClientRefusesLogsTheReasonAndStaysCounted) {
  host.failures["App.LoadBatchActions"] = E_INVALIDARG;
  EXPECT_EQ(createRaises(), E_INVALIDARG);
  EXPECT_THAT(
      creationLog(),
      ElementsAre("LoadBatchActions() failed (form type = TST): " + wordsOf(0x80070057) + "\n"));
  EXPECT_EQ(CreatedForm::s_count, 1);
}

TEST_F(FormCreation, FailsWhenTheClientHasNoSuchForm) {
  host.application->onBatch = nullptr;
  EXPECT_EQ(createRaises(), E_POINTER);
  EXPECT_THAT(
      creationLog(),
      ElementsAre("LoadBatchActions returned: <result/>\n",
                  "LoadBatchActions succeeded but form does not exist!\n",
                  "LoadBatchActions() failed (form type = TST): " + wordsOf(0x80004003) + "\n"));
  EXPECT_EQ(CreatedForm::s_count, 1);
}

TEST_F(FormCreation, FailsWithTheClientAtEveryCall) {
  for (const char* call : {"App.GetLastBatchResults", "App.GetForms", "Forms.Item"}) {
    host.failures[call] = E_ABORT;
    EXPECT_EQ(createRaises(), E_ABORT) << call;
    host.failures.clear();
    EXPECT_FALSE(isRegistered(u"TST_1")) << call;
    form = std::make_unique<CreatedForm>(host, &addOn);
  }
}

TEST_F(FormCreation, ThatOnInitFormRefusesClosesTheHiddenFormAndStaysCounted) {
  form->hooks["OnInitForm"] = [](short*) { return E_ACCESSDENIED; };
  EXPECT_EQ(createRaises(), E_ACCESSDENIED);
  EXPECT_EQ(host.calls.back(), "Form.Close(TST_1)");
  EXPECT_EQ(creationLog().back(), "OnInitForm() failed (form type = TST).\n");
  EXPECT_FALSE(isRegistered(u"TST_1"));
  EXPECT_EQ(CreatedForm::s_count, 1);
}

TEST_F(FormCreation, ThatCannotBeRegisteredClosesTheForm) {
  TestAddOn unconnected(host);
  form = std::make_unique<CreatedForm>(host, &unconnected);
  EXPECT_EQ(createRaises(), E_FAIL);
  EXPECT_EQ(host.calls.back(), "Form.Close(TST_1)");
  EXPECT_EQ(creationLog().back(), "RegisterForm() failed (form type = TST).\n");
  EXPECT_THAT(messages(u"QXAddOnForm::RegisterForm"), ElementsAre("Register form failed.\n"));
  form.reset();
}

TEST_F(FormCreation, WhoseOnFormLoadedFailsClosesTheFormAndSucceeds) {
  form->hooks["OnFormLoaded"] = [](short*) { return E_ACCESSDENIED; };
  EXPECT_EQ(create(), 0);
  EXPECT_EQ(creationLog().back(), "OnFormLoaded() failed (form type = TST).\n");
  EXPECT_THAT((Strings{host.calls.end() - 2, host.calls.end()}),
              ElementsAre("Form.Close(TST_1)", "Form.PutVisible(-1)"));
}

TEST_F(FormCreation, PassesOnWhatTheClientSaysToShowingAClosedForm) {
  form->hooks["OnFormLoaded"] = [](short*) { return E_ACCESSDENIED; };
  host.failures["Form.PutVisible"] = E_UNEXPECTED;
  EXPECT_EQ(createRaises(), E_UNEXPECTED);
}

TEST_F(FormCreation, TreatsAHookThatThrowsAsOneThatFails) {
  for (const std::string hook : {"OnCreateForm", "OnInitForm"}) {
    for (const auto& [what, thrower] : throwers()) {
      form->hooks[hook] = thrower;
      EXPECT_EQ(createRaises(), E_FAIL) << hook << " throws " << what;
      form = std::make_unique<CreatedForm>(host, &addOn);
    }
    form->hooks[hook] = [](short*) -> long { throw _com_error(E_ABORT); };
    EXPECT_EQ(createRaises(), E_ABORT) << hook;
    form = std::make_unique<CreatedForm>(host, &addOn);
  }
}

TEST_F(FormCreation, HandsOnAPositiveResultOfAHook) {
  form->hooks["OnFormLoaded"] = [](short*) { return 5L; };
  EXPECT_EQ(create(), 5);
}

TEST_F(FormCreation, CutsALongUidAndFindsTheFormByIt) {
  form->type = u"XXXXXXXX";
  CreatedForm::s_count = 9;
  EXPECT_EQ(create(), 0);
  EXPECT_EQ(form->m_lInstance, 10);
  EXPECT_EQ(host.application->forms.back()->uid, u"XXXXXXXX_1");
  CreatedForm::s_count -= 9;
}

TEST_F(FormCreation, WithoutAnApplicationIsRefused) {
  EXPECT_EQ(raisedBy([this] { form->CreateForm(nullptr, company); }), E_POINTER);
}

TEST_F(FormCreation, OfAFormThatClosesItselfDeletesItAfterTheReturn) {
  CreatedForm* const raw = form.get();
  form->hooks["OnFormLoaded"] = [this](short*) {
    unload(u"TST_1");
    host.calls.emplace_back("still alive");
    return 0L;
  };
  EXPECT_EQ(openForm(std::move(form), host.application.p, company), nullptr);
  EXPECT_FALSE(CQXAddOnForm::IsLive(raw));
  EXPECT_THAT(
      (Strings{host.calls.end() - 5, host.calls.end()}),
      ElementsAre(".OnItemEvent", ".OnUnloadForm", "still alive", "Form.PutVisible(-1)", ".~Form"));
  EXPECT_EQ(CreatedForm::s_count, 0);
}

TEST_F(FormCreation, ThatThrowsLeavesAClosedFormToTheCaller) {
  form->hooks["OnFormLoaded"] = [this](short*) {
    unload(u"TST_1");
    return 0L;
  };
  host.failures["Form.PutVisible"] = E_UNEXPECTED;
  EXPECT_EQ(createRaises(), E_UNEXPECTED);
  EXPECT_TRUE(CQXAddOnForm::IsLive(form.get()));
  form.reset();
  EXPECT_EQ(CreatedForm::s_count, 0);
}

TEST_F(FormCreation, GivesAnOpenFormToTheSink) {
  CreatedForm* const opened = openForm(std::move(form), host.application.p, company);
  ASSERT_NE(opened, nullptr);
  EXPECT_TRUE(CQXAddOnForm::IsLive(opened));
  unload(u"TST_1");
  EXPECT_FALSE(CQXAddOnForm::IsLive(opened));
}

TEST_F(FormCreation, OfAFailedFormDeletesItAndThrows) {
  CreatedForm* const raw = form.get();
  host.failures["App.LoadBatchActions"] = E_INVALIDARG;
  EXPECT_EQ(raisedBy([this] { openForm(std::move(form), host.application.p, company); }),
            E_INVALIDARG);
  EXPECT_FALSE(CQXAddOnForm::IsLive(raw));
}

TEST_F(FormCreation, AFormDestroyedWhileItIsOpenGetsNoMoreEvents) {
  create();
  EXPECT_TRUE(isRegistered(u"TST_1"));
  form.reset();
  host.calls.clear();
  EXPECT_FALSE(isRegistered(u"TST_1"));
  unload(u"TST_1");
  EXPECT_THAT(host.calls, IsEmpty());
}

TEST_F(FormCreation, AFormMayDeleteItselfInItsUnloadEvent) {
  create();
  form->hooks["OnItemEvent"] = [this](short*) {
    form.reset();
    return 0L;
  };
  host.calls.clear();
  unload(u"TST_1");
  EXPECT_THAT(host.calls, ElementsAre(".OnItemEvent", ".~Form"));
}

TEST_F(FormCreation, ADestroyedFormIsNoLongerAParentOrAChild) {
  class Related final : public TestForm {
   public:
    using TestForm::m_pChild;
    using TestForm::m_pParent;
    using TestForm::TestForm;
  };
  Related parent(host, &addOn, nullptr);
  Related child(host, &addOn, nullptr);
  parent.PutChild(form.get());
  child.PutParent(form.get());
  form.reset();
  EXPECT_EQ(parent.m_pChild, nullptr);
  EXPECT_EQ(child.m_pParent, nullptr);
}

TEST_F(FormCreation, OfAFrameworkFormReadsTheResourcesOfTheFramework) {
  Internal internal(&addOn);
  EXPECT_EQ(internal.resource(), -1);
  // The resource is a menu, so it is found and lacks <forms>.
  EXPECT_EQ(raisedBy([&] { internal.CreateForm(host.application.p, company); }), E_INVALIDARG);
  EXPECT_THAT(messages(u"CQXAddOnXMLForm::Construct"), ElementsAre("<forms> node not found.\n"));
}

}  // namespace
}  // namespace qx::test
