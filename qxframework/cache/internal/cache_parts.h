#pragma once

// What the sources of the record cache share.

#include "qxframework/cache/db_record_cache.h"

#include <utility>

namespace qx {

/// The caches belong to no client.
inline constexpr long kCacheLogId = 0;

}  // namespace qx

namespace Persistence {

/// Names the reason of the flushes while it lives. The outermost reason counts: a load clears the
/// cache, which flushes.
class CDBRecordCache::FlushingFor {
 public:
  FlushingFor(CDBRecordCache& cache, FlushReason reason)
      : cache_(cache), before_(cache.m_flushReason) {
    if (before_ == &CacheFlushes::request) cache.m_flushReason = reason;
  }
  ~FlushingFor() { cache_.m_flushReason = before_; }
  FlushingFor(const FlushingFor&) = delete;
  FlushingFor& operator=(const FlushingFor&) = delete;

 private:
  CDBRecordCache& cache_;
  FlushReason before_;
};

/// Gives a statement that is run while a load reads rows a record set of its own, because one
/// record set has one result. At other times it does nothing.
class CDBRecordCache::RecordSetAside {
 public:
  explicit RecordSetAside(CDBRecordCache& cache) : cache_(cache), active_(cache.isReadingRows()) {
    if (active_) std::swap(cache_.m_ptrRecordSet, kept_);
  }
  ~RecordSetAside() {
    if (active_) std::swap(cache_.m_ptrRecordSet, kept_);
  }
  RecordSetAside(const RecordSetAside&) = delete;
  RecordSetAside& operator=(const RecordSetAside&) = delete;

 private:
  CDBRecordCache& cache_;
  bool active_;
  CComQIPtr<IRecordset> kept_;
};

/// Marks the time in which a load reads rows. A load that fails leaves no rows.
class CDBRecordCache::ReadingRows {
 public:
  explicit ReadingRows(CDBRecordCache& cache) : cache_(cache) { cache_.m_reading = Reading::Rows; }
  ~ReadingRows() {
    if (!done_) cache_.ClearCache(true, false);
    cache_.m_reading = Reading::Nothing;
  }
  ReadingRows(const ReadingRows&) = delete;
  ReadingRows& operator=(const ReadingRows&) = delete;
  void done() { done_ = true; }

 private:
  CDBRecordCache& cache_;
  bool done_ = false;
};

}  // namespace Persistence
