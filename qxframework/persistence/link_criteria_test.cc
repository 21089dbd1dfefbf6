#include "qxframework/persistence/link_criteria.h"
