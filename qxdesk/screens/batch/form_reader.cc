#include "qxdesk/screens/batch/form_reader.h"

#include "qxdesk/screens/model/ui_codes.h"
#include "qxframework/automation/com_error.h"
#include "qxframework/automation/decimal_number.h"
#include "qxframework/automation/text.h"

#include <algorithm>
#include <utility>

namespace qx::screens {
namespace {

// The types for which the desk has a control; a linked button exists as a column only.
constexpr long kKnownItemTypes[] = {kButton, kStaticText, kEditText, kComboBox, kMatrix};
constexpr long kKnownColumnTypes[] = {kButton, kStaticText, kEditText, kComboBox, kLinkedButton};

// Documents name the type by either attribute. "-1" is the type of forms without one.
std::u16string_view typeOf(const XmlElement& form) {
  if (const auto type = form.attribute(u"formtype")) return *type;
  return form.attribute(u"appformnumber").value_or(u"-1");
}

template <class Values, class Value>
bool contains(const Values& values, const Value& value) {
  return std::find(std::begin(values), std::end(values), value) != std::end(values);
}

}  // namespace

template <class Body>
void FormReader::attempt(const XmlElement& element, const Body& body) {
  try {
    body();
  } catch (const _com_error& error) {
    fail(element, error.Error(), u"");
  }
}

std::shared_ptr<FormModel> FormReader::create(const XmlElement& element) {
  const std::size_t faults = report_.errors().size();
  std::shared_ptr<FormModel> form;
  attempt(element, [&] {
    form = std::make_shared<FormModel>(std::u16string(element.text(u"uid")),
                                       std::u16string(typeOf(element)), false);
    form->visible = true;  // unless the document says otherwise
  });
  // Without a valid UID there is no form into which the rest could be read.
  if (form == nullptr) return nullptr;
  readForm(*form, element);
  return report_.errors().size() == faults ? form : nullptr;
}

bool FormReader::update(FormModel& form, const XmlElement& element) {
  const std::size_t faults = report_.errors().size();
  readForm(form, element);
  return report_.errors().size() == faults;
}

void FormReader::readForm(FormModel& form, const XmlElement& element) {
  // Data sources come before items, which are bound to them, and items before the default button,
  // which is one of them.
  allowOnly(element, {u"datasources", u"items"});
  readFrame(form, element);
  for (const XmlElement& sources : element.children(u"datasources")) readSources(form, sources);
  for (const XmlElement& items : element.children(u"items")) readItems(form, items);
  // Documents also name a button that the form lacks: 0, or 1 in a form without any buttons. Such a
  // form has no default button.
  const std::u16string_view button = element.text(u"default_button");
  if (!button.empty() && form.findItem(button) != nullptr) form.setDefaultItem(button);
}

void FormReader::readFrame(FormModel& form, const XmlElement& element) {
  element.read(u"title", form.title);
  element.read(u"objecttype", form.objectType);
  number(element, u"type", kFormSettingRect, form.borderStyle);
  number(element, u"left", kFormSettingRect, form.rect.left);
  number(element, u"top", kFormSettingRect, form.rect.top);
  size(element, u"width", kFormSettingRect, form.rect.width);
  size(element, u"height", kFormSettingRect, form.rect.height);
  number(element, u"color", kFormSettingColor, form.color);
  number(element, u"pane", kFormSettingPane, form.pane);
  long mode = form.mode();
  number(element, u"mode", kFormSettingMode, mode);
  attempt(element, [&] { form.setMode(mode); });
  // Showing an open form raises events, so the batch does it when all is read.
  if (!form.isOpen()) flag(element, u"visible", kFormSettingVisible, form.visible);
}

void FormReader::readSources(FormModel& form, const XmlElement& element) {
  allowOnly(element, {u"dbdatasources", u"userdatasources"});
  for (const XmlElement& database : element.children(u"dbdatasources")) {
    eachEntry(database, u"datasource", [&](const XmlElement& source) {
      form.tables.emplace_back(source.text(u"tablename"));
    });
  }
  for (const XmlElement& user : element.children(u"userdatasources")) {
    eachEntry(user, u"datasource", [&](const XmlElement& source) {
      long type = 0;
      long size = 0;
      number(source, u"type", kUnknownFieldType, type);
      number(source, u"size", kUnknownFieldType, size);
      attempt(source, [&] { form.addSource(std::u16string(source.text(u"uid")), type, size); });
    });
  }
}

void FormReader::readItems(FormModel& form, const XmlElement& element) {
  allowOnly(element, {u"action"});
  for (const XmlElement& action : element.children(u"action")) readItemAction(form, action);
}

void FormReader::readItemAction(FormModel& form, const XmlElement& action) {
  const std::u16string_view type = action.text(u"type");
  allowOnly(action, {u"item"});
  for (const XmlElement& element : action.children(u"item")) {
    // An update needs no type: it changes the item that has the UID, of any type.
    if (type == u"add") {
      addItem(form, element);
    } else if (type == u"update" || type == u"remove") {
      attempt(element, [&] {
        const std::u16string_view uid = element.text(u"uid");
        ItemModel& item = form.item(uid);  // throws for an unknown UID, also for a removal
        if (type == u"remove") return form.removeItem(uid);
        readItem(form, item, element);
      });
    } else {
      return fail(action, kActionTypeNotValid, u"type is not add, update or remove");
    }
  }
}

void FormReader::addItem(FormModel& form, const XmlElement& element) {
  ItemModel item;
  item.uid = element.text(u"uid");
  number(element, u"type", kItemAttributes, item.type);
  if (!contains(kKnownItemTypes, item.type)) {
    return fail(element, kItemAttributes, u"type is not one of 4, 8, 16, 113, 127");
  }
  // The item is added before its control is read, since adding creates the combo or the matrix.
  attempt(element, [&] { readItem(form, form.addItem(std::move(item)), element); });
}

void FormReader::readItem(FormModel& form, ItemModel& item, const XmlElement& element) {
  allowOnly(element, {u"specific"});
  readRect(element, item.rect);
  number(element, u"from_pane", kItemAttributes, item.fromPane);
  number(element, u"form_pane", kItemAttributes, item.fromPane);  // a spelling that documents have
  number(element, u"to_pane", kItemAttributes, item.toPane);
  flag(element, u"visible", kItemAttributes, item.visible);
  flag(element, u"enabled", kItemAttributes, item.enabled);
  flag(element, u"disp_desc", kItemAttributes, item.showsDescription);
  flag(element, u"right_just", kItemAttributes, item.rightJustified);
  element.read(u"description", item.description);
  element.read(u"linkto", item.linkTo);
  for (const XmlElement& specific : element.children(u"specific")) {
    readSpecific(form, item, specific);
  }
}

void FormReader::readRect(const XmlElement& element, Rect& rect) {
  number(element, u"left", kItemAttributes, rect.left);
  number(element, u"top", kItemAttributes, rect.top);
  size(element, u"width", kItemAttributes, rect.width);
  size(element, u"height", kItemAttributes, rect.height);
}

void FormReader::readSpecific(FormModel& form, ItemModel& item, const XmlElement& specific) {
  // What one kind of control does not use is passed over, be it an attribute or an element.
  allowOnly(specific, {u"databind", u"columns", u"validvalues"});
  specific.read(u"caption", item.caption);
  flag(specific, u"affectsformmode", kItemAttributes, item.affectsFormMode);
  // A matrix is bound by its columns and not as a whole.
  if (item.matrix != nullptr) return readMatrix(form, *item.matrix, specific);
  if (item.type == kEditText) readStyle(specific, item.style);
  if (item.combo != nullptr) readValidValues(*item.combo, specific);
  const auto source = readBinding(form, specific, kItemBindingData);
  if (source == nullptr) return;
  if (item.type == kEditText) {
    item.text.bind(source);
  } else if (item.combo != nullptr) {
    item.combo->key().bind(source);
  } else {
    fail(specific, kItemBindingData, u"only edits, combo boxes and columns are bound");
  }
}

void FormReader::readStyle(const XmlElement& specific, EditStyle& style) {
  number(specific, u"forecolor", kItemAttributes, style.foreColor);
  number(specific, u"backcolor", kItemAttributes, style.backColor);
  number(specific, u"text_style", kItemAttributes, style.textStyle);
  size(specific, u"font_size", kItemAttributes, style.fontSize);
  flag(specific, u"supp_zeros", kItemAttributes, style.suppressesZeros);
}

void FormReader::readMatrix(FormModel& form, MatrixModel& matrix, const XmlElement& specific) {
  number(specific, u"layout", kItemAttributes, matrix.layout);
  long mode = matrix.selectionMode;
  number(specific, u"selectionmode", kItemAttributes, mode);
  if (mode >= kSelectNone && mode <= kSelectOne) {
    matrix.selectionMode = mode;
  } else {
    fail(specific, kItemAttributes, u"selectionmode is not one of 0, 1, 2");
  }
  readColumns(form, matrix, specific);
}

void FormReader::readValidValues(ComboModel& combo, const XmlElement& specific) {
  for (const XmlElement& values : specific.children(u"validvalues")) {
    eachEntry(values, u"validvalue", [&](const XmlElement& value) {
      combo.add(std::u16string(value.text(u"value")), std::u16string(value.text(u"description")));
    });
  }
}

void FormReader::readColumns(FormModel& form, MatrixModel& matrix, const XmlElement& specific) {
  for (const XmlElement& columns : specific.children(u"columns")) {
    eachEntry(columns, u"column",
              [&](const XmlElement& column) { addColumn(form, matrix, column); });
  }
}

void FormReader::addColumn(FormModel& form, MatrixModel& matrix, const XmlElement& element) {
  allowOnly(element, {u"databind"});
  MatrixColumn column;
  column.uid = element.text(u"uid");
  column.title = element.text(u"title");
  column.description = element.text(u"description");
  number(element, u"type", kColumnAttributes, column.type);
  if (!contains(kKnownColumnTypes, column.type)) {
    fail(element, kColumnAttributes, u"type is not one of 4, 8, 16, 113, 116");
  }
  size(element, u"width", kColumnAttributes, column.width);
  flag(element, u"visible", kColumnAttributes, column.visible);
  flag(element, u"editable", kColumnAttributes, column.editable);
  flag(element, u"disp_desc", kColumnAttributes, column.showsDescription);
  flag(element, u"right_just", kColumnAttributes, column.rightJustified);
  // A column with a wrong binding is added all the same, so that the report lists its other faults.
  column.source = readBinding(form, element, kColumnBindingData);
  attempt(element, [&] { matrix.addColumn(std::move(column)); });
}

std::shared_ptr<UserDataSource> FormReader::readBinding(FormModel& form, const XmlElement& element,
                                                        HRESULT code) {
  for (const XmlElement& bind : element.children(u"databind")) {
    bool bound = true;
    flag(bind, u"databound", code, bound);
    if (!bound) continue;
    // A binding to a table is accepted and checked, but the desk has no records to show, so the
    // control keeps a text of its own.
    const std::u16string_view table = bind.text(u"table");
    if (!table.empty()) {
      if (!contains(form.tables, table)) {
        fail(bind, code, u"the form has no database data source for table ", table);
      }
      return nullptr;
    }
    auto source = form.findSource(bind.text(u"alias"));
    if (source == nullptr) {
      fail(bind, code, u"the form has no user data source with the alias ", bind.text(u"alias"));
    }
    return source;
  }
  return nullptr;
}

void FormReader::allowOnly(const XmlElement& element, Names names) {
  // An element that is passed over would be a misspelt item that is missing on the screen.
  for (const XmlElement& child : element.children()) {
    const auto isIt = [&child](std::u16string_view name) { return child.is(name); };
    if (std::any_of(names.begin(), names.end(), isIt)) continue;
    std::u16string reason = u"<" + element.name() + u"> holds only";
    for (const std::u16string_view name : names) {
      reason.append(name == *names.begin() ? u" <" : u", <").append(name).append(u">");
    }
    fail(child, kTagNotInPosition, reason);
  }
}

void FormReader::eachEntry(const XmlElement& element, std::u16string_view entry, const Step& body) {
  allowOnly(element, {u"action"});
  for (const XmlElement& action : element.children(u"action")) {
    // Sources, columns and values can be added, but neither updated nor removed.
    if (action.text(u"type") != u"add") {
      fail(action, kActionTypeNotValid, u"type is not add");
      continue;
    }
    allowOnly(action, {entry});
    for (const XmlElement& child : action.children(entry)) body(child);
  }
}

void FormReader::number(const XmlElement& element, std::u16string_view name, HRESULT code,
                        long& out) {
  const auto text = element.attribute(name);
  if (!text || text->empty()) return;  // an empty value means unset
  if (const auto value = decimalNumber(*text)) {
    out = *value;
  } else {
    fail(element, code, std::u16string(name) + u" is not a number: ", *text);
  }
}

void FormReader::size(const XmlElement& element, std::u16string_view name, HRESULT code,
                      long& out) {
  long value = out;
  number(element, name, code, value);
  if (value >= 0) {
    out = value;
  } else {
    fail(element, code, std::u16string(name) + u" is negative: ", element.text(name));
  }
}

void FormReader::flag(const XmlElement& element, std::u16string_view name, HRESULT code,
                      bool& out) {
  const auto text = element.attribute(name);
  if (!text || text->empty()) return;
  // -1 is VARIANT_TRUE, written as a number.
  if (*text == u"1" || *text == u"-1" || *text == u"0") {
    out = *text != u"0";
  } else {
    fail(element, code, std::u16string(name) + u" is neither 1 nor 0: ", *text);
  }
}

void FormReader::fail(const XmlElement& element, HRESULT code, std::u16string_view reason,
                      std::u16string_view text) {
  std::u16string detail = u"<" + element.name() + u">";
  if (const auto uid = element.attribute(u"uid")) detail.append(u" ").append(*uid);
  if (!reason.empty()) detail.append(u": ").append(reason).append(text);
  report_.fail(code, detail, element.place());
}

}  // namespace qx::screens
