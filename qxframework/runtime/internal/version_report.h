#pragma once

template <class T>
class CReturnValue;

namespace qx {

/// Logs the versions and paths of the host's libraries, of the framework and of the add-on. Never
/// throws.
void reportVersions(CReturnValue<long>& log, long appId);

}  // namespace qx
