#pragma once

// The texts that go to pages, in UTF-8, as docs/web-protocol.md describes them.

#include "qxdesk/screens/browser/page_message.h"

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <string>
#include <string_view>

namespace qx::screens {

std::string stateText(std::uint64_t number, const nlohmann::json& state);
std::string patchText(std::uint64_t number, const nlohmann::json& operations);
std::string busyText(bool busy);
std::string byeText(std::string_view why);
std::string logText(std::string_view records);
std::string eventsText(const nlohmann::json& list);
std::string statementsText(const nlohmann::json& list);

std::string doneText(std::int64_t id);
std::string vetoedText(std::int64_t id);
std::string refusedText(std::int64_t id, long code, std::string_view why);
/// `request` is a message with the verb kRows.
std::string rowsText(const PageMessage& request, std::uint64_t revision,
                     const nlohmann::json& rows);

}  // namespace qx::screens
