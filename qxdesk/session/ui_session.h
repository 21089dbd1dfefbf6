#pragma once

// The private road from the company object to the client that it is attached to. The application
// object answers for it; nobody else needs it.

#include "qxframework/automation/types.h"
#include "qxframework/host/ids.h"

namespace qx::desk {

class IUiSession : public IUnknown {
 public:
  static constexpr GUID kIid = hostId(0x0201);
  /// The login context for `cookie`, as encodeLoginContext writes it: which database the client is
  /// logged in to. Fails when the client has no company open.
  virtual HRESULT GetLoginContext(BSTR cookie, BSTR* out) = 0;

 protected:
  ~IUiSession() = default;
};

}  // namespace qx::desk
