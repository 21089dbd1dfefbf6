#pragma once

// The names and sentences of result codes: those of the host's UI library, of its database library
// and of the framework itself. This is the one place where the host's error numbers are written
// out.

#include "qxframework/automation/types.h"

#include <string>
#include <string_view>

inline constexpr HRESULT QX_E_DATABASE = qx::resultCode(0x80040500);
inline constexpr HRESULT QX_E_CONNECTION = qx::resultCode(0x80040501);
inline constexpr HRESULT QX_E_SOFTWARE_UPDATE = qx::resultCode(0x80040502);
inline constexpr HRESULT QX_E_UPGRADE_RUNNING = qx::resultCode(0x80040503);

namespace qx {

/// The symbolic name of a code, or an empty text. The code is taken as a 32-bit value.
QX_API std::u16string_view resultName(HRESULT code);
/// The sentence for a code, or an empty text.
QX_API std::u16string_view resultSentence(HRESULT code);
/// The symbolic name, else "0x%08X" of the code.
QX_API std::u16string resultText(HRESULT code);
/// The sentence, else "Unknown error (%d, 0x%08X)" with the code twice.
QX_API std::u16string errorText(HRESULT code);

}  // namespace qx
