#pragma once

// The events of the desk as plain values. An event that can be vetoed is raised twice: before the
// action, and after it if no sink vetoed.

#include <string>
#include <variant>

namespace qx::screens {

/// `type` is a qx::ItemEventType. `row` counts from 1; 0 is the head of a column.
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

/// `inner` is true if the entry was picked while another event was being delivered.
struct MenuEvent {
  std::u16string menuUid;
  bool inner = false;
  bool before = true;
};

/// `type` is a qx::AppEventType. Cannot be vetoed.
struct AppEvent {
  long type = 0;
};

/// A message of the host itself. Cannot be vetoed.
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
