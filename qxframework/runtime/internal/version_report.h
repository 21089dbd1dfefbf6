#pragma once

template <class T>
class CReturnValue;

namespace qx {

/// Logs the versions and places of the host's libraries, of the framework and of the add-on. It
/// never fails its caller.
void reportVersions(CReturnValue<long>& log, long appId);

}  // namespace qx
