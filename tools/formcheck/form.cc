#include "tools/formcheck/form.h"

#include "qxframework/host/item_types.h"

#include <string_view>

namespace qx::formcheck {
namespace {

// Returns the entries of all lists with that name in `parent`.
std::vector<const Element*> entriesOf(const Element& parent, std::u16string_view listName,
                                      std::u16string_view entryName) {
  std::vector<const Element*> entries;
  for (const Element& list : parent.children) {
    if (list.key != listName) continue;
    for (const Element& action : list.children) {
      if (action.key != u"action") continue;
      for (const Element& entry : action.children)
        if (entry.key == entryName) entries.push_back(&entry);
    }
  }
  return entries;
}

formdraw::Rect rectOf(const Element& element) {
  const auto number = [&](std::u16string_view name) { return element.number(name).value_or(0); };
  return {number(u"left"), number(u"top"), number(u"width"), number(u"height")};
}

Column columnOf(const Element& element) {
  return {&element, std::u16string(element.text(u"title")), element.number(u"width").value_or(0),
          element.flag(u"visible")};
}

Item itemOf(const Element& element) {
  Item item;
  item.element = &element;
  item.specific = element.child(u"specific");
  item.type = element.number(u"type").value_or(0);
  item.rect = rectOf(element);
  item.visible = element.flag(u"visible");
  item.enabled = element.flag(u"enabled");
  item.rightJustified = element.number(u"right_just").value_or(0) != 0;
  if (item.specific == nullptr) return item;
  item.caption = item.specific->text(u"caption");
  if (item.type == kMatrix)
    for (const Element* column : entriesOf(*item.specific, u"columns", u"column"))
      item.columns.push_back(columnOf(*column));
  return item;
}

// The framework compares the number of all nodes, so a comment beside the child is refused too.
const Element* onlyChild(const Element& parent, std::u16string_view name, Findings& findings) {
  const std::string wanted = bracketed(name);
  const Element* const child = parent.child(name);
  if (child != nullptr && parent.nodeCount == 1) return child;
  if (child == nullptr) {
    findings.error(parent.place, bracketed(parent.name) + " holds no " + wanted, "add one");
  } else {
    findings.error(parent.place,
                   bracketed(parent.name) + " holds " + std::to_string(parent.nodeCount) +
                       " nodes, comments included, and must hold one " + wanted + " alone",
                   "move the others elsewhere");
  }
  return nullptr;
}

const Element* formElement(const Element& root, Findings& findings) {
  if (root.key != u"application") {
    findings.error(root.place, "the root element is " + bracketed(root.name),
                   "write <Application>, as in a form document");
    return nullptr;
  }
  const Element* const forms = root.child(u"forms");
  if (forms == nullptr) {
    findings.error(root.place, bracketed(root.name) + " holds no <forms>",
                   "add it, with one <action> that holds one <form>");
    return nullptr;
  }
  const Element* const action = onlyChild(*forms, u"action", findings);
  return action == nullptr ? nullptr : onlyChild(*action, u"form", findings);
}

}  // namespace

std::optional<Form> readForm(const Element& root, Findings& findings) {
  const Element* const element = formElement(root, findings);
  if (element == nullptr) return std::nullopt;
  Form form;
  form.element = element;
  form.title = element->text(u"title");
  form.rect = rectOf(*element);
  for (const Element& sources : element->children) {
    if (sources.key != u"datasources") continue;
    form.userSources = entriesOf(sources, u"userdatasources", u"datasource");
    form.tableSources = entriesOf(sources, u"dbdatasources", u"datasource");
  }
  for (const Element* item : entriesOf(*element, u"items", u"item"))
    form.items.push_back(itemOf(*item));
  return form;
}

}  // namespace qx::formcheck
