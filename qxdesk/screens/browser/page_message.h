#pragma once

// What a page says, decoded. docs/web-protocol.md has the texts. The page is never trusted: a text
// that breaks the rules of the texts is recognised here, before anything of it is used.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qx::screens {

enum class PageVerb {
  kMenu,
  kPress,
  kDouble,
  kKey,
  kType,
  kTab,
  kValidate,
  kChoose,
  kRight,
  kSelect,
  kClose,
  kPrint,
  kReport,
  kMove,
  kAnswer,
  kLanguage,
  kShutDown,
  kRows,
  kPanel,
  kStop,
};

/// The most bytes of a text that a page sends.
inline constexpr std::size_t kMostPageBytes = 64 * 1024;

/// A message; fields that its verb does not have keep their default.
struct PageMessage {
  PageVerb verb = PageVerb::kMenu;
  std::optional<std::int64_t> id;  ///< comes back in the reply; without it there is none
  std::u16string uid;              ///< of a menu entry
  std::u16string form;
  std::u16string item;
  std::u16string column;
  std::u16string text;  ///< what is typed, or the key of an entry
  std::int64_t row = 0;
  std::int64_t key = 0;
  std::int64_t left = 0;
  std::int64_t top = 0;
  std::int64_t box = 0;
  std::int64_t button = 0;
  std::int64_t language = 0;
  std::int64_t from = 0;
  std::int64_t count = 0;
  std::int64_t progress = 0;
  bool shown = false;
  bool ctrl = false;  ///< keys that are held down
  bool shift = false;
};

/// Decodes a text in UTF-8. Returns nothing for a text that is no message: one that is too long or
/// no flat JSON object, has an unknown verb or a field twice, or lacks a field or has it in a wrong
/// type. Fields that the verb does not have are ignored. Numbers are whole; their ranges are
/// checked when the action is performed.
std::optional<PageMessage> readPageMessage(std::string_view utf8);

}  // namespace qx::screens
