// The schema side: progress on the host's status bar. SchemaProgress works on the two members.

#include "qxframework/automation/format.h"
#include "qxframework/dbdef/db_def.h"
#include "qxframework/dbdef/internal/schema_progress.h"
#include "qxframework/host/application.h"
#include "qxframework/host/company.h"
#include "qxframework/logging/function_log.h"
#include "qxframework/xml/dom.h"

namespace {

constexpr unsigned kCreateTableText = 221;
constexpr unsigned kCreateFieldsText = 222;

}  // namespace

long CQXDbDef::GetProgressBar(long minutes, const CComBSTR& title, long maximum) {
  return Progress().waitForBar(minutes, title, maximum);
}

long CQXDbDef::CreateProgressBar(const CComBSTR& title, long maximum) {
  return Progress().createBar(title, maximum);
}

void CQXDbDef::DisplayProgressMessage(const CComBSTR& text) { Progress().show(text); }

void CQXDbDef::SignalTableInitialized(const CComBSTR& table, long kind) {
  CReturnValue<void> log(u"CQXDbDef::SignalTableInitialized", m_lLogId, false);
  const CComBSTR shape = FrameworkText(kind == 1 ? kCreateTableText : kCreateFieldsText);
  DisplayProgressMessage(CComBSTR(qx::format(shape, table.View())));
}

void CQXDbDef::StopProgressBar() { Progress().stop(); }

qx::dbdef::SchemaProgress CQXDbDef::Progress() {
  return {m_ptrApp, m_lLogId, m_ptrProgressBar, m_lProgress};
}
