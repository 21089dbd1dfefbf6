#include "qxdesk/engines/write_queue.h"

#include "qxdesk/engines/lock_file_contents.h"
#include "qxdesk/engines/test_support.h"
#include "testing/temp_folder.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <deque>
#include <fstream>

namespace qx::desk {
namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;

// The part of the lock file's space in which tickets are.
constexpr std::uint64_t kQueue = std::uint64_t{1} << 41;
constexpr std::uint64_t kQueueEnd = std::uint64_t{1} << 42;

/// Connections to one file, and a clock that only waiting moves.
class WriteQueueTest : public testing::Test {
 protected:
  WriteQueueTest() {
    environment_.drawTimeoutMs = 2000;
    environment_.clock = [this] { return now_; };
    environment_.awaitChange = [this](const auto&, std::uint32_t, milliseconds most) {
      ++waits_;
      now_ += most;
      if (whileWaiting_) whileWaiting_();
    };
    std::ofstream(company_) << "company";
  }
  /// Another connection.
  WriteQueue& connect() {
    locks_.push_back(LockFile::open(company_, environment_));
    return queues_.emplace_back(*locks_.back(), environment_);
  }
  static constexpr milliseconds kAtMost{10'000};
  /// Returns the time that the connection has waited for its turn.
  milliseconds enter(WriteQueue& queue) {
    const auto start = now_;
    queue.enter([&] { return start + kAtMost; });
    return std::chrono::duration_cast<milliseconds>(now_ - start);
  }

  test::TempFolder folder_;
  std::filesystem::path company_ = folder_.path() / "company.db";
  CompanyEnvironment environment_ = testEnvironment();
  WriteQueue::TimePoint now_{std::chrono::hours(1)};
  int waits_ = 0;
  std::function<void()> whileWaiting_;
  std::deque<std::unique_ptr<LockFile>> locks_;
  std::deque<WriteQueue> queues_;
};

TEST_F(WriteQueueTest, AloneItDoesNotWait) {
  WriteQueue& queue = connect();
  EXPECT_FALSE(queue.hasTurn());
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(enter(queue), milliseconds(0));
    EXPECT_TRUE(queue.hasTurn());
    queue.leave();
    EXPECT_FALSE(queue.hasTurn());
  }
  EXPECT_EQ(waits_, 0);
}

TEST_F(WriteQueueTest, TheTurnComesWhenTheOneAheadLeaves) {
  WriteQueue& first = connect();
  WriteQueue& second = connect();
  enter(first);
  whileWaiting_ = [&] {
    if (waits_ == 3) first.leave();
  };
  enter(second);
  EXPECT_EQ(waits_, 3);
  EXPECT_TRUE(second.hasTurn());
}

TEST_F(WriteQueueTest, AllWhoCameBeforeAreWaitedFor) {
  WriteQueue& first = connect();
  WriteQueue& second = connect();
  WriteQueue& third = connect();
  enter(first);
  second.enter([&] { return now_; });
  whileWaiting_ = [&] {
    if (waits_ == 2) first.leave();
    if (waits_ == 4) second.leave();
  };
  enter(third);
  EXPECT_EQ(waits_, 4);
}

TEST_F(WriteQueueTest, EnteringTwiceKeepsTheTurn) {
  WriteQueue& queue = connect();
  enter(queue);
  enter(queue);
  queue.leave();
  WriteQueue& other = connect();
  EXPECT_EQ(enter(other), milliseconds(0));
}

TEST_F(WriteQueueTest, AConnectionThatDoesNothingIsPassedOverOnce) {
  WriteQueue& idle = connect();
  WriteQueue& other = connect();
  enter(idle);
  EXPECT_EQ(enter(other), milliseconds(2000));
  other.leave();
  EXPECT_EQ(enter(other), milliseconds(0));
  other.leave();
  idle.leave();
  enter(idle);
  EXPECT_EQ(enter(other), milliseconds(2000));
}

TEST_F(WriteQueueTest, AConnectionThatStillWritesIsWaitedFor) {
  WriteQueue& busy = connect();
  WriteQueue& other = connect();
  enter(busy);
  whileWaiting_ = [&] {
    if (now_ < WriteQueue::TimePoint(std::chrono::hours(1)) + milliseconds(5000)) {
      busy.stillWrites();
    } else {
      busy.leave();
    }
  };
  EXPECT_EQ(enter(other), milliseconds(5000));
}

TEST_F(WriteQueueTest, ATransactionIsWaitedForToTheDeadline) {
  WriteQueue& transaction = connect();
  WriteQueue& other = connect();
  enter(transaction);
  transaction.beginTransaction();
  EXPECT_EQ(enter(other), kAtMost);
}

TEST_F(WriteQueueTest, ADrawnCodeIsWaitedForFromTheDraw) {
  WriteQueue& drawing = connect();
  WriteQueue& other = connect();
  enter(drawing);
  drawing.drawCode();
  now_ += milliseconds(1500);
  EXPECT_EQ(enter(other), milliseconds(500));
}

TEST_F(WriteQueueTest, OthersKeepTheirOrderBehindOneThatIsPassedOver) {
  WriteQueue& idle = connect();
  WriteQueue& second = connect();
  WriteQueue& third = connect();
  enter(idle);
  enter(second);
  second.beginTransaction();
  whileWaiting_ = [&] {
    if (now_ >= WriteQueue::TimePoint(std::chrono::hours(1)) + milliseconds(6000)) second.leave();
  };
  const auto start = now_;
  enter(third);
  EXPECT_GE(now_ - start, milliseconds(4000));
  EXPECT_FALSE(second.hasTurn());
}

/// A connection whose statements follow each other closely, and one that waits behind it.
class KeptTurnTest : public WriteQueueTest {
 protected:
  KeptTurnTest() {
    statement();
    enter(busy);
    other.enter([&] { return now_; });
    busy.endStatement();
  }
  /// Returns the time that the statement has waited.
  milliseconds statement() {
    const milliseconds waited = enter(busy);
    busy.endStatement();
    return waited;
  }
  WriteQueue& busy = connect();
  WriteQueue& other = connect();
  std::unique_ptr<LockFile> third = LockFile::open(company_, environment_);
};

TEST_F(KeptTurnTest, StatementsThatFollowCloselyGoBeforeThoseWhoWait) {
  EXPECT_FALSE(busy.hasTurn());
  for (int i = 0; i < 10; ++i) EXPECT_EQ(statement(), milliseconds(0));
}

TEST_F(KeptTurnTest, TheTurnIsLeftAfterAShortTime) {
  enter(busy);
  now_ += milliseconds(1);
  busy.endStatement();
  EXPECT_EQ(statement(), milliseconds(2000));
}

TEST_F(KeptTurnTest, TheOneThatWaitsEndsATurnWithoutAStatement) {
  other.leave();
  EXPECT_LE(enter(other), milliseconds(2));
  EXPECT_EQ(statement(), milliseconds(2000));
}

TEST_F(KeptTurnTest, ATurnThatWasLeftLongAgoIsNotWaitedFor) {
  other.leave();
  now_ += milliseconds(5);
  EXPECT_EQ(enter(other), milliseconds(0));
}

TEST_F(KeptTurnTest, AStatementAfterAPauseKeepsNothing) {
  now_ += microseconds(500);
  enter(busy);
  busy.endStatement();
  EXPECT_EQ(statement(), milliseconds(2000));
}

TEST_F(KeptTurnTest, WithoutAnyoneBehindNothingIsKept) {
  busy.leave();
  other.leave();
  statement();
  enter(busy);
  busy.endStatement();
  EXPECT_EQ(third->lowestTaken(kQueue, kQueueEnd), std::nullopt);
}

TEST_F(KeptTurnTest, ManyLaterTicketsLeaveAnIdleConnectionItsPlace) {
  other.leave();
  enter(other);
  other.leave();
  for (std::size_t i = 0; i < 3 * LockFile::Contents::kPlaces; ++i) {
    enter(other);
    other.leave();
  }
  WriteQueue& late = connect();
  EXPECT_EQ(enter(late), milliseconds(0));
}

TEST_F(WriteQueueTest, AProcessThatIsKilledLeavesTheQueue) {
  std::array<int, 2> ready{};
  ASSERT_EQ(pipe(ready.data()), 0);
  const pid_t child = fork();
  if (child == 0) {
    enter(connect());
    if (write(ready[1], "e", 1) == 1) pause();
    _exit(1);
  }
  char entered = 0;
  ASSERT_EQ(read(ready[0], &entered, 1), 1);
  WriteQueue& queue = connect();
  whileWaiting_ = [&] {
    if (waits_ != 2) return;
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
  };
  enter(queue);
  EXPECT_EQ(waits_, 2);
}

TEST_F(WriteQueueTest, AnyContentOfTheFileIsTaken) {
  WriteQueue& first = connect();
  WriteQueue& second = connect();
  auto* const bytes = reinterpret_cast<unsigned char*>(&locks_.front()->contents());
  for (std::size_t i = 16; i < LockFile::Contents::kBytes; ++i) bytes[i] = 0x7F;
  enter(first);
  whileWaiting_ = [&] { first.leave(); };
  enter(second);
  EXPECT_EQ(waits_, 1);
  second.leave();
  // The number of a ticket that another connection has.
  enter(first);
  locks_.front()->contents().nextTicket.fetch_sub(1);
  enter(second);
  EXPECT_TRUE(second.hasTurn());
}

TEST_F(WriteQueueTest, MoreConnectionsThanPlacesKeepTheirOrder) {
  std::vector<WriteQueue*> queues;
  for (std::size_t i = 0; i < 2 * LockFile::Contents::kPlaces + 3; ++i)
    queues.push_back(&connect());
  for (WriteQueue* const queue : queues) queue->enter([&] { return now_; });
  for (std::size_t i = 0; i + 1 < queues.size(); ++i) {
    WriteQueue& late = connect();
    late.enter([&] { return now_; });
    late.leave();
    queues[i]->leave();
  }
  EXPECT_EQ(waits_, 0);
}

}  // namespace
}  // namespace qx::desk
