#include "qxframework/runtime/addon_form.h"

#include "qxframework/automation/class_object.h"
#include "qxframework/logging/result_names.h"
#include "qxframework/runtime/addon_fixture.h"
#include "qxframework/runtime/framework_host_fixture.h"
#include "testing/raised_by.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

namespace qx::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Strings = std::vector<std::string>;

/// Makes protected operations accessible to the tests.
class OpenForm final : public TestForm {
 public:
  using CQXAddOnForm::CreateUID;
  using CQXAddOnForm::m_bstrCopyKey;
  using CQXAddOnForm::m_bstrFormType;
  using CQXAddOnForm::m_bstrKey;
  using CQXAddOnForm::m_bstrXML;
  using CQXAddOnForm::m_InitialFormMode;
  using CQXAddOnForm::m_lInstance;
  using CQXAddOnForm::m_lResourceId;
  using CQXAddOnForm::m_pChild;
  using CQXAddOnForm::m_pParent;
  using CQXAddOnForm::m_ptrCompany;
  using CQXAddOnForm::m_ptrForm;
  using CQXAddOnForm::m_strExtId;
  using CQXAddOnForm::m_vecXMLMap;
  using TestForm::TestForm;
};

class PlainForm final : public CQXAddOnForm {
  DECLARE_XML_FORM(u"PLAIN", 7, {u"PLN_TITLE", 8, u"Plain"})

 public:
  explicit PlainForm(const CQXAddOn* addOn) : CQXAddOnForm(addOn, 1) {}
  long OnItemEvent(CComPtr<IItemEvent>, short*) override { return S_OK; }
  std::u16string extId() const { return m_strExtId; }
};

class AddOnFormTest : public testing::Test {
 protected:
  AddOnFormTest() {
    addOn.Connect(0);
    createInstance(CLSID_HalvexCompany, CLSCTX_SERVER, &company.p);
    hostForm = &host.addForm(u"F1", true);
    form = std::make_unique<OpenForm>(host, &addOn, nullptr);
    host.calls.clear();
    log.records.clear();
  }
  long attach() { return form->InitForm(host.application.p, hostForm); }
  /// Returns the number of the next form, whatever tests ran before.
  long liveForms() {
    const long count = form->IncrementInstance() - 1;
    form->DecrementInstance();
    return count;
  }
  Strings messages(std::u16string_view function) const { return messagesOf(log, function); }

  RecordingLogger log;
  FrameworkHost host;
  TestAddOn addOn{host};
  CComPtr<ICompany> company;
  FakeForm* hostForm = nullptr;
  std::unique_ptr<OpenForm> form;
};

TEST_F(AddOnFormTest, StartsEmptyInDefaultMode) {
  EXPECT_EQ(form->GetAddOn(), &addOn);
  EXPECT_EQ(form->m_lResourceId, -1);
  EXPECT_EQ(form->m_InitialFormMode, 3);
  EXPECT_TRUE(form->m_bstrXML.IsEmpty());
  EXPECT_EQ(form->m_pParent, nullptr);
  EXPECT_EQ(form->m_pChild, nullptr);
}

TEST_F(AddOnFormTest, DeclarationDefinesSymbolsTypeAndCounter) {
  form->InitXMLMap();
  form->InitFormType();
  ASSERT_EQ(form->m_vecXMLMap.size(), 3U);
  EXPECT_EQ(form->m_vecXMLMap[0].tag, u"TST_TITLE");
  EXPECT_EQ(form->m_vecXMLMap[0].id, 901U);
  EXPECT_EQ(form->m_vecXMLMap[0].value, u"Title");
  EXPECT_EQ(form->m_vecXMLMap[2].tag, u"");
  EXPECT_EQ(form->m_vecXMLMap[2].id, 0xFFFFFFFFU);
  EXPECT_EQ(form->m_bstrFormType.View(), u"TST");
  EXPECT_EQ(form->m_lResourceId, 900);
  EXPECT_EQ(form->m_strExtId, u"EXT");
  OpenForm sister(host, &addOn, nullptr);
  const long count = liveForms();
  EXPECT_EQ(form->IncrementInstance(), count + 1);
  EXPECT_EQ(sister.IncrementInstance(), count + 2);
  EXPECT_EQ(form->DecrementInstance(), count + 1);
  EXPECT_EQ(sister.DecrementInstance(), count);
}

TEST_F(AddOnFormTest, EachClassCountsItsOwnForms) {
  PlainForm plain(&addOn);
  form->IncrementInstance();
  EXPECT_EQ(plain.IncrementInstance(), 1);
  EXPECT_EQ(plain.DecrementInstance(), 0);
  form->DecrementInstance();
}

