#include "qxframework/cache/internal/row_bytes.h"

namespace qx {
namespace {

using Persistence::TyFieldValues;

// What the memory manager adds to each piece, and the links of an element of a map.
constexpr long long kPiece = 16;
constexpr long long kMapLinks = 32;
constexpr long long kLengthAndEnd = 6;  // around the units of a text

long long textBytes(std::u16string_view text) {
  return kPiece + kLengthAndEnd + static_cast<long long>(text.size() * sizeof(OLECHAR));
}

// Names are held twice: by position and as the keys of a map.
long long bytesOf(const TyFieldValues& values) {
  constexpr long long kPerField = kPiece + kMapLinks + 2 * sizeof(CComBSTR) + sizeof(CComVariant) +
                                  sizeof(long) + sizeof(void*);
  long long bytes = sizeof(TyFieldValues) + 2 * kPiece;
  for (long i = 0; i < values.GetCount(); ++i) {
    const CComVariant& value = values.valueAt(i);
    bytes += kPerField + 2 * textBytes(values.keyAt(i).View());
    if (value.vt == VT_BSTR) bytes += textBytes(viewOfBstr(value.bstrVal));
  }
  return bytes;
}

}  // namespace

long long bytesOf(const Persistence::TyRowsByKey& rows) {
  long long bytes = 0;
  for (const auto& [key, row] : rows) {
    bytes += kPiece + kMapLinks + bytesOf(key) + kPiece + sizeof(row) + bytesOf(row->m_KeyFields) +
             bytesOf(row->m_Fields);
  }
  return bytes;
}

long long bytesOf(const std::map<Persistence::TyFieldValues,
                                 qx_ptr<Persistence::TyVector_KeyCollection>>& lists) {
  long long bytes = 0;
  for (const auto& [value, keys] : lists) {
    bytes += kPiece + kMapLinks + bytesOf(value) + 2 * kPiece + sizeof(*keys);
    for (const TyFieldValues& key : *keys) bytes += bytesOf(key);
  }
  return bytes;
}

}  // namespace qx
