#include "qxdesk/engines/odbc_error.h"

#include "qxframework/automation/text.h"

#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>

#include <algorithm>
#include <array>
#include <optional>
#include <span>

namespace qx::desk {

namespace {

struct Meaning {
  std::string_view state;  // or the beginning of one
  Fault fault;
};

// Searched from the top, so whole states precede the two characters of their class.
constexpr Meaning kMeanings[] = {
    {"57P01", Fault::ConnectionLost},  // an administrator ended it
    {"57P02", Fault::ConnectionLost},  // the server crashes
    {"57P03", Fault::NoServer},        // the server starts
    {"57P05", Fault::ConnectionLost},  // idle for too long
    {"25P03", Fault::ConnectionLost},  // idle in a transaction for too long
    {"25P02", Fault::Aborted},        {"25006", Fault::ReadOnly},    {"55P03", Fault::Locked},
    {"57014", Fault::Cancelled},      {"HYT00", Fault::Cancelled},   {"HY008", Fault::Cancelled},
    {"HYT01", Fault::ConnectionLost}, {"53100", Fault::Full},        {"53300", Fault::TooManyUsers},
    {"22001", Fault::TooLong},        {"22003", Fault::OutOfRange},  {"22007", Fault::BadDate},
    {"22008", Fault::BadDate},        {"22P02", Fault::BadValue},    {"22018", Fault::BadValue},
    {"23505", Fault::Unique},         {"42501", Fault::NoRight},     {"IM002", Fault::NoDriver},
    {"IM003", Fault::NoDriver},       {"3D000", Fault::NoDatabase},  {"XX001", Fault::Damaged},
    {"XX002", Fault::Damaged},        {"58030", Fault::InputOutput}, {"08", Fault::ConnectionLost},
    {"23", Fault::Constraint},        {"28", Fault::LoginRefused},   {"40001", Fault::Conflict},
    {"40P01", Fault::Deadlock},       {"40", Fault::RolledBack},     {"53", Fault::InputOutput},
};

struct Hint {
  std::string_view words;
  Fault fault;
};

// The words of the driver manager and of servers while a connection is made.
constexpr Hint kConnectHints[] = {
    {"Can't open lib", Fault::NoDriver},
    {"too many clients", Fault::TooManyUsers},
    {"too many connections", Fault::TooManyUsers},
    {"remaining connection slots", Fault::TooManyUsers},
    {"authentication failed", Fault::LoginRefused},
    {"no password supplied", Fault::LoginRefused},
    {"pg_hba.conf", Fault::LoginRefused},
    {"role \"", Fault::LoginRefused},
    {"FATAL:  database \"", Fault::NoDatabase},
    {"permission denied for database", Fault::NoRight},
};

// The words of engines whose drivers report HY000 for everything, and of libpq, whose driver
// reports a connection that is lost during a prepared statement so.
constexpr Hint kStatementHints[] = {
    {"server closed the connection", Fault::ConnectionLost},
    {"no connection to the server", Fault::ConnectionLost},
    {"is locked", Fault::Locked},
    {"Lock wait timeout", Fault::Locked},
    {"readonly database", Fault::ReadOnly},
    {"disk is full", Fault::Full},
    {"UNIQUE constraint failed", Fault::Unique},
    {"constraint failed", Fault::Constraint},
    {"image is malformed", Fault::Damaged},
};

// A kept statement that failed because of a change of its tables: by the check in its text, or by
// the server, which does not run a prepared query whose columns are others now.
constexpr std::string_view kTablesChanged[] = {kTablesChangedWords,
                                               "cached plan must not change result type"};

struct Refinement {
  std::string_view state;
  std::string_view words;  // in lower case
  Fault fault;
};

// States that some engines report for several reasons, which only their words tell apart.
constexpr Refinement kRefinements[] = {
    {"40001", "deadlock", Fault::Deadlock},
    {"HYT00", "lock", Fault::Locked},
    {"23000", "duplicate", Fault::Unique},
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
  message.back() = 0;  // a driver may fill the buffer without a terminator
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

std::optional<Fault> faultOfWords(std::string_view words, std::span<const Hint> hints) {
  for (const Hint& hint : hints) {
    if (contains(words, hint.words)) return hint.fault;
  }
  return std::nullopt;
}

void dropFront(std::string& text, std::string_view prefix) {
  if (text.starts_with(prefix)) text.erase(0, prefix.size());
}

// Additions that servers send after a message, each beginning on its own line.
constexpr std::string_view kRemarks[] = {"\nDETAIL: ", "\nHINT: "};

// Turns the additions into remarks in brackets. One may have several lines: it ends where the next
// one begins.
void bracketRemarks(std::string& text) {
  for (const std::string_view mark : kRemarks) {
    const std::size_t at = text.find(mark);
    if (at == std::string::npos) continue;
    std::size_t end = text.size();
    for (const std::string_view next : kRemarks)
      end = std::min(end, text.find(next, at + mark.size()));
    std::string remark = text.substr(at + mark.size(), end - at - mark.size());
    while (remark.ends_with('\n')) remark.pop_back();
    text.replace(at, end - at, " (" + remark + ")");
  }
}

// Replaces a line break and the blanks around it by one blank.
void joinLines(std::string& text) {
  std::string line;
  bool broken = false;
  for (const char c : text) {
    if (c == '\n' || c == '\r' || c == '\t') broken = true;
    if (broken && (c == ' ' || c == '\n' || c == '\r' || c == '\t')) continue;
    if (broken) {
      while (line.ends_with(' ')) line.pop_back();
      line += ' ';
    }
    broken = false;
    line += c;
  }
  text = std::move(line);
}

void dropFrom(std::string& text, std::string_view mark) {
  text.erase(std::min(text.find(mark), text.size()));
}

}  // namespace

OdbcDiagnosis diagnose(short kind, void* handle, bool wide) {
  std::optional<OdbcDiagnosis> record =
      wide ? wideRecord(kind, handle) : narrowRecord(kind, handle);
  if (!record) return {"HY000", "the driver reports no reason"};
  record->message = engineWords(std::move(record->message));
  return *std::move(record);
}

Fault faultOfState(std::string_view state) {
  const auto found = std::find_if(std::begin(kMeanings), std::end(kMeanings),
                                  [&](const Meaning& m) { return state.starts_with(m.state); });
  return found == std::end(kMeanings) ? Fault::Statement : found->fault;
}

Fault faultOfStatement(const OdbcDiagnosis& diagnosis) {
  const Fault fault = faultOfState(diagnosis.state);
  for (const std::string_view words : kTablesChanged) {
    const bool state = diagnosis.state == "22P02" || diagnosis.state == "0A000";
    if (state && contains(diagnosis.message, words)) return Fault::TablesChanged;
  }
  const std::string words = toUtf8(toLower(toUtf16(diagnosis.message)));
  for (const Refinement& refinement : kRefinements) {
    if (diagnosis.state == refinement.state && contains(words, refinement.words)) {
      return refinement.fault;
    }
  }
  if (!diagnosis.state.starts_with("HY000")) return fault;
  return faultOfWords(diagnosis.message, kStatementHints).value_or(fault);
}

Fault faultOfConnect(const OdbcDiagnosis& diagnosis) {
  // Drivers report one state for every message of a server before the connection exists.
  if (const auto fault = faultOfWords(diagnosis.message, kConnectHints)) return *fault;
  switch (const Fault fault = faultOfState(diagnosis.state)) {
    case Fault::NoDriver:
    case Fault::NoDatabase:
    case Fault::LoginRefused:
    case Fault::TooManyUsers:
    case Fault::NoRight:
    case Fault::Damaged:
    case Fault::Full:
      return fault;
    default:
      return Fault::NoServer;
  }
}

std::string engineWords(std::string message) {
  // The driver manager and the driver each put "[name]" before the message.
  while (message.starts_with('[')) {
    const std::size_t close = message.find(']');
    if (close == std::string::npos) break;
    message.erase(0, close + 1);
  }
  // In this order: the driver's own sentence is cut off before lines are joined, since the line
  // break is part of its mark.
  dropFront(message, "ERROR: ");
  dropFront(message, "FATAL: ");
  dropFrom(message, ";\nError while");
  dropFrom(message, "\nError while");
  bracketRemarks(message);
  joinLines(message);
  while (message.ends_with(' ')) message.pop_back();
  message.erase(0, std::min(message.find_first_not_of(' '), message.size()));
  return message;
}

}  // namespace qx::desk
