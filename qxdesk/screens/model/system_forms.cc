#include "qxdesk/screens/model/system_forms.h"

#include "qxdesk/screens/model/forms.h"
#include "qxdesk/screens/model/system_captions.h"

#include <utility>

namespace qx::screens {
namespace {

struct MenuRow {
  std::u16string_view father;
  std::u16string_view uid;
  Caption text;
  HvMenuType type;
  std::u16string_view form;  // the type of the form that it opens, or empty
};

// Fathers come before their entries. Add-ons and tests refer to the UIDs, so they are frozen.
constexpr MenuRow kMenus[] = {
    {u"", u"100", Caption::File, mt_Popup, u""},
    {u"100", kQuitMenu, Caption::Quit, mt_String, u""},
    {u"", u"1280", Caption::Data, mt_Popup, u""},
    {u"1280", kFindMenu, Caption::Find, mt_String, u""},
    {u"1280", kAddMenu, Caption::Add, mt_String, u""},
    {u"1280", kDeleteMenu, Caption::Delete, mt_String, u""},
    {u"1280", u"1284", Caption::None, mt_Separator, u""},
    {u"1280", kNextMenu, Caption::NextRecord, mt_String, u""},
    {u"1280", kPreviousMenu, Caption::PreviousRecord, mt_String, u""},
    {u"1280", kFirstMenu, Caption::FirstRecord, mt_String, u""},
    {u"1280", kLastMenu, Caption::LastRecord, mt_String, u""},
    {u"", u"3000", Caption::Sales, mt_Popup, u""},
    {u"3000", u"3001", Caption::SalesOrder, mt_String, u"3101"},
    {u"3000", u"3002", Caption::Customer, mt_String, u"1001"},
    {u"", kAddOnsMenu, Caption::AddOns, mt_Popup, u""},
};

/// The captions in the language of a form.
struct Captions {
  HvLanguages language;
  std::u16string operator()(Caption caption) const { return captionOf(caption, language); }
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

void addButtons(FormModel& form, const Captions& captions, long top) {
  addButton(form, kOkButton, captions(Caption::Ok), 5, top);
  addButton(form, kCancelButton, captions(Caption::Cancel), 75, top);
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

void fillSalesOrder(FormModel& form, const Captions& captions) {
  form.title = captions(Caption::SalesOrder);
  form.rect = {40, 40, 520, 360};
  form.objectType = u"31";
  addButtons(form, captions, 300);
  addLabelled(form, u"4", captions(Caption::Customer), kEditText, 5);
  addLabelled(form, u"5", captions(Caption::Name), kEditText, 20);
  addLabelled(form, u"6", captions(Caption::PostingDate), kEditText, 35);
  addLabelled(form, u"7", captions(Caption::Status), kComboBox, 50);
  // The selection is made here and not by the user, so the form stays in OK mode.
  ComboModel& status = *form.item(u"7").combo;
  status.add(captions(Caption::Open), u"O");
  status.add(captions(Caption::Closed), u"C");
  status.select(0);
  MatrixModel& lines = *form.addItem(makeItem(u"20", kMatrix, {5, 75, 500, 215})).matrix;
  lines.selectionMode = kSelectOne;
  addColumn(lines, u"0", u"#", 20);
  addColumn(lines, u"1", captions(Caption::ItemNumber), 120);
  addColumn(lines, u"2", captions(Caption::Quantity), 80);
  addColumn(lines, u"3", captions(Caption::UnitPrice), 80);
  lines.addRows(1, -1);  // the empty line into which a user types
}

void fillCustomer(FormModel& form, const Captions& captions) {
  form.title = captions(Caption::Customer);
  form.rect = {60, 60, 400, 200};
  form.objectType = u"2";
  addButtons(form, captions, 140);
  addLabelled(form, u"5", captions(Caption::Code), kEditText, 5);
  addLabelled(form, u"7", captions(Caption::Name), kEditText, 20);
  addLabelled(form, u"40", captions(Caption::Kind), kComboBox, 35);
  ComboModel& kind = *form.item(u"40").combo;
  kind.add(captions(Caption::Customer), u"C");
  kind.add(captions(Caption::Supplier), u"S");
  kind.add(captions(Caption::Lead), u"L");
  kind.select(0);
}

void fillMainMenu(FormModel& form, const Captions& captions) {
  form.title = captions(Caption::MainMenu);
  form.rect = {0, 0, 240, 600};
}

struct FormRow {
  std::u16string_view typeEx;
  void (*fill)(FormModel&, const Captions&);
};

// These types are frozen, too: an add-on's form class is bound to its type.
constexpr FormRow kForms[] = {
    {kMainMenuForm, fillMainMenu}, {u"3101", fillSalesOrder}, {u"1001", fillCustomer}};

}  // namespace

void addSystemMenus(MenuModel& menus, HvLanguages language) {
  for (const MenuRow& row : kMenus) {
    MenuProperties properties;
    properties.uid = row.uid;
    properties.text = captionOf(row.text, language);
    properties.type = row.type;
    menus.addSystem(*menus.find(row.father), std::move(properties));
  }
}

void translateSystemMenus(MenuModel& menus, HvLanguages language) {
  for (const MenuRow& row : kMenus) {
    const auto entry = menus.find(row.uid);
    if (entry != nullptr) entry->properties().text = captionOf(row.text, language);
  }
}

std::u16string_view systemFormOfMenu(std::u16string_view menuUid) {
  for (const MenuRow& row : kMenus) {
    if (row.uid == menuUid) return row.form;
  }
  return {};
}

std::shared_ptr<FormModel> makeSystemForm(std::u16string_view typeEx, std::u16string uid,
                                          HvLanguages language) {
  for (const FormRow& row : kForms) {
    if (row.typeEx != typeEx) continue;
    auto form = std::make_shared<FormModel>(std::move(uid), std::u16string(typeEx), true);
    row.fill(*form, {language});
    form->visible = true;
    return form;
  }
  return nullptr;
}

}  // namespace qx::screens
