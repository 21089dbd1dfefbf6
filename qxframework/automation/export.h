#pragma once

// QX_API marks what libQXFramework.so exports; all else stays inside the library.
#define QX_API __attribute__((visibility("default")))
