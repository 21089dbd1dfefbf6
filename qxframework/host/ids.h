#pragma once

// Identities of the host's classes and interfaces. They are frozen: an installed host and an
// installed add-on find each other by them.

#include "qxframework/automation/types.h"

namespace qx {

/// Returns the identity number `number` of the host's family of class, interface and library ids.
constexpr GUID hostId(std::uint16_t number) {
  return GUID{0x6D1F0A52, number, 0x4E5B, {0x9C, 0x37, 0x2B, 0x80, 0xD4, 0x61, 0xEA, 0x15}};
}

}  // namespace qx

/// The class of IHalvexGuiApi, the first object of the user-interface half.
inline constexpr CLSID CLSID_HalvexGuiApi = qx::hostId(0x0001);
/// The class of the application object. It is never created by this id; its component is looked up
/// by it, for the version report.
inline constexpr CLSID CLSID_HalvexApplication = qx::hostId(0x0002);
/// The class of ICompany, the company database.
inline constexpr CLSID CLSID_HalvexCompany = qx::hostId(0x0003);
/// The name under which the same class is registered.
inline constexpr OLECHAR kCompanyProgId[] = u"HalvexRXCOM.Company";
/// The dispatch interface of the client's events: the connection point of the application object.
inline constexpr IID DIID_IApplicationEvents = qx::hostId(0x0010);
