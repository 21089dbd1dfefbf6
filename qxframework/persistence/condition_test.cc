#include "qxframework/persistence/condition.h"
