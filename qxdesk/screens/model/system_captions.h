#pragma once

// The captions of the host's own menus and forms in the languages of the client. The English ones
// are part of the code; the others are string tables of the library.

#include "qxframework/host/enums.h"

#include <string>

namespace qx::screens {

/// A caption. The numbers are those of the string tables, so that a new one comes last.
enum class Caption : unsigned {
  None,
  File,
  Quit,
  Data,
  Find,
  Add,
  Delete,
  NextRecord,
  PreviousRecord,
  FirstRecord,
  LastRecord,
  Sales,
  SalesOrder,
  Customer,
  AddOns,
  Ok,
  Cancel,
  Name,
  PostingDate,
  Status,
  Open,
  Closed,
  ItemNumber,
  Quantity,
  UnitPrice,
  Code,
  Kind,
  Supplier,
  Lead,
  MainMenu,
  End,  ///< follows the last one
};

/// Returns the caption in a language; in English if the language has no table or lacks it.
std::u16string captionOf(Caption caption, HvLanguages language);

}  // namespace qx::screens
