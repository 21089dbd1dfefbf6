#pragma once

// Applies an `Application` document, which holds actions on menus and on forms:
//
//     <Application>
//       <Menus><action type="add|update|remove"><Menu UniqueID=".." FatherUID=".." Type="1"
//         String=".." Checked="0" Enabled="1" Image="" Position="2"/></action></Menus>
//       <forms><action type="add|update|remove"><form uid="..">...</form></action></forms>
//     </Application>
//
// The case of element and attribute names does not matter. Entries are independent: those without
// an error are applied, and the report lists the errors of the others. A new form is opened only if
// nothing in it is wrong.

#include "qxdesk/screens/model/desk.h"

#include <string_view>

namespace qx::screens {

/// Returns 0 or the negative code of the first error, and writes the report to
/// desk.lastBatchResults.
HRESULT applyBatch(Desk& desk, std::u16string_view xml);

}  // namespace qx::screens
