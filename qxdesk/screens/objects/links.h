#pragma once

// The references of an add-on's objects to the parts of a form. They are weak: a form that has been
// closed and an item that has been removed answer with an error.

#include "qxdesk/screens/model/form_model.h"
#include "qxdesk/screens/model/ui_codes.h"
#include "qxframework/automation/com_error.h"

#include <memory>

namespace qx::screens {

class FormLink {
 public:
  explicit FormLink(const std::shared_ptr<FormModel>& form) : form_(form) {}
  /// Returns the form. Throws kInvalidForm if it is no longer open.
  std::shared_ptr<FormModel> form() const {
    auto form = form_.lock();
    if (form == nullptr || !form->isOpen()) raiseError(kInvalidForm);
    return form;
  }

 private:
  std::weak_ptr<FormModel> form_;
};

class ItemLink : public FormLink {
 public:
  ItemLink(const FormLink& form, const std::shared_ptr<ItemModel>& item)
      : FormLink(form), item_(item) {}
  /// Returns the item. Throws kInvalidForm as form() does, and kInvalidItem if the item is no
  /// longer on the form.
  std::shared_ptr<ItemModel> item() const {
    const auto owner = form();
    auto item = item_.lock();
    if (item == nullptr || owner->findItem(item->uid) != item) raiseError(kInvalidItem);
    return item;
  }

 private:
  std::weak_ptr<ItemModel> item_;
};

}  // namespace qx::screens
