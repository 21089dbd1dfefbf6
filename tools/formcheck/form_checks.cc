#include "tools/formcheck/form_checks.h"

#include "qxframework/automation/text.h"
#include "qxframework/host/item_types.h"
#include "tools/formdraw/text_width.h"

#include <algorithm>
#include <map>
#include <string>
#include <string_view>

namespace qx::formcheck {
namespace {

// The height of a line of text; an item of twice the height may show two lines.
constexpr long kLineHeight = 14;

std::string pixels(long count) { return std::to_string(count) + " pixels"; }

// Returns the value that the client gets, with the symbol from which it comes.
std::string named(const Attribute& attribute) {
  if (attribute.value == attribute.result) return quoted(attribute.value);
  return quoted(attribute.result) + " (" + quoted(attribute.value) + ")";
}

// The UIDs of one collection.
class UidSet {
 public:
  explicit UidSet(Findings& findings) : findings_(findings) {}

  // A cut UID counts as it is written: that it is cut is reported already, and two that become the
  // same by the cut are corrected together with it.
  void add(const Element& element) {
    const Attribute* const uid = element.attribute(u"uid");
    if (uid == nullptr || uid->value.empty()) return;
    const auto [first, isNew] =
        lines_.emplace(uid->cut ? uid->value : uid->result, uid->place.line);
    if (isNew) return;
    findings_.error(
        uid->place,
        "doubled UID: " + named(*uid) + " is in line " + std::to_string(first->second) + " already",
        "choose another one");
  }

 private:
  std::map<std::u16string, std::size_t> lines_;
  Findings& findings_;
};

bool hasItem(const Form& form, std::u16string_view uid) {
  return std::any_of(form.items.begin(), form.items.end(),
                     [&](const Item& item) { return item.element->text(u"uid") == uid; });
}

bool hasSource(const std::vector<const Element*>& sources, std::u16string_view attribute,
               std::u16string_view value) {
  return std::any_of(sources.begin(), sources.end(),
                     [&](const Element* source) { return source->text(attribute) == value; });
}

// A bind with a table names a column of that table; without one it names a user data source.
void checkBind(const Form& form, const Element& bind, Findings& findings) {
  if (!bind.flag(u"databound")) return;
  const Attribute* const table = bind.attribute(u"table");
  if (table != nullptr && !table->value.empty()) {
    if (hasSource(form.tableSources, u"tablename", table->result)) return;
    findings.error(table->place,
                   "the form has no data source for the table " + quoted(table->result),
                   "add a <datasource> to <dbdatasources>, or correct the table");
    return;
  }
  const Attribute* const alias = bind.attribute(u"alias");
  if (alias == nullptr || alias->value.empty()) {
    findings.error(bind.placeOf(u"alias"), "<databind> names no data source",
                   "write the UID of one as its alias");
  } else if (!hasSource(form.userSources, u"uid", alias->result)) {
    findings.error(alias->place, "the form has no user data source " + named(*alias),
                   "add a <datasource> to <userdatasources>, or correct the alias");
  }
}

void checkBinds(const Form& form, const Element* owner, Findings& findings) {
  if (owner == nullptr) return;
  for (const Element& child : owner->children)
    if (child.key == u"databind") checkBind(form, child, findings);
}

void checkLabel(const Form& form, const Item& item, Findings& findings) {
  const Attribute* const link = item.element->attribute(u"linkto");
  if (link == nullptr || link->value.empty() || hasItem(form, link->result)) return;
  findings.error(link->place, "the form has no item " + named(*link) + " to link to",
                 "correct the symbol or the UID, or add the item");
}

// Documents also name a button that the form lacks: 0, or 1 in a form whose code adds the button.
void checkDefaultButton(const Form& form, Findings& findings) {
  const Attribute* const button = form.element->attribute(u"default_button");
  if (button == nullptr || button->value.empty() || button->result == u"0") return;
  if (hasItem(form, button->result)) return;
  findings.note(button->place, "the form has no item " + named(*button) + " as its default button",
                "write 0 unless the form's code adds it");
}

// Reports an item that leaves the form along one axis.
void checkExtent(const Element& item, std::u16string_view startName, long start, long size,
                 long formSize, const std::string& formSizeName, Findings& findings) {
  const Place place = item.placeOf(startName);
  if (start < 0) {
    findings.error(place, "the item begins " + pixels(-start) + " outside of the form",
                   "give it a " + toUtf8(startName) + " of 0 or more");
  } else if (formSize > 0 && start + size > formSize) {
    findings.error(place,
                   "the item ends at " + pixels(start + size) + ", and the form has a " +
                       formSizeName + " of " + std::to_string(formSize),
                   "move the item or enlarge the form");
  }
}

void checkText(const Place& place, std::u16string_view text, const std::string& owner, long width,
               long lines, Findings& findings) {
  const long least = formdraw::pixelsAtLeast(text);
  if (width <= 0 || least <= width * lines) return;
  findings.error(place,
                 "the text " + quoted(text) + " takes " + pixels(least) + " or more, and the " +
                     owner + " has " + (lines > 1 ? std::to_string(lines) + " lines of " : "") +
                     std::to_string(width),
                 "shorten it or widen the " + owner);
}

void checkItemWidth(const Item& item, Findings& findings) {
  if (item.type == kButton || item.type == kStaticText) {
    const long lines = std::max(item.rect.height / kLineHeight, 1L);
    if (item.specific != nullptr)
      checkText(item.specific->placeOf(u"caption"), item.caption, "item", item.rect.width, lines,
                findings);
  }
  for (const Column& column : item.columns)
    if (column.visible)
      checkText(column.element->placeOf(u"title"), column.title, "column", column.width, 1,
                findings);
}

}  // namespace

void checkUids(const Form& form, Findings& findings) {
  UidSet sources(findings);
  for (const Element* source : form.userSources) sources.add(*source);
  UidSet items(findings);
  for (const Item& item : form.items) {
    items.add(*item.element);
    UidSet columns(findings);
    for (const Column& column : item.columns) columns.add(*column.element);
  }
}

void checkLinks(const Form& form, Findings& findings) {
  checkDefaultButton(form, findings);
  for (const Item& item : form.items) {
    checkLabel(form, item, findings);
    // The client binds a matrix by its columns only.
    if (item.type != kMatrix) checkBinds(form, item.specific, findings);
    for (const Column& column : item.columns) checkBinds(form, column.element, findings);
  }
}

void checkPlaces(const Form& form, Findings& findings) {
  for (const Item& item : form.items) {
    // An invisible item may wait anywhere until the form's code moves and shows it.
    if (!item.visible) continue;
    const formdraw::Rect& rect = item.rect;
    checkExtent(*item.element, u"left", rect.left, rect.width, form.rect.width, "width", findings);
    checkExtent(*item.element, u"top", rect.top, rect.height, form.rect.height, "height", findings);
  }
}

void checkWidths(const Form& form, Findings& findings) {
  checkText(form.element->placeOf(u"title"), form.title, "form", form.rect.width, 1, findings);
  for (const Item& item : form.items) checkItemWidth(item, findings);
}

}  // namespace qx::formcheck
