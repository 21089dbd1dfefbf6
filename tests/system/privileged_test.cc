// Programs with more rights than the user who starts them: copies with the set-user-id bit, copies
// with a capability, and root in another user's home. Nothing that the user's environment names is
// loaded, read or written.

#include "testing/child_process.h"
#include "testing/file_content.h"
#include "tests/system/two_users.h"

#include <gmock/gmock.h>
#include <linux/capability.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <fstream>
#include <map>
#include <utility>

namespace {

using qx::test::ChildProcess;
using qx::test::contentOfExisting;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

/// Notes each access to what is in a folder.
class Watch {
 public:
  explicit Watch(const std::filesystem::path& folder) : fd_(inotify_init1(IN_NONBLOCK)) {
    add(folder);
    for (const auto& each : std::filesystem::recursive_directory_iterator(folder)) {
      if (each.is_directory()) add(each.path());
    }
    accesses();  // those of this loop
  }
  ~Watch() { close(fd_); }
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;

  /// Returns the paths that were read, written, made or removed since the last call.
  std::vector<std::string> accesses() {
    alignas(inotify_event) std::array<char, 65'536> events{};
    std::vector<std::string> paths;
    const ssize_t size = read(fd_, events.data(), events.size());
    for (ssize_t at = 0; at < size;) {
      const auto* event = reinterpret_cast<const inotify_event*>(events.data() + at);
      paths.push_back((folders_[event->wd] / (event->len > 0 ? event->name : "")).string());
      at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
    }
    return paths;
  }

 private:
  void add(const std::filesystem::path& folder) {
    constexpr std::uint32_t kEvents = IN_OPEN | IN_ACCESS | IN_MODIFY | IN_CREATE | IN_DELETE |
                                      IN_MOVED_FROM | IN_MOVED_TO | IN_ATTRIB;
    folders_[inotify_add_watch(fd_, folder.c_str(), kEvents)] = folder;
  }

  int fd_;
  std::map<int, std::filesystem::path> folders_;
};

// Lets the copy use a port below 1024; any capability would do.
void giveCapability(const std::filesystem::path& program) {
  vfs_cap_data data{};
  data.magic_etc = VFS_CAP_REVISION_2 | VFS_CAP_FLAGS_EFFECTIVE;
  data.data[0].permitted = 1U << CAP_NET_BIND_SERVICE;
  ASSERT_EQ(setxattr(program.c_str(), "security.capability", &data, XATTR_CAPS_SZ_2, 0), 0);
}

bool ignoresSetUserId(const std::filesystem::path& folder) {
  struct statvfs status {};
  return statvfs(folder.c_str(), &status) == 0 && (status.f_flag & ST_NOSUID) != 0;
}

/// The parameter is the variable by which the planted registry is named.
class Privileged : public qx::test::TwoUsers, public testing::WithParamInterface<const char*> {
 protected:
  void SetUp() override {
    TwoUsers::SetUp();
    if (IsSkipped()) return;
    nameUsers();
    if (IsSkipped()) return;
    ASSERT_FALSE(ignoresSetUserId(folder_.path()))
        << "the temporary folder is mounted with nosuid; set TMPDIR to another one";
    plant();
  }

