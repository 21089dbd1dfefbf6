// The log settings dialog, opened from its menu entry and used as a user does.

#include "qxframework/automation/text.h"
#include "qxframework/host/controls.h"
#include "qxframework/host/form.h"
#include "qxframework/stock/stock_fixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace qx::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using Strings = std::vector<std::string>;

constexpr char kEntry[] = "QX_551";
constexpr char kOk[] = "1";
constexpr char kCancel[] = "2";
constexpr char kSize[] = "312";
constexpr char kCount[] = "313";
constexpr char kModules[] = "314";
constexpr char kLevel[] = "315";

class LogSettingsForm : public StockForms {
 protected:
  void open() {
    EXPECT_FALSE(desk.pickMenu(kEntry)) << "the sink vetoes what the client would do";
    log.records.clear();
    // Its number depends on the tests that ran before in this process.
    form = openForms(record.application, "QX_FLS_").back();
  }
  bool isOpen() { return desk.forms().find(form + " ") != std::string::npos; }
  /// Returns the printed line of an item without its UID.
  std::string item(const std::string& uid) {
    const std::string text = desk.form(form);
    const std::string head = "\n  " + uid + " ";
    const std::size_t at = text.find(head);
    if (at == std::string::npos) return "no item " + uid;
    const std::size_t begin = at + head.size();
    return text.substr(begin, text.find('\n', begin) - begin);
  }
  CComPtr<IForm> hostForm() {
    return record.application->GetForms()->GetFormByUID(CComBSTR(toUtf16(form)));
  }
  /// Writes into an edit past the validation, which keeps wrong values out.
  void put(const char16_t* edit, const char16_t* text) {
    CComQIPtr<IEditText>(hostForm()->GetItems()->Item(CComVariant(edit))->GetSpecific())
        ->PutString(text);
  }

  std::string form;  // the UID of the dialog
};

TEST_F(LogSettingsForm, OpensWithThePresentSettings) {
  log.settings = {4, 7, 2, u""};
  open();
  EXPECT_EQ(desk.form(form), form + R"( -1 "Halvex Add-On Log Settings" selected
  304 static "Severity Level of Log Messages to Record"
  315 combo "Warning" key "2" of 6
  306 static "Module to Record Log Messages from"
  314 combo "All Modules" key "" of 1
  303 static "Maximum Number of Log Files to Maintain"
  313 edit "4"
  305 static "Maximum Size Per Log File [in Megabytes]"
  312 edit "7"
  1 button "OK" default
  2 button "Cancel"
)");
}

TEST_F(LogSettingsForm, ShowsEachLevelByItsKey) {
  const std::pair<long, const char*> cases[] = {
      {1, "\"Error\" key \"1\""}, {2, "\"Warning\" key \"2\""}, {3, "\"Information\" key \"3\""},
      {4, "\"Debug\" key \"4\""}, {5, "\"Debug1\" key \"5\""},  {6, "\"Debug2\" key \"6\""},
      {9, "\"Debug2\" key \"6\""}};
  for (const auto& [level, shown] : cases) {
    log.settings.level = level;
    open();
    EXPECT_THAT(item(kLevel), HasSubstr(shown)) << level;
    desk.closeForm(form);
  }
}

TEST_F(LogSettingsForm, ShowsAPresetForACountOrSizeOfZero) {
  log.settings = {0, 0, 1, u""};
  open();
  EXPECT_EQ(item(kCount), "edit \"2\"");
  EXPECT_EQ(item(kSize), "edit \"1\"");
}

TEST_F(LogSettingsForm, ShowsTheDefaultsWithoutSettings) {
  log.settings = {4, 7, 2, u""};
  log.settingsResult = E_FAIL;
  open();
  EXPECT_EQ(item(kCount), "edit \"2\"");
  EXPECT_EQ(item(kSize), "edit \"1\"");
  EXPECT_THAT(item(kLevel), HasSubstr("\"Error\""));
}

