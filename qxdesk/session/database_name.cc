#include "qxdesk/session/database_name.h"

#include "qxframework/automation/ascii.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>
#include <vector>

namespace qx::desk {
namespace {

constexpr std::string_view kScheme = "odbc:";

// Beyond these lengths drivers and their manager were seen to crash.
constexpr std::size_t kLongestConnection = 4000;
constexpr std::size_t kLongestValue = 1000;

struct Part {
  std::string_view key;
  std::string_view value;  // as written, with its braces
  bool hasValue = false;
};

// Returns the end of the part that starts the text: its semicolon or the end of the text. In braces
// a semicolon does not count and "}}" is a brace of the value. A brace that is never closed takes
// the rest, so that a password in it is hidden as a whole.
std::size_t partEnd(std::string_view text) {
  const std::size_t equals = text.find('=');
  std::size_t end = text.find(';');
  if (equals >= end || text.substr(equals + 1, 1) != "{") return std::min(end, text.size());
  std::size_t close = text.find('}', equals);
  while (text.substr(std::min(close, text.size()), 2) == "}}") close = text.find('}', close + 2);
  end = text.find(';', std::min(close, text.size()));
  return std::min(end, text.size());
}

std::vector<Part> partsOf(std::string_view connection) {
  std::vector<Part> parts;
  while (!connection.empty()) {
    const std::size_t end = partEnd(connection);
    const std::string_view part = connection.substr(0, end);
    const std::size_t equals = std::min(part.find('='), part.size());
    parts.push_back({part.substr(0, equals), part.substr(std::min(equals + 1, part.size())),
                     equals < part.size()});
    connection.remove_prefix(std::min(end + 1, connection.size()));
  }
  return parts;
}

// Returns a key in the form in which it is compared: without blanks and in lower case, since
// drivers accept " pwd " for PWD.
std::string keyName(std::string_view key) {
  std::string name;
  for (const char c : key) {
    if (c != ' ') name += toLowerAscii(c);
  }
  return name;
}

bool isSecret(std::string_view key) {
  const std::string name = keyName(key);
  // Every key with such a word in it, since drivers have more of them than could be listed. pqopt
  // holds options of the client library, which may include a password.
  for (const std::string_view word :
       {"pwd", "pass", "secret", "token", "pqopt", "credential", "apikey"}) {
    if (name.find(word) != std::string::npos) return true;
  }
  return false;
}

std::string withoutSecrets(std::string_view connection) {
  std::string text;
  bool first = true;
  for (const Part& part : partsOf(connection)) {
    if (!std::exchange(first, false)) text += ';';
    text += part.key;
    if (part.hasValue) text += '=';
    text += isSecret(part.key) && part.hasValue ? "***" : part.value;
  }
  return text;
}

std::string_view withoutBraces(std::string_view value) {
  return value.size() > 1 && value.front() == '{' && value.back() == '}'
             ? value.substr(1, value.size() - 2)
             : value;
}

// Also for a file that does not exist yet. A path that cannot be resolved is compared as it is.
std::filesystem::path realPath(std::string_view file) {
  std::error_code error;
  const std::filesystem::path path = std::filesystem::absolute(file, error);
  std::filesystem::path real = std::filesystem::weakly_canonical(path, error);
  return error ? path : real;
}

}  // namespace

std::optional<std::string_view> odbcConnection(std::string_view database) {
  if (keyName(database.substr(0, kScheme.size())) != kScheme) return std::nullopt;
  return database.substr(kScheme.size());
}

bool sameDatabase(std::string_view a, std::string_view b) {
  if (a == b) return true;
  if (odbcConnection(a) || odbcConnection(b)) return false;
  return realPath(a) == realPath(b);
}

std::string databaseName(std::string_view database) {
  if (const auto connection = odbcConnection(database)) {
    return std::string(kScheme) + withoutSecrets(*connection);
  }
  // A path, or a connection string with a mistake in its beginning.
  return namesSecret(database) ? withoutSecrets(database) : std::string(database);
}

std::string lengthProblem(std::string_view connection) {
  if (connection.size() > kLongestConnection) {
    return "the ODBC connection string is longer than " + std::to_string(kLongestConnection) +
           " bytes; shorten it, or put a part of it into a data source";
  }
  for (const Part& part : partsOf(connection)) {
    if (part.value.size() <= kLongestValue) continue;
    return "a value of the ODBC connection string is longer than " + std::to_string(kLongestValue) +
           " bytes; shorten it";
  }
  return "";
}

bool namesSecret(std::string_view text) {
  return std::ranges::any_of(partsOf(text),
                             [](const Part& part) { return part.hasValue && isSecret(part.key); });
}

std::string withPassword(std::string_view connection, std::string_view password) {
  std::string text(connection);
  if (!text.empty() && !text.ends_with(';')) text += ';';
  text += "Pwd={";
  for (const char c : password) {
    text += c;
    if (c == '}') text += c;
  }
  return text + "}";
}

std::string databaseTitle(std::string_view database) {
  const std::optional<std::string_view> connection = odbcConnection(database);
  if (!connection) return std::filesystem::path(database).stem().string();
  const std::vector<Part> parts = partsOf(*connection);
  // The database first, since one data source may lead to many.
  for (const std::string_view wanted : {"database", "dsn"}) {
    for (const Part& part : parts) {
      if (keyName(part.key) != wanted) continue;
      // A driver may take a file's path as the database.
      return std::filesystem::path(withoutBraces(part.value)).stem().string();
    }
  }
  return "ODBC";
}

}  // namespace qx::desk