  /// Makes registries that name the planted library, and folders that all can write. They belong to
  /// root, so that nothing but the way to them makes them untrustworthy.
  void plant() const {
    const std::string registry = plantedRegistry();
    for (const char* place : {"registry.toml", "config/qxframework/registry.toml",
                              "home/.config/qxframework/registry.toml"}) {
      folder_.write(std::string("planted/") + place, registry);
    }
    for (const char* name : {"log", "state", "run", "ownrun", "tmp", "home/.local"}) {
      std::filesystem::create_directories(planted_ / name);
      ASSERT_EQ(chmod((planted_ / name).c_str(), 01777), 0);
    }
    ASSERT_EQ(chmod((planted_ / "home").c_str(), 01777), 0);
    folder_.write("planted/log.toml", "level = 1\n");
  }
  static std::string plantedRegistry() {
    std::string text;
    std::ifstream build(qx::test::TwoUsers::registry());
    for (std::string key; std::getline(build, key);) {
      if (key.find("InprocServer32") == std::string::npos) continue;
      text += key + "\n\"\" = \"" QX_PLANTED_LIBRARY "\"\n";
    }
    return text;
  }
  /// Returns the environment that an attacker chooses, with the registry by the given variable.
  std::vector<std::string> plantedEnvironment(const std::string& variable) const {
    std::map<std::string, std::string> places{
        {"QX_LOG_DIR", "log"},      {"QX_LOG_SETTINGS", "log.toml"}, {"XDG_STATE_HOME", "state"},
        {"XDG_RUNTIME_DIR", "run"}, {"QX_RUNTIME_DIR", "ownrun"},    {"TMPDIR", "tmp"},
        {"ProgramFiles", "."}};
    if (variable == "QX_REGISTRY") places["QX_REGISTRY"] = "registry.toml";
    if (variable == "XDG_CONFIG_HOME") places["XDG_CONFIG_HOME"] = "config";
    if (variable == "HOME") places["HOME"] = "home";
    std::vector<std::string> all{"QX_REGISTRY="};
    for (const auto& [name, place] : places)
      all.push_back(name + "=" + (planted_ / place).string());
    return all;
  }
  /// Returns a copy of a program for A, with mode `mode`.
  std::filesystem::path copyOf(const std::filesystem::path& program, unsigned mode) const {
    const auto copy = folder_.path() / "copy";
    std::filesystem::copy_file(program, copy, std::filesystem::copy_options::overwrite_existing);
    EXPECT_EQ(chown(copy.c_str(), a_.id(), a_.id()), 0);
    EXPECT_EQ(chmod(copy.c_str(), mode), 0);
    return copy;
  }
  /// Lets B run a copy of the example in the planted environment, on a company that both users can
  /// open. Returns its output.
  std::string output(const std::filesystem::path& copy) const {
    const std::filesystem::path company = shared_ / "company.db";
    std::ofstream(company).close();
    EXPECT_EQ(chmod(company.c_str(), 0666), 0);
    return outputOn(company, copy);
  }
  std::string outputOn(const std::filesystem::path& company,
                       const std::filesystem::path& copy) const {
    ChildProcess child(b_.running({copy.string(), "embedded:?db=" + company.string() +
                                                      "&play=" QX_TEST_DATA "/hello.play"},
                                  plantedEnvironment(GetParam())),
                       {});
    return child.rest();
  }

