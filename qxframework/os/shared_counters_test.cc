#include "qxframework/os/shared_counters.h"

#include "qxframework/os/test_support.h"
#include "testing/scoped_variable.h"
#include "testing/temp_folder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdint>
#include <fstream>
#include <limits>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

namespace qx {
namespace {

class SharedCountersTest : public testing::Test {
 protected:
  SharedCounters open() const { return SharedCounters(u"Attach", folder_.path()); }

  test::TempFolder folder_;
};

TEST_F(SharedCountersTest, AreFiftyZerosForTheFirstUser) {
  const SharedCounters counters(u"Attach", folder_.path());
  for (std::size_t index = 0; index < SharedCounters::kCount; ++index) {
    EXPECT_EQ(counters.get(index), 0);
  }
  EXPECT_EQ(std::filesystem::file_size(folder_.path() / "Attach.counters"), 200U);
}

TEST_F(SharedCountersTest, AreSharedWithinAProcess) {
  SharedCounters first(u"Attach", folder_.path());
  EXPECT_EQ(first.add(49, 3), 3);
  SharedCounters second(u"Attach", folder_.path());
  EXPECT_EQ(second.get(49), 3);
  EXPECT_EQ(second.add(49, -1), 2);
  EXPECT_EQ(first.get(49), 2);
}

TEST_F(SharedCountersTest, BlocksOfDifferentNamesAreSeparate) {
  SharedCounters first(u"Attach", folder_.path());
  first.add(0, 1);
  EXPECT_EQ(SharedCounters(u"Other", folder_.path()).get(0), 0);
}

TEST_F(SharedCountersTest, AreSharedBetweenProcesses) {
  SharedCounters own(u"Attach", folder_.path());
  own.add(1, 1);
  ChildProcess child([this](const ChildProcess::End& parent) {
    SharedCounters counters = open();
    parent.say(static_cast<char>('0' + counters.add(1, 1)));
    parent.hear();
    parent.say(static_cast<char>('0' + counters.get(1)));
    parent.hear();
  });
  EXPECT_EQ(child.end().hear(), '2');
  EXPECT_EQ(own.add(1, 5), 7);
  child.end().say('g');
  EXPECT_EQ(child.end().hear(), '7');
}

TEST_F(SharedCountersTest, StartAgainAtZeroAfterTheLastUser) {
  open().add(0, 1);
  EXPECT_EQ(open().get(0), 0);
}

TEST_F(SharedCountersTest, OutliveAUserWhileAnotherRemains) {
  auto first = std::make_unique<SharedCounters>(u"Attach", folder_.path());
  first->add(0, 4);
  const SharedCounters second(u"Attach", folder_.path());
  first.reset();
  EXPECT_EQ(open().get(0), 4);
}

TEST_F(SharedCountersTest, StartAgainAtZeroAfterTheLastUserIsKilled) {
  ChildProcess child([this](const ChildProcess::End& parent) {
    SharedCounters counters = open();
    counters.add(3, 1);
    parent.say('c');
    parent.hear();
  });
  ASSERT_EQ(child.end().hear(), 'c');
  child.kill();
  EXPECT_EQ(open().get(3), 0);
}

TEST_F(SharedCountersTest, OutliveAKilledUserWhileAnotherRemains) {
  ChildProcess child([this](const ChildProcess::End& parent) {
    SharedCounters counters = open();
    counters.add(3, 1);
    parent.say('c');
    parent.hear();
  });
  ASSERT_EQ(child.end().hear(), 'c');
  auto own = std::make_unique<SharedCounters>(u"Attach", folder_.path());
  child.kill();
  EXPECT_EQ(own->get(3), 1);
  EXPECT_EQ(open().get(3), 1);
  own.reset();
  EXPECT_EQ(open().get(3), 0);
}

TEST_F(SharedCountersTest, ALeftoverFileOfAnySizeIsReset) {
  for (const std::size_t size : {1U, 200U, 5000U}) {
    std::ofstream(folder_.path() / "Attach.counters") << std::string(size, 'x');
    EXPECT_EQ(open().get(0), 0);
    EXPECT_EQ(std::filesystem::file_size(folder_.path() / "Attach.counters"), 200U);
  }
}

TEST_F(SharedCountersTest, ManyOpenersAtOnceAgreeOnOneBlock) {
  // Each child opens the block, counts itself and keeps the block. If one of them reset the block
  // while another used it, the sum would be too small.
  constexpr int kChildren = 16;
  std::vector<std::unique_ptr<ChildProcess>> children;
  for (int index = 0; index < kChildren; ++index) {
    children.push_back(std::make_unique<ChildProcess>([this](const ChildProcess::End& parent) {
      parent.hear();
      SharedCounters counters = open();
      counters.add(7, 1);
      parent.say('c');
      parent.hear();
    }));
  }
  for (const auto& child : children) child->end().say('g');
  for (const auto& child : children) ASSERT_EQ(child->end().hear(), 'c');
  EXPECT_EQ(open().get(7), kChildren);
}

TEST_F(SharedCountersTest, OutliveAFileThatSomeoneShortens) {
  SharedCounters counters = open();
  counters.add(3, 2);
  std::filesystem::resize_file(folder_.path() / "Attach.counters", 0);
  EXPECT_EQ(counters.get(3), 0);
  EXPECT_EQ(counters.add(3, 1), 1);
  EXPECT_EQ(counters.get(3), 1);
}

TEST_F(SharedCountersTest, WrapAround) {
  SharedCounters counters = open();
  counters.add(0, std::numeric_limits<std::int32_t>::max());
  EXPECT_EQ(counters.add(0, 1), std::numeric_limits<std::int32_t>::min());
}

TEST_F(SharedCountersTest, TakeTheirRoomOnTheDiskAtOnce) {
  const SharedCounters counters = open();
  struct stat status {};
  ASSERT_EQ(stat((folder_.path() / "Attach.counters").c_str(), &status), 0);
  EXPECT_GT(status.st_blocks, 0);
}

TEST_F(SharedCountersTest, LoseNoChangeOfManyProcesses) {
  constexpr int kChildren = 4;
  constexpr int kChanges = 500;
  SharedCounters own = open();
  std::vector<std::unique_ptr<ChildProcess>> children;
  for (int index = 0; index < kChildren; ++index) {
    children.push_back(std::make_unique<ChildProcess>([this](const ChildProcess::End& parent) {
      SharedCounters counters = open();
      parent.hear();
      for (int i = 0; i < kChanges; ++i) counters.add(5, 1);
      parent.say('d');
      parent.hear();
    }));
  }
  for (const auto& child : children) child->end().say('g');
  for (const auto& child : children) ASSERT_EQ(child->end().hear(), 'd');
  EXPECT_EQ(own.get(5), kChildren * kChanges);
}

TEST_F(SharedCountersTest, ThrowIfTheFolderIsMissing) {
  EXPECT_THROW(SharedCounters(u"Attach", folder_.path() / "none"), std::system_error);
}

TEST_F(SharedCountersTest, AreInTheRuntimeFolder) {
  const test::ScopedVariable environment("QX_RUNTIME_DIR", folder_.path().c_str());
  const SharedCounters counters(u"Attach");
  EXPECT_TRUE(std::filesystem::exists(folder_.path() / "Attach.counters"));
}

}  // namespace
}  // namespace qx