TEST_F(LogSettingsForm, OkStoresWhatWasChosenAndCloses) {
  open();
  EXPECT_TRUE(desk.type(form, kCount, "5"));
  EXPECT_TRUE(desk.type(form, kSize, "12"));
  EXPECT_TRUE(desk.choose(form, kLevel, "3"));
  EXPECT_TRUE(desk.press(form, kOk));
  EXPECT_EQ(log.settings, (RecordedSettings{5, 12, 3, u""}));
  EXPECT_FALSE(isOpen());
}

TEST_F(LogSettingsForm, EveryDebugLevelIsStoredAsTheLast) {
  for (const char* level : {"4", "5", "6"}) {
    log.settings.level = 1;
    open();
    desk.choose(form, kLevel, level);
    desk.press(form, kOk);
    EXPECT_EQ(log.settings.level, 6) << level;
    if (isOpen()) desk.closeForm(form);
  }
}

TEST_F(LogSettingsForm, OkClearsTheModuleFilter) {
  log.settings.module = u"ORDERS";
  open();
  EXPECT_THAT(item(kModules), HasSubstr("\"All Modules\""));
  desk.press(form, kOk);
  EXPECT_EQ(log.settings.module, u"");
}

TEST_F(LogSettingsForm, CancelStoresNothing) {
  open();
  desk.choose(form, kLevel, "3");
  EXPECT_TRUE(desk.press(form, kCancel));
  EXPECT_FALSE(isOpen());
  EXPECT_EQ(log.settings, RecordedSettings{});
}

TEST_F(LogSettingsForm, RefusesACountOutOfRangeAndKeepsTheFocus) {
  open();
  for (const char* count : {"0", "11", "-1", "x", ""}) {
    desk.type(form, kCount, count);
    EXPECT_FALSE(desk.validate(form, kCount)) << count;
    EXPECT_THAT(item(kCount), EndsWith("focus")) << count;
    EXPECT_THAT(desk.statusBar(), EndsWith("error: File count must be between 1 and 10\n"));
  }
  EXPECT_FALSE(desk.press(form, kOk)) << "leaving the edit is vetoed first";
  EXPECT_TRUE(isOpen());
  EXPECT_EQ(log.settings, RecordedSettings{});
}

TEST_F(LogSettingsForm, RefusesASizeBelowOne) {
  open();
  for (const char* size : {"0", "-3", ""}) {
    desk.type(form, kSize, size);
    EXPECT_FALSE(desk.validate(form, kSize)) << size;
    EXPECT_THAT(desk.statusBar(),
                EndsWith("error: Size per log file must be at least 1 megabyte\n"));
  }
}

TEST_F(LogSettingsForm, AcceptsTheLimitsAndKeepsOkMode) {
  open();
  for (const char* count : {"1", "10"}) {
    desk.type(form, kCount, count);
    hostForm()->PutMode(2);
    EXPECT_TRUE(desk.validate(form, kCount)) << count;
    EXPECT_EQ(hostForm()->GetMode(), 1) << count;
  }
  desk.type(form, kSize, "1");
  EXPECT_TRUE(desk.validate(form, kSize));
  EXPECT_EQ(desk.statusBar().find("error"), std::string::npos);
}

TEST_F(LogSettingsForm, LeavesOtherValidationsAlone) {
  open();
  hostForm()->PutMode(2);
  desk.validate(form, kLevel);
  EXPECT_EQ(hostForm()->GetMode(), 2);
}

TEST_F(LogSettingsForm, ClosesOutsideOkMode) {
  open();
  hostForm()->PutMode(2);
  desk.press(form, kOk);
  EXPECT_FALSE(isOpen());
}

TEST_F(LogSettingsForm, StaysOpenWhenTheSettingsCannotBeStored) {
  open();
  log.settingsResult = E_ACCESSDENIED;
  EXPECT_FALSE(desk.press(form, kOk));
  EXPECT_TRUE(isOpen());
}

TEST_F(LogSettingsForm, DoesNotStoreARefusedValueButTheOthers) {
  log.settings = {4, 7, 2, u"M"};
  open();
  put(u"313", u"99");
  desk.press(form, kOk);
  EXPECT_EQ(log.settings, (RecordedSettings{4, 7, 2, u""}));
  EXPECT_THAT(messages(u"CFrmLogSettings::SaveLoggingData"),
              Contains("Invalid log count (99) specified!\n"));
  EXPECT_THAT(desk.statusBar(), HasSubstr("error: File count must be between 1 and 10\n"));
}

