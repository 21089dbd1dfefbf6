#pragma once

// The failures of a database as a company reports them: the sentence for users, and the number by
// which code tells the reasons apart.

#include "qxdesk/engines/company_error.h"
#include "qxdesk/engines/database.h"
#include "qxframework/host/company_sharing.h"

namespace qx::desk {

/// Returns the sentence for a fault; Text::EngineMessage if the engine's own message says it best.
Text textOf(Fault fault);

/// Returns the number of a fault, or of a failure with this sentence, for GetLastFault.
CompanyFault companyFaultOf(Fault fault);
CompanyFault companyFaultOf(Text text);

}  // namespace qx::desk
