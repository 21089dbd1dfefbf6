#pragma once

// Identities of the host's classes and interfaces. They are frozen: an installed host and an
// installed add-on find each other by them.

#include "qxframework/automation/types.h"

namespace qx {

/// The family of identities of the host; `number` tells them apart.
constexpr GUID hostId(std::uint16_t number) {
  return GUID{0x6D1F0A52, number, 0x4E5B, {0x9C, 0x37, 0x2B, 0x80, 0xD4, 0x61, 0xEA, 0x15}};
}

}  // namespace qx

/// The entry object of the UI side.
inline constexpr CLSID CLSID_HalvexGuiApi = qx::hostId(0x0001);
/// The application object; it is never created by this id, but its place is looked up by it.
inline constexpr CLSID CLSID_HalvexApplication = qx::hostId(0x0002);
/// The company object.
inline constexpr CLSID CLSID_HalvexCompany = qx::hostId(0x0003);
inline constexpr OLECHAR kCompanyProgId[] = u"HalvexRXCOM.Company";
/// The dispatch interface of the events.
inline constexpr IID DIID_IApplicationEvents = qx::hostId(0x0010);
