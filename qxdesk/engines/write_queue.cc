#include "qxdesk/engines/write_queue.h"

#include "qxdesk/engines/lock_file_contents.h"

#include <algorithm>
#include <array>
#include <thread>
#include <utility>

namespace qx::desk {

namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;
using Contents = LockFile::Contents;
using Turn = LockFile::Turn;

// A ticket is the lock on one byte of this part of the file's lock space.
constexpr std::uint64_t kTickets = std::uint64_t{1} << 41;
constexpr std::uint64_t kTicketMask = (std::uint64_t{1} << 40) - 1;

// A connection that is killed calls no one, so those behind it look by themselves now and then. The
// next in the queue looks more often, for a turn that is kept without need.
constexpr milliseconds kLookAgain{50};
constexpr milliseconds kNextLooksAgain{5};

// How long the turn of a connection lasts at most, if its statements follow each other within
// kSoon; and how long one without a statement is left to it. So each of n writers at once waits for
// n - 1 short turns.
constexpr milliseconds kLongestTurn{1};
constexpr microseconds kSoon{500};
constexpr milliseconds kIdle{1};

std::int64_t inMilliseconds(WriteQueue::TimePoint time) {
  return std::chrono::duration_cast<milliseconds>(time.time_since_epoch()).count();
}

// A turn is often shorter than going to sleep and waking up; so the next one in the queue stays
// awake for a moment, and lets other programs run. With many of them one look may take long.
bool changesSoon(const std::atomic<std::uint32_t>& word, std::uint32_t value) {
  constexpr int kLooks = 100;
  const auto end = std::chrono::steady_clock::now() + milliseconds(1);
  for (int i = 0; i < kLooks; ++i) {
    if (word != value) return true;
    if (std::chrono::steady_clock::now() >= end) return false;
    std::this_thread::yield();
  }
  return false;
}

Contents::Place& placeOf(Contents& contents, std::uint64_t ticket) {
  return contents.places[ticket % Contents::kPlaces];
}

}  // namespace

WriteQueue::WriteQueue(LockFile& locks, const CompanyEnvironment& environment)
    : locks_(locks), environment_(environment) {}

WriteQueue::~WriteQueue() { leave(); }

// Goes on with a turn that was kept, unless it was ended.
bool WriteQueue::resume() {
  const TimePoint now = environment_.clock();
  follows_ = now - lastEnd_ < kSoon;
  if (!ticket_) return false;
  Contents::Place& place = placeOf(locks_.contents(), *ticket_);
  Turn kept = Turn::Kept;
  if (place.ticket == *ticket_ && place.turn.compare_exchange_strong(kept, Turn::Writing)) {
    stillWrites();
    return true;
  }
  leave();
  return false;
}

// Returns true if no other connection is ahead.
bool WriteQueue::takeTurn() {
  if (!takeTicket()) return true;
  const bool first = !locks_.lowestTaken(kTickets, kTickets + *ticket_);
  writePlace(first ? Turn::Writing : Turn::Waiting);
  turnBegan_ = environment_.clock();
  return first;
}

// A file that was made anew, or was written by another program, may name a ticket that is taken.
bool WriteQueue::takeTicket() {
  constexpr int kAttempts = Contents::kPlaces;
  for (int i = 1; i <= kAttempts && !ticket_; ++i) {
    const Ticket ticket = locks_.contents().nextTicket.fetch_add(1) & kTicketMask;
    if (!locks_.tryByte(kTickets + ticket)) continue;
    ticket_ = ticket;
    if (i < kAttempts && isPlaceOfIdle(ticket)) releaseTicket();
  }
  return ticket_.has_value();
}

// A connection without a statement may keep its ticket for long. Its place stays its own, so that
// all see that nobody has to wait for it.
bool WriteQueue::isPlaceOfIdle(Ticket ticket) const {
  const Contents::Place& place = placeOf(locks_.contents(), ticket);
  const Turn turn = place.turn;
  if (turn != Turn::Kept && turn != Turn::Ended) return false;
  const Ticket other = place.ticket & kTicketMask;
  return other != ticket && locks_.lowestTaken(kTickets + other, kTickets + other + 1);
}

WriteQueue::Ticket WriteQueue::releaseTicket() {
  const Ticket mine = *std::exchange(ticket_, std::nullopt);
  locks_.releaseByte(kTickets + mine);
  return mine;
}

