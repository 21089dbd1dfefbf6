#pragma once

// Statements of an ODBC source. Rows come in batches of 100 into columns that are bound by their
// types; a text that is longer than its place is fetched again in full. Where the driver cannot
// read single cells of a batch, rows with texts come one by one: not every engine holds its texts
// to the length that it tells.
//
// Of a batch of statements the first result with columns counts; the others are run through for
// their failures.

#include "qxdesk/engines/odbc_connection.h"

#include <memory>
#include <string_view>

namespace qx::desk {

/// `sql` in the engine's own form, of which the driver is told to leave braces alone. It runs at
/// the first step(). The connection must outlive it.
std::unique_ptr<Statement> makeOdbcStatement(OdbcConnection& connection, std::string_view sql);

}  // namespace qx::desk
