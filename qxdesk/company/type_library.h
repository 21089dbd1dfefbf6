#pragma once

// What the company object tells of its library: a version, which the start report of an add-on
// reads.

#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/type_info.h"

namespace qx::desk {

inline constexpr WORD kCompanyMajorVersion = 9;
inline constexpr WORD kCompanyMinorVersion = 20;

CComPtr<ITypeInfo> companyTypeInfo();

}  // namespace qx::desk
