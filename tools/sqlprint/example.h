#pragma once

namespace qx::sqlprint {

/// A complete file with a statement of each kind, which works.
extern const char* const kExample;

/// The form of a file, for the help text.
extern const char* const kForm;

}  // namespace qx::sqlprint
