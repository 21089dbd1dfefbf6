#include "qxframework/dbdef/tables_lock.h"

#include "qxframework/logging/function_log.h"
#include "qxframework/os/clock.h"
#include "qxframework/util/wait_report.h"

#include <algorithm>
#include <chrono>

namespace qx {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kFirstReport{2000};
constexpr milliseconds kNextReports{60000};
// Between two tries, if the host answers before the time that it was given is over.
constexpr milliseconds kLeastPause{100};

constexpr Waiting kTables{
    .function = u"TablesLock", .what = u"the lock of the company's tables", .text = 230};

long appIdOf(const CComPtr<IApplication>& application) {
  long appId = 0;
  if (application != nullptr) application->raw_GetAppId(&appId);
  return appId;
}

void report(const CComPtr<IApplication>& application, const CComBSTR& holder, milliseconds waited) {
  reportWaiting(
      kTables, [&](HvLanguages language) { return nameOfHolder(holder, language); },
      std::chrono::duration_cast<std::chrono::seconds>(waited), appIdOf(application), application);
}

// One try lasts until the next report is due, so that the place in a queue of the database is lost
// as seldom as possible.
void waitForLock(ICompanySharing& sharing, const CComPtr<IApplication>& application) {
  Clock& clock = currentClock();
  const auto begin = clock.monotonic();
  CComBSTR holder;
  for (milliseconds due = kFirstReport;;) {
    const auto waited = std::chrono::duration_cast<milliseconds>(clock.monotonic() - begin);
    if (waited >= due) {
      report(application, holder, waited);
      due = waited + kNextReports;
    }
    const milliseconds slice = due - waited;
    const auto start = clock.monotonic();
    if (sharing.LockTables(static_cast<long>(slice.count()), holder)) return;
    const auto tried = std::chrono::duration_cast<milliseconds>(clock.monotonic() - start);
    if (tried < slice) clock.sleepFor(std::min(kLeastPause, slice - tried));
  }
}

}  // namespace

TablesLock::TablesLock(const CComPtr<IApplication>& application, const CComPtr<ICompany>& company)
    : m_ptrSharing(CComQIPtr<ICompanySharing>(company)) {
  if (m_ptrSharing == nullptr) return;
  try {
    waitForLock(*m_ptrSharing.p, application);
  } catch (const _com_error& error) {
    m_ptrSharing.Release();
    CReturnValue<void> scope(kTables.function, appIdOf(application), true);
    scope.LogWarning(u"Cannot take %s: %s", kTables.what,
                     scope.xstrerror(static_cast<unsigned long>(error.Error())));
  }
}

// The raw operation: a connection that is lost has given the lock back already. A host that refuses
// is asked once more, since a lock that stays keeps every other add-on from starting.
TablesLock::~TablesLock() {
  if (m_ptrSharing != nullptr && m_ptrSharing->raw_UnlockTables() != S_OK) {
    m_ptrSharing->raw_UnlockTables();
  }
}

}  // namespace qx
