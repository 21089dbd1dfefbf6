#include "qxdesk/session/database_name.h"

#include <algorithm>
#include <filesystem>
#include <vector>

namespace qx::desk {

namespace {

constexpr std::string_view kScheme = "odbc:";

struct Part {
  std::string_view key;
  std::string_view value;  // as it stands, in its braces
};

/// The end of the part that starts the text: a semicolon, but none in braces.
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
    parts.push_back({part.substr(0, equals), part.substr(std::min(equals + 1, part.size()))});
    connection.remove_prefix(std::min(end + 1, connection.size()));
  }
  return parts;
}

std::string keyName(std::string_view key) {
  std::string name;
  for (const char c : key) {
    if (c != ' ') name += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  }
  return name;
}

bool isSecret(std::string_view key) {
  const std::string name = keyName(key);
  // pqopt holds options of the client library, which may hold a password.
  for (const std::string_view word : {"pwd", "password", "secret", "token", "pqopt"})
    if (name.find(word) != std::string::npos) return true;
  return false;
}

std::string_view withoutBraces(std::string_view value) {
  return value.size() > 1 && value.front() == '{' && value.back() == '}'
             ? value.substr(1, value.size() - 2)
             : value;
}

}  // namespace

std::optional<std::string_view> odbcConnection(std::string_view database) {
  if (keyName(database.substr(0, kScheme.size())) != kScheme) return std::nullopt;
  return database.substr(kScheme.size());
}

std::string databaseName(std::string_view database) {
  const std::optional<std::string_view> connection = odbcConnection(database);
  if (!connection) return std::string(database);
  std::string name(kScheme);
  for (const Part& part : partsOf(*connection)) {
    if (name.size() > kScheme.size()) name += ';';
    name += part.key;
    name += '=';
    name += isSecret(part.key) ? "***" : part.value;
  }
  return name;
}

std::string databaseTitle(std::string_view database) {
  const std::optional<std::string_view> connection = odbcConnection(database);
  if (!connection) return std::filesystem::path(database).stem().string();
  const std::vector<Part> parts = partsOf(*connection);
  for (const std::string_view wanted : {"database", "dsn"}) {
    for (const Part& part : parts) {
      if (keyName(part.key) != wanted) continue;
      return std::filesystem::path(withoutBraces(part.value)).stem().string();
    }
  }
  return "ODBC";
}

}  // namespace qx::desk
