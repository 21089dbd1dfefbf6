// The documents that the client gets for the stock forms, compared with the approved ones in
// testdata/. Set QX_APPROVE to write what the forms send now.

#include "qxframework/automation/class_object.h"
#include "qxframework/automation/text.h"
#include "qxframework/runtime/addon_fixture.h"
#include "qxframework/runtime/framework_host_fixture.h"
#include "qxframework/stock/choose_list.h"
#include "qxframework/stock/init_progress.h"
#include "qxframework/stock/internal/log_settings_form.h"
#include "testing/file_content.h"
#include "testing/param_name.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <string>

namespace qx::test {
namespace {

struct Language {
  std::string name;
  HvLanguages number;
  friend std::ostream& operator<<(std::ostream& out, const Language& each) {
    return out << each.name;
  }
};

/// The client takes the document and then refuses it, so that no form needs items.
class StockDocuments : public testing::Test {
 protected:
  StockDocuments() {
    addOn.Connect(0);
    createInstance(CLSID_HalvexCompany, CLSCTX_SERVER, &company.p);
    host.failures["App.LoadBatchActions"] = E_FAIL;
    host.calls.clear();
    log.records.clear();
  }
  void speak(HvLanguages language) { host.application->language = language; }
  /// Returns the last document that the client got.
  std::string document() {
    const auto all = host.of("App.LoadBatchActions(");
    return all.empty() ? "none" : all.back().substr(0, all.back().size() - 1);
  }
  void openProgress() { CQXInitProgress(host.application, company, &addOn).OpenInitForm(); }
  void openLogSettings() {
    EXPECT_THROW(CFrmLogSettings::Open(&addOn, host.application.p, company), _com_error);
  }
  /// Opens the choose list on rows of these columns.
  void openChooseList(std::vector<std::u16string> columns, bool hideFirst = false) {
    ScriptedRow row(columns.size(), CComVariant(u"x"));
    host.company->otherwise = {std::move(columns), {row, row}};
    TestForm parent(host, &addOn, nullptr);
    EXPECT_THROW(CQXChooseList::GetKey(u"Rows", u"", u"SELECT", true, true, &parent,
                                       host.application.p, company, true, hideFirst, nullptr),
                 _com_error);
  }
  /// Returns the attribute of each column after the one of the row numbers.
  std::vector<std::string> columns(const std::string& attribute) {
    const std::string text = document();
    std::vector<std::string> out;
    for (std::size_t at = text.find("<column "); at != std::string::npos;
         at = text.find("<column ", at + 1)) {
      const std::string head = " " + attribute + "=\"";
      const std::size_t begin = text.find(head, at) + head.size();
      out.push_back(text.substr(begin, text.find('"', begin) - begin));
    }
    if (!out.empty()) out.erase(out.begin());
    return out;
  }
  static void expectApproved(const std::string& name, const std::string& text) {
    const std::string path = QX_TEST_DATA "/" + name + ".xml";
    if (std::getenv("QX_APPROVE") != nullptr) std::ofstream(path) << text;
    EXPECT_EQ(text, contentOf(path)) << path;
  }

  RecordingLogger log;
  FrameworkHost host;
  TestAddOn addOn{host};
  CComPtr<ICompany> company;
};

class StockDocumentsInLanguage : public StockDocuments,
                                 public testing::WithParamInterface<Language> {
 protected:
  StockDocumentsInLanguage() { speak(GetParam().number); }
  /// Replaces the number of the form, which depends on the tests before.
  std::string numbered(const std::string& prefix) {
    std::string text = document();
    const std::size_t at = text.find("uid=\"" + prefix) + 5 + prefix.size();
    return text.replace(at, text.find('"', at) - at, "N");
  }
};

TEST_P(StockDocumentsInLanguage, OfTheProgressForm) {
  openProgress();
  expectApproved("progress." + GetParam().name, numbered("QX_FIN_"));
}

TEST_P(StockDocumentsInLanguage, OfTheLogSettingsForm) {
  openLogSettings();
  expectApproved("log_settings." + GetParam().name, numbered("QX_FLS_"));
}

TEST_P(StockDocumentsInLanguage, OfTheChooseList) {
  openChooseList({u"No", u"Name"});
  expectApproved("choose_list." + GetParam().name, numbered("QX_FCL_"));
}

INSTANTIATE_TEST_SUITE_P(Languages, StockDocumentsInLanguage,
                         testing::Values(Language{"English", ln_English},
                                         Language{"German", ln_German},
                                         Language{"Hebrew", ln_Hebrew}),
                         nameOf<Language>);

using testing::ElementsAre;

TEST_F(StockDocuments, ChooseListSharesItsWidthAmongFewColumns) {
  openChooseList({u"A"});
  EXPECT_THAT(columns("width"), ElementsAre("390"));
  openChooseList({u"A", u"B", u"C"});
  EXPECT_THAT(columns("width"), ElementsAre("130", "130", "130"));
  openChooseList({u"A", u"B", u"C"}, true);
  EXPECT_THAT(columns("width"), ElementsAre("195", "195", "195"));
  EXPECT_THAT(columns("visible"), ElementsAre("0", "1", "1"));
}

TEST_F(StockDocuments, ChooseListHasFixedWidthsFromFourColumnsOn) {
  openChooseList({u"A", u"B", u"C", u"D"});
  EXPECT_THAT(columns("width"), ElementsAre("97", "97", "97", "99"));
  openChooseList({u"A", u"B", u"C", u"D", u"E"});
  EXPECT_THAT(columns("width"), ElementsAre("97", "97", "97", "99", "97"));
  EXPECT_THAT(columns("uid"),
              ElementsAre("10800010", "10800020", "10800030", "10800040", "10800050"));
}

TEST_F(StockDocuments, ChooseListEscapesTheTitlesOfTheQuery) {
  openChooseList({u"<A & \"B\">"});
  EXPECT_THAT(columns("title"), ElementsAre("&lt;A &amp; &quot;B&quot;&gt;"));
}

TEST_F(StockDocuments, EveryTextOfEveryLanguageSurvivesTheDocument) {
  for (int number = ln_Hebrew; number <= ln_TrdtnlChinese_Hk; ++number) {
    speak(static_cast<HvLanguages>(number));
    openChooseList({u"A"});
    EXPECT_NE(document().find("<column title=\"A\""), std::string::npos) << number;
    openLogSettings();
    EXPECT_NE(document().find("QX_FLS_"), std::string::npos) << number;
  }
}

}  // namespace
}  // namespace qx::test
