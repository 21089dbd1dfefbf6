#pragma once

// Event connections. An object that fires events is a container of connection points, one for each
// event interface. A sink is attached to a connection point and detached with the cookie that the
// attachment returned.

#include "qxframework/automation/types.h"

/// The place at which sinks of one event interface are attached.
class IConnectionPoint : public IUnknown {
 public:
  static constexpr GUID kIid{
      0xB196B286, 0xBAB4, 0x101A, {0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07}};
  /// Stores the id of the event interface.
  virtual HRESULT GetConnectionInterface(IID* iid) = 0;
  /// Attaches `sink` and stores the cookie that detaches it.
  virtual HRESULT Advise(IUnknown* sink, DWORD* cookie) = 0;
  /// Detaches the sink of `cookie`.
  virtual HRESULT Unadvise(DWORD cookie) = 0;

 protected:
  ~IConnectionPoint() = default;
};

/// The side of an object that hands out its connection points.
class IConnectionPointContainer : public IUnknown {
 public:
  static constexpr GUID kIid{
      0xB196B284, 0xBAB4, 0x101A, {0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07}};
  /// Stores the connection point of the event interface `iid`.
  virtual HRESULT FindConnectionPoint(REFIID iid, IConnectionPoint** out) = 0;

 protected:
  ~IConnectionPointContainer() = default;
};