void WriteQueue::waitForTurn(TimePoint deadline) {
  const std::atomic<std::uint32_t>& calls = placeOf(locks_.contents(), *ticket_).calls;
  for (;;) {
    // Read before the look ahead: a call that comes after the look changes it.
    const std::uint32_t before = calls;
    const TimePoint now = environment_.clock();
    const std::optional<Ticket> ahead = now < deadline ? firstAhead(now) : std::nullopt;
    if (!ahead) break;
    const bool isNext = isNextAfter(*ahead);
    if (isNext && changesSoon(calls, before)) continue;
    const auto left = std::chrono::ceil<milliseconds>(deadline - now);
    environment_.awaitChange(calls, before, std::min(left, timeToNextLook(*ahead, isNext)));
  }
  std::erase_if(ahead_, [&](const auto& each) {
    return !locks_.lowestTaken(kTickets + each.first, kTickets + each.first + 1);
  });
  turnBegan_ = environment_.clock();
  stillWrites();
}

milliseconds WriteQueue::timeToNextLook(Ticket ahead, bool isNext) const {
  const Turn turn = placeOf(locks_.contents(), ahead).turn;
  if (!isNext || turn == Turn::Transaction) return kLookAgain;
  return turn == Turn::Kept ? kIdle : kNextLooksAgain;
}

bool WriteQueue::isNextAfter(Ticket ahead) const {
  return !locks_.lowestTaken(kTickets + ahead + 1, kTickets + *ticket_);
}

// Returns the first ticket ahead that counts.
std::optional<WriteQueue::Ticket> WriteQueue::firstAhead(TimePoint now) {
  std::uint64_t from = kTickets;
  while (const auto taken = locks_.lowestTaken(from, kTickets + *ticket_)) {
    const Ticket ticket = *taken - kTickets;
    if (!isPassedOver(ticket, now)) return ticket;
    from = *taken + 1;
  }
  return std::nullopt;
}

bool WriteQueue::isPassedOver(Ticket ticket, TimePoint now) {
  Contents::Place& place = placeOf(locks_.contents(), ticket);
  // With very many connections, two of them have one place; the later one has written here then.
  const bool known = place.ticket == ticket;
  const Turn turn = known ? place.turn.load() : Turn::Waiting;
  const std::uint64_t changes = known ? place.changes.load() : 0;
  const auto [seen, isNew] = ahead_.try_emplace(ticket, Seen{changes, now});
  if (seen->second.changes != changes) seen->second = {changes, now};
  if (turn == Turn::Transaction) return false;
  if (turn == Turn::Ended) return true;
  milliseconds age = std::chrono::duration_cast<milliseconds>(now - seen->second.at);
  // All processes of a machine have one clock. A drawn code counts from the moment of the draw, so
  // that nobody waits for a form that has only shown the next code.
  const bool dated = turn == Turn::Drawn || turn == Turn::Kept;
  if (dated) age = std::max(age, milliseconds(inMilliseconds(now) - place.since));
  if (turn == Turn::Kept && age >= kIdle) {
    Turn kept = Turn::Kept;
    return place.turn.compare_exchange_strong(kept, Turn::Ended);
  }
  return age >= milliseconds(environment_.drawTimeoutMs);
}

void WriteQueue::writePlace(Turn turn) {
  turn_ = turn;
  if (!ticket_) return;
  Contents::Place& place = placeOf(locks_.contents(), *ticket_);
  if (turn == Turn::Drawn || turn == Turn::Kept) {
    place.since = inMilliseconds(environment_.clock());
  }
  place.changes.fetch_add(1);
  place.turn = turn;
  place.ticket = *ticket_;
}

void WriteQueue::beginTransaction() {
  if (turn_ != Turn::Transaction) writePlace(Turn::Transaction);
}

void WriteQueue::drawCode() { writePlace(Turn::Drawn); }

void WriteQueue::stillWrites() { writePlace(Turn::Writing); }

bool WriteQueue::isWaitedFor() const {
  const Ticket behind = (locks_.contents().nextTicket - *ticket_) & kTicketMask;
  // With more of them a place may belong to two connections, and those behind would not know.
  return behind > 1 && behind <= Contents::kPlaces / 2;
}

void WriteQueue::endStatement() {
  if (!hasTurn()) return;
  lastEnd_ = environment_.clock();
  if (follows_ && isWaitedFor() && lastEnd_ - turnBegan_ < kLongestTurn) {
    writePlace(Turn::Kept);
  } else {
    leave();
  }
}

void WriteQueue::leave() {
  if (!ticket_) return;
  const Ticket mine = releaseTicket();
  const Ticket end = locks_.contents().nextTicket & kTicketMask;
  if (end == mine + 1) return;
  // The next one takes its turn, and the one after it is awake when that turn ends.
  std::uint64_t from = kTickets + mine + 1;
  for (int i = 0; i < 2; ++i) {
    const auto next = locks_.lowestTaken(from, kTickets + end);
    if (!next) return;
    std::atomic<std::uint32_t>& calls = placeOf(locks_.contents(), *next - kTickets).calls;
    calls.fetch_add(1);
    wakeWaiters(calls);
    from = *next + 1;
  }
}

}  // namespace qx::desk
