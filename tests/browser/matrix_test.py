"""The matrix with 10,000 rows: scrolling, selecting, editing and its keys."""

from page_fixture import PageTest
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.keys import Keys

_ROWS = 10000
_ROW_HEIGHT = 16

_FRAMES = """
const grid = arguments[0];
const last = grid.scrollHeight - grid.clientHeight;
const frames = [];
await new Promise((resolve) => {
  let before = performance.now();
  const step = (now) => {
    frames.push(now - before);
    before = now;
    if (grid.scrollTop >= last || frames.length > 400) resolve();
    else {
      grid.scrollTop += frames.length % 3 === 0 ? 2500 : 320;
      requestAnimationFrame(step);
    }
  };
  requestAnimationFrame(step);
});
return frames;
"""


class Matrix(PageTest):
    def setUp(self):
        super().setUp()
        self.open_order()
        rows = [[str(row), f"A{row}", str(row % 90), "1.50"] for row in range(1, _ROWS + 1)]
        self.host.change(lambda state: self.host.desk.fill_matrix("F_1", "20", rows))
        self.until(lambda: "A1" in self.cells(), "the first rows are drawn")

    def grid(self):
        return self.item("F_1", "20", ".grid")

    def cells(self):
        return self.run_script(
            "return [...arguments[0].querySelectorAll('.row:not([hidden]) .cell')]"
            ".map((one) => one.textContent);", self.grid())

    def cell(self, row, column):
        """Returns the element of a visible cell; the row counts from 1, the column from 0."""
        find = ("const row = arguments[0].querySelector("
                "`.row:not([hidden])[aria-rowindex=\"${arguments[1] + 1}\"]`);"
                "return row?.children[arguments[2]] ?? null;")
        grid = self.grid()
        return self.until(lambda: self.run_script(find, grid, row, column),
                          f"row {row} is drawn")

    def text_of(self, row, column):
        return self.run_script("return arguments[0].textContent;", self.cell(row, column))

    def model(self, row, column):
        return self.host.desk.rows["F_1", "20"][row - 1]["cells"][column]

    def cursor(self):
        return self.run_script(
            "const cell = document.getElementById("
            "arguments[0].getAttribute('aria-activedescendant'));"
            "return [Number(cell.parentElement.ariaRowIndex) - 1, Number(cell.ariaColIndex) - 1];",
            self.grid())

    def cell_actions(self, *names):
        return [[action["do"], action.get("column"), action.get("row")]
                for action in self.host.sent(*names)]

    def focus_grid(self):
        self.host.change(lambda state: state["forms"]["F_1"].update(focus="20"))
        self.until_equal("20", self.focused)

    def test_only_visible_rows_exist_and_the_last_one_is_reached(self):
        self.assertLess(len(self.grid().find_elements("css selector", ".row")), 40)
        self.run_script("arguments[0].scrollTop = arguments[0].scrollHeight;", self.grid())
        self.until(lambda: "A10000" in self.cells(), "the last row is drawn")
        self.assertEqual("10000", self.text_of(_ROWS, 0))
        self.assertLess(len(self.grid().find_elements("css selector", ".row")), 60)
        asked = self.host.sent("rows")
        self.assertLess(sum(action["count"] for action in asked), 1000)
        self.assertEqual({100}, {action["count"] for action in asked})

    def test_the_grid_says_its_size_and_its_heads(self):
        self.assertEqual(str(_ROWS + 1), self.grid().get_attribute("aria-rowcount"))
        self.assertEqual(["#", "Item No.", "Quantity", "Unit Price"],
                         self.texts(".grid .head .cell"))

    def test_scrolling_prints_its_frames(self):
        frames = sorted(self.run_async(_FRAMES, self.grid()))
        self.until(lambda: "A10000" in self.cells(), "the last row is drawn")
        late = [frame for frame in frames if frame > 50]
        print(f"\n[web-scroll] {len(frames)} frames over {_ROWS} rows: median "
              f"{frames[len(frames) // 2]:.1f} ms, longest {frames[-1]:.1f} ms, "
              f"{len(late)} above 50 ms")

    def test_a_click_selects_the_row(self):
        self.cell(3, 0).click()
        self.until_equal("true", lambda: self.run_script(
            "return arguments[0].parentElement.ariaSelected;", self.cell(3, 0)))
        self.assertEqual([["press", "0", 3]], self.cell_actions("press"))

    def test_a_click_on_a_head_is_row_0(self):
        self.one(".grid .head .cell:nth-child(2)").click()
        self.until_equal([["press", "1", 0]], lambda: self.cell_actions("press"))

    def test_a_double_click_is_one_action(self):
        ActionChains(self.browser, duration=0).double_click(self.cell(2, 0)).perform()
        self.until_equal([["double", "0", 2]], lambda: self.cell_actions("press", "double"))
        self.until_equal("true", lambda: self.run_script(
            "return arguments[0].parentElement.ariaSelected;", self.cell(2, 0)))

    def test_a_double_click_on_a_head_is_one_action(self):
        head = self.one(".grid .head .cell:nth-child(2)")
        ActionChains(self.browser, duration=0).double_click(head).perform()
        self.one(".grid .head .cell:nth-child(1)").click()
        self.until_equal([["double", "1", 0], ["press", "0", 0]],
                         lambda: self.cell_actions("press", "double"))

    def test_a_click_is_sent_before_what_is_typed_after_it(self):
        self.cell(2, 1).click()
        self.until_equal(["cellEditor"], lambda: [
            self.run_script("return document.activeElement.className;")])
        self.keys("x")
        self.until_equal("A2x", lambda: self.model(2, 1))
        self.assertEqual([["press", "1", 2], ["key", "1", 2]], self.cell_actions("press", "key"))

    def test_a_letter_in_a_cell_that_takes_no_text_is_a_key_of_the_matrix(self):
        self.focus_grid()
        self.keys("q")
        self.until_equal([{"do": "key", "form": "F_1", "item": "20", "key": 113}],
                         lambda: self.host.sent("key"))
        self.assertEqual([], self.all(".cellEditor"))

    def test_a_cell_is_edited_by_keys(self):
        self.focus_grid()
        self.keys(Keys.ARROW_DOWN, Keys.ARROW_RIGHT, Keys.F2, "7", Keys.ENTER)
        self.until_equal("A27", lambda: self.model(2, 1))
        self.until_equal("A27", lambda: self.text_of(2, 1))
        self.until_equal([3, 1], self.cursor)
        self.keys("z")
        self.until_equal("A3z", lambda: self.model(3, 1))

    def test_escape_takes_the_text_of_a_cell_back(self):
        self.focus_grid()
        self.keys(Keys.ARROW_RIGHT, Keys.F2, "7", "8")
        self.until_equal("A178", lambda: self.model(1, 1))
        self.keys(Keys.ESCAPE)
        self.until_equal("A1", lambda: self.model(1, 1))
        self.one_form("F_1")

    def test_a_vetoed_key_in_a_cell_is_taken_back(self):
        self.host.desk.vetoed_keys.add(("20", ord("x")))
        self.focus_grid()
        self.keys(Keys.ARROW_RIGHT, Keys.F2, "x")
        self.until_equal(["Key: vetoed by the add-on"], lambda: self.texts("#statusBar .notice"))
        self.until_equal("A1", lambda: self.one(".cellEditor").get_property("value"))

    def test_the_text_of_the_host_wins_in_a_cell_that_is_edited(self):
        self.focus_grid()
        self.keys(Keys.ARROW_RIGHT, Keys.F2, "x")
        self.until_equal("A1x", lambda: self.model(1, 1))

        def change(state):
            self.host.desk.rows["F_1", "20"][0]["cells"][1] = "HOST"
            state["forms"]["F_1"]["items"]["20"]["revision"] += 1

        self.host.change(change)
        self.until_equal("HOST", lambda: self.one(".cellEditor").get_property("value"))
        self.keys("!")
        self.until_equal("HOST!", lambda: self.model(1, 1))

    def test_the_cursor_moves_by_keys(self):
        self.focus_grid()
        self.keys(Keys.END)
        self.until_equal([1, 3], self.cursor)
        self.chord(Keys.CONTROL, Keys.END)
        self.until_equal([_ROWS, 3], self.cursor)
        self.until(lambda: "A10000" in self.cells(), "the last row is drawn")
        self.keys(Keys.PAGE_UP)
        page = (215 - 2 - 18) // _ROW_HEIGHT - 1
        self.until_equal([_ROWS - page, 3], self.cursor)
        self.chord(Keys.CONTROL, Keys.HOME)
        self.until_equal([1, 0], self.cursor)
        self.assertEqual([], self.cell_actions("press", "key"))

    def test_enter_selects_the_row_and_then_presses_the_default_button(self):
        self.focus_grid()
        self.keys(Keys.ARROW_DOWN, Keys.ENTER)
        self.until_equal("true", lambda: self.run_script(
            "return arguments[0].parentElement.ariaSelected;", self.cell(2, 0)))
        self.keys(Keys.ENTER)
        self.until_equal([["press", "0", 2], ["key", "0", 2]],
                         lambda: self.cell_actions("press", "key"))
        self.until(lambda: not self.all(".form"), "the form is closed")

    def test_space_selects_the_row(self):
        self.focus_grid()
        self.keys(" ")
        self.until_equal([["press", "0", 1]], lambda: self.cell_actions("press"))

    def select_many(self):
        self.host.change(lambda state: state["forms"]["F_1"]["items"]["20"].update(
            selection="many"))
        self.until_equal("true", lambda: self.one(".grid").get_attribute("aria-multiselectable"))

    def selected(self):
        """Returns the rows that are drawn as selected."""
        return self.run_script(
            "return [...document.querySelectorAll('.grid .row[aria-selected=true]')].filter("
            "(row) => !row.hidden).map((row) => row.ariaRowIndex - 1).sort((a, b) => a - b);")

    def held(self):
        """Returns row and held keys of each press."""
        return [[action["row"], *(key for key in ("ctrl", "shift") if key in action)]
                for action in self.host.sent("press", "double")]

    def click_with(self, *keys, row):
        chain = ActionChains(self.browser, duration=0)
        for key in keys:
            chain.key_down(key)
        chain.click(self.cell(row, 0))
        for key in keys:
            chain.key_up(key)
        chain.perform()

    def test_ctrl_and_shift_select_several_rows(self):
        self.select_many()
        self.cell(2, 0).click()
        self.click_with(Keys.CONTROL, row=5)
        self.until_equal([2, 5], self.selected)
        self.click_with(Keys.SHIFT, row=7)
        self.until_equal([5, 6, 7], self.selected)
        self.click_with(Keys.CONTROL, row=6)
        self.until_equal([5, 7], self.selected)
        self.click_with(Keys.CONTROL, Keys.SHIFT, row=8)
        self.until_equal([5, 6, 7, 8], self.selected)
        self.assertEqual([[2], [5, "ctrl"], [7, "shift"], [6, "ctrl"], [8, "ctrl", "shift"]],
                         self.held())

    def test_ctrl_and_shift_mean_nothing_where_one_row_can_be_selected(self):
        self.cell(2, 0).click()
        self.click_with(Keys.CONTROL, row=4)
        self.until_equal([4], self.selected)
        self.focus_grid()
        self.chord(Keys.SHIFT, Keys.ARROW_DOWN)
        self.assertEqual([[2], [4]], self.held())

    def test_a_double_click_with_ctrl_is_two_clicks(self):
        self.select_many()
        ActionChains(self.browser, duration=0).key_down(Keys.CONTROL).double_click(
            self.cell(3, 0)).key_up(Keys.CONTROL).perform()
        self.until_equal([[3, "ctrl"], [3, "ctrl"]], self.held)
        self.until_equal([], self.selected)

    def test_shift_and_the_arrows_select_several_rows(self):
        self.select_many()
        self.focus_grid()
        self.keys(Keys.ARROW_DOWN)
        self.chord(Keys.SHIFT, Keys.ARROW_DOWN)
        self.chord(Keys.SHIFT, Keys.ARROW_DOWN)
        self.until_equal([2, 3, 4], self.selected)
        self.chord(Keys.SHIFT, Keys.ARROW_UP)
        self.until_equal([2, 3], self.selected)
        self.assertEqual([[2], [3, "shift"], [4, "shift"], [3, "shift"]], self.held())
        self.chord(Keys.SHIFT, Keys.ARROW_RIGHT)
        self.chord(Keys.SHIFT, Keys.HOME)
        self.assertEqual(4, len(self.held()))

    def test_ctrl_and_shift_with_space_select_several_rows(self):
        self.select_many()
        self.focus_grid()
        self.keys(" ", Keys.ARROW_DOWN, Keys.ARROW_DOWN)
        self.chord(Keys.CONTROL, " ")
        self.until_equal([1, 3], self.selected)
        self.keys(Keys.ARROW_DOWN)
        self.chord(Keys.SHIFT, " ")
        self.until_equal([3, 4], self.selected)
        self.assertEqual([[1], [3, "ctrl"], [4, "shift"]], self.held())

    def test_ctrl_and_shift_with_space_click_the_head(self):
        self.focus_grid()
        self.keys(Keys.ARROW_RIGHT)
        ActionChains(self.browser, duration=0).key_down(Keys.CONTROL).key_down(
            Keys.SHIFT).send_keys(" ").key_up(Keys.SHIFT).key_up(Keys.CONTROL).perform()
        self.until_equal([["press", "1", 0]], lambda: self.cell_actions("press"))

    def test_a_changed_revision_brings_the_new_rows(self):
        def change(state):
            self.host.desk.rows["F_1", "20"][0]["cells"][1] = "NEW"
            state["forms"]["F_1"]["items"]["20"]["revision"] += 1

        self.host.change(change)
        self.until_equal("NEW", lambda: self.text_of(1, 1))

    def test_removed_rows_are_gone(self):
        rows = [["1", "B", "", ""]]
        self.host.change(lambda state: self.host.desk.fill_matrix("F_1", "20", rows))
        self.until_equal(["1", "B", "", ""], self.cells)

    def test_hidden_columns_are_left_out(self):
        self.host.change(lambda state: state["forms"]["F_1"]["items"]["20"]["columns"][0].update(
            visible=False))
        self.until_equal(["Item No.", "Quantity", "Unit Price"],
                         lambda: self.texts(".grid .head .cell"))
        self.until_equal("A1", lambda: self.text_of(1, 0))
