#include "qxframework/persistence/internal/dialect_sybase.h"

namespace qx {

std::u16string SybaseDialect::limitBehind(std::int32_t, bool sorted) { return sorted ? u"" : u" "; }

}  // namespace qx
