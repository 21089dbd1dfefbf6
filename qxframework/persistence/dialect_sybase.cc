#include "qxframework/persistence/dialect_sybase.h"

namespace qx {

std::u16string SybaseDialect::limitBehind(long, bool sorted) { return sorted ? u"" : u" "; }

}  // namespace qx
