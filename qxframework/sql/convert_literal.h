#pragma once

#include "qxframework/automation/bstr.h"

namespace qx {

/// Returns "CONVERT(datetime,N'20240131',112)" for the text 20240131: the date literal of MSSQL and
/// Sybase. A text that is longer than "CONVERT" and begins with it is returned unchanged.
CComBSTR convertLiteral(CComBSTR text, bool national);

}  // namespace qx
