#include "qxdesk/screens/batch/batch.h"

#include "qxdesk/screens/batch/batch_report.h"
#include "qxdesk/screens/batch/form_reader.h"
#include "qxdesk/screens/batch/xml_element.h"
#include "qxdesk/screens/model/ui_codes.h"
#include "qxframework/automation/com_error.h"
#include "qxframework/automation/decimal_number.h"
#include "qxframework/xml/element_tree.h"

#include <functional>
#include <optional>
#include <utility>

namespace qx::screens {
namespace {

enum class Action { kAdd, kUpdate, kRemove };

std::optional<Action> actionOf(std::u16string_view type) {
  if (type == u"add") return Action::kAdd;
  if (type == u"update") return Action::kUpdate;
  if (type == u"remove") return Action::kRemove;
  return std::nullopt;
}

// The parser's messages end in a line feed.
std::u16string_view withoutLineEnd(std::u16string_view text) {
  while (!text.empty() && text.back() <= u' ') text.remove_suffix(1);
  return text;
}

// One document on its way into the desk.
class Batch {
 public:
  explicit Batch(Desk& desk) : desk_(desk) {}

  HRESULT run(std::u16string_view xml) {
    // Holds the texts of the elements, so it lives until they are applied.
    const xml::ElementsRead read = xml::readElements(xml);
    if (read.root) {
      applyDocument(XmlElement(*read.root));
    } else {
      report_.failDocument(kCannotLoadXml, withoutLineEnd(read.reason), {read.line, read.column});
    }
    // Written last: a handler of the events in between may apply a batch of its own, and the report
    // that an add-on reads after this call is that of this batch.
    desk_.lastBatchResults = report_.xml();
    return report_.result();
  }

 private:
  using Entry = std::function<void(Action, const XmlElement&)>;

  void applyDocument(const XmlElement& root);
  void applyActions(const XmlElement& parent, std::u16string_view entryName,
                    std::u16string_view uidName, const Entry& apply);
  void applyEntry(Action action, const XmlElement& entry, const Entry& apply);
  void applyMenu(Action action, const XmlElement& menu);
  void addMenu(const XmlElement& menu);
  void updateMenu(MenuEntry& entry, const XmlElement& menu);
  void applyForm(Action action, const XmlElement& element);
  void addForm(const XmlElement& element);

