#pragma once

// Performs on the desk what a page asks for. Every check of the page is made again: the user of a
// browser reaches what a user in front of the desk reaches, and nothing else.

#include "qxdesk/screens/browser/page_message.h"
#include "qxdesk/screens/model/desk.h"

#include <string>

namespace qx::screens {

/// The outcome of an action.
struct PageOutcome {
  enum class Result { kDone, kVetoed, kRefused };
  Result result = Result::kDone;
  long code = 0;    ///< of a refusal
  std::string why;  ///< a sentence, without texts of the engine, paths or connection strings
};

/// Returns the refusal with one of the host's codes.
PageOutcome refusal(long code);

/// Performs an action other than kAnswer, kRows and kPanel. Its events are delivered meanwhile, and
/// a message box may be open during the call.
PageOutcome performPageAction(Desk& desk, const PageMessage& message);

/// Returns the text that answers a message with the verb kRows: the rows or, if it has an id, the
/// reply that refuses it. Returns an empty text for a refusal without an id.
std::string answerRows(const Desk& desk, const PageMessage& message);

/// The most rows that are given at once.
inline constexpr long kMostPageRows = 500;

}  // namespace qx::screens
