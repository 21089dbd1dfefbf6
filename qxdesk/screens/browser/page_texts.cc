#include "qxdesk/screens/browser/page_texts.h"

#include "qxframework/automation/text.h"

#include <nlohmann/json.hpp>

#include <utility>

namespace qx::screens {
namespace {

using nlohmann::json;

json message(const char* kind) {
  json out = json::object();
  out["is"] = kind;
  return out;
}

// What is no UTF-8 is replaced: a text from outside must not end the conversation.
std::string written(const json& value) {
  return value.dump(-1, ' ', false, json::error_handler_t::replace);
}

std::string withList(const char* kind, const json& list) {
  json out = message(kind);
  out["list"] = list;
  return written(out);
}

json reply(std::int64_t id, const char* result) {
  json out = message("reply");
  out["re"] = id;
  out["result"] = result;
  return out;
}

}  // namespace

std::string stateText(std::uint64_t number, const json& state) {
  json out = message("state");
  out["number"] = number;
  out["state"] = state;
  return written(out);
}

std::string patchText(std::uint64_t number, const json& operations) {
  json out = message("patch");
  out["number"] = number;
  out["ops"] = operations;
  return written(out);
}

std::string busyText(bool busy) {
  json out = message("busy");
  out["busy"] = busy;
  return written(out);
}

std::string byeText(std::string_view why) {
  json out = message("bye");
  out["why"] = why;
  return written(out);
}

std::string logText(std::string_view records) {
  json out = message("log");
  out["text"] = records;
  return written(out);
}

std::string eventsText(const json& list) { return withList("events", list); }

std::string statementsText(const json& list) { return withList("statements", list); }

std::string doneText(std::int64_t id) { return written(reply(id, "done")); }

std::string vetoedText(std::int64_t id) { return written(reply(id, "vetoed")); }

std::string refusedText(std::int64_t id, long code, std::string_view why) {
  json out = reply(id, "refused");
  out["code"] = code;
  out["why"] = why;
  return written(out);
}

std::string rowsText(const PageMessage& request, std::uint64_t revision, const json& rows) {
  json out = message("rows");
  if (request.id) out["re"] = *request.id;
  out["form"] = toUtf8(request.form);
  out["item"] = toUtf8(request.item);
  out["revision"] = revision;
  out["from"] = request.from;
  out["rows"] = rows;
  return written(out);
}

}  // namespace qx::screens
