#pragma once

// Statements of an ODBC source. Rows come in batches of 100 into columns that are bound by their
// types; a text that is longer than its place is fetched again in full. If the driver cannot read
// single cells of a batch, rows with texts come one by one, since not every engine keeps texts
// within the length that it reports.
//
// Of a batch of statements the first result with columns counts; the others are only checked for
// failures.

#include "qxdesk/engines/odbc_connection.h"

#include <memory>
#include <string_view>

namespace qx::desk {

/// Prepares a statement in the engine's own SQL; the driver is asked to leave its braces alone. It
/// runs with the first step(). Of a batch, so many results with columns are left out at first;
/// those of the statements after them count. The connection must outlive it.
std::unique_ptr<Statement> makeOdbcStatement(OdbcConnection& connection, std::string_view sql,
                                             int skippedResults = 0);
/// The same for a statement that runs many times: it is prepared on the server even if it has no
/// parameters.
std::unique_ptr<Statement> makeRepeatedOdbcStatement(OdbcConnection& connection,
                                                     std::string_view sql);

}  // namespace qx::desk