  std::filesystem::path planted_ = folder_.path() / "planted";
};

// Without more rights the environment counts, so the next tests can fail.
TEST_P(Privileged, APlainCopyFollowsTheEnvironmentOfItsUser) {
  Watch watch(planted_);
  EXPECT_THAT(output(copyOf(QX_INSTALLED_HELLO, 0755)), StartsWith("planted\n"));
  EXPECT_THAT(watch.accesses(), testing::Not(IsEmpty()));
}

TEST_P(Privileged, ASetUserIdCopyUsesNothingOfTheEnvironment) {
  ASSERT_EQ(b_.runs("exec '" + copyOf("/usr/bin/id", 04755).string() + "' -u"),
            std::to_string(a_.id()) + "\n")
      << "this system ignores the set-user-id bit";
  Watch watch(planted_);
  EXPECT_EQ(output(copyOf(QX_INSTALLED_HELLO, 04755)), undisturbed());
  EXPECT_THAT(watch.accesses(), IsEmpty());
  EXPECT_TRUE(std::filesystem::exists(a_.home() / ".local/state/qxframework/log/HELLO.log"));
  EXPECT_THAT(qx::test::filesBelow(b_.home()), IsEmpty());
}

// The rights of the copy count, and not those of the user who starts it.
TEST_P(Privileged, ASetUserIdCopyMakesAndOpensACompanyOfItsOwner) {
  const auto copy = copyOf(QX_INSTALLED_HELLO, 04755);
  ASSERT_EQ(b_.runs("touch '" + company_.string() + "' 2>/dev/null || echo refused"), "refused\n");
  EXPECT_EQ(outputOn(company_, copy), undisturbed());
  EXPECT_EQ(outputOn(company_, copy), undisturbed());
}

TEST_P(Privileged, ACopyWithACapabilityUsesNothingOfTheEnvironment) {
  const auto copy = copyOf(QX_INSTALLED_HELLO, 0755);
  giveCapability(copy);
  Watch watch(planted_);
  EXPECT_EQ(output(copy), undisturbed());
  EXPECT_THAT(watch.accesses(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(By, Privileged, testing::Values("QX_REGISTRY", "XDG_CONFIG_HOME", "HOME"),
                         [](const auto& each) { return std::string(each.param); });

/// Root, who has kept B's environment.
class RootInAHome : public qx::test::TwoUsers {
 protected:
  void SetUp() override {
    TwoUsers::SetUp();
    if (!IsSkipped()) nameUsers();
    if (IsSkipped()) return;
    b_.runs("mkdir -p .config/qxframework .local/state/qxframework/log run");
    precious_ = folder_.write("root/precious", "precious\n");
  }
  /// Runs the example as root in B's home. Returns its output.
  std::string output(const std::vector<std::string>& variables = {}) const {
    std::vector<std::string> all{"QX_REGISTRY=", "XDG_RUNTIME_DIR=" + (b_.home() / "run").string()};
    all.insert(all.end(), variables.begin(), variables.end());
    const qx::test::OneUser root(0, b_.home());
    ChildProcess child(
        root.running(
            {QX_INSTALLED_HELLO, "embedded:?db=" + (folder_.path() / "root/company.db").string() +
                                     "&play=" QX_TEST_DATA "/hello.play"},
            all),
        {});
    return child.rest();
  }
  /// Returns what is in B's home, with the owner of each.
  std::string home() const { return b_.runs("find . -printf '%p %U\\n' | sort"); }

  std::filesystem::path precious_;
};

TEST_F(RootInAHome, LoadsNothingThatTheRegistryThereNames) {
  b_.runs(
      "echo '[\"HKEY_CLASSES_ROOT\\\\CLSID\\\\{6D1F0A52-0001-4E5B-9C37-2B80D461EA15}"
      "\\\\InprocServer32\"]' > .config/qxframework/registry.toml; "
      "echo '\"\" = \"" QX_PLANTED_LIBRARY "\"' >> .config/qxframework/registry.toml");
  const std::string before = home();
  EXPECT_EQ(output(), "");
  EXPECT_EQ(home(), before);
}

TEST_F(RootInAHome, WritesNoLogAndNoLocksThere) {
  const std::string log = ".local/state/qxframework/log/";
  b_.runs("ln -s '" + precious_.string() + "' " + log + "HELLO.log; ln -s '" + precious_.string() +
          "' " + log + ".HELLO.sync1");
  const std::string before = home();
  EXPECT_EQ(output(), undisturbed());
  EXPECT_EQ(output({"XDG_STATE_HOME=" + (b_.home() / ".local/state").string(),
                    "XDG_CONFIG_HOME=" + (b_.home() / ".config").string()}),
            undisturbed());
  EXPECT_EQ(home(), before);
  EXPECT_EQ(contentOfExisting(precious_.string()), "precious\n");
  const auto own = folder_.path() / "root/.local/state/qxframework";
  EXPECT_TRUE(std::filesystem::exists(own / "log/HELLO.log"));
  EXPECT_TRUE(std::filesystem::exists(own / "run"));
}

}  // namespace
