#pragma once

namespace qx::sqlprint {

/// A complete and valid file with a statement of each kind.
extern const char* const kExample;

/// The description of the file format in the help text.
extern const char* const kForm;

}  // namespace qx::sqlprint
