#pragma once

// How an object offers events: a container gives the connection point of an event interface, and a
// sink is attached to it until it is detached with the cookie it got.

#include "qxframework/automation/types.h"

class IConnectionPoint : public IUnknown {
 public:
  static constexpr GUID kIid{
      0xB196B286, 0xBAB4, 0x101A, {0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07}};
  virtual HRESULT GetConnectionInterface(IID* iid) = 0;
  virtual HRESULT Advise(IUnknown* sink, DWORD* cookie) = 0;
  virtual HRESULT Unadvise(DWORD cookie) = 0;

 protected:
  ~IConnectionPoint() = default;
};

class IConnectionPointContainer : public IUnknown {
 public:
  static constexpr GUID kIid{
      0xB196B284, 0xBAB4, 0x101A, {0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07}};
  virtual HRESULT FindConnectionPoint(REFIID iid, IConnectionPoint** out) = 0;

 protected:
  ~IConnectionPointContainer() = default;
};
