#include "qxframework/resources/form_dump.h"

#include "qxframework/automation/format.h"
#include "qxframework/automation/text.h"

#include <filesystem>
#include <fstream>

namespace qx {

FormDump dumpForm(std::u16string_view text) {
  std::error_code failed;
  // A dump is a courtesy to developers: it must not replace the failure that it documents.
  std::string folder = std::filesystem::temp_directory_path(failed).string();
  if (failed) folder = "/tmp";
  if (!folder.ends_with('/')) folder += '/';
  FormDump dump{format(u"%sHVX_%s.xml", folder, u"Form"), false};
  std::ofstream file(toUtf8(dump.name), std::ios::binary | std::ios::trunc);
  file << toUtf8(text);
  file.close();  // before the test: a full disk may show only here
  dump.written = file.good();
  return dump;
}

}  // namespace qx
