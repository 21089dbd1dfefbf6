// A machine of its own for every test process: its locks, counters and registry lie in a fresh
// folder. The registry says that the host's classes live in this very program.

#include "qxframework/automation/guid.h"
#include "qxframework/automation/text.h"
#include "qxframework/host/ids.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

class Machine final : public testing::Environment {
 public:
  void SetUp() override {
    std::string folder = (std::filesystem::temp_directory_path() / "qx_runtime_XXXXXX").string();
    ASSERT_NE(mkdtemp(folder.data()), nullptr);
    folder_ = folder;
    writeRegistry();
    setenv("QX_RUNTIME_DIR", folder.c_str(), 1);
    setenv("QX_REGISTRY", (folder_ / "registry.toml").c_str(), 1);
  }
  void TearDown() override {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }

 private:
  void writeRegistry() const {
    const std::string program = std::filesystem::read_symlink("/proc/self/exe").string();
    std::ofstream file(folder_ / "registry.toml");
    for (const CLSID& each : {CLSID_HalvexGuiApi, CLSID_HalvexApplication, CLSID_HalvexCompany}) {
      file << "['HKEY_CLASSES_ROOT\\CLSID\\" << qx::toUtf8(qx::guidText(each))
           << "\\InprocServer32']\n\"\" = '" << program << "'\n";
    }
    file << "['HKEY_CLASSES_ROOT\\" << qx::toUtf8(kCompanyProgId) << "\\CLSID']\n\"\" = '"
         << qx::toUtf8(qx::guidText(CLSID_HalvexCompany)) << "'\n";
  }

  std::filesystem::path folder_;
};

[[maybe_unused]] const testing::Environment* const g_machine =
    testing::AddGlobalTestEnvironment(new Machine);

}  // namespace
