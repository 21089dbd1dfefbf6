#pragma once

// All that a usual add-on needs. Code that needs less includes the single headers.

#include "qxframework/automation/text.h"
#include "qxframework/dbdef/db_def.h"
#include "qxframework/dbdef/qx_util.h"
#include "qxframework/foundation/qx_bstr.h"
#include "qxframework/foundation/version.h"
#include "qxframework/logging/function_log.h"
#include "qxframework/os/message_loop.h"
#include "qxframework/persistence/choose_list_helper.h"
#include "qxframework/persistence/collection_proxy.h"
#include "qxframework/persistence/condition.h"
#include "qxframework/persistence/field_values.h"
#include "qxframework/persistence/link_criteria.h"
#include "qxframework/persistence/object_proxy.h"
#include "qxframework/persistence/persistence_exception.h"
#include "qxframework/persistence/sort_field.h"
#include "qxframework/persistence/value_container.h"
#include "qxframework/resources/resource_loader.h"
#include "qxframework/runtime/addon.h"
#include "qxframework/runtime/addon_form.h"
#include "qxframework/runtime/qx_idispatch.h"
