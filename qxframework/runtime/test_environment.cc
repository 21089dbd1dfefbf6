// Gives every test process locks, counters and a registry of its own in a temporary folder. The
// registry names this program for the host's classes.

#include "qxframework/automation/guid.h"
#include "qxframework/automation/text.h"
#include "qxframework/host/ids.h"
#include "testing/temp_folder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>

namespace {

class Machine final : public testing::Environment {
 public:
  void SetUp() override {
    const std::filesystem::path& folder = folder_.emplace().path();
    writeRegistry();
    setenv("QX_RUNTIME_DIR", folder.c_str(), 1);
    setenv("QX_REGISTRY", (folder / "registry.toml").c_str(), 1);
  }
  void TearDown() override { folder_.reset(); }

 private:
  void writeRegistry() const {
    const std::string program = std::filesystem::read_symlink("/proc/self/exe").string();
    std::ofstream file(folder_->path() / "registry.toml");
    for (const CLSID& each : {CLSID_HalvexGuiApi, CLSID_HalvexApplication, CLSID_HalvexCompany}) {
      file << "['HKEY_CLASSES_ROOT\\CLSID\\" << qx::toUtf8(qx::guidText(each))
           << "\\InprocServer32']\n\"\" = '" << program << "'\n";
    }
    file << "['HKEY_CLASSES_ROOT\\" << qx::toUtf8(kCompanyProgId) << "\\CLSID']\n\"\" = '"
         << qx::toUtf8(qx::guidText(CLSID_HalvexCompany)) << "'\n";
  }

  std::optional<qx::test::TempFolder> folder_;
};

[[maybe_unused]] const testing::Environment* const g_machine =
    testing::AddGlobalTestEnvironment(new Machine);

}  // namespace
