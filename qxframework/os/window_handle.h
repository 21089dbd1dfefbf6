#pragma once

// The type of window handles, for headers that only pass them on.

struct HWND__;
/// An opaque handle of a message window, or null. It contains the id of its process.
using HWND = HWND__*;
