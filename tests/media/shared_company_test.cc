// Several programs on one company at once: no start fails, tables are made once, and amounts that
// all of them add to are right.

#include "testing/child_process.h"
#include "testing/machine.h"
#include "testing/medium.h"
#include "testing/temp_folder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <iostream>
#include <memory>

namespace {

using qx::test::ChildProcess;
using qx::test::CompanyStore;

/// The number of programs.
class SharedCompany : public testing::TestWithParam<int> {
 protected:
  using Program = std::unique_ptr<ChildProcess>;

  int programs() const { return GetParam(); }
  /// Starts the programs, up to their Connect. Each has a machine of its own: the mutex that lets
  /// add-ons start one at a time on a machine is not shared.
  void startAll() {
    for (int i = 0; i < programs(); ++i) {
      const std::string runtime = (folder_.path() / ("machine" + std::to_string(i))).string();
      all_.push_back(std::make_unique<ChildProcess>(
          std::vector<std::string>{qx::test::buildProgram("sharing_addon").string(), database_},
          std::vector<std::string>{"QX_RUNTIME_DIR=" + runtime}));
    }
    for (const Program& each : all_) EXPECT_EQ(each->line(), "ready");
  }
  /// Sends a command to all of them and returns what they report.
  std::vector<std::string> ask(const std::string& command) {
    for (const Program& each : all_) each->send(command);
    std::vector<std::string> lines;
    for (const Program& each : all_) lines.push_back(each->line());
    return lines;
  }
  void leave() {
    for (const Program& each : all_) each->send("leave");
    for (const Program& each : all_) EXPECT_EQ(each->wait(), 0);
  }
  std::string answer(const std::string& sql) const { return CompanyStore::ask(database_, sql); }
  std::string versionRows(const std::string& extension) const {
    return answer("SELECT count(*) FROM " + table("@QXEXTDBVERSION") + " WHERE u_extid = '" +
                  extension + "'");
  }
  /// A server keeps names in lower case, a file those of the definition.
  static std::string table(std::string name) {
    if (qx::test::medium().postgres) {
      std::ranges::transform(name, name.begin(),
                             [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    }
    return "\"" + name + "\"";
  }

 private:
  qx::test::TempFolder folder_;
  std::string database_ = CompanyStore::fresh(folder_.path());
  std::vector<Program> all_;
};

class SharedStart : public SharedCompany {};

TEST_P(SharedStart, ProgramsThatStartAtOnceOnANewCompanyMakeItsTablesOnce) {
  startAll();
  const std::vector<std::string> starts = ask("go");
  const auto made = std::ranges::count(starts, "connected 0 1");
  EXPECT_EQ(made, 1) << "one finds no version";
  EXPECT_EQ(std::ranges::count(starts, "connected 0 0"), programs() - 1) << "all others find it";
  leave();
  std::cout << programs() << " programs at once: " << made << " made the tables, failed starts "
            << programs() - made - std::ranges::count(starts, "connected 0 0")
            << ", version rows of the framework " << versionRows("") << ", of the add-on "
            << versionRows("SHARE") << "\n";
  EXPECT_EQ(versionRows(""), "1");
  EXPECT_EQ(versionRows("SHARE"), "1");
  EXPECT_EQ(answer("SELECT count(*) FROM " + table("@ORDERS")), "1");
}

TEST_P(SharedCompany, NoAmountIsLostThatProgramsAddAtOnce) {
  constexpr int kTimes = 20;
  startAll();
  ask("go");
  const std::vector<std::string> failures = ask(std::to_string(kTimes));
  leave();
  const std::string sum =
      answer("SELECT CAST(u_total AS INTEGER) FROM " + table("@ORDERS") + " WHERE u_no = 'A-1'");
  std::cout << programs() << " programs that add 1 " << kTimes << " times: " << sum << " of "
            << programs() * kTimes << "\n";
  EXPECT_THAT(failures, testing::Each("added 0"));
  EXPECT_EQ(sum, std::to_string(programs() * kTimes));
}

INSTANTIATE_TEST_SUITE_P(Programs, SharedStart, testing::Values(2, 4, 8, 16, 50),
                         testing::PrintToStringParamName());
INSTANTIATE_TEST_SUITE_P(Programs, SharedCompany, testing::Values(2, 4, 8, 16),
                         testing::PrintToStringParamName());

}  // namespace
