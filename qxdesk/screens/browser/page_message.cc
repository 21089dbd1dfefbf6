#include "qxdesk/screens/browser/page_message.h"

#include "qxframework/automation/text.h"

#include <nlohmann/json.hpp>

#include <map>
#include <span>
#include <utility>
#include <variant>

namespace qx::screens {
namespace {

using nlohmann::json;

// No verb has as many fields by far.
constexpr std::size_t kMostFields = 32;

// std::monostate is a value of a type that no field has.
using Value = std::variant<std::monostate, bool, std::int64_t, std::string>;
using Values = std::map<std::string, Value, std::less<>>;

// Takes the fields of a flat object as the parser finds them, so that a text which nests without
// end is refused at its second bracket and nothing of it is kept.
class FlatObject final : public nlohmann::json_sax<json> {
 public:
  Values values;

  bool null() override { return take({}); }
  bool boolean(bool value) override { return take(value); }
  bool number_integer(number_integer_t value) override { return take(value); }
  bool number_unsigned(number_unsigned_t value) override {
    // Larger ones wrap to numbers below 0, which no range has.
    return take(static_cast<std::int64_t>(value));
  }
  bool number_float(number_float_t, const string_t&) override { return take({}); }
  bool string(string_t& value) override { return take(std::move(value)); }
  bool binary(binary_t&) override { return false; }
  bool start_object(std::size_t) override { return !std::exchange(open_, true); }
  bool key(string_t& name) override {
    name_ = std::move(name);
    return values.size() < kMostFields && !values.contains(name_);
  }
  bool end_object() override { return true; }
  bool start_array(std::size_t) override { return false; }
  bool end_array() override { return false; }
  bool parse_error(std::size_t, const std::string&, const json::exception&) override {
    return false;
  }

 private:
  bool take(Value value) {
    if (!open_) return false;  // a value without an object around it
    return values.emplace(std::move(name_), std::move(value)).second;
  }

  bool open_ = false;
  std::string name_;
};

enum class Need { kRequired, kOptional };

struct Field {
  const char* name;
  std::variant<std::u16string PageMessage::*, std::int64_t PageMessage::*, bool PageMessage::*>
      member;
  Need need = Need::kRequired;
};

const Field kUid{"uid", &PageMessage::uid};
const Field kForm{"form", &PageMessage::form};
const Field kItem{"item", &PageMessage::item};
const Field kColumn{"column", &PageMessage::column, Need::kOptional};
const Field kRow{"row", &PageMessage::row, Need::kOptional};
const Field kCtrl{"ctrl", &PageMessage::ctrl, Need::kOptional};
const Field kShift{"shift", &PageMessage::shift, Need::kOptional};

struct Verb {
  std::string_view name;
  PageVerb verb;
  std::vector<Field> fields;
};

const std::vector<Verb>& verbs() {
  static const std::vector<Verb> all = {
      {"menu", PageVerb::kMenu, {kUid}},
      {"press", PageVerb::kPress, {kForm, kItem, kColumn, kRow, kCtrl, kShift}},
      {"double", PageVerb::kDouble, {kForm, kItem, kColumn, kRow}},
      {"key", PageVerb::kKey, {kForm, kItem, kColumn, kRow, {"key", &PageMessage::key}}},
      {"type", PageVerb::kType, {kForm, kItem, kColumn, kRow, {"text", &PageMessage::text}}},
      {"tab", PageVerb::kTab, {kForm, kShift}},
      {"validate", PageVerb::kValidate, {kForm, kItem}},
      {"choose", PageVerb::kChoose, {kForm, kItem, {"key", &PageMessage::text}}},
      {"right", PageVerb::kRight, {kForm, kItem}},
      {"select", PageVerb::kSelect, {kForm}},
      {"close", PageVerb::kClose, {kForm}},
      {"print", PageVerb::kPrint, {kForm}},
      {"report", PageVerb::kReport, {kForm}},
      {"move", PageVerb::kMove, {kForm, {"left", &PageMessage::left}, {"top", &PageMessage::top}}},
      {"answer", PageVerb::kAnswer, {{"box", &PageMessage::box}, {"button", &PageMessage::button}}},
      {"language", PageVerb::kLanguage, {{"language", &PageMessage::language}}},
      {"shutdown", PageVerb::kShutDown, {}},
      {"rows",
       PageVerb::kRows,
       {kForm, kItem, {"from", &PageMessage::from}, {"count", &PageMessage::count}}},
      {"panel", PageVerb::kPanel, {{"shown", &PageMessage::shown}}},
      {"stop", PageVerb::kStop, {{"progress", &PageMessage::progress}}},
  };
  return all;
}

const Verb* verbNamed(const Values& values) {
  const auto name = values.find("do");
  if (name == values.end()) return nullptr;
  const auto* text = std::get_if<std::string>(&name->second);
  if (text == nullptr) return nullptr;
  for (const Verb& verb : verbs()) {
    if (verb.name == *text) return &verb;
  }
  return nullptr;
}

// Moves a field into its member. Returns false if it is missing or has another type.
bool readField(const Field& field, const Values& values, PageMessage& out) {
  const auto found = values.find(field.name);
  if (found == values.end()) return field.need == Need::kOptional;
  return std::visit(
      [&]<class T>(T PageMessage::*member) {
        using Stored = std::conditional_t<std::is_same_v<T, std::u16string>, std::string, T>;
        const auto* value = std::get_if<Stored>(&found->second);
        if (value == nullptr) return false;
        if constexpr (std::is_same_v<T, std::u16string>) {
          out.*member = toUtf16(*value);
        } else {
          out.*member = *value;
        }
        return true;
      },
      field.member);
}

bool readId(const Values& values, PageMessage& out) {
  const auto found = values.find("id");
  if (found == values.end()) return true;
  const auto* value = std::get_if<std::int64_t>(&found->second);
  if (value != nullptr) out.id = *value;
  return value != nullptr;
}

}  // namespace

std::optional<PageMessage> readPageMessage(std::string_view utf8) {
  if (utf8.size() > kMostPageBytes) return std::nullopt;
  FlatObject object;
  if (!json::sax_parse(utf8, &object)) return std::nullopt;
  const Verb* const verb = verbNamed(object.values);
  if (verb == nullptr) return std::nullopt;
  PageMessage out;
  out.verb = verb->verb;
  if (!readId(object.values, out)) return std::nullopt;
  for (const Field& field : verb->fields) {
    if (!readField(field, object.values, out)) return std::nullopt;
  }
  return out;
}

}  // namespace qx::screens
