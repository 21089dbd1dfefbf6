#include "qxframework/cache/internal/row_lookup.h"

#include "qxframework/cache/rows_in_cache.h"

#include <cmath>
#include <functional>
#include <iterator>
#include <limits>

namespace qx {
namespace {

using Persistence::CRowsInCache;
using Persistence::TyFieldValues;
using Persistence::TyKeysByValues;
using Persistence::TyRow;
using Persistence::TyVector_KeyCollection;

template <class Value>
void appendBytes(const Value& value, std::string& form) {
  form.append(reinterpret_cast<const char*>(&value), sizeof value);
}

// A real that is not a number is equal to nothing by its bytes, so the map has to decide.
bool appendReal(double value, std::string& form) {
  appendBytes(value, form);
  return !std::isnan(value);
}

bool appendForm(const VARIANT& value, std::string& form) {
  appendBytes(value.vt, form);
  switch (value.vt) {
    case VT_BSTR: {
      const std::u16string_view text = viewOfBstr(value.bstrVal);
      appendBytes(text.size(), form);
      form.append(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(char16_t));
      return true;
    }
    case VT_I2:
      appendBytes(value.iVal, form);
      return true;
    case VT_I4:
      appendBytes(value.lVal, form);
      return true;
    case VT_R8:
      return appendReal(value.dblVal, form);
    case VT_DATE:
      return appendReal(value.date, form);
    default:
      return false;
  }
}

/// Writes the exact form of the values. Returns false for a type that columns do not have; the
/// order of the map is enough for it.
bool writeForm(const TyFieldValues& values, std::string& form) {
  form.clear();
  for (long i = 0; i < values.GetCount(); ++i)
    if (!appendForm(values.valueAt(i), form)) return false;
  return true;
}

std::uint32_t hashOf(std::string_view form) {
  const std::size_t hash = std::hash<std::string_view>()(form);
  return static_cast<std::uint32_t>(hash ^ (hash >> 32));
}

}  // namespace

RowLookup::RowLookup(const TyKeysByValues& content)
    : entries_(content.size() + content.size() / 2 + 1) {
  for (const auto& [values, keys] : content)
    if (writeForm(values, form_)) add(keys);
}

// Two values of the content have different forms, since equal forms are equal values.
void RowLookup::add(const qx_ptr<TyVector_KeyCollection>& keys) {
  // Beyond 4 GB of forms the order of the map has to do.
  if (forms_.size() + form_.size() > std::numeric_limits<std::uint32_t>::max()) return;
  const std::uint32_t hash = hashOf(form_);
  Entry& entry = entryOf(form_, hash);
  entry.hash = hash;
  entry.formAt = static_cast<std::uint32_t>(forms_.size());
  entry.formSize = static_cast<std::uint32_t>(form_.size());
  entry.keys = keys;
  forms_ += form_;
  if (keys->size() < 2) return;
  others_.emplace_back();
  entry.others = static_cast<std::uint32_t>(others_.size());
}

/// Returns the entry of this form, or the free place where its search ends.
RowLookup::Entry& RowLookup::entryOf(std::string_view form, std::uint32_t hash) {
  // The hash as a part of all hashes, of all places.
  std::size_t place = (std::uint64_t{hash} * entries_.size()) >> 32;
  for (;;) {
    Entry& entry = entries_[place];
    if (entry.keys == nullptr) return entry;
    if (entry.hash == hash && formOf(entry) == form) return entry;
    if (++place == entries_.size()) place = 0;
  }
}

bool RowLookup::appendRows(const TyFieldValues& values, const CRowsInCache& cache, Rows& result) {
  if (!writeForm(values, form_)) return false;
  Entry& entry = entryOf(form_, hashOf(form_));
  if (entry.keys == nullptr) return false;
  const std::size_t before = result.size();
  const bool known = entry.version == cache.Version();
  if (!known) readRows(entry, cache);
  // The way to a value leads through pointers, each of which is known only when the one before has
  // been read.
  for (const void* place : entry.ahead) __builtin_prefetch(place);
  if (entry.first != nullptr) result.push_back(entry.first);
  if (const Rows* others = othersOf(entry))
    result.insert(result.end(), others->begin(), others->end());
  if (known) cache.CountFound(result.size() - before);
  return true;
}

void RowLookup::readRows(Entry& entry, const CRowsInCache& cache) {
  Rows rows;
  cache.AppendRows(*entry.keys, rows);
  entry.version = cache.Version();
  entry.first = rows.empty() ? qx_ptr<TyRow>() : rows.front();
  if (Rows* others = othersOf(entry))
    others->assign(rows.empty() ? rows.end() : std::next(rows.begin()), rows.end());
  if (entry.first == nullptr) return;
  const std::array<const void*, 2> memory = entry.first->m_Fields.memory();
  entry.ahead = {entry.first.get(), memory[0], memory[1]};
}

}  // namespace qx
