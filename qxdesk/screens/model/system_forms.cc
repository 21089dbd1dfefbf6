#include "qxdesk/screens/model/system_forms.h"

#include "qxdesk/screens/model/forms.h"

#include <utility>

namespace qx::screens {
namespace {

struct MenuRow {
  std::u16string_view father;
  std::u16string_view uid;
  std::u16string_view text;
  HvMenuType type;
  std::u16string_view form;  // the type of the form that it opens, or empty
};

// Fathers come before their entries. Add-ons and tests refer to the UIDs, so they are frozen.
constexpr MenuRow kMenus[] = {
    {u"", u"100", u"File", mt_Popup, u""},
    {u"100", kQuitMenu, u"Quit", mt_String, u""},
    {u"", u"1280", u"Data", mt_Popup, u""},
    {u"1280", kFindMenu, u"Find", mt_String, u""},
    {u"1280", kAddMenu, u"Add", mt_String, u""},
    {u"1280", kDeleteMenu, u"Delete", mt_String, u""},
    {u"1280", u"1284", u"", mt_Separator, u""},
    {u"1280", kNextMenu, u"Next Record", mt_String, u""},
    {u"1280", kPreviousMenu, u"Previous Record", mt_String, u""},
    {u"1280", kFirstMenu, u"First Record", mt_String, u""},
    {u"1280", kLastMenu, u"Last Record", mt_String, u""},
    {u"", u"3000", u"Sales", mt_Popup, u""},
    {u"3000", u"3001", u"Sales Order", mt_String, u"3101"},
    {u"3000", u"3002", u"Customer", mt_String, u"1001"},
    {u"", kAddOnsMenu, u"Add-Ons", mt_Popup, u""},
};

ItemModel makeItem(std::u16string uid, long type, Rect rect) {
  ItemModel item;
  item.uid = std::move(uid);
  item.type = type;
  item.rect = rect;
  return item;
}

void addButton(FormModel& form, std::u16string uid, std::u16string caption, long left, long top) {
  form.addItem(makeItem(std::move(uid), kButton, {left, top, 65, 19})).caption = std::move(caption);
}

void addButtons(FormModel& form, long top) {
  addButton(form, kOkButton, u"OK", 5, top);
  addButton(form, kCancelButton, u"Cancel", 75, top);
  form.setDefaultItem(kOkButton);
}

// Adds an item and a label for it, whose UID is the item's with an "L" in front.
void addLabelled(FormModel& form, std::u16string_view uid, std::u16string label, long type,
                 long top) {
  ItemModel text = makeItem(u"L" + std::u16string(uid), kStaticText, {5, top, 100, 14});
  text.caption = std::move(label);
  text.linkTo = uid;
  form.addItem(std::move(text));
  form.addItem(makeItem(std::u16string(uid), type, {110, top, 150, 14}));
}

void addColumn(MatrixModel& matrix, std::u16string uid, std::u16string title, long width) {
  MatrixColumn column;
  column.uid = std::move(uid);
  column.title = std::move(title);
  column.width = width;
  matrix.addColumn(std::move(column));
}

void fillSalesOrder(FormModel& form) {
  form.title = u"Sales Order";
  form.rect = {40, 40, 520, 360};
  form.objectType = u"31";
  addButtons(form, 300);
  addLabelled(form, u"4", u"Customer", kEditText, 5);
  addLabelled(form, u"5", u"Name", kEditText, 20);
  addLabelled(form, u"6", u"Posting Date", kEditText, 35);
  addLabelled(form, u"7", u"Status", kComboBox, 50);
  // The selection is made here and not by the user, so the form stays in OK mode.
  ComboModel& status = *form.item(u"7").combo;
  status.add(u"Open", u"O");
  status.add(u"Closed", u"C");
  status.select(0);
  MatrixModel& lines = *form.addItem(makeItem(u"20", kMatrix, {5, 75, 500, 215})).matrix;
  lines.selectionMode = kSelectOne;
  addColumn(lines, u"0", u"#", 20);
  addColumn(lines, u"1", u"Item No.", 120);
  addColumn(lines, u"2", u"Quantity", 80);
  addColumn(lines, u"3", u"Unit Price", 80);
  lines.addRows(1, -1);  // the empty line into which a user types
}

void fillCustomer(FormModel& form) {
  form.title = u"Customer";
  form.rect = {60, 60, 400, 200};
  form.objectType = u"2";
  addButtons(form, 140);
  addLabelled(form, u"5", u"Code", kEditText, 5);
  addLabelled(form, u"7", u"Name", kEditText, 20);
  addLabelled(form, u"40", u"Kind", kComboBox, 35);
  ComboModel& kind = *form.item(u"40").combo;
  kind.add(u"Customer", u"C");
  kind.add(u"Supplier", u"S");
  kind.add(u"Lead", u"L");
  kind.select(0);
}

void fillMainMenu(FormModel& form) {
  form.title = u"Main Menu";
  form.rect = {0, 0, 240, 600};
}

struct FormRow {
  std::u16string_view typeEx;
  void (*fill)(FormModel&);
};

// These types are frozen, too: an add-on's form class is bound to its type.
constexpr FormRow kForms[] = {
    {kMainMenuForm, fillMainMenu}, {u"3101", fillSalesOrder}, {u"1001", fillCustomer}};

}  // namespace

void addSystemMenus(MenuModel& menus) {
  for (const MenuRow& row : kMenus) {
    MenuProperties properties;
    properties.uid = row.uid;
    properties.text = row.text;
    properties.type = row.type;
    menus.addSystem(*menus.find(row.father), std::move(properties));
  }
}

std::u16string_view systemFormOfMenu(std::u16string_view menuUid) {
  for (const MenuRow& row : kMenus) {
    if (row.uid == menuUid) return row.form;
  }
  return {};
}

std::shared_ptr<FormModel> makeSystemForm(std::u16string_view typeEx, std::u16string uid) {
  for (const FormRow& row : kForms) {
    if (row.typeEx != typeEx) continue;
    auto form = std::make_shared<FormModel>(std::move(uid), std::u16string(typeEx), true);
    row.fill(*form);
    form->visible = true;
    return form;
  }
  return nullptr;
}

}  // namespace qx::screens