TEST_F(AddOnFormTest, AFormMayBeDeclaredWithoutAnExtension) {
  PlainForm plain(&addOn);
  plain.InitFormType();
  EXPECT_EQ(plain.extId(), u"");
}

TEST_F(AddOnFormTest, InitFormAttachesAndRegisters) {
  const long count = liveForms();
  EXPECT_EQ(attach(), 0);
  EXPECT_THAT(host.calls, ElementsAre(".OnInitForm"));
  EXPECT_EQ(form->m_lInstance, count + 1);
  CQXAddOnForm* found = nullptr;
  EXPECT_EQ(addOn.GetSelectedForm(u"EXT", found), 0);
  EXPECT_EQ(found, form.get());
  EXPECT_EQ(form->m_ptrCompany, nullptr) << "the caller sets the company";
  form->UnloadForm();
}

TEST_F(AddOnFormTest, InitFormRaisesForANullApplicationOrForm) {
  EXPECT_THROW(form->InitForm(nullptr, hostForm), _com_error);
  EXPECT_THROW(form->InitForm(host.application.p, nullptr), _com_error);
  hostForm = nullptr;
  EXPECT_EQ(raisedBy([this] { attach(); }), E_POINTER);
  EXPECT_THAT(host.calls, IsEmpty());
}

TEST_F(AddOnFormTest, InitFormClosesTheFormWhenOnInitFormFails) {
  const long count = liveForms();
  form->hooks["OnInitForm"] = [](short*) { return E_ACCESSDENIED; };
  EXPECT_EQ(raisedBy([this] { attach(); }), E_ACCESSDENIED);
  EXPECT_THAT(host.calls, ElementsAre(".OnInitForm", "Form.Close(F1)"));
  EXPECT_THAT(messages(u"CQXAddOnForm::InitForm"), ElementsAre("OnFormInit() failed.\n"));
  EXPECT_EQ(liveForms(), count + 1) << "the count stays raised";
  form->DecrementInstance();
}

TEST_F(AddOnFormTest, InitFormRaisesTheFirstFailureWhenTheFormDoesNotCloseEither) {
  form->hooks["OnInitForm"] = [](short*) { return E_ACCESSDENIED; };
  host.failures["Form.Close"] = E_FAIL;
  EXPECT_EQ(raisedBy([this] { attach(); }), E_ACCESSDENIED);
  form->DecrementInstance();
}

TEST_F(AddOnFormTest, InitFormClosesTheFormWhenItCannotBeRegistered) {
  TestAddOn unconnected(host);
  form = std::make_unique<OpenForm>(host, &unconnected, nullptr);
  host.calls.clear();
  EXPECT_EQ(raisedBy([this] { attach(); }), E_FAIL);
  EXPECT_THAT(host.calls, ElementsAre(".OnInitForm", "Form.Close(F1)"));
  EXPECT_THAT(messages(u"QXAddOnForm::RegisterForm"), ElementsAre("Register form failed.\n"));
  EXPECT_THAT(messages(u"CQXAddOnForm::InitForm"), ElementsAre("RegisterForm() failed.\n"));
  form->DecrementInstance();
  form.reset();
}

TEST_F(AddOnFormTest, GetFormUIDWithoutAFormLeavesBothOutputsUnchanged) {
  CComBSTR uid(u"a");
  CComBSTR extId(u"b");
  EXPECT_EQ(form->GetFormUID(uid, extId), E_POINTER);
  EXPECT_EQ(uid.View(), u"a");
  EXPECT_EQ(extId.View(), u"b");
}

TEST_F(AddOnFormTest, GetFormUIDReturnsTheHostsUidAndTheExtension) {
  form->m_ptrForm = hostForm;
  CComBSTR uid;
  CComBSTR extId;
  EXPECT_EQ(form->GetFormUID(uid, extId), 0);
  EXPECT_EQ(uid.View(), u"F1");
  EXPECT_EQ(extId.View(), u"EXT");
}

TEST_F(AddOnFormTest, UnloadFormCountsDownAndReturnsOnUnloadForm) {
  const long count = liveForms();
  form->IncrementInstance();
  form->hooks["OnUnloadForm"] = [](short*) { return 6L; };
  EXPECT_EQ(form->UnloadForm(), 6);
  EXPECT_EQ(liveForms(), count);
}

TEST_F(AddOnFormTest, PutKeyStoresTheKeyAndForgetsTheChild) {
  OpenForm child(host, &addOn, nullptr);
  EXPECT_EQ(form->PutChild(&child), 0);
  EXPECT_EQ(form->m_pChild, &child);
  EXPECT_EQ(form->put_Key(u"C0001"), 0);
  EXPECT_EQ(form->m_bstrKey.View(), u"C0001");
  EXPECT_EQ(form->m_pChild, nullptr);
}

