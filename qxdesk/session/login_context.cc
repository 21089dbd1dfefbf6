#include "qxdesk/session/login_context.h"

#include "qxframework/automation/ascii.h"
#include "qxframework/automation/format.h"
#include "qxframework/automation/text.h"

#include <cstdint>

namespace qx::desk {

namespace {

// This form is frozen, since client and add-on may be of different builds:
//   QXLC1|<checksum, 16 hex digits>|<n>:<field><n>:<field>…
// with n the length of a field in UTF-16 units. The fields are database, server type, language,
// user name and company name. Words follow for settings that differ from the usual ones; builds
// that do not know a word refuse the context. The checksum runs over the cookie and all fields. It
// detects changes and contexts for another cookie, but it is no cryptographic signature.
constexpr std::u16string_view kTag = u"QXLC1|";
constexpr std::size_t kChecksumDigits = 16;
constexpr std::size_t kMaxFieldDigits = 6;
constexpr std::u16string_view kBrackets = u"brackets";
constexpr std::u16string_view kFresh = u"fresh";
constexpr std::u16string_view kMemory = u"memory";

std::uint64_t mix(std::uint64_t hash, std::u16string_view text) {
  constexpr std::uint64_t kPrime = 0x00000100000001B3;  // FNV-1a
  for (const char16_t unit : text) {
    // Low byte first, whatever the byte order of the machine.
    hash = (hash ^ (unit & 0xFF)) * kPrime;
    hash = (hash ^ (unit >> 8)) * kPrime;
  }
  return hash;
}

std::u16string checksum(std::u16string_view cookie, std::u16string_view fields) {
  constexpr std::uint64_t kBasis = 0xCBF29CE484222325;
  // The length separates the two, so that no unit can move from one to the other unnoticed.
  std::uint64_t hash = mix(kBasis, cookie);
  hash = mix(hash, format(u"|%u|", static_cast<unsigned>(cookie.size())));
  hash = mix(hash, fields);
  return format(u"%08X%08X", static_cast<std::uint32_t>(hash >> 32),
                static_cast<std::uint32_t>(hash));
}

void appendField(std::u16string& fields, std::u16string_view field) {
  fields += format(u"%u:", static_cast<unsigned>(field.size()));
  fields += field;
}

// At most `maxDigits` digits, so that the value cannot overflow.
std::optional<long> number(std::u16string_view text, std::size_t maxDigits) {
  const bool negative = !text.empty() && text.front() == u'-';
  if (negative) text.remove_prefix(1);
  if (text.empty() || text.size() > maxDigits) return std::nullopt;
  long value = 0;
  for (const char16_t unit : text) {
    if (!isDigit(unit)) return std::nullopt;
    value = value * 10 + (unit - u'0');
  }
  return negative ? -value : value;
}

std::optional<std::u16string> takeField(std::u16string_view& rest) {
  const std::size_t colon = rest.find(u':');
  if (colon == std::u16string_view::npos) return std::nullopt;
  // By its length and not up to a separator, since a name may hold any character.
  const std::optional<long> length = number(rest.substr(0, colon), kMaxFieldDigits);
  rest.remove_prefix(colon + 1);
  if (!length || *length < 0 || static_cast<std::size_t>(*length) > rest.size()) {
    return std::nullopt;
  }
  std::u16string field(rest.substr(0, static_cast<std::size_t>(*length)));
  rest.remove_prefix(field.size());
  return field;
}

// Reads the words for settings. Returns false for an unknown one.
bool readWords(std::u16string_view rest, LoginTarget& target) {
  while (!rest.empty()) {
    const std::optional<std::u16string> word = takeField(rest);
    if (!word) return false;
    if (*word == kBrackets) {
      target.acceptBrackets = true;
    } else if (*word == kFresh) {
      target.keepsStatements = false;
    } else if (word->starts_with(kMemory)) {
      const auto megabytes = number(std::u16string_view(*word).substr(kMemory.size()), 9);
      if (!megabytes) return false;
      target.memoryMegabytes = *megabytes;
    } else {
      return false;
    }
  }
  return true;
}

std::optional<LoginTarget> readFields(std::u16string_view rest) {
  constexpr std::size_t kMaxNumberDigits = 9;
  std::optional<std::u16string> fields[5];
  for (auto& field : fields) {
    field = takeField(rest);
    if (!field) return std::nullopt;
  }
  const std::optional<long> serverType = number(*fields[1], kMaxNumberDigits);
  const std::optional<long> language = number(*fields[2], kMaxNumberDigits);
  if (!serverType || !language) return std::nullopt;
  LoginTarget target{toUtf8(*fields[0]), *serverType, static_cast<HvLanguages>(*language),
                     *fields[3], *fields[4]};
  if (!readWords(rest, target)) return std::nullopt;
  return target;
}

}  // namespace

std::u16string encodeLoginContext(const LoginTarget& target, std::u16string_view cookie) {
  std::u16string fields;
  appendField(fields, toUtf16(target.database));
  appendField(fields, format(u"%d", static_cast<int>(target.dbServerType)));
  appendField(fields, format(u"%d", static_cast<int>(target.language)));
  appendField(fields, target.userName);
  appendField(fields, target.companyName);
  if (target.acceptBrackets) appendField(fields, kBrackets);
  if (!target.keepsStatements) appendField(fields, kFresh);
  if (target.memoryMegabytes > 0) {
    appendField(fields,
                std::u16string(kMemory) + format(u"%d", static_cast<int>(target.memoryMegabytes)));
  }
  return std::u16string(kTag) + checksum(cookie, fields) + u"|" + fields;
}

std::optional<LoginTarget> decodeLoginContext(std::u16string_view context,
                                              std::u16string_view cookie) {
  if (!context.starts_with(kTag)) return std::nullopt;
  context.remove_prefix(kTag.size());
  if (context.size() <= kChecksumDigits || context[kChecksumDigits] != u'|') return std::nullopt;
  const std::u16string_view given = context.substr(0, kChecksumDigits);
  const std::u16string_view fields = context.substr(kChecksumDigits + 1);
  if (given != checksum(cookie, fields)) return std::nullopt;
  return readFields(fields);
}

}  // namespace qx::desk
