#pragma once

// The record set of a scripted company: named columns, and a cursor that goes before the first row
// and after the last. Its moves are recorded as "Recordset.MoveNext" and so on.

#include "testing/scripted_company.h"

namespace qx::test {

/// Creates a record set that shows `rows` until its first statement. It holds a reference to the
/// company.
CComPtr<IRecordset> makeRecordset(ScriptedCompany& company, ScriptedRows rows);

}  // namespace qx::test
