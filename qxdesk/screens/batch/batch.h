#pragma once

// Applies an `Application` document: actions on menus and on forms.
//
//     <Application>
//       <Menus><action type="add|update|remove"><Menu UniqueID=".." FatherUID=".." Type="1"
//         String=".." Checked="0" Enabled="1" Image="" Position="2"/></action></Menus>
//       <forms><action type="add|update|remove"><form uid="..">...</form></action></forms>
//     </Application>
//
// Element and attribute names count without case. Every entry stands alone: what can be applied is
// applied, and the report tells of the others. A form to be added is opened only when nothing in it
// is wrong.

#include "qxdesk/screens/model/desk.h"

#include <string_view>

namespace qx::screens {

/// 0, or the negative code of the first error; the report is left in desk.lastBatchResults.
HRESULT applyBatch(Desk& desk, std::u16string_view xml);

}  // namespace qx::screens
