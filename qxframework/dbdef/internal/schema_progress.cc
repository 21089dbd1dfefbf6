#include "qxframework/dbdef/internal/schema_progress.h"

#include "qxframework/host/application.h"
#include "qxframework/logging/function_log.h"
#include "qxframework/os/clock.h"

#include <chrono>

namespace qx::dbdef {
namespace {

constexpr std::chrono::milliseconds kPause{30000};

}  // namespace

SchemaProgress::SchemaProgress(IApplication* application, long logId, CComPtr<IProgressBar>& bar,
                               long& value)
    : application_(application), logId_(logId), bar_(bar), value_(value) {}

long SchemaProgress::waitForBar(long minutes, const CComBSTR& title, long maximum,
                                const WaitNotice& notice) {
  CReturnValue<long> hr(u"CQXDbDef::GetProgressBar", 0, logId_, false);
  std::chrono::milliseconds left = std::chrono::minutes(minutes);
  for (hr = createBar(title, maximum); hr != 0; hr = createBar(title, maximum)) {
    if (left.count() <= 0) {
      hr = kWaitTimeout;
      return hr;
    }
    // Each time, since the host shows a message for a while only.
    notice(std::chrono::ceil<std::chrono::minutes>(left).count(), bar_ != nullptr);
    currentClock().sleepFor(kPause);
    left -= kPause;
  }
  return hr;
}

long SchemaProgress::createBar(const CComBSTR& title, long maximum) {
  CReturnValue<long> hr(u"CQXDbDef::CreateProgressBar", E_FAIL, logId_, false);
  try {
    bar_ = application_->GetStatusBar()->CreateProgressBar(title, maximum, VARIANT_FALSE);
    if (bar_ != nullptr) {
      bar_->PutValue(0);
      value_ = 0;
      hr = S_OK;
    }
  } catch (...) {
    // A host reports by an exception that the bar is taken. Every other failure is waited out, too.
    hr.LogError(u"Failed to create progress bar");
    hr = E_FAIL;
  }
  return hr;
}

void SchemaProgress::show(const CComBSTR& text) {
  CReturnValue<void> log(u"CQXDbDef::DisplayProgressMessage", logId_, false);
  ++value_;
  if (bar_ == nullptr) return;
  bar_->PutText(text);
  bar_->PutValue(value_);
}

void SchemaProgress::stop() {
  CReturnValue<void> log(u"CQXDbDef::StopProgressBar", logId_, false);
  if (bar_ != nullptr) {
    bar_->raw_Stop();  // no exception: the host may be gone, and the bar is released anyway
    bar_.Release();
  }
  value_ = 0;
}

}  // namespace qx::dbdef
