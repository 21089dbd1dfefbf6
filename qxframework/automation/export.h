#pragma once

// QX_API marks the symbols that libQXFramework.so exports. All others stay inside the library.

#define QX_API __attribute__((visibility("default")))
