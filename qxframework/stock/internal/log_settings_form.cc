#include "qxframework/stock/internal/log_settings_form.h"

#include "qxframework/automation/com_error.h"
#include "qxframework/automation/format.h"
#include "qxframework/foundation/numbers.h"
#include "qxframework/logging/function_log.h"
#include "qxframework/runtime/event_sink.h"
#include "qxframework/stock/internal/log_settings.h"
#include "qxframework/util/qx_util.h"

#include <cstdint>
#include <limits>
#include <memory>
#include <new>

namespace {

using Scope = CReturnValue<long>;

// Items. Some of the numbers are string ids, too.
constexpr long kOkItem = 1;
constexpr long kLogSize = 312;
constexpr long kLogCount = 313;
constexpr long kModules = 314;
constexpr long kLogLevel = 315;

constexpr unsigned kTextAllModules = 314;

constexpr long kOkMode = 1;
constexpr long kSelectByKey = 1;
constexpr long kSelectByIndex = 2;
constexpr long kHighestLevel = 6;

// The entries of the level combo: the text and, as its key, the level.
struct Level {
  unsigned text;
  const OLECHAR* key;
};
constexpr Level kLevels[] = {{308, u"1"}, {310, u"2"}, {309, u"3"},
                             {307, u"4"}, {316, u"5"}, {317, u"6"}};

CComBSTR decimal(long number) { return CComBSTR(qx::format(u"%d", number)); }

// One of the two edits that hold a number.
struct NumberField {
  long item;
  const OLECHAR* symbol;
  const OLECHAR* preset;  // shown in place of 0
  long highest;
  unsigned refusal;  // the text that tells the user the limits
  const OLECHAR* logLine;
  long (CLog::*get)() const;
  void (CLog::*set)(long);

  bool accepts(long number) const { return number >= 1 && number <= highest; }
};
constexpr NumberField kNumberFields[] = {
    {.item = kLogCount,
     .symbol = u"QX_FLS_ET_LOGCOUNT",
     .preset = u"2",
     .highest = 10,
     .refusal = 301,
     .logLine = u"Invalid log count (%d) specified!\n",
     .get = &CLog::fileCount,
     .set = &CLog::SetFileCount},
    {.item = kLogSize,
     .symbol = u"QX_FLS_ET_LOGSIZE",
     .preset = u"1",
     .highest = std::numeric_limits<std::int32_t>::max(),
     .refusal = 302,
     .logLine = u"Invalid log size (%d) specified!\n",
     .get = &CLog::fileSize,
     .set = &CLog::SetFileSize},
};

CComBSTR selectedKey(const CComPtr<IComboBox>& combo) {
  const CComPtr<IValidValue> selected = combo->GetSelected();
  return selected == nullptr ? CComBSTR(u"") : selected->GetDescription();
}

// The event sink is in a lower folder, which therefore gets the function when the library is
// loaded.
[[maybe_unused]] const bool isOpenerSet = [] {
  CQXEventSink::SetLogSettingsOpener(&CFrmLogSettings::Open);
  return true;
}();

}  // namespace

long CFrmLogSettings::Open(CQXAddOn* addOn, CComPtr<IApplication> application,
                           CComPtr<ICompany> company) {
  qx::openForm(std::make_unique<CFrmLogSettings>(addOn), application, company);
  return S_OK;
}

long CFrmLogSettings::OnInitForm() {
  Scope hr(u"CFrmLogSettings::OnInitForm", 0, m_lAppNumber);
  hr = LoadLoggingData();
  m_ptrForm->PutDefaultItem(decimal(kOkItem));
  m_ptrForm->PutMode(kOkMode);
  return hr;
}

template <class Control>
CComPtr<Control> CFrmLogSettings::ControlOf(Scope& hr, long id, const OLECHAR* symbol) {
  const CComPtr<Control> control = GetFormItemSpecific<Control>(id);
  if (control == nullptr) hr.LogError(u"Unable to get interface pointer to %s!\n", symbol);
  return control;
}

