#include "qxframework/persistence/variant_order.h"
