#pragma once

// Work in a transaction that is run again if another program was faster.
//
// Two programs that read an amount, add to it and write it back do not see each other's change. The
// company protects such work in a transaction: it lets the first one commit and ends the
// transaction of the other with a conflict, or with a deadlock if each waits for the other. The
// work of the second is then right if it is run anew, from its first read. That is what transact
// does.
//
//   qx::transact(company, [&] {
//     Order order;
//     orders.Load(number, order);
//     order.total += amount;
//     orders.Update(number, order);
//   });
//
//   const CQXCurrency total = qx::transact(company, [&] { return RaiseAll(percent); });
//
// Since the work may run several times, it does nothing but read and write the company: no message
// box, no file, no statement of another connection. It reads what it changes within itself, since a
// value from before may be outdated. In its handlers it does not use the company before the
// exception has left: the company knows the reason of its last operation only.

#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/export.h"
#include "qxframework/host/company.h"

#include <functional>
#include <optional>
#include <type_traits>
#include <utility>

namespace qx {

/// How often work is run at most. The pauses between so many take about 11 seconds. A program that
/// has just begun pauses for less than one that has tried often, and so wins more easily; with 16
/// programs on one row, 40 tries were needed now and then.
inline constexpr int kTransactTries = 60;

/// Runs `work` in a transaction of CQXTransactionManager and commits it. If the work or the commit
/// fails because of a conflict or a deadlock (ICompanySharing::GetLastFault), rolls back, pauses
/// and runs it again, `tries` times in all. The pauses grow and differ a little from program to
/// program. Every other failure, and that of the last try, rolls back and reaches the caller as it
/// was thrown; what CQXTransactionManager::Start throws also does.
///
/// The work finds the record cache empty at each try, so that it reads what the database has; what
/// was buffered before is sent first, as by every transaction. A rollback drops what the work has
/// buffered. Within an open transaction the work is run once, as an inner level: the
/// transact that has started the outermost one runs all of its work again. A company without
/// ICompanySharing reports no conflicts.
QX_API void transact(const CComPtr<ICompany>& company, const std::function<void()>& work,
                     int tries = kTransactTries);

/// The same for work that returns a value: returns that of the run that was committed.
template <class Work>
requires(!std::is_void_v<std::invoke_result_t<Work&>>) auto transact(
    const CComPtr<ICompany>& company, Work&& work, int tries = kTransactTries) {
  std::optional<std::decay_t<std::invoke_result_t<Work&>>> result;
  const std::function<void()> keepResult = [&] { result.emplace(work()); };
  transact(company, keepResult, tries);
  return std::move(*result);
}

}  // namespace qx
