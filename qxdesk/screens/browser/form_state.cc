#include "qxdesk/screens/browser/form_state.h"

#include "qxframework/automation/text.h"
#include "tools/formdraw/item_type_name.h"

#include <nlohmann/json.hpp>

#include <string>
#include <utility>

namespace qx::screens {
namespace {

using nlohmann::json;

json rectState(const Rect& rect) { return {rect.left, rect.top, rect.width, rect.height}; }

std::string uidOfSource(const std::shared_ptr<UserDataSource>& source) {
  return source == nullptr ? std::string() : toUtf8(source->uid());
}

long limitOf(const std::shared_ptr<UserDataSource>& source) {
  return source == nullptr ? 0 : source->size();
}

const char* modeName(long mode) {
  switch (mode) {
    case kFindMode:
      return "find";
    case kUpdateMode:
      return "update";
    case kAddMode:
      return "add";
    default:
      return "ok";
  }
}

const char* selectionName(long mode) {
  switch (mode) {
    case kSelectOne:
      return "one";
    case kSelectMany:
      return "many";
    default:
      return "none";
  }
}

json styleState(const EditStyle& style) {
  json out = json::object();
  out["fore"] = style.foreColor;
  out["back"] = style.backColor;
  out["text"] = style.textStyle;
  out["size"] = style.fontSize;
  return out;
}

void addEdit(const ItemModel& item, json& out) {
  const auto& source = item.text.source();
  out["text"] = toUtf8(item.text.get());
  out["limit"] = limitOf(source);
  out["source"] = uidOfSource(source);
  out["right"] = item.rightJustified;
  out["changed"] = item.changed;
  out["style"] = styleState(item.style);
}

void addCombo(const ItemModel& item, json& out) {
  json values = json::array();
  for (const ValidValue& entry : item.combo->values()) {
    values.push_back(json::array({toUtf8(entry.value), toUtf8(entry.description)}));
  }
  out["values"] = std::move(values);
  const auto selected = item.combo->selected();
  out["chosen"] = selected ? static_cast<long>(*selected) : -1;
  std::string shown;
  if (selected) {
    const ValidValue& entry = item.combo->values()[*selected];
    shown = toUtf8(item.showsDescription ? entry.description : entry.value);
  }
  out["shown"] = std::move(shown);
  out["source"] = uidOfSource(item.combo->key().source());
}

json columnState(const MatrixColumn& column) {
  json out = json::object();
  out["uid"] = toUtf8(column.uid);
  out["title"] = toUtf8(column.title);
  out["width"] = column.width;
  out["type"] = formdraw::itemTypeName(column.type);
  out["visible"] = column.visible;
  out["editable"] = column.editable;
  out["right"] = column.rightJustified;
  out["description"] = toUtf8(column.description);
  out["limit"] = limitOf(column.source);
  return out;
}

void addMatrix(const MatrixModel& matrix, json& out) {
  out["selection"] = selectionName(matrix.selectionMode);
  out["rows"] = matrix.rowCount();
  out["revision"] = matrix.revision();
  json columns = json::array();
  for (const auto& column : matrix.columns()) columns.push_back(columnState(*column));
  out["columns"] = std::move(columns);
}

json itemState(const FormModel& form, const ItemModel& item) {
  json out = json::object();
  out["type"] = formdraw::itemTypeName(item.type);
  out["rect"] = rectState(item.rect);
  out["visible"] = item.visible;
  out["enabled"] = item.enabled;
  out["usable"] = form.isUsable(item);
  out["panes"] = {item.fromPane, item.toPane};
  out["description"] = toUtf8(item.description);
  out["link"] = toUtf8(item.linkTo);
  if (item.combo != nullptr) {
    addCombo(item, out);
  } else if (item.matrix != nullptr) {
    addMatrix(*item.matrix, out);
  } else if (item.type == kEditText) {
    addEdit(item, out);
  } else {
    out["caption"] = toUtf8(item.caption);
  }
  return out;
}

json sourcesState(const FormModel& form) {
  json out = json::object();
  for (const auto& source : form.sources()) {
    json part = json::object();
    part["type"] = source->type();
    part["size"] = source->size();
    part["value"] = toUtf8(source->value());
    out[toUtf8(source->uid())] = std::move(part);
  }
  return out;
}

}  // namespace

json formState(const FormModel& form) {
  json out = json::object();
  out["type"] = toUtf8(form.typeEx());
  out["title"] = toUtf8(form.title);
  out["system"] = form.isSystem();
  out["visible"] = form.visible;
  out["frozen"] = form.freezeCount() > 0;
  out["rect"] = rectState(form.rect);
  out["client"] = {form.clientWidth(), form.clientHeight()};
  out["mode"] = modeName(form.mode());
  out["pane"] = form.pane;
  out["color"] = form.color;
  out["border"] = form.borderStyle;
  out["default"] = toUtf8(form.defaultItem());
  out["focus"] = toUtf8(form.focus);
  out["objectType"] = toUtf8(form.objectType);
  out["updates"] = form.updates;
  out["sources"] = sourcesState(form);
  json order = json::array();
  json items = json::object();
  for (const auto& item : form.items()) {
    std::string uid = toUtf8(item->uid);
    order.push_back(uid);
    items[std::move(uid)] = itemState(form, *item);
  }
  out["order"] = std::move(order);
  out["items"] = std::move(items);
  return out;
}

}  // namespace qx::screens
