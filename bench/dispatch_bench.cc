// Measures one item event through Invoke with 1, 10 and 50 registered forms, against a bare virtual
// call. The event's log lines are measured separately and subtracted; the rest is the dispatch.
//
// It also prints the resident memory after a million events and ten thousand nested scopes, neither
// of which may increase it.

#include "bench/bench_addon.h"
#include "bench/log_settings.h"
#include "bench/measure.h"
#include "qxdesk/screens/user/user.h"
#include "qxframework/automation/com_object.h"
#include "qxframework/automation/text.h"
#include "qxframework/host/events.h"
#include "qxframework/host/form.h"

#include <unistd.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr int kRounds = 15;
constexpr int kEvents = 20'000;

// A pressed item, after the action.
class PressedEvent final : public qx::NoDispatch<qx::ComObject<IItemEvent>> {
 public:
  HRESULT raw_GetEventType(long* out) override { return *out = qx::kItemPressed, S_OK; }
  HRESULT raw_GetBeforeAction(VARIANT_BOOL* out) override { return *out = VARIANT_FALSE, S_OK; }
  HRESULT raw_GetFormTypeEx(BSTR* out) override { return qx::giveText(u"3101", out); }
  HRESULT raw_GetFormUID(BSTR* out) override { return qx::giveText(u"F_1", out); }
  HRESULT raw_GetItemUID(BSTR* out) override { return qx::giveText(u"1", out); }
  HRESULT raw_GetColUID(BSTR* out) override { return qx::giveText(u"", out); }
  HRESULT raw_GetRow(long* out) override { return *out = 0, S_OK; }
  HRESULT raw_GetCharPressed(long* out) override { return *out = 0, S_OK; }
};

// Raises an item event as a host does.
class EventCall {
 public:
  explicit EventCall(const CComBSTR& form) : form_(form), event_(qx::makeObject<PressedEvent>()) {
    // Automation passes arguments in reverse order: the bubble is the last parameter.
    args_[0].vt = VT_BYREF | VT_BOOL;
    args_[0].pboolVal = &bubble_;
    args_[1].vt = VT_DISPATCH;
    args_[1].pdispVal = event_;
    args_[2].vt = VT_BSTR;
    args_[2].bstrVal = form_;
    params_.rgvarg = args_.data();
    params_.cArgs = static_cast<UINT>(args_.size());
  }
  void raise(CQXEventSink& sink) {
    sink.Invoke(qx::kItemEvent, IUnknown::kIid, 0, DISPATCH_METHOD, &params_, nullptr, nullptr,
                nullptr);
  }

 private:
  CComBSTR form_;
  CComPtr<PressedEvent> event_;
  VARIANT_BOOL bubble_ = VARIANT_TRUE;
  std::array<VARIANT, 3> args_;
  DISPPARAMS params_;
};

// Writes the log lines of one item event with `forms` entries in the form map.
void logLinesOf(const std::vector<CComBSTR>& forms) {
  CReturnValue<long> hr(u"CQXEventSink::ItemEvent", 0, 1, false);
  hr.LogDbg1(u"BubbleEvent at start is %d", -1);
  for (const CComBSTR& form : forms) hr.LogDbg2(u"Form map entry: %s", form);
  hr.LogDbg1(u"BubbleEvent on exit is %d", -1);
}

struct Callee {
  virtual ~Callee() = default;
  virtual long call(long value) { return value + 1; }
};

double bareCall() {
  const std::unique_ptr<Callee> callee = std::make_unique<Callee>();
  // Volatile, so that the compiler cannot find out the type and call directly.
  Callee* volatile target = callee.get();
  constexpr int kCalls = 10'000'000;
  double best = 1;
  for (int round = 0; round < kRounds; ++round) {
    best = std::min(best, qx::bench::seconds([&] {
                      long value = 0;
                      for (int i = 0; i < kCalls; ++i) value = target->call(value);
                      qx::bench::keep(value);
                    }));
  }
  return best / kCalls;
}

long residentKilobytes() {
  std::ifstream file("/proc/self/statm");
  long pages = 0;
  long resident = 0;
  file >> pages >> resident;
  return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

void nestScopes(int depth) {
  CReturnValue<long> hr(u"nestScopes", 0, 1, false);
  if (depth > 0) nestScopes(depth - 1);
}

void printMemory(CQXEventSink& sink, EventCall& event) {
  // Once before measuring, so that caches and stacks have their final size.
  for (int i = 0; i < 10'000; ++i) event.raise(sink);
  nestScopes(10'000);
  const long before = residentKilobytes();
  for (int i = 0; i < 1'000'000; ++i) event.raise(sink);
  const long afterEvents = residentKilobytes();
  nestScopes(10'000);
  std::printf("memory: %ld kB, after a million events %ld kB, after ten thousand scopes %ld kB\n",
              before, afterEvents, residentKilobytes());
}

}  // namespace

int main() {
  if (!qx::bench::recordUpTo(QXLoggerLib::sl_Error, 1)) return 1;
  const auto database = std::filesystem::temp_directory_path() /
                        ("qx_dispatch_bench_" + std::to_string(getpid()) + ".db");
  qx::bench::BenchAddOn addOn(qx::toUtf16("embedded:?db=" + database.string()), u"BENCH", u"");
  if (addOn.Connect(1) != 0 || addOn.GetEventSink() == nullptr) return 1;
  CQXEventSink& sink = *addOn.GetEventSink();

  const CComQIPtr<qx::desk::IDeskUser> user(addOn.handler->app.p);
  const double bare = bareCall();
  std::vector<CComBSTR> uids;
  for (const int forms : {1, 10, 50}) {
    while (static_cast<int>(uids.size()) < forms) {
      CComBSTR uid;
      if (user->OpenForm(CComBSTR(u"3101"), &uid) < 0) return 1;
      uids.push_back(uid);
    }
    EventCall event(uids.front());
    const auto best = qx::bench::compare(
        kRounds,
        [&] {
          for (int i = 0; i < kEvents; ++i) event.raise(sink);
        },
        [&] {
          for (int i = 0; i < kEvents; ++i) logLinesOf(uids);
        });
    const double rest = (best.ours - best.peer) / kEvents;
    std::printf("dispatch with %d forms: %.0f ns, of which logging %.0f ns, dispatch %.0f ns\n",
                forms, best.ours / kEvents * 1e9, best.peer / kEvents * 1e9, rest * 1e9);
    if (forms != 10) qx::bench::printRatio(forms == 1 ? "dispatch-1" : "dispatch-50", rest / bare);
  }
  EventCall event(uids.front());
  printMemory(sink, event);
  std::filesystem::remove(database);
  return 0;
}
