#include "qxdesk/engines/write_queue.h"

#include "qxdesk/engines/lock_file_contents.h"

#include <algorithm>
#include <array>
#include <thread>
#include <utility>

namespace qx::desk {

namespace {

using std::chrono::milliseconds;
using Contents = LockFile::Contents;
using Turn = LockFile::Turn;

// A ticket is the lock on one byte of this part of the file's lock space.
constexpr std::uint64_t kTickets = std::uint64_t{1} << 41;
constexpr std::uint64_t kTicketMask = (std::uint64_t{1} << 40) - 1;

// A connection that is killed calls no one, so those behind it look by themselves now and then.
constexpr milliseconds kLookAgain{50};

std::int64_t inMilliseconds(WriteQueue::TimePoint time) {
  return std::chrono::duration_cast<milliseconds>(time.time_since_epoch()).count();
}

// A turn is often shorter than going to sleep and waking up; so the next one in the queue stays
// awake for a moment, and lets other programs run.
bool changesSoon(const std::atomic<std::uint32_t>& word, std::uint32_t value) {
  constexpr int kLooks = 100;
  for (int i = 0; i < kLooks; ++i) {
    if (word != value) return true;
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

// Returns true if no other connection is ahead. A file that was made anew, or was written by
// another program, may name a ticket that is taken.
bool WriteQueue::takeTurn() {
  constexpr int kAttempts = 8;
  for (int i = 0; i < kAttempts && !ticket_; ++i) {
    const Ticket ticket = locks_.contents().nextTicket.fetch_add(1) & kTicketMask;
    if (locks_.tryByte(kTickets + ticket)) ticket_ = ticket;
  }
  if (!ticket_) return true;
  const bool first = !locks_.lowestTaken(kTickets, kTickets + *ticket_);
  writePlace(first ? Turn::Writing : Turn::Waiting);
  return first;
}

void WriteQueue::waitForTurn(TimePoint deadline) {
  const std::atomic<std::uint32_t>& calls = placeOf(locks_.contents(), *ticket_).calls;
  for (;;) {
    // Read before the look ahead: a call that comes after the look changes it.
    const std::uint32_t before = calls;
    const TimePoint now = environment_.clock();
    const std::optional<Ticket> ahead = now < deadline ? firstAhead(now) : std::nullopt;
    if (!ahead) break;
    if (isNextAfter(*ahead) && changesSoon(calls, before)) continue;
    const auto left = std::chrono::ceil<milliseconds>(deadline - now);
    environment_.awaitChange(calls, before, std::min(left, kLookAgain));
  }
  std::erase_if(ahead_, [&](const auto& each) {
    return !locks_.lowestTaken(kTickets + each.first, kTickets + each.first + 1);
  });
  stillWrites();
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
  const Contents::Place& place = placeOf(locks_.contents(), ticket);
  // With very many connections, two of them have one place; the later one has written here then.
  const bool known = place.ticket == ticket;
  const Turn turn = known ? place.turn.load() : Turn::Waiting;
  const std::uint64_t changes = known ? place.changes.load() : 0;
  const auto [seen, isNew] = ahead_.try_emplace(ticket, Seen{changes, now});
  if (seen->second.changes != changes) seen->second = {changes, now};
  if (turn == Turn::Transaction) return false;
  milliseconds age = std::chrono::duration_cast<milliseconds>(now - seen->second.at);
  // All processes of a machine have one clock. A drawn code counts from the moment of the draw, so
  // that nobody waits for a form that has only shown the next code.
  if (turn == Turn::Drawn) age = std::max(age, milliseconds(inMilliseconds(now) - place.since));
  return age >= milliseconds(environment_.drawTimeoutMs);
}

void WriteQueue::writePlace(Turn turn) {
  turn_ = turn;
  if (!ticket_) return;
  Contents::Place& place = placeOf(locks_.contents(), *ticket_);
  if (turn == Turn::Drawn) place.since = inMilliseconds(environment_.clock());
  place.turn = turn;
  place.changes.fetch_add(1);
  place.ticket = *ticket_;
}

void WriteQueue::beginTransaction() {
  if (turn_ != Turn::Transaction) writePlace(Turn::Transaction);
}

void WriteQueue::drawCode() { writePlace(Turn::Drawn); }

void WriteQueue::stillWrites() { writePlace(Turn::Writing); }

void WriteQueue::leave() {
  if (!ticket_) return;
  const Ticket mine = *std::exchange(ticket_, std::nullopt);
  locks_.releaseByte(kTickets + mine);
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
