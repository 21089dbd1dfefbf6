#pragma once

// The private interface by which the company object reaches the client that it is attached to. Only
// the application object implements it.

#include "qxframework/automation/types.h"
#include "qxframework/host/ids.h"

namespace qx::desk {

class IUiSession : public IUnknown {
 public:
  static constexpr GUID kIid = hostId(0x0201);
  /// Stores the login context for `cookie` as encodeLoginContext() writes it, which names the
  /// database that the client is logged in to. Fails if the client has no company open.
  virtual HRESULT GetLoginContext(BSTR cookie, BSTR* out) = 0;

 protected:
  ~IUiSession() = default;
};

}  // namespace qx::desk