TEST_F(LogSettingsForm, ARefusedCountLeavesTheSizeAsItWas) {
  log.settings = {4, 7, 2, u"M"};
  open();
  put(u"313", u"0");
  put(u"312", u"8");
  desk.press(form, kOk);
  EXPECT_EQ(log.settings, (RecordedSettings{4, 7, 2, u""}));
}

TEST_F(LogSettingsForm, DoesNotStoreARefusedSize) {
  log.settings = {4, 7, 2, u"M"};
  open();
  put(u"312", u"0");
  EXPECT_TRUE(desk.press(form, kOk));
  EXPECT_EQ(log.settings, (RecordedSettings{4, 7, 2, u""}));
  EXPECT_THAT(messages(u"CFrmLogSettings::SaveLoggingData"),
              ElementsAre("Invalid log size (0) specified!\n", "Invalid log size (0) specified!\n"))
      << "once in each phase of the click";
  EXPECT_THAT(desk.statusBar(),
              HasSubstr("error: Size per log file must be at least 1 megabyte\n"));
}

TEST_F(LogSettingsForm, StoresTheLimits) {
  const std::pair<const char*, long> limits[] = {{"1", 1}, {"10", 10}};
  for (const auto& [text, number] : limits) {
    open();
    desk.type(form, kCount, text);
    desk.type(form, kSize, text);
    EXPECT_TRUE(desk.press(form, kOk));
    EXPECT_EQ(log.settings, (RecordedSettings{number, number, 1, u""}));
  }
  open();
  desk.type(form, kSize, "2147483647");
  EXPECT_TRUE(desk.press(form, kOk));
  EXPECT_EQ(log.settings.fileSize, 2147483647);
}

TEST_F(LogSettingsForm, ALevelThatIsNoNumberChangesNoSetting) {
  log.settings = {4, 7, 2, u"M"};
  open();
  CComQIPtr<IComboBox>(hostForm()->GetItems()->Item(CComVariant(u"315"))->GetSpecific())
      ->GetValidValues()
      ->Add(u"None", u"none");
  desk.choose(form, kLevel, "none");
  desk.type(form, kCount, "9");
  desk.type(form, kSize, "9");
  EXPECT_TRUE(desk.press(form, kOk)) << "the result is that of the logger";
  EXPECT_EQ(log.settings, (RecordedSettings{4, 7, 2, u"M"}));
  EXPECT_THAT(messages(u"CFrmLogSettings::SaveLoggingData"),
              ElementsAre("Logging level not specified!\n", "Logging level not specified!\n"));
}

TEST_F(LogSettingsForm, WithoutALoggerStaysOpen) {
  open();
  log.refuse = true;
  EXPECT_FALSE(desk.press(form, kOk));
  EXPECT_TRUE(isOpen());
  log.refuse = false;
  EXPECT_EQ(log.settings, RecordedSettings{});
}

