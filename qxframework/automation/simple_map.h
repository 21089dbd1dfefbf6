#pragma once

#include <utility>
#include <vector>

/// A small map kept as an array in order of insertion and searched from the front, compared by
/// `==`. The first of two equal keys wins a search.
template <class Key, class Value>
class CSimpleMap {
 public:
  int GetSize() const { return static_cast<int>(m_entries.size()); }
  bool Add(const Key& key, const Value& value) {
    m_entries.emplace_back(key, value);
    return true;
  }
  bool SetAt(const Key& key, const Value& value) {
    const int index = FindKey(key);
    if (index < 0) return Add(key, value);
    m_entries[static_cast<std::size_t>(index)].second = value;
    return true;
  }
  bool Remove(const Key& key) {
    const int index = FindKey(key);
    if (index < 0) return false;
    m_entries.erase(m_entries.begin() + index);
    return true;
  }
  void RemoveAll() { m_entries.clear(); }
  /// Index of the first entry with that key, -1 if there is none.
  int FindKey(const Key& key) const {
    for (std::size_t i = 0; i < m_entries.size(); ++i)
      if (m_entries[i].first == key) return static_cast<int>(i);
    return -1;
  }
  /// The value of the first entry with that key, a default value if there is none.
  Value Lookup(const Key& key) const {
    const int index = FindKey(key);
    return index < 0 ? Value() : GetValueAt(index);
  }
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
