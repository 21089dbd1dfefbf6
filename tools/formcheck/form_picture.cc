#include "tools/formcheck/form_picture.h"

#include "qxframework/host/item_types.h"

#include <utility>

namespace qx::formcheck {
namespace {

formdraw::ItemPicture pictureOf(const Item& item) {
  formdraw::ItemPicture picture;
  picture.type = item.type;
  picture.rect = item.rect;
  picture.visible = item.visible;
  picture.enabled = item.enabled;
  picture.rightJustified = item.rightJustified;
  if (item.type == kButton || item.type == kStaticText) picture.text = item.caption;
  for (const Column& column : item.columns)
    picture.columns.push_back({column.title, column.width, column.visible});
  return picture;
}

}  // namespace

formdraw::FormPicture pictureOf(const Form& form) {
  formdraw::FormPicture picture;
  picture.title = form.title;
  picture.width = form.rect.width;
  picture.height = form.rect.height;
  for (const Item& item : form.items) picture.items.push_back(pictureOf(item));
  return picture;
}

}  // namespace qx::formcheck
