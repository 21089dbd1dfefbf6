#pragma once

// The two outputs that need no host: the developer trace, and the system's message box for errors
// that occur before a host is connected that could show them.

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

/// Passes `text` to the developer trace unchanged. Null is an empty text.
QX_API void OutputDebugStringW(const OLECHAR* text);

/// Shows `text` under `caption` (null: "Error") and returns IDOK. Without a sink it prints the line
/// "caption: text" on the standard error stream; a sink gets `flags`, the kind of message, as well.
QX_API int MessageBoxW(HWND owner, const OLECHAR* text, const OLECHAR* caption, UINT flags);

namespace qx {

/// Receives the messages of MessageBoxW(), from any thread. Must not throw.
using MessageBoxSink = void (*)(std::u16string_view text, std::u16string_view caption, UINT flags);

/// Sets the sink and returns the previous one. Null, in both directions, is the standard error
/// stream.
QX_API MessageBoxSink setMessageBoxSink(MessageBoxSink sink);

}  // namespace qx