  Desk& desk_;
  BatchReport report_;
};

void Batch::applyDocument(const XmlElement& root) {
  if (!root.is(u"application")) {
    report_.failDocument(kTagNotInPosition, u"the root element is not <Application>", root.place());
    return;
  }
  for (const XmlElement& child : root.children()) {
    if (child.is(u"menus")) {
      applyActions(child, u"menu", u"uniqueid",
                   [this](Action action, const XmlElement& entry) { applyMenu(action, entry); });
    } else if (child.is(u"forms")) {
      applyActions(child, u"form", u"uid",
                   [this](Action action, const XmlElement& entry) { applyForm(action, entry); });
    } else {
      report_.failDocument(kTagNotInPosition, u"<Application> holds <" + child.name() + u">",
                           child.place());
    }
  }
}

void Batch::applyActions(const XmlElement& parent, std::u16string_view entryName,
                         std::u16string_view uidName, const Entry& apply) {
  for (const XmlElement& element : parent.children()) {
    if (!element.is(u"action")) {
      report_.failDocument(kTagNotInPosition,
                           u"<" + parent.name() + u"> holds <" + element.name() + u">",
                           element.place());
      continue;
    }
    const std::u16string_view type = element.text(u"type");
    report_.beginAction(type, element.place());
    // An unknown type is one error of the action; its entries are not looked at.
    const auto action = actionOf(type);
    if (!action) {
      report_.fail(kActionTypeNotValid, u"the type is not add, update or remove");
      continue;
    }
    for (const XmlElement& entry : element.children()) {
      report_.beginEntry(entry.text(uidName), entry.place());
      if (entry.is(entryName)) {
        applyEntry(*action, entry, apply);
      } else {
        report_.fail(kTagNotInPosition, u"<action> holds <" + entry.name() + u">");
      }
    }
  }
}

void Batch::applyEntry(Action action, const XmlElement& entry, const Entry& apply) {
  // An entry may have several errors, or report one and return. It counts as applied only if none
  // was added.
  const std::size_t faults = report_.errors().size();
  try {
    apply(action, entry);
  } catch (const _com_error& error) {
    report_.fail(error.Error());
  }
  if (report_.errors().size() == faults) report_.applied();
}

bool flagOf(const XmlElement& menu, std::u16string_view name, bool otherwise) {
  const auto text = menu.attribute(name);
  return text && !text->empty() ? *text != u"0" : otherwise;
}

void Batch::applyMenu(Action action, const XmlElement& menu) {
  if (action == Action::kAdd) return addMenu(menu);
  const std::u16string_view uid = menu.text(u"uniqueid");
  // The empty UID would find the root, which no document may change.
  const auto entry = uid.empty() ? nullptr : desk_.menus.find(uid);
  if (entry == nullptr) raiseError(kInvalidMenuItem);
  if (action == Action::kRemove) return desk_.menus.remove(*entry);
  updateMenu(*entry, menu);
}

void Batch::addMenu(const XmlElement& menu) {
  // A missing attribute is an error, but an empty one names the menu bar itself.
  const auto father = menu.has(u"fatheruid") ? desk_.menus.find(menu.text(u"fatheruid")) : nullptr;
  if (father == nullptr) {
    std::u16string reason = u"there is no menu with the FatherUID ";
    report_.fail(kInvalidMenuItem, reason.append(menu.text(u"fatheruid")));
    return;
  }
  const auto type = decimalNumber(menu.attribute(u"type").value_or(u"1"));
  if (!type || *type < mt_String || *type > mt_Separator) raiseError(kMenuInvalidType);
  const auto position = decimalNumber(menu.attribute(u"position").value_or(u"-1"));
  if (!position) raiseError(kMenuPositionNotValid);
  MenuProperties properties;
  properties.uid = menu.text(u"uniqueid");
  properties.text = menu.text(u"string");
  properties.type = static_cast<HvMenuType>(*type);
  properties.checked = flagOf(menu, u"checked", false);
  properties.enabled = flagOf(menu, u"enabled", true);
  properties.image = menu.text(u"image");
  desk_.menus.add(*father, std::move(properties), *position);
}

void Batch::updateMenu(MenuEntry& entry, const XmlElement& menu) {
  MenuProperties& properties = entry.properties();
  // Add-ons may check and disable the host's own entries, but not rename them.
  const bool renames = menu.has(u"string") || menu.has(u"image");
  if (renames && entry.isSystem()) raiseError(kNotAUserMenuItem);
  menu.read(u"string", properties.text);
  menu.read(u"image", properties.image);
  properties.checked = flagOf(menu, u"checked", properties.checked);
  properties.enabled = flagOf(menu, u"enabled", properties.enabled);
}

void Batch::applyForm(Action action, const XmlElement& element) {
  if (action == Action::kAdd) return addForm(element);
  const auto form = desk_.forms.find(element.text(u"uid"));
  if (form == nullptr) raiseError(kFormNotFound);
  if (action == Action::kRemove) {
    if (!desk_.forms.close(form)) report_.fail(kGeneralFailure, u"an add-on vetoed the closing");
    return;
  }
  FormReader(report_).update(*form, element);
  // Last, since showing raises events: the handlers see the form with all of its changes.
  if (element.has(u"visible")) desk_.forms.show(form, flagOf(element, u"visible", true));
}

void Batch::addForm(const XmlElement& element) {
  const auto form = FormReader(report_).create(element);  // null: the reader has reported why
  if (form == nullptr) return;
  if (!desk_.forms.open(form)) report_.fail(kGeneralFailure, u"an add-on vetoed the load");
}

}  // namespace

HRESULT applyBatch(Desk& desk, std::u16string_view xml) { return Batch(desk).run(xml); }

}  // namespace qx::screens