// An add-on that sees the form first may have put other controls into it.
TEST_F(LogSettingsForm, LogsEachControlThatIsOfAnotherKind) {
  log.settings = {4, 7, 2, u"M"};
  std::u16string item;
  record.hooks["OnFormLoad"] = [&](short*) {
    form = openForms(record.application, "QX_FLS_").back();
    const std::u16string head = u"<Application><forms><action type='update'><form uid='" +
                                toUtf16(form) + u"'><items><action type='";
    const std::u16string tail = u"</action></items></form></action></forms></Application>";
    record.application->LoadBatchActions(
        CComBSTR(head + u"remove'><item uid='" + item + u"'/>" + tail));
    record.application->LoadBatchActions(
        CComBSTR(head + u"add'><item uid='" + item + u"' type='8'/>" + tail));
    return E_FAIL;
  };
  const std::pair<const char16_t*, const char*> controls[] = {{u"315", "QX_FLS_CB_LOGLEVEL"},
                                                              {u"314", "QX_FLS_CB_MODULES"},
                                                              {u"313", "QX_FLS_ET_LOGCOUNT"},
                                                              {u"312", "QX_FLS_ET_LOGSIZE"}};
  for (const auto& [uid, symbol] : controls) {
    item = uid;
    log.records.clear();
    desk.pickMenu(kEntry);
    const std::string line = "Unable to get interface pointer to " + std::string(symbol) + "!\n";
    EXPECT_THAT(messages(u"CFrmLogSettings::LoadLoggingData"), ElementsAre(line));
    const Strings filled{this->item(kLevel), this->item(kModules), this->item(kCount),
                         this->item(kSize)};
    EXPECT_EQ(std::count(filled.begin(), filled.end(), "static \"\""), 1) << symbol;
    EXPECT_EQ(filled[2] == "edit \"4\"", item != u"313");
    EXPECT_EQ(filled[3] == "edit \"7\"", item != u"312");
    log.records.clear();
    desk.press(form, kOk);
    EXPECT_THAT(messages(u"CFrmLogSettings::SaveLoggingData"), Contains(line));
    if (isOpen()) desk.closeForm(form);
  }
}

TEST_F(LogSettingsForm, AValidEntryKeepsOkModeAfterTheTabKey) {
  open();
  for (const char* item : {kCount, kSize}) {
    desk.type(form, item, "3");
    hostForm()->PutMode(2);
    EXPECT_TRUE(desk.tab(form)) << item;
    EXPECT_EQ(hostForm()->GetMode(), 1) << item;
    desk.type(form, item, "0");
    EXPECT_FALSE(desk.tab(form)) << item;
    EXPECT_EQ(desk.focus(form), item);
    desk.type(form, item, "3");
    EXPECT_TRUE(desk.tab(form)) << item;
  }
}

TEST_F(LogSettingsForm, OtherEventsPass) {
  open();
  EXPECT_TRUE(desk.press(form, "304"));
  EXPECT_TRUE(desk.rightClick(form, kCount));
  EXPECT_TRUE(desk.selectForm(form));
  EXPECT_TRUE(desk.closeForm(form));
  EXPECT_EQ(log.settings, RecordedSettings{});
}

TEST_F(LogSettingsForm, EveryOperationIsTracedUnderItsName) {
  const auto entered = [this] {
    Strings out;
    for (const LogRecord& each : std::exchange(log.records, {})) {
      const bool isOurs = each.function.starts_with(u"CFrmLogSettings::");
      if (isOurs && each.message == u"Entering function\n") out.push_back(toUtf8(each.function));
    }
    return out;
  };
  desk.pickMenu(kEntry);
  form = openForms(record.application, "QX_FLS_").back();
  Strings opened = entered();
  std::erase(opened, "CFrmLogSettings::OnItemEvent");
  EXPECT_THAT(opened,
              ElementsAre("CFrmLogSettings::OnInitForm", "CFrmLogSettings::LoadLoggingData"));
  desk.press(form, kOk);
  Strings pressed = entered();
  std::erase(pressed, "CFrmLogSettings::OnItemEvent");
  EXPECT_THAT(pressed,
              ElementsAre("CFrmLogSettings::SaveLoggingData", "CFrmLogSettings::SaveLoggingData"))
      << "once in each phase of the click";
}

TEST_F(LogSettingsForm, ASecondDialogHasASecondUid) {
  open();
  const std::string first = form;
  open();
  EXPECT_NE(form, first);
  desk.closeForm(form);
  form = first;
  EXPECT_TRUE(isOpen());
}

TEST_F(LogSettingsForm, ReadsInTheUsersLanguage) {
  desk.changeLanguage(ln_German);
  open();
  EXPECT_THAT(desk.form(form), HasSubstr("\"Protokolleinstellungen des Halvex-Add-Ons\""));
  desk.type(form, kCount, "11");
  desk.validate(form, kCount);
  EXPECT_THAT(desk.statusBar(),
              EndsWith("error: Die Anzahl der Dateien muss zwischen 1 und 10 liegen\n"));
}

}  // namespace
}  // namespace qx::test
