#pragma once

// The two ways to tell something outside the host's screens: the debugger's channel, which a
// developer reads, and the system's message box, which a user sees while there is no host yet that
// could show one.

#include "qxframework/automation/developer_trace.h"
#include "qxframework/automation/export.h"
#include "qxframework/automation/types.h"
#include "qxframework/os/window_handle.h"

#include <string_view>

inline constexpr UINT MB_OK = 0x0;
inline constexpr UINT MB_ICONERROR = 0x10;
inline constexpr UINT MB_ICONWARNING = 0x30;
inline constexpr UINT MB_ICONINFORMATION = 0x40;
inline constexpr int IDOK = 1;

/// Hands `text` to the developer trace as it is; null is an empty text.
QX_API void OutputDebugStringW(const OLECHAR* text);

/// Shows `text` under `caption` (null: "Error") and returns IDOK: as the line "caption: text" on
/// the standard error stream, or through the sink that was set. `flags` say the kind of message.
QX_API int MessageBoxW(HWND owner, const OLECHAR* text, const OLECHAR* caption, UINT flags);

namespace qx {

/// Takes the messages of MessageBoxW(); it may be called from any thread and must not raise.
using MessageBoxSink = void (*)(std::u16string_view text, std::u16string_view caption, UINT flags);

/// Replaces the sink, null for the standard one. The result is the one before, null if standard.
QX_API MessageBoxSink setMessageBoxSink(MessageBoxSink sink);

}  // namespace qx
