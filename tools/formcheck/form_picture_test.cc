// Drawings of documents, compared whole. Those of the framework's own forms take the texts of its
// library and the symbol tables of their classes.

#include "tools/formcheck/form_picture.h"

#include "qxframework/automation/text.h"
#include "qxframework/foundation/languages.h"
#include "tools/formcheck/form_check.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qx::formcheck {
namespace {

struct StockForm {
  std::string file;
  std::vector<XMLMAP> symbols;
  std::string findings;
};

StockForm progressForm() {
  StockForm form{
      "form_progress.xml",
      {{u"QX_FIN_TITLE", 204, u""}, {u"QX_FIN_ST_MESSAGE", 205, u""}},
      "f:6:127: note: the form has no item '1' as its default button; write 0 unless the "
      "form's code adds it\n"};
  for (std::uint32_t cell = 1; cell <= 15; ++cell)
    form.symbols.emplace_back(u"QX_FIN_ET_PROGRESS" + toUtf16(std::to_string(cell)), 205 + cell,
                              u"");
  return form;
}

const StockForm kProgress = progressForm();

const StockForm kLogSettings{"form_log_settings.xml",
                             {{u"QX_FLS_TITLE", 311, u""},
                              {u"QX_FLS_ST_LOGLEVEL", 304, u""},
                              {u"QX_FLS_CB_LOGLEVEL", 315, u""},
                              {u"QX_FLS_ST_MODULES", 306, u""},
                              {u"QX_FLS_CB_MODULES", 314, u""},
                              {u"QX_FLS_ST_LOGCOUNT", 303, u""},
                              {u"QX_FLS_ET_LOGCOUNT", 313, u""},
                              {u"QX_FLS_ST_LOGSIZE", 305, u""},
                              {u"QX_FLS_ET_LOGSIZE", 312, u""},
                              {u"QX_ITM_BT_OK", 1, u""},
                              {u"QX_ITM_BT_CANCEL", 2, u""}},
                             ""};

// The document has a table of its own, of which the class changes a row that the form shows.
const StockForm kChooseList{"form_choose_list.xml", {{u"QX_ITM_BT_CHOOSE", 803, u""}}, ""};

Report reportOn(const StockForm& form, HvLanguages language) {
  std::ifstream stream(QX_FORMS "/" + form.file, std::ios::binary);
  const std::string content{std::istreambuf_iterator<char>(stream), {}};
  const ModuleTexts texts(QX_FRAMEWORK);
  return checkForm(content, {texts, windowsLanguageId(language), form.symbols});
}

class NoTexts : public Texts {
 public:
  std::optional<FoundText> find(std::uint32_t, std::uint32_t) const override { return {}; }
};

std::string drawn(const std::string& form) {
  const NoTexts texts;
  return checkForm(
             "<Application><forms><action type=\"add\">" + form + "</action></forms></Application>",
             {texts, kEnglish, {}})
      .drawing;
}

TEST(FormPicture, TheProgressFormShowsItsMessage) {
  EXPECT_EQ(reportOn(kProgress, ln_English).drawing, R"(+- Halvex Add-On Initialization ---------+
|                                        |
| Initializing Halvex Add-On             |
|                                        |
|                                        |
|                                        |
+----------------------------------------+
)");
}

TEST(FormPicture, TheLogSettingsFormShowsItsLabelledControlsAndButtons) {
  EXPECT_EQ(reportOn(kLogSettings, ln_English).drawing,
            R"(+- Halvex Add-On Log Settings ----------------------------------+
|                                                               |
| Severity Level of Log Messages to Record [_____________ v]    |
| Module to Record Log Messages from       [_____________ v]    |
|                                                               |
| Maximum Number of Log Files to Maintain  [_]                  |
| Maximum Size Per Log File [in Megabytes] [_]                  |
|                                                               |
|                                                               |
| [  OK  ]                                          [ Cancel ]  |
|                                                               |
|                                                               |
+---------------------------------------------------------------+
)");
}

TEST(FormPicture, TheChooseListFormShowsItsMatrix) {
  EXPECT_EQ(reportOn(kChooseList, ln_English).drawing,
            R"(+- Choose from List -----------------------------------------+
|                                                            |
|Find       [____________________]                           |
|+---+----------------------------------------------------+  |
|| # |                                                    |  |
|+---+----------------------------------------------------+  |
||   |                                                    |  |
||   |                                                    |  |
||   |                                                    |  |
||   |                                                    |  |
||   |                                                    |  |
||   |                                                    |  |
||   |                                                    |  |
|+---+----------------------------------------------------+  |
|                                                            |
|[ Choose ] [ Cancel ]                                       |
|                                                            |
|                                                            |
+------------------------------------------------------------+
)");
}

TEST(FormPicture, EastAsianLettersTakeTwoCells) {
  EXPECT_EQ(reportOn(kLogSettings, ln_Japanese_Jp).drawing,
            R"(+- Halvex アドオンのログ設定 ----------------------------------------+
|                                                                    |
| 記録するログメッセージの重大度レベル      [_____________ v]        |
| ログメッセージを記録するモジュール        [_____________ v]        |
|                                                                    |
| 保持するログファイルの最大数              [_]                      |
| ログファイルごとの最大サイズ [メガバイト] [_]                      |
|                                                                    |
|                                                                    |
| [  OK  ]                                           [ キャンセル ]  |
|                                                                    |
|                                                                    |
+--------------------------------------------------------------------+
)");
}

TEST(FormPicture, StockFormsHaveNoFaultInAnyLanguage) {
  int languages = 0;
  for (int number = ln_Hebrew; number <= ln_TrdtnlChinese_Hk; ++number) {
    const auto language = static_cast<HvLanguages>(number);
    if (std::u16string_view(languageName(language)) == u"UNKNOWN") continue;
    ++languages;
    for (const StockForm* form : {&kProgress, &kLogSettings, &kChooseList}) {
      std::string findings;
      for (const Finding& each : reportOn(*form, language).findings)
        findings += messageOf("f", each);
      EXPECT_EQ(findings, form->findings) << form->file << " in " << number;
    }
  }
  EXPECT_EQ(languages, 31);
}

TEST(FormPicture, HasWhatTheDocumentSaysOfEachItem) {
  EXPECT_EQ(drawn(R"(<form title="T" width="160" height="128"><items><action type="add">
<Item uid="1" type="8" left="8" width="48" height="14"><Specific caption="Label"/></Item>
<Item uid="2" type="16" left="64" width="80" height="14"><Specific caption="none"/></Item>
<Item uid="3" type="8" left="8" top="16" width="48" height="14" right_just="1">
<Specific caption="Sum"/></Item>
<Item uid="4" type="113" left="64" top="16" width="80" height="14" enabled="0"/>
<Item uid="5" type="16" left="8" top="32" width="80" height="14" visible="0"/>
<Item uid="6" type="127" left="8" top="32" width="136" height="60"><Specific><columns>
<action type="add"><column uid="1" title="#" width="24"/>
<column uid="2" title="Hidden" width="24" visible="0"/>
<column uid="3" title="Name" width="80"/></action></columns></Specific></Item>
<Item uid="7" type="4" left="8" top="100" width="64" height="16"><Specific caption="Go"/></Item>
</action></items></form>)"),
            R"(+- T -----------------+
| Label   [________]  |
|     Sum (______ v)  |
| +---+---------+--+  |
| | # | Name    |  |  |
| +---+---------+--+  |
| +---+---------+--+  |
| [  Go   ]           |
|                     |
+---------------------+
)");
}

}  // namespace
}  // namespace qx::formcheck
