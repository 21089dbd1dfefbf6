#include "qxdesk/session/connection_string.h"

#include "qxdesk/session/database_name.h"
#include "qxframework/automation/ascii.h"
#include "qxframework/automation/text.h"
#include "qxframework/host/dialect_names.h"

#include <optional>
#include <set>

namespace qx::desk {
namespace {

constexpr std::u16string_view kScheme = u"embedded:";
constexpr std::string_view kOdbc = "odbc:";

struct Language {
  std::u16string_view name;
  HvLanguages language;
};

// Names in lower case. Several names may mean one language.
constexpr Language kLanguages[] = {{u"he", ln_Hebrew},           {u"es-ar", ln_Spanish_Ar},
                                   {u"en", ln_English},          {u"en-us", ln_English},
                                   {u"pl", ln_Polish},           {u"en-sg", ln_English_Sg},
                                   {u"es-pa", ln_Spanish_Pa},    {u"en-gb", ln_English_Gb},
                                   {u"de", ln_German},           {u"sr", ln_Serbian},
                                   {u"da", ln_Danish},           {u"no", ln_Norwegian},
                                   {u"nb", ln_Norwegian},        {u"it", ln_Italian},
                                   {u"hu", ln_Hungarian},        {u"zh", ln_Chinese},
                                   {u"zh-cn", ln_Chinese},       {u"nl", ln_Dutch},
                                   {u"fi", ln_Finnish},          {u"el", ln_Greek},
                                   {u"pt", ln_Portuguese},       {u"sv", ln_Swedish},
                                   {u"en-cy", ln_English_Cy},    {u"fr", ln_French_Fr},
                                   {u"es", ln_Spanish},          {u"ru", ln_Russian},
                                   {u"es-419", ln_Spanish_La},   {u"cs", ln_Czech_Cz},
                                   {u"sk", ln_Slovak_Sk},        {u"ko", ln_Korean_Kr},
                                   {u"pt-br", ln_Portuguese_Br}, {u"ja", ln_Japanese_Jp},
                                   {u"tr", ln_Turkish_Tr},       {u"zh-hk", ln_TrdtnlChinese_Hk}};

[[noreturn]] void fail(std::size_t position, const std::string& sentence) {
  throw ConnectionStringError(position, sentence);
}

std::string quoted(std::u16string_view text) { return "\"" + toUtf8(text) + "\""; }

// At most nine digits, so that the value cannot overflow.
std::optional<long> naturalNumber(std::u16string_view text) {
  if (text.empty() || text.size() > 9) return std::nullopt;
  long value = 0;
  for (const char16_t unit : text) {
    if (!isDigit(unit)) return std::nullopt;
    value = 10 * value + (unit - u'0');
  }
  return value;
}

// One value with its place in the whole text.
struct Value {
  std::size_t position;
  std::u16string_view raw;
};

// Returns the UTF-8 of a value with %XX resolved. The bytes may be parts of characters, so they are
// checked together at the end.
std::string decode(const Value& value) {
  std::string out;
  std::size_t plain = 0;
  for (std::size_t at = 0; at < value.raw.size(); ++at) {
    if (value.raw[at] != u'%') continue;
    out += toUtf8(value.raw.substr(plain, at - plain));
    const std::u16string_view digits = value.raw.substr(at + 1, 2);
    const int high = digits.size() == 2 ? hexDigitValue(digits[0]) : -1;
    const int low = digits.size() == 2 ? hexDigitValue(digits[1]) : -1;
    if (high < 0 || low < 0) {
      fail(value.position + at, "% is not followed by two hexadecimal digits; write %25 for %");
    }
    // Paths and names end at a zero byte in the libraries that get them.
    if (high == 0 && low == 0) fail(value.position + at, "%00 is not allowed in a value");
    out += static_cast<char>(16 * high + low);
    at += 2;
    plain = at + 1;
  }
  out += toUtf8(value.raw.substr(plain));
  // The conversion replaces bytes that are no UTF-8, so that only a valid text comes back the same.
  if (toUtf8(toUtf16(out)) != out) {
    fail(value.position, "the value is not UTF-8; write every byte of a character as %XX");
  }
  return out;
}

std::u16string encode(std::string_view value) {
  std::u16string out;
  for (const char16_t unit : toUtf16(value)) {
    if (unit == u'&') {
      out += u"%26";
    } else if (unit == u'%') {
      out += u"%25";
    } else if (unit == u'#') {
      out += u"%23";
    } else {
      out += unit;
    }
  }
  return out;
}

// Without its blanks, the beginning of a connection string of which "odbc:" is misspelled. It would
// be taken for a file with a password in its name.
bool looksLikeOdbc(std::string_view database) {
  std::string start;
  for (const char c : database.substr(0, 2 * kOdbc.size())) {
    if (c != ' ') start += toLowerAscii(c);
  }
  return start.starts_with("odbc:") || start.starts_with("odbc;") || start.starts_with("odbc=");
}

void readDatabase(ConnectionString& out, const Value& value) {
  out.database = decode(value);
  if (out.database.empty()) fail(value.position, "db is empty; name the company database's file");
  if (!odbcConnection(out.database) && looksLikeOdbc(out.database)) {
    fail(value.position, "db begins nearly like an ODBC connection; write odbc: without blanks");
  }
  // The place is that in the text as given, since no other value is replaced.
  if (odbcConnection(out.database)) {
    out.shown.replace(value.position, value.raw.size(), encode(databaseName(out.database)));
  }
}

// The key is called engine, but it selects the dialect of the statements.
void readEngine(ConnectionString& out, const Value& value) {
  if (const auto serverType = serverTypeNamed(toUtf8(value.raw))) {
    out.dbServerType = *serverType;
    return;
  }
  fail(value.position,
       "unknown engine " + quoted(value.raw) + "; write mssql, sybase, db2 or kordb");
}

void readLanguage(ConnectionString& out, const Value& value) {
  out.language = languageFromText(value.raw);
  if (out.language == 0) {
    fail(value.position, "unknown language " + quoted(value.raw) +
                             "; write a number of the client such as 3, or a name such as en or "
                             "pt-BR");
  }
}

void readAppId(ConnectionString& out, const Value& value) {
  const auto number = naturalNumber(value.raw);
  if (!number) {
    fail(value.position, "appid is no number from 0 to 999999999: " + quoted(value.raw));
  }
  out.appId = *number;
}

void readUser(ConnectionString& out, const Value& value) { out.userName = toUtf16(decode(value)); }

void readCompany(ConnectionString& out, const Value& value) {
  out.companyName = toUtf16(decode(value));
}

void readPlay(ConnectionString& out, const Value& value) {
  out.playFile = decode(value);
  if (out.playFile.empty()) fail(value.position, "play is empty; name a file or leave the key out");
}

// The server knows what an address is.
void readWeb(ConnectionString& out, const Value& value) {
  out.webAddress = decode(value);
  if (out.webAddress.empty()) {
    fail(value.position, "web is empty; write an address such as 127.0.0.1:0 or leave the key out");
  }
}

bool readChoice(const Value& value, std::string_view key, std::u16string_view no,
                std::u16string_view yes) {
  if (value.raw == yes) return true;
  if (value.raw != no) {
    fail(value.position, std::string(key) + " is neither " + toUtf8(no) + " nor " + toUtf8(yes) +
                             ": " + quoted(value.raw));
  }
  return false;
}

void readBoxes(ConnectionString& out, const Value& value) {
  out.refuseUnattendedBoxes = readChoice(value, "boxes", u"default", u"refuse");
}

void readStatements(ConnectionString& out, const Value& value) {
  out.keepsStatements = !readChoice(value, "statements", u"kept", u"fresh");
}

// Below this SQLite cannot open a company of some size.
constexpr long kLeastMegabytes = 16;
constexpr long kMostMegabytes = 1'000'000;

void readMemory(ConnectionString& out, const Value& value) {
  const auto megabytes = naturalNumber(value.raw);
  if (!megabytes || *megabytes < kLeastMegabytes || *megabytes > kMostMegabytes) {
    fail(value.position,
         "memory is no number of megabytes from 16 to 1000000: " + quoted(value.raw));
  }
  out.memoryMegabytes = *megabytes;
}

void readProgress(ConnectionString& out, const Value& value) {
  out.sharedProgressBar = readChoice(value, "progress", u"own", u"shared");
}

void readAccept(ConnectionString& out, const Value& value) {
  out.acceptBrackets = readChoice(value, "accept", u"own", u"brackets");
}

void readPasswordPlace(ConnectionString& out, const Value& value) {
  out.password = decode(value);
  out.passwordAt = value.position;
}

struct Key {
  std::u16string_view name;
  void (*read)(ConnectionString&, const Value&);
};

constexpr Key kKeys[] = {{u"db", readDatabase},           {u"engine", readEngine},
                         {u"accept", readAccept},         {u"language", readLanguage},
                         {u"appid", readAppId},           {u"user", readUser},
                         {u"company", readCompany},       {u"play", readPlay},
                         {u"boxes", readBoxes},           {u"progress", readProgress},
                         {u"statements", readStatements}, {u"password", readPasswordPlace},
                         {u"memory", readMemory},         {u"web", readWeb}};

// An "&" in a password ends the value of db, so that what follows looks like a key. It is not shown
// then.
[[noreturn]] void failAfterSecret(std::size_t position) {
  fail(position,
       "this is no key; in a password write %26 for &, or name the place of the password");
}

void readPair(ConnectionString& out, std::set<std::u16string_view>& seen, std::size_t position,
              std::u16string_view pair) {
  const std::size_t equals = pair.find(u'=');
  const std::u16string_view name = pair.substr(0, equals);
  const bool afterSecret = namesSecret(out.database);
  if (equals == std::u16string_view::npos) {
    if (afterSecret) failAfterSecret(position);
    fail(position, "the key " + quoted(name) + " has no value; write key=value");
  }
  for (const Key& key : kKeys) {
    if (key.name != name) continue;
    if (!seen.insert(name).second) fail(position, "the key " + quoted(name) + " is given twice");
    return key.read(out, Value{position + equals + 1, pair.substr(equals + 1)});
  }
  if (afterSecret) failAfterSecret(position);
  fail(position, "unknown key " + quoted(name) +
                     "; the keys are db, engine, accept, language, appid, user, password, company, "
                     "play, web, boxes, progress, memory and statements");
}

// Returns the place of the first key.
std::size_t skipScheme(std::u16string_view text) {
  if (!text.starts_with(kScheme)) {
    fail(0,
         "unknown scheme " + quoted(text.substr(0, text.find(u':'))) + "; write embedded:?db=FILE");
  }
  if (text.substr(kScheme.size()).starts_with(u'?')) return kScheme.size() + 1;
  fail(kScheme.size(), "a question mark must follow the scheme; write embedded:?db=FILE");
}

// Called at the end, since db may follow the key.
void addPassword(ConnectionString& out, const PasswordReader& read) {
  if (!odbcConnection(out.database)) {
    fail(out.passwordAt, "db is a file and has no password; leave the key out, or write db=odbc:");
  }
  if (namesSecret(out.database)) {
    fail(out.passwordAt, "db gives a password, too; leave that out");
  }
  try {
    out.database = withPassword(out.database, read(out.password));
  } catch (const PasswordSourceError& error) {
    fail(out.passwordAt, std::string("the password ") + error.what());
  }
}

}  // namespace

ConnectionStringError::ConnectionStringError(std::size_t position, const std::string& sentence)
    : std::runtime_error("connection string, character " + std::to_string(position + 1) + ": " +
                         sentence),
      position_(position) {}

HvLanguages languageFromText(std::u16string_view text) {
  // A text of digits is a number and never a name.
  const auto number = naturalNumber(text);
  const std::u16string name = toLower(text);
  for (const Language& language : kLanguages) {
    if (number ? *number == language.language : name == language.name) return language.language;
  }
  return static_cast<HvLanguages>(0);
}

std::u16string_view languageTag(HvLanguages language) {
  for (const Language& known : kLanguages) {
    if (known.language == language) return known.name;
  }
  return u"en";
}

ConnectionString parseConnectionString(std::u16string_view text, const PasswordReader& password) {
  ConnectionString out;
  out.shown = text;
  std::set<std::u16string_view> seen;
  std::size_t at = skipScheme(text);
  while (at < text.size()) {
    const std::u16string_view pair = text.substr(at, text.find(u'&', at) - at);
    readPair(out, seen, at, pair);
    at += pair.size() + 1;
  }
  if (!seen.contains(u"db")) {
    // At the end, where the key could be added.
    fail(text.size(), "the key db is missing; write embedded:?db=FILE");
  }
  if (seen.contains(u"password")) addPassword(out, password);
  return out;
}

}  // namespace qx::desk
