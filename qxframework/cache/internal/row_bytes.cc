#include "qxframework/cache/internal/row_bytes.h"

namespace qx {
namespace {

using Persistence::TyFieldValues;
using Persistence::TyRow;

// What the memory manager adds to each piece, and the links of an element of a map.
constexpr long long kPiece = 16;
constexpr long long kMapLinks = 32;
constexpr long long kLengthAndEnd = 6;  // around the units of a text

long long textBytes(std::u16string_view text) {
  return kPiece + kLengthAndEnd + static_cast<long long>(text.size() * sizeof(OLECHAR));
}

// The names are those of all rows of a load, and a key has one copy of its values for all places.
constexpr long long kHolder = sizeof(TyFieldValues);

long long bytesOf(const TyFieldValues& values) {
  constexpr long long kCounts = 16;  // of the shared pointer
  long long bytes = 2 * kPiece + kCounts + 2 * sizeof(void*) + sizeof(std::vector<CComVariant>);
  for (long i = 0; i < values.GetCount(); ++i) {
    const CComVariant& value = values.valueAt(i);
    bytes += static_cast<long long>(sizeof(CComVariant));
    if (value.vt == VT_BSTR) bytes += textBytes(viewOfBstr(value.bstrVal));
  }
  return bytes;
}

}  // namespace

long long bytesOf(const Persistence::TyRowsByKey& rows) {
  long long bytes = 0;
  for (const auto& [key, row] : rows) {
    constexpr long long kRowCounts = 24;  // of the counted pointer
    bytes += kPiece + kMapLinks + kHolder + static_cast<long long>(sizeof(row)) + bytesOf(key) +
             2 * kPiece + kRowCounts + static_cast<long long>(sizeof(TyRow)) +
             bytesOf(row->m_Fields);
  }
  return bytes;
}

long long bytesOf(const std::map<Persistence::TyFieldValues,
                                 qx_ptr<Persistence::TyVector_KeyCollection>>& lists) {
  long long bytes = 0;
  for (const auto& [value, keys] : lists) {
    bytes += kPiece + kMapLinks + kHolder + bytesOf(value) + 2 * kPiece +
             static_cast<long long>(sizeof(*keys)) + kHolder * static_cast<long long>(keys->size());
  }
  return bytes;
}

}  // namespace qx