TEST_F(AddOnFormTest, ThePutOperationsStoreTheirArgument) {
  OpenForm parent(host, &addOn, nullptr);
  CComBSTR key(u"K");
  EXPECT_EQ(form->PutParent(&parent), 0);
  EXPECT_EQ(form->PutCopyKey(key), 0);
  EXPECT_EQ(form->PutInitialFormMode(afm_Copy), 0);
  EXPECT_EQ(form->PutCompany(company), 0);
  EXPECT_EQ(form->m_pParent, &parent);
  EXPECT_EQ(form->m_bstrCopyKey.View(), u"K");
  EXPECT_EQ(form->m_InitialFormMode, 2);
  EXPECT_EQ(form->m_ptrCompany, company);
}

TEST_F(AddOnFormTest, CreateUIDIsTheTypeAndTheNumber) {
  form->m_lInstance = 10;
  EXPECT_EQ(form->CreateUID(u"XXXXXXX").View(), u"XXXXXXX_10");
  form->m_lInstance = 2;
  EXPECT_EQ(form->CreateUID(u"QX_FLS").View(), u"QX_FLS_2");
}

TEST_F(AddOnFormTest, ItemNumbersAreReplacedByTheirSymbols) {
  form->InitXMLMap();
  EXPECT_EQ(form->HVXItemUIDToResourceSymbol(902).View(), u"TST_ED");
  EXPECT_EQ(form->HVXItemUIDToResourceSymbol(77).View(), u"77");
  EXPECT_EQ(form->HVXItemUIDToResourceSymbol(0xFFFFFFFF).View(), u"-1");
  EXPECT_EQ(form->HVXItemUIDToResourceSymbol(-1).View(), u"-1");
}

TEST_F(AddOnFormTest, SymbolsAfterTheClosingRowAreIgnored) {
  form->InitXMLMap();
  form->m_vecXMLMap.emplace_back(u"LATE", 5, u"");
  EXPECT_EQ(form->HVXItemUIDToResourceSymbol(5).View(), u"5");
}

TEST_F(AddOnFormTest, FixFormSizeCorrectsALargeFrameOnly) {
  form->m_ptrForm = hostForm;
  hostForm->height = 130;
  hostForm->width = 210;
  EXPECT_EQ(form->FixFormSize(), 0);
  EXPECT_THAT(host.calls, IsEmpty());
  hostForm->height = 131;
  EXPECT_EQ(form->FixFormSize(), 0);
  EXPECT_THAT(host.calls, ElementsAre("Form.PutHeight(143)"));
  hostForm->width = 211;
  EXPECT_EQ(form->FixFormSize(), 0);
  EXPECT_EQ(host.calls.back(), "Form.PutWidth(219)");
}

TEST_F(AddOnFormTest, CompanyConvertsDates) {
  form->PutCompany(company);
  host.helper->rows = {{CComVariant(38000.0, VT_DATE)}};
  EXPECT_EQ(form->DateFromString(u"14.01.04"), 38000.0);
  host.helper->rows = {{CComVariant(u"14.01.04")}};
  EXPECT_EQ(form->StringFromDate(38000).View(), u"14.01.04");
  EXPECT_THAT(host.calls, ElementsAre("Helper.FormatStringToDate(14.01.04)",
                                      "Helper.FormatDateToString(38000)"));
}

TEST_F(AddOnFormTest, EmptyDateIsZeroWithoutAskingTheCompany) {
  EXPECT_EQ(form->DateFromString(u""), 0.0);
  EXPECT_EQ(form->DateFromString(nullptr), 0.0);
  EXPECT_THAT(messages(u"CQXAddOnForm::StringFromDate"), IsEmpty());
}

TEST_F(AddOnFormTest, DateThatTheCompanyRefusesIsLoggedAndEmpty) {
  form->PutCompany(company);
  host.failures["Helper.FormatStringToDate"] = E_FAIL;
  host.failures["Helper.FormatDateToString"] = E_FAIL;
  EXPECT_EQ(form->DateFromString(u"x"), 0.0);
  EXPECT_EQ(form->StringFromDate(1).View(), u"");
  EXPECT_THAT(
      messages(u"CQXAddOnForm::StringFromDate"),
      ElementsAre("Error converting String to DATE.\n", "Error converting DATE to String.\n"));
}

TEST_F(AddOnFormTest, DateWithoutACompanyIsLoggedAndEmpty) {
  EXPECT_EQ(form->DateFromString(u"x"), 0.0);
  EXPECT_EQ(form->StringFromDate(1).View(), u"");
  EXPECT_EQ(messages(u"CQXAddOnForm::StringFromDate").size(), 2U);
}

}  // namespace
}  // namespace qx::test
