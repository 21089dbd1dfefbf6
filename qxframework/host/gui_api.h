#pragma once

// The first object of the UI side: it takes the connection string and gives the application.

#include "qxframework/automation/host_call.h"
#include "qxframework/automation/variant.h"
#include "qxframework/host/application.h"
#include "qxframework/host/enums.h"
#include "qxframework/host/ids.h"

/// The class HalvexGuiApi.
class IHalvexGuiApi : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0101);
  /// 0 connected, 1 and others are refusals.
  virtual HRESULT raw_Connect(BSTR connection, long* out) = 0;
  /// `which` is always -1.
  virtual HRESULT raw_GetApplication(long which, IApplication** out) = 0;
  /// Called before Connect.
  virtual HRESULT raw_PutAddOnIdentifier(BSTR identifier) = 0;

  long Connect(const CComBSTR& connection) {
    return qx::getValue<long>(this, &IHalvexGuiApi::raw_Connect, connection.m_str);
  }
  CComPtr<IApplication> GetApplication(long which) {
    return qx::getObject<IApplication>(this, &IHalvexGuiApi::raw_GetApplication, which);
  }
  HRESULT PutAddOnIdentifier(const CComBSTR& identifier) {
    return qx::call(this, &IHalvexGuiApi::raw_PutAddOnIdentifier, identifier.m_str);
  }

 protected:
  ~IHalvexGuiApi() = default;
};
