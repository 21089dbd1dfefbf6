#pragma once

#include <string>
#include <string_view>

namespace qx {

struct FormDump {
  std::u16string name;  // path of the file
  bool written;
};

/// Writes the text of a form that failed to parse, as UTF-8, to HVX_Form.xml in the temporary
/// folder, over the one before, so that its author can look at it.
FormDump dumpForm(std::u16string_view text);

}  // namespace qx
