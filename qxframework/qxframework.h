#pragma once

// All that a usual add-on needs. Code that needs less includes the single headers.

#include "qxframework/automation/text.h"
#include "qxframework/dbdef/db_def.h"
#include "qxframework/dbdef/qx_util.h"
#include "qxframework/foundation/currency.h"
#include "qxframework/foundation/date_time.h"
#include "qxframework/foundation/qx_bstr.h"
#include "qxframework/foundation/time_stamp.h"
#include "qxframework/foundation/version.h"
#include "qxframework/logging/function_log.h"
#include "qxframework/os/message_loop.h"
#include "qxframework/resources/resource_loader.h"
#include "qxframework/runtime/addon.h"
#include "qxframework/runtime/addon_form.h"
#include "qxframework/runtime/qx_idispatch.h"
