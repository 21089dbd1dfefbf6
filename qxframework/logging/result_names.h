#pragma once

// The names and sentences of result codes: of the host's user-interface library, of its database
// library and of the framework. All host error numbers are listed here.

#include "qxframework/automation/types.h"

#include <string>
#include <string_view>

/// Codes with which the framework itself ends the start of an add-on.
inline constexpr HRESULT QX_E_DATABASE = qx::resultCode(0x80040500);
inline constexpr HRESULT QX_E_CONNECTION = qx::resultCode(0x80040501);
inline constexpr HRESULT QX_E_SOFTWARE_UPDATE = qx::resultCode(0x80040502);
inline constexpr HRESULT QX_E_UPGRADE_RUNNING = qx::resultCode(0x80040503);

namespace qx {

/// Returns the symbolic name of a code; empty if it has none. Here and below a code counts as a
/// 32-bit value, and texts without a copy live as long as the program.
QX_API std::u16string_view resultName(HRESULT code);
/// Returns the message with which a scope leaves, "Leaving function [S_OK]\n" for 0, as a BSTR that
/// lives as long as the program and must not be changed; null if the code has no name.
QX_API BSTR leavingMessage(HRESULT code);
/// Returns the English sentence for a code of the host or the framework; empty if it has none.
QX_API std::u16string_view resultSentence(HRESULT code);
/// Returns the symbolic name, or "0x%08X" of the code.
QX_API std::u16string resultText(HRESULT code);
/// Returns the system's sentence for a standard code, such as "Invalid pointer (%d, 0x%08X)" with
/// the code twice; else the sentence of the host or the framework; else "Unknown error (…)"
/// likewise. For a class that is not registered it also says what is wrong with the registry file.
QX_API std::u16string errorText(HRESULT code);

}  // namespace qx
