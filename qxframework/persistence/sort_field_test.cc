#include "qxframework/persistence/sort_field.h"
