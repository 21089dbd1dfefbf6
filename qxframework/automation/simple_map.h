#pragma once

// A small map for a few entries.

#include <utility>
#include <vector>

/// A map that is kept as an array in the order of insertion. Searches compare by `==` from the
/// front, so the first of two equal keys is found.
template <class Key, class Value>
class CSimpleMap {
 public:
  int GetSize() const { return static_cast<int>(m_entries.size()); }
  /// Appends an entry even if the key exists. Returns true.
  bool Add(const Key& key, const Value& value) {
    m_entries.emplace_back(key, value);
    return true;
  }
  /// Sets the value of the first entry with that key, or appends an entry. Returns true.
  bool SetAt(const Key& key, const Value& value) {
    const int index = FindKey(key);
    if (index < 0) return Add(key, value);
    m_entries[static_cast<std::size_t>(index)].second = value;
    return true;
  }
  /// Removes the first entry with that key. Returns false if there is none.
  bool Remove(const Key& key) {
    const int index = FindKey(key);
    if (index < 0) return false;
    m_entries.erase(m_entries.begin() + index);
    return true;
  }
  void RemoveAll() { m_entries.clear(); }
  /// Returns the index of the first entry with that key, -1 if there is none.
  int FindKey(const Key& key) const {
    for (std::size_t i = 0; i < m_entries.size(); ++i)
      if (m_entries[i].first == key) return static_cast<int>(i);
    return -1;
  }
  /// Returns the value of the first entry with that key, a default value if there is none.
  Value Lookup(const Key& key) const {
    const int index = FindKey(key);
    return index < 0 ? Value() : GetValueAt(index);
  }
  /// Return a part of the entry at `index`; throw std::out_of_range outside the map.
  const Key& GetKeyAt(int index) const {
    return m_entries.at(static_cast<std::size_t>(index)).first;
  }
  const Value& GetValueAt(int index) const {
    return m_entries.at(static_cast<std::size_t>(index)).second;
  }
  Value& GetValueAt(int index) { return m_entries.at(static_cast<std::size_t>(index)).second; }

 private:
  std::vector<std::pair<Key, Value>> m_entries;
};
