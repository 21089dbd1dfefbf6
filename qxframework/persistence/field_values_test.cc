#include "qxframework/persistence/field_values.h"
