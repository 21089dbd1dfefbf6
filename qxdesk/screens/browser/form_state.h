#pragma once

// The part of a form in the state of the desk.

#include "qxdesk/screens/model/form_model.h"

#include <nlohmann/json_fwd.hpp>

namespace qx::screens {

/// Returns the part with the form's items; the rows of its matrices are not in it.
nlohmann::json formState(const FormModel& form);

}  // namespace qx::screens
