#pragma once

struct HWND__;
/// An opaque message window; null is none. It carries the id of its process.
using HWND = HWND__*;