long CFrmLogSettings::LoadLoggingData() {
  Scope hr(u"CFrmLogSettings::LoadLoggingData", 0, m_lAppNumber);
  const std::unique_ptr<CLog> settings(new (std::nothrow) CLog);
  if (const auto combo = ControlOf<IComboBox>(hr, kLogLevel, u"QX_FLS_CB_LOGLEVEL")) {
    FillLevelCombo(combo, settings.get());
  }
  // The stored filter is not shown: there is only the entry for all modules.
  if (const auto combo = ControlOf<IComboBox>(hr, kModules, u"QX_FLS_CB_MODULES")) {
    FillModuleCombo(combo);
    combo->Select(CComVariant(0L), kSelectByIndex);
  }
  for (const NumberField& field : kNumberFields) {
    const auto edit = ControlOf<IEditText>(hr, field.item, field.symbol);
    if (edit == nullptr) continue;
    const long number = settings == nullptr ? 0 : (settings.get()->*field.get)();
    edit->PutString(number == 0 ? CComBSTR(field.preset) : decimal(number));
  }
  return hr;
}

void CFrmLogSettings::FillLevelCombo(const CComPtr<IComboBox>& combo, const CLog* settings) {
  const CComPtr<IValidValues> values = combo->GetValidValues();
  for (const Level& level : kLevels) values->Add(LoadText(level.text), level.key);
  const long level = settings == nullptr ? 1 : settings->level();
  combo->Select(CComVariant(decimal(level <= kHighestLevel ? level : kHighestLevel)), kSelectByKey);
}

void CFrmLogSettings::FillModuleCombo(const CComPtr<IComboBox>& combo) {
  combo->GetValidValues()->Add(LoadText(kTextAllModules), u"");
}

// Both phases of an event are handled alike.
long CFrmLogSettings::OnItemEvent(CComPtr<IItemEvent> event, short* bubble) {
  const Scope hr(u"CFrmLogSettings::OnItemEvent", 0, m_lAppNumber);
  *bubble = VARIANT_TRUE;
  const CComBSTR item = event->GetItemUID();
  const long type = event->GetEventType();
  if (type == qx::kClick && item.View() == u"1") OnClick(bubble);
  if (type == qx::kValidate) OnValidate(item, bubble);
  return S_OK;
}

// In OK mode the host closes the form by itself.
void CFrmLogSettings::OnClick(short* bubble) {
  if (SaveLoggingData() < 0) {
    *bubble = VARIANT_FALSE;
  } else if (m_ptrForm->GetMode() != kOkMode) {
    m_ptrForm->Close();
  }
}

void CFrmLogSettings::OnValidate(const CComBSTR& item, short* bubble) {
  for (const NumberField& field : kNumberFields) {
    if (item.View() != decimal(field.item).View()) continue;
    if (field.accepts(NumberIn(GetFormItemSpecific<IEditText>(field.item)))) {
      // The edit has put the form into update mode, in which OK would not close it.
      m_ptrForm->PutMode(kOkMode);
    } else {
      ShowStatusBarText(field.refusal);
      *bubble = VARIANT_FALSE;
    }
  }
}

// A refused value is not written, but the others are: what was read takes its place, and the result
// is that of the logging component. The validation above keeps such values out.
long CFrmLogSettings::SaveLoggingData() {
  Scope hr(u"CFrmLogSettings::SaveLoggingData", 0, m_lAppNumber);
  const std::unique_ptr<CLog> settings(new (std::nothrow) CLog);
  if (settings == nullptr) return hr;
  if (const auto combo = ControlOf<IComboBox>(hr, kLogLevel, u"QX_FLS_CB_LOGLEVEL")) {
    const long level = qx::leadingNumber(selectedKey(combo).View());
    if (level == 0) {
      hr.LogError(u"Logging level not specified!\n");
      hr = E_ABORT;
    } else {
      settings->SetLevel(level);
    }
  }
  if (hr >= 0) {
    const auto combo = ControlOf<IComboBox>(hr, kModules, u"QX_FLS_CB_MODULES");
    if (combo != nullptr) settings->SetModule(selectedKey(combo));
  }
  for (const NumberField& field : kNumberFields) {
    if (hr < 0) break;
    const auto edit = ControlOf<IEditText>(hr, field.item, field.symbol);
    const long number = NumberIn(edit);
    if (field.accepts(number)) {
      (settings.get()->*field.set)(number);
    } else {
      ShowStatusBarText(field.refusal);
      hr.LogError(field.logLine, number);
      hr = E_ABORT;
    }
  }
  hr = settings->Save();
  return hr;
}

long CFrmLogSettings::NumberIn(const CComPtr<IEditText>& edit) {
  return qx::leadingNumber(edit->GetString().View());
}

void CFrmLogSettings::ShowStatusBarText(unsigned int id) {
  CQXUtil::SetStatusBarErrorMessage(m_ptrApp, LoadText(id));
}
