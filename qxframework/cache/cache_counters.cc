#include "qxframework/cache/cache_counters.h"

#include "qxframework/automation/format.h"

#include <string>

namespace Persistence {
namespace {

template <class Counts>
struct Part {
  long Counts::*count;
  const OLECHAR* name;
};

constexpr Part<CacheMisses> kMisses[] = {{&CacheMisses::noReadAhead, u"no read-ahead"},
                                         {&CacheMisses::otherParameter, u"other parameter"},
                                         {&CacheMisses::notLoaded, u"not loaded"},
                                         {&CacheMisses::expired, u"expired"},
                                         {&CacheMisses::keyNotSeen, u"key not seen"}};

constexpr Part<CacheFlushes> kFlushes[] = {{&CacheFlushes::full, u"full"},
                                           {&CacheFlushes::load, u"load"},
                                           {&CacheFlushes::directRead, u"direct read"},
                                           {&CacheFlushes::request, u"request"},
                                           {&CacheFlushes::transactionStart, u"transaction start"},
                                           {&CacheFlushes::commit, u"commit"},
                                           {&CacheFlushes::companyChange, u"company change"},
                                           {&CacheFlushes::lastUse, u"last use"}};

template <class Counts, std::size_t N>
long totalOf(const Counts& counts, const Part<Counts> (&parts)[N]) {
  long total = 0;
  for (const Part<Counts>& part : parts) total += counts.*part.count;
  return total;
}

/// Returns "3 (2 expired, 1 not loaded)", "0" without any.
template <class Counts, std::size_t N>
std::u16string textOf(const Counts& counts, const Part<Counts> (&parts)[N]) {
  std::u16string reasons;
  for (const Part<Counts>& part : parts) {
    if (counts.*part.count == 0) continue;
    reasons += reasons.empty() ? u" (" : u", ";
    reasons += qx::format(u"%lld %s", counts.*part.count, part.name);
  }
  if (!reasons.empty()) reasons += u")";
  return qx::format(u"%lld", counts.total()) + reasons;
}

}  // namespace

long CacheMisses::total() const { return totalOf(*this, kMisses); }

long CacheFlushes::total() const { return totalOf(*this, kFlushes); }

CComBSTR CacheCounters::Text() const {
  return CComBSTR(qx::format(
      u"%s: %lld hits, misses %s; %lld rows found; %lld rows held, %lld bytes; %lld statements "
      u"buffered, %lld sent, %lld discarded; flushes %s; %lld queries saved",
      table.View(), hits, textOf(misses, kMisses), rowsFound, rows, bytes, bufferedStatements,
      statementsSent, statementsDiscarded, textOf(flushes, kFlushes), queriesSaved()));
}

}  // namespace Persistence
