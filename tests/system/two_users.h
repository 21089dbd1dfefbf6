#pragma once

// Two users of one machine who do not know each other: A runs add-ons, B attacks. Both are real
// users with numbers of their own, so the tests need root.

#include "testing/temp_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace qx::test {

/// Builds command lines for programs of one user, and knows the user's home.
class OneUser {
 public:
  OneUser(unsigned id, std::filesystem::path home) : id_(id), home_(std::move(home)) {}

  unsigned id() const { return id_; }
  const std::filesystem::path& home() const { return home_; }
  /// Returns the command that runs `command` as this user, with no environment but HOME, PATH, the
  /// registry of the build and `variables` ("NAME=VALUE").
  std::vector<std::string> running(const std::vector<std::string>& command,
                                   const std::vector<std::string>& variables = {}) const;
  /// Runs a shell script to its end in the user's home. Returns what it prints, errors too.
  std::string runs(const std::string& script) const;
  /// Makes a folder for this user.
  void makeFolder(const std::filesystem::path& folder, unsigned mode) const;

 private:
  unsigned id_;
  std::filesystem::path home_;
};

/// The folder of the test is on the way of both users, and so is `shared`, in which both can write
/// and neither can remove the other's files. Others can read the homes, as on many machines.
class TwoUsers : public testing::Test {
 public:
  /// Where an administrator makes a folder for the locks of all users. The test sees none.
  static constexpr char kEveryUsersFolder[] = "/run/lock/qxframework";
  /// The registry of this build.
  static std::filesystem::path registry();

 protected:
  TwoUsers();
  ~TwoUsers() override;
  /// Skips the test if this process cannot become another user.
  void SetUp() override;

  /// Makes the folder for the locks of all users until the end of the test.
  void makeEveryUsersFolder();

  /// Makes a user database in which A, B and root have homes in the folder of the test, for this
  /// process and its children. Skips the test if the system does not let it.
  void nameUsers();

  /// Returns the command that plays the smallest example on A's company, without any rights that
  /// the umask would take away.
  std::vector<std::string> hello(const std::vector<std::string>& variables = {}) const;
  /// Runs it. Returns its output.
  std::string runHello(const std::vector<std::string>& variables = {}) const;
  /// The output of an example that nobody disturbs.
  static std::string undisturbed();

  TempFolder folder_;
  OneUser a_;
  OneUser b_;
  std::filesystem::path shared_ = folder_.path() / "shared";
  std::filesystem::path company_ = a_.home() / "company.db";
  std::filesystem::path errors_ = a_.home() / "errors";  // of hello(), with the developer trace
  std::filesystem::path lastFolder_;                     // in /tmp, named after A
  bool madeEveryUsersFolder_ = false;
  bool namedUsers_ = false;
};

/// Returns the regular files below a folder.
std::vector<std::filesystem::path> filesBelow(const std::filesystem::path& folder);

/// Returns the number of lines of `text` that end in `ending`; all other lines are appended to
/// `others`.
std::size_t linesEnding(const std::string& text, const std::string& ending, std::string& others);

}  // namespace qx::test
