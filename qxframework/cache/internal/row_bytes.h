#pragma once

#include "qxframework/cache/db_record_cache.h"

namespace qx {

/// Returns about how many bytes the rows and the lists of keys take, with the memory manager's own
/// share. It walks all of them.
long long bytesOf(const Persistence::TyRowsByKey& rows);
long long bytesOf(
    const std::map<Persistence::TyFieldValues, qx_ptr<Persistence::TyVector_KeyCollection>>& lists);

}  // namespace qx
