#include "qxdesk/company/engines/odbc_error.h"

#include "qxframework/automation/text.h"

#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>

#include <algorithm>
#include <array>
#include <optional>

namespace qx::desk {

namespace {

struct Meaning {
  std::string_view state;  // or the beginning of one
  Fault fault;
};

// The longer ones ahead of the shorter.
constexpr Meaning kMeanings[] = {
    {"57P01", Fault::ConnectionLost},  // an administrator ended it
    {"57P02", Fault::ConnectionLost},  // the server crashes
    {"57P03", Fault::NoServer},        // the server starts
    {"57P05", Fault::ConnectionLost},  // idle for too long
    {"25P03", Fault::ConnectionLost},  // idle in a transaction for too long
    {"25P02", Fault::RolledBack},     {"25006", Fault::ReadOnly},
    {"55P03", Fault::Locked},         {"HYT00", Fault::Locked},
    {"HYT01", Fault::ConnectionLost}, {"53100", Fault::Full},
    {"53300", Fault::TooManyUsers},   {"22001", Fault::TooLong},
    {"22003", Fault::OutOfRange},     {"22007", Fault::BadDate},
    {"22008", Fault::BadDate},        {"23505", Fault::Unique},
    {"IM002", Fault::NoDriver},       {"IM003", Fault::NoDriver},
    {"3D000", Fault::NoDatabase},     {"XX001", Fault::Damaged},
    {"XX002", Fault::Damaged},        {"58030", Fault::InputOutput},
    {"08", Fault::ConnectionLost},    {"23", Fault::Constraint},
    {"28", Fault::LoginRefused},      {"40", Fault::RolledBack},
    {"53", Fault::InputOutput},
};

struct Hint {
  std::string_view words;
  Fault fault;
};

constexpr Hint kHints[] = {
    {"Can't open lib", Fault::NoDriver},
    {"too many clients", Fault::TooManyUsers},
    {"too many connections", Fault::TooManyUsers},
    {"remaining connection slots", Fault::TooManyUsers},
    {"authentication failed", Fault::LoginRefused},
    {"no password supplied", Fault::LoginRefused},
    {"pg_hba.conf", Fault::LoginRefused},
    {"role \"", Fault::LoginRefused},
    {"FATAL:  database \"", Fault::NoDatabase},
};

std::optional<OdbcDiagnosis> wideRecord(short kind, void* handle) {
  std::array<char16_t, 6> state{};
  std::array<char16_t, 2048> message{};
  SQLINTEGER native = 0;
  SQLSMALLINT length = 0;
  const SQLRETURN result =
      SQLGetDiagRecW(kind, handle, 1, reinterpret_cast<SQLWCHAR*>(state.data()), &native,
                     reinterpret_cast<SQLWCHAR*>(message.data()),
                     static_cast<SQLSMALLINT>(message.size()), &length);
  if (!SQL_SUCCEEDED(result)) return std::nullopt;
  message.back() = 0;
  return OdbcDiagnosis{toUtf8(std::u16string_view(state.data(), 5)), toUtf8(message.data())};
}

std::optional<OdbcDiagnosis> narrowRecord(short kind, void* handle) {
  std::array<SQLCHAR, 6> state{};
  std::array<SQLCHAR, 4096> message{};
  SQLINTEGER native = 0;
  SQLSMALLINT length = 0;
  const SQLRETURN result = SQLGetDiagRec(kind, handle, 1, state.data(), &native, message.data(),
                                         static_cast<SQLSMALLINT>(message.size()), &length);
  if (!SQL_SUCCEEDED(result)) return std::nullopt;
  message.back() = 0;
  return OdbcDiagnosis{reinterpret_cast<const char*>(state.data()),
                       reinterpret_cast<const char*>(message.data())};
}

bool contains(std::string_view text, std::string_view part) {
  return text.find(part) != std::string_view::npos;
}

void dropFront(std::string& text, std::string_view prefix) {
  if (text.starts_with(prefix)) text.erase(0, prefix.size());
}

// A line of its own, as servers send details, becomes a remark in brackets.
void bracketLine(std::string& text, std::string_view mark) {
  const std::size_t at = text.find(mark);
  if (at == std::string::npos) return;
  const std::size_t end = std::min(text.find('\n', at + mark.size()), text.size());
  const std::string remark = text.substr(at + mark.size(), end - at - mark.size());
  text.replace(at, end - at, " (" + remark + ")");
}

void dropBehind(std::string& text, std::string_view mark) {
  text.erase(std::min(text.find(mark), text.size()));
}

}  // namespace

OdbcDiagnosis diagnose(short kind, void* handle, bool wide) {
  std::optional<OdbcDiagnosis> record =
      wide ? wideRecord(kind, handle) : narrowRecord(kind, handle);
  if (!record) return {"HY000", "the driver tells no reason"};
  record->message = engineWords(std::move(record->message));
  return *std::move(record);
}

Fault faultOfState(std::string_view state) {
  const auto found = std::find_if(std::begin(kMeanings), std::end(kMeanings),
                                  [&](const Meaning& m) { return state.starts_with(m.state); });
  return found == std::end(kMeanings) ? Fault::Statement : found->fault;
}

Fault faultOfConnect(const OdbcDiagnosis& diagnosis) {
  const std::string_view words = diagnosis.message;
  // Drivers give one state for all that a server says before a connection is there.
  for (const Hint& hint : kHints) {
    if (contains(words, hint.words)) return hint.fault;
  }
  const Fault fault = faultOfState(diagnosis.state);
  return fault == Fault::ConnectionLost || fault == Fault::Locked ? Fault::NoServer : fault;
}

std::string engineWords(std::string message) {
  while (message.starts_with('[')) {
    const std::size_t close = message.find(']');
    if (close == std::string::npos) break;
    message.erase(0, close + 1);
  }
  dropFront(message, "ERROR: ");
  dropFront(message, "FATAL: ");
  dropBehind(message, ";\nError while");
  dropBehind(message, "\nError while");
  bracketLine(message, "\nDETAIL: ");
  bracketLine(message, "\nHINT: ");
  while (!message.empty() && (message.back() == '\n' || message.back() == ' ')) message.pop_back();
  message.erase(0, std::min(message.find_first_not_of(' '), message.size()));
  return message;
}

}  // namespace qx::desk
