#include "qxdesk/screens/browser/desk_state.h"

#include "qxdesk/screens/model/test_support.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace qx::screens {
namespace {

using nlohmann::json;

json stateOf(const Desk& desk) { return stateOf(desk, nullptr, nullptr); }

json item(const Desk& desk, const char* form, const char* uid) {
  return stateOf(desk).at("forms").at(form).at("items").at(uid);
}

TEST(DeskState, OfANewDeskHasItsMenusAndTheMainMenu) {
  Desk desk(testSettings());
  json state = stateOf(desk);
  EXPECT_EQ(state.at("menus").at(2).dump(),
            R"({"checked":false,"children":[{"checked":false,"children":[],"enabled":true,)"
            R"("text":"Sales Order","type":"string","uid":"3001"},{"checked":false,"children":[],)"
            R"("enabled":true,"text":"Customer","type":"string","uid":"3002"}],"enabled":true,)"
            R"("text":"Sales","type":"popup","uid":"3000"})");
  state.erase("menus");
  EXPECT_EQ(
      state.dump(),
      R"({"box":null,"client":{"company":"Harbour","direction":"ltr","language":3,"locale":"en",)"
      R"("started":false,"texts":1033,"user":"manager"},"forms":{"F_0":{"border":0,"client":[232,574],)"
      R"("color":0,"default":"","focus":"","frozen":false,"items":{},"mode":"ok","objectType":"",)"
      R"("order":[],"pane":0,"rect":[0,0,240,600],"sources":{},"system":true,)"
      R"("title":"Main Menu","type":"169","updates":0,"visible":true}},"messages":[],)"
      R"("order":["F_0"],"progress":null,"selected":"F_0","stack":["F_0"],)"
      R"("status":{"kind":"none","number":0,"text":"","time":0}})");
}

TEST(DeskState, HasEachKindOfItem) {
  Desk desk(testSettings());
  const auto form = desk.openSystemForm(u"3101");
  EXPECT_EQ(item(desk, "F_1", "1").dump(),
            R"({"caption":"OK","description":"","enabled":true,"link":"","panes":[0,0],)"
            R"("rect":[5,300,65,19],"type":"button","usable":true,"visible":true})");
  EXPECT_EQ(item(desk, "F_1", "L4").dump(),
            R"({"caption":"Customer","description":"","enabled":true,"link":"4","panes":[0,0],)"
            R"("rect":[5,5,100,14],"type":"static","usable":true,"visible":true})");
  EXPECT_EQ(item(desk, "F_1", "4").dump(),
            R"({"changed":false,"description":"","enabled":true,"limit":0,"link":"",)"
            R"("panes":[0,0],"rect":[110,5,150,14],"right":false,"source":"",)"
            R"("style":{"back":-1,"fore":-1,"size":0,"text":0},"text":"","type":"edit",)"
            R"("usable":true,"visible":true})");
  EXPECT_EQ(item(desk, "F_1", "7").dump(),
            R"({"chosen":0,"description":"","enabled":true,"link":"","panes":[0,0],)"
            R"("rect":[110,50,150,14],"shown":"Open","source":"","type":"combo","usable":true,)"
            R"("values":[["Open","O"],["Closed","C"]],"visible":true})");
  json matrix = item(desk, "F_1", "20");
  EXPECT_EQ(matrix.at("columns").at(1).dump(),
            R"({"description":"","editable":true,"limit":0,"right":false,"title":"Item No.",)"
            R"("type":"edit","uid":"1","visible":true,"width":120})");
  EXPECT_EQ(matrix.at("columns").size(), 4U);
  EXPECT_EQ(matrix.at("revision"), form->item(u"20").matrix->revision());
  matrix.erase("columns");
  matrix.erase("revision");
  EXPECT_EQ(matrix.dump(),
            R"({"description":"","enabled":true,"link":"","panes":[0,0],"rect":[5,75,500,215],)"
            R"("rows":1,"selection":"one","type":"matrix","usable":true,"visible":true})");
}

TEST(DeskState, BoundItemsShowTheValueAndTheLimitOfTheirSource) {
  Desk desk(testSettings());
  const auto form = makeAddOnForm(u"A");
  form->addSource(u"DS/1", 9, 5);
  form->item(u"5").text.bind(form->findSource(u"DS/1"));
  form->findSource(u"DS/1")->setValue(u"value");
  desk.forms.open(form);
  EXPECT_EQ(item(desk, "A", "5").at("text"), "value");
  EXPECT_EQ(item(desk, "A", "5").at("limit"), 5);
  EXPECT_EQ(item(desk, "A", "5").at("source"), "DS/1");
  EXPECT_EQ(stateOf(desk).at("forms").at("A").at("sources").dump(),
            R"({"DS/1":{"size":5,"type":9,"value":"value"}})");
}

TEST(DeskState, TextsStayTextsWhateverIsInThem) {
  Desk desk(testSettings());
  const auto form = makeAddOnForm(u"__proto__");
  form->title = u"<b>\"\u0001\u202E\u05E9";
  form->title += char16_t(0xD800);  // half a pair
  form->item(u"6").caption = u"</script>";
  desk.forms.open(form);
  const json state = stateOf(desk);
  EXPECT_EQ(state.at("forms").at("__proto__").at("title"), "<b>\"\x01\u202E\u05E9\uFFFD");
  EXPECT_EQ(state.at("forms").at("__proto__").at("items").at("6").at("caption"), "</script>");
  EXPECT_NO_THROW(static_cast<void>(state.dump()));
}

TEST(DeskState, AFrozenFormKeepsItsFormerPart) {
  Desk desk(testSettings());
  const auto form = desk.openSystemForm(u"3101");
  const json former = stateOf(desk);
  form->freeze(true);
  form->title = u"New";
  form->item(u"4").text.set(u"new");
  const json frozen = stateOf(desk, nullptr, &former);
  json expected = former;
  expected["forms"]["F_1"]["frozen"] = true;
  EXPECT_EQ(frozen, expected);
  form->freeze(false);
  EXPECT_EQ(stateOf(desk, nullptr, &frozen), stateOf(desk));
}

TEST(DeskState, AFormThatIsFrozenFromItsBeginningIsShownAsItIs) {
  Desk desk(testSettings());
  const json former = stateOf(desk);
  desk.openSystemForm(u"3101")->freeze(true);
  EXPECT_EQ(stateOf(desk, nullptr, &former), stateOf(desk));
}

TEST(DeskState, StackIsTheOrderOfSelection) {
  Desk desk(testSettings());
  desk.openSystemForm(u"3101");
  desk.openSystemForm(u"1001");
  desk.forms.select(desk.forms.find(u"F_1"));
  const json state = stateOf(desk);
  EXPECT_EQ(state.at("order").dump(), R"(["F_0","F_1","F_2"])");
  EXPECT_EQ(state.at("stack").dump(), R"(["F_0","F_2","F_1"])");
  EXPECT_EQ(state.at("selected"), "F_1");
}

TEST(DeskState, KeepsTheLastFiftyMessagesAndCountsAll) {
  Desk desk(testSettings());
  for (int i = 1; i <= 60; ++i) desk.statusBar.show({toUtf16(std::to_string(i)), smt_Error, 3});
  const json state = stateOf(desk);
  EXPECT_EQ(state.at("status").dump(), R"({"kind":"error","number":60,"text":"60","time":3})");
  EXPECT_EQ(state.at("messages").size(), 50U);
  EXPECT_EQ(state.at("messages").at(0).dump(), R"({"kind":"error","text":"11"})");
}

TEST(DeskState, ShowsTheProgressBarAndTheBoxWhileTheyAreThere) {
  Desk desk(testSettings());
  const auto progress = desk.statusBar.createProgress(u"Loading", 10, true);
  progress->setValue(3);
  MessageBoxCall call;
  call.text = u"Save?";
  call.buttons = {u"Yes", u"No", u""};
  const OpenBox box{2, call};
  const json state = stateOf(desk, &box, nullptr);
  EXPECT_EQ(state.at("progress").dump(),
            R"({"maximum":10,"number":1,"stoppable":true,"text":"Loading","value":3})");
  EXPECT_EQ(state.at("box").dump(),
            R"({"buttons":["Yes","No",""],"default":1,"number":2,"text":"Save?"})");
}

TEST(DeskState, HebrewIsWrittenFromRightToLeft) {
  Desk desk(testSettings());
  desk.setLanguage(ln_Hebrew);
  EXPECT_EQ(stateOf(desk).at("client").at("direction"), "rtl");
  EXPECT_EQ(stateOf(desk).at("client").at("locale"), "he");
  desk.setLanguage(ln_Portuguese_Br);
  EXPECT_EQ(stateOf(desk).at("client").at("locale"), "pt-br");
}

TEST(DeskState, RowsAreGivenAsFarAsThereAreAny) {
  MatrixModel matrix;
  MatrixColumn column;
  column.uid = u"1";
  matrix.addColumn(column);
  matrix.addRows(3, -1);
  matrix.setCell(2, *matrix.columns()[0], u"two");
  matrix.selectRow(3, true, false);
  EXPECT_EQ(rowsOf(matrix, 2, 500).dump(),
            R"([{"cells":["two"],"selected":false},{"cells":[""],"selected":true}])");
  EXPECT_EQ(rowsOf(matrix, 4, 1).dump(), "[]");
  EXPECT_EQ(rowsOf(matrix, 0x7FFFFFFFFFFFFFFF, 0x7FFFFFFFFFFFFFFF).dump(), "[]");
}

TEST(MatrixRevision, ChangesWithEachChangeOfTheRowsAndIsNeverTheSameTwice) {
  MatrixModel matrix;
  const MatrixModel other;
  std::uint64_t last = matrix.revision();
  EXPECT_NE(last, other.revision());
  const auto expectChange = [&](const char* what) {
    EXPECT_NE(matrix.revision(), last) << what;
    last = matrix.revision();
  };
  MatrixColumn column;
  column.uid = u"1";
  matrix.addColumn(column);
  expectChange("column");
  matrix.addRows(2, -1);
  expectChange("rows");
  matrix.setCell(1, *matrix.columns()[0], u"x");
  expectChange("cell");
  matrix.selectRow(1, true, false);
  expectChange("selection");
  matrix.clear();
  expectChange("clear");
  static_cast<void>(matrix.rowCount());
  EXPECT_EQ(matrix.revision(), last);
}

}  // namespace
}  // namespace qx::screens
