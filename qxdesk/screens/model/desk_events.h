#pragma once

// What happens in the client, as plain values. An event that can be vetoed comes twice: before the
// action, and after it when nobody objected.

#include <string>
#include <variant>

namespace qx::screens {

/// See qx::ItemEventType for the types. `row` counts from 1; 0 is the head of a column.
struct ItemEvent {
  long type = 0;
  std::u16string formUid;
  std::u16string formType;
  std::u16string itemUid;
  std::u16string colUid;
  long row = 0;
  long charPressed = 0;
  bool before = true;
};

/// `inner`: picked while the client was handling another event.
struct MenuEvent {
  std::u16string menuUid;
  bool inner = false;
  bool before = true;
};

/// See qx::AppEventType. It cannot be vetoed.
struct AppEvent {
  long type = 0;
};

/// A message of the client itself. It cannot be vetoed.
struct StatusBarEvent {
  std::u16string text;
  long type = 0;
};

struct ProgressBarEvent {
  bool before = true;
};

struct PrintEvent {
  std::u16string formUid;
  bool before = true;
};

struct ReportDataEvent {
  std::u16string formUid;
  bool before = true;
};

struct RightClickEvent {
  std::u16string formUid;
  std::u16string itemUid;
  bool before = true;
};

struct FormDataEvent {
  std::u16string formUid;
  std::u16string objectType;
  std::u16string objectKey;
  bool before = true;
};

using Event = std::variant<ItemEvent, MenuEvent, AppEvent, StatusBarEvent, ProgressBarEvent,
                           PrintEvent, ReportDataEvent, RightClickEvent, FormDataEvent>;

}  // namespace qx::screens
