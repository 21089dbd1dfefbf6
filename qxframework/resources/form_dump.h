#pragma once

// The dump of a form that does not parse.

#include <string>
#include <string_view>

namespace qx {

/// The result of dumpForm.
struct FormDump {
  std::u16string name;  ///< path of the file
  bool written;         ///< false if the file could not be written completely
};

/// Writes the text of a form that failed to parse to HVX_Form.xml in the temporary folder, so that
/// its author can look at it. The file is UTF-8 and replaces an earlier one. Does not throw for a
/// file that cannot be written.
FormDump dumpForm(std::u16string_view text);

}  // namespace qx
