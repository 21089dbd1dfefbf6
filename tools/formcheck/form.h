#pragma once

// A form as its document describes it, after the symbols are replaced.

#include "tools/formcheck/document.h"
#include "tools/formdraw/form_picture.h"

#include <optional>
#include <string>
#include <vector>

namespace qx::formcheck {

struct Column {
  const Element* element = nullptr;
  std::u16string title;
  long width = 0;
  bool visible = true;
};

struct Item {
  const Element* element = nullptr;
  const Element* specific = nullptr;  ///< null if the item has none
  long type = 0;                      ///< a qx::ItemType, or the number of another type
  formdraw::Rect rect;
  bool visible = true;
  bool enabled = true;
  bool rightJustified = false;
  std::u16string caption;
  std::vector<Column> columns;  ///< of a matrix
};

/// The pointers are into the document, which must outlive the form and stay in its place.
struct Form {
  const Element* element = nullptr;
  std::u16string title;
  formdraw::Rect rect;
  std::vector<const Element*> userSources;
  std::vector<const Element*> tableSources;
  std::vector<Item> items;
};

/// Returns the form of a document. Returns nothing after a finding if the document lacks a part of
/// the outline without which the framework opens no form.
std::optional<Form> readForm(const Element& root, Findings& findings);

}  // namespace qx::formcheck
