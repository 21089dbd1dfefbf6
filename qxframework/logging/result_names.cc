#include "qxframework/logging/result_names.h"

#include "qxframework/automation/format.h"
#include "qxframework/automation/registry.h"
#include "qxframework/automation/system_message.h"
#include "qxframework/automation/text.h"
#include "qxframework/logging/internal/fixed_bstr.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace qx {
namespace {

struct ResultRow {
  HRESULT code;
  std::u16string_view name;
  std::u16string_view sentence;
};

// Ordered by code, for the binary search. A row without a name is the framework's own. A row
// without a sentence is a standard code, whose sentence is in the system's table.
// The gaps in the host's numbers are real, and the spelling of its texts is what logs and add-ons
// already show.
constexpr ResultRow kRows[] = {
    {E_NOTIMPL, u"E_NOTIMPL", u""},
    {E_NOINTERFACE, u"E_NOINTERFACE", u""},
    {E_POINTER, u"E_POINTER", u""},
    {E_ABORT, u"E_ABORT", u""},
    {E_FAIL, u"E_FAIL", u""},
    {E_UNEXPECTED, u"E_UNEXPECTED", u""},
    {QX_E_DATABASE, u"", u"Error create/update database."},
    {QX_E_CONNECTION, u"", u"Error connecting to the company database."},
    {QX_E_SOFTWARE_UPDATE, u"", u"Halvex Add-On terminated due to required software update."},
    {QX_E_UPGRADE_RUNNING, u"",
     u"Halvex Add-On terminated due to running or incomplete DB upgrade."},
    {E_ACCESSDENIED, u"E_ACCESSDENIED", u""},
    {E_HANDLE, u"E_HANDLE", u""},
    {E_OUTOFMEMORY, u"E_OUTOFMEMORY", u""},
    {E_INVALIDARG, u"E_INVALIDARG", u""},
    {-7200, u"UI_ADDON_CONN_STR_NOTVALID", u"Connection string not valid"},
    {-7133, u"UI_API_ERR_MENU_POSITION_NOT_VALID", u"Menu position not valid"},
    {-7132, u"UI_API_ERR_MENU_INVALID_TYPE", u"Menu invalid type"},
    {-7131, u"UI_API_ERR_MENU_ADDING_MENU", u"Menu adding menu"},
    {-7130, u"UI_API_ERR_MENU_ALREADY_EXIST", u"Menu already exists"},
    {-7113, u"UI_API_ERR_COLUMN_ADDING_AGGREGATES", u"Column adding aggregates"},
    {-7112, u"UI_API_ERR_COLUMN_ADDING_COLUMNS", u"Column adding columns"},
    {-7111, u"UI_API_ERR_COLUMN_BINDING_DATA", u"Column binding data"},
    {-7110, u"UI_API_ERR_COLUMN_ATTRIBUTES", u"Column attributes"},
    {-7094, u"UI_API_ERR_ITEM_ADDING_AGGREGATES", u"Item adding aggregates"},
    {-7093, u"UI_API_ERR_ITEM_ADDING_ITEMS", u"Item adding items"},
    {-7092, u"UI_API_ERR_ITEM_BINDING_DATA", u"Item binding data"},
    {-7091, u"UI_API_ERR_ITEM_ATTRIBUTES", u"Item attributes"},
    {-7090, u"UI_API_ERR_DS_UNKNOWN_FIELD_TYPE", u"Data sources unknow field type"},
    {-7071, u"UI_API_ERR_FORM_SETTING_ITEMS_GROUP", u"Form setting items group"},
    {-7070, u"UI_API_ERR_FORM_SETTING_UID", u"Form setting UID"},
    {-7069, u"UI_API_ERR_FORM_SETTING_PANE", u"Form setting pane"},
    {-7068, u"UI_API_ERR_FORM_SETTING_COLOR", u"Form setting color"},
    {-7067, u"UI_API_ERR_FORM_SETTING_MODE", u"Form setting mode"},
    {-7066, u"UI_API_ERR_FORM_SETTING_DEFAULT_BTN", u"Form setting default button"},
    {-7065, u"UI_API_ERR_FORM_SETTING_VISIBLE", u"Form setting visible"},
    {-7064, u"UI_API_ERR_FORM_SETTING_TITLE", u"Form setting title"},
    {-7063, u"UI_API_ERR_FORM_SETTING_RECT", u"Form setting rectangle"},
    {-7062, u"UI_API_ERR_FORM_ATTR_UNKNOWN", u"Form attribute unknown"},
    {-7061, u"UI_API_ERR_DO_NOT_SUPPORT_BATCH_UPDATE", u"Does not support bacth update"},
    {-7060, u"UI_API_ERR_EXCEED_MAX_USER_DATA_SOURCES", u"Exceeded max. user data sources"},
    {-7051, u"UI_API_ERR_TAG_NOT_IN_POSITION", u"Tag not in position"},
    {-7050, u"UI_API_ERR_ACTION_TYPE_NOT_VALID", u"Action type not valid"},
    {-7043, u"UI_API_ERR_CANT_LOAD_MENUS_XML", u"Can't load menus XML"},
    {-7042, u"UI_API_ERR_CANT_LOAD_ITEMS_XML", u"Can't load items XML"},
    {-7041, u"UI_API_ERR_CANT_LOAD_FORMS_XML", u"Can't load forms XML"},
    {-7040, u"UI_API_ERR_CANT_LOAD_XML", u"Can't load XML"},
    {-7028, u"UI_API_ERR_ILLEGAL_OFFSET", u"Illegal offset"},
    {-7027, u"UI_API_ERR_NOT_A_USER_MENU_ITEM", u"Not an user menu item"},
    {-7026, u"UI_API_ERR_INVALID_MENU_ITEM", u"Invalid menu item"},
    {-7025, u"UI_API_ERR_UNKNOWN_FORM_STATE", u"Unknown form state"},
    {-7024, u"UI_API_ERR_SET_FORM_RECT_FAILED", u"Set form rectangle failed"},
    {-7023, u"UI_API_ERR_NOT_VALID_TARGET", u"Not valid target"},
    {-7022, u"UI_API_ERR_ITEM_IN_FOCUS", u"Item in focus"},
    {-7021, u"UI_API_ERR_CANT_BE_USED_ON_EX_EDIT", u"Can't be used on ex edit"},
    {-7020, u"UI_API_ERR_CANT_BE_USED_ON_A_CELL", u"Can't be used on a cell"},
    {-7019, u"UI_API_ERR_FORM_UID_INVALID_SYS", u"Form UID invalid (F_ prefix reserved)"},
    {-7018, u"UI_API_ERR_INVALID_FIELD_VALUE", u"Invalid field value"},
    {-7017, u"UI_API_ERR_INVALID_FIELD_NAME", u"Invalid field name"},
    {-7016, u"UI_API_ERR_NOT_A_USER_DATA_SOURCE", u"Not an user data source"},
    {-7015, u"UI_API_ERR_INVALID_COLUMN", u"Invalid column"},
    {-7014, u"UI_API_ERR_COLUMN_ALLREADY_EXIST", u"Column already exists"},
    {-7013, u"UI_API_ERR_STRING_TO_LONG_10", u"String too long (10)"},
    {-7012, u"UI_API_ERR_ITEM_ALLREADY_EXIST", u"Item already exists"},
    {-7011, u"UI_API_ERR_STRING_TO_LONG_11", u"String too long (11)"},
    {-7010, u"UI_API_ERR_FORM_ALLREADY_EXIST", u"Form already exists"},
    {-7009, u"UI_API_ERR_STRING_TO_LONG_32", u"String too long (32)"},
    {-7008, u"UI_API_ERR_FORM_NOT_FOUND", u"Form not found"},
    {-7006, u"UI_API_ERR_NOT_A_USER_ITEM", u"Not an user item"},
    {-7005, u"UI_API_ERR_INVALID_TABLE_NAME", u"Invalid table name"},
    {-7004, u"UI_API_ERR_XML_RESOURCE_LOAD_FAIL", u"XML resource load failed"},
    {-7003, u"UI_API_ERR_MENU_ADD_FAILED", u"Menu add failed"},
    {-7002, u"UI_API_ERR_FUNC_NOT_SUPPORTED", u"Function not supported"},
    {-7001, u"UI_API_ERR_INVALID_ITEM", u"Invalid item"},
    {-7000, u"UI_API_ERR_INVALID_FORM", u"Invalid form"},
    {-2000, u"RX_API_ERR_SQL_FAILURE", u"RX API SQL failure"},
    {-2, u"UI_API_FUNC_NOT_SUPPORTED", u"Function not supported"},
    {-1, u"UI_API_ERR_GEN_FAILURE", u"UI API general failure"},
    {S_OK, u"S_OK", u""},
    {S_FALSE, u"S_FALSE", u""},
};

static_assert(std::is_sorted(std::begin(kRows), std::end(kRows),
                             [](const ResultRow& a, const ResultRow& b) {
                               return a.code < b.code;
                             }));

// Has room for the longest name, which has 39 units.
using LeavingMessage = FixedBstr<64>;

// The messages of the rows, made by the compiler: nearly every function of the framework leaves
// with one of them, and most settings do not record it.
constexpr auto kLeavingMessages = [] {
  std::array<LeavingMessage, std::size(kRows)> messages{};
  for (std::size_t i = 0; i < messages.size(); ++i) {
    messages[i] = LeavingMessage{u"Leaving function [", kRows[i].name, u"]\n"};
  }
  return messages;
}();

const ResultRow* findRow(HRESULT code) {
  // `long` has 64 bits: a code may arrive without its sign.
  const HRESULT wanted = resultCode(code);
  // The two most frequent codes, which are the last rows, cost no search.
  constexpr const ResultRow* kZero = std::end(kRows) - 2;
  static_assert(kZero[0].code == S_OK && kZero[1].code == S_FALSE);
  if (wanted >= S_OK) return wanted <= S_FALSE ? kZero + wanted : nullptr;
  const auto* row = std::lower_bound(
      std::begin(kRows), kZero, wanted,
      [](const ResultRow& candidate, HRESULT value) { return candidate.code < value; });
  return row->code == wanted ? row : nullptr;
}

// Returns a sentence that says what to do about an error which the user of a machine can mend;
// empty for other codes.
std::u16string remedyFor(HRESULT code) {
  if (code == CO_E_DLLNOTFOUND) return u". Set QX_TRACE=1 to see the reason";
  if (code != REGDB_E_CLASSNOTREG) return {};
  // The registry file decides which classes there are: the fault is in it, or it lacks the class.
  const Registry& registry = Registry::current();
  if (!registry.problem().empty()) return u". Registry: " + toUtf16(registry.problem());
  return u". " + toUtf16(registry.file().string()) + u" names no library for it";
}

}  // namespace

std::u16string_view resultName(HRESULT code) {
  const ResultRow* row = findRow(code);
  return row == nullptr ? std::u16string_view() : row->name;
}

BSTR leavingMessage(HRESULT code) {
  const ResultRow* row = findRow(code);
  if (row == nullptr || row->name.empty()) return nullptr;
  return kLeavingMessages[static_cast<std::size_t>(row - kRows)].bstr();
}

std::u16string_view resultSentence(HRESULT code) {
  const ResultRow* row = findRow(code);
  return row == nullptr ? std::u16string_view() : row->sentence;
}

std::u16string resultText(HRESULT code) {
  const std::u16string_view name = resultName(code);
  return name.empty() ? format(u"0x%08X", code) : std::u16string(name);
}

std::u16string errorText(HRESULT code) {
  if (const OLECHAR* message = systemMessage(code)) {
    std::u16string_view sentence = message;
    sentence.remove_suffix(1);  // the full stop
    return format(u"%s (%d, 0x%08X)%s", sentence, code, code, remedyFor(resultCode(code)));
  }
  const std::u16string_view sentence = resultSentence(code);
  return sentence.empty() ? format(u"Unknown error (%d, 0x%08X)", code, code)
                          : std::u16string(sentence);
}

}  // namespace qx
