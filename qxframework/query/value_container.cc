#include "qxframework/query/value_container.h"

namespace Persistence {

CQXValueContainer::~CQXValueContainer() = default;

}  // namespace Persistence
