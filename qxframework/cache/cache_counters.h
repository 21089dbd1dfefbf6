#pragma once

// What the caches of tables did so far: an author sees by it whether loads are answered from memory
// and, if not, why.

#include "qxframework/automation/bstr.h"

namespace Persistence {

/// Loads that went to the database, by the reason.
struct QX_API CacheMisses {
  long noReadAhead = 0;     ///< the behaviour is pb_NoPrefetch, which is never answered from memory
  long otherParameter = 0;  ///< the rows in memory were read with another parameter
  long notLoaded = 0;       ///< there are no usable rows in memory
  long expired = 0;         ///< the rows are older than the parameter allows
  long keyNotSeen = 0;      ///< the rows do not begin at, or contain, the start key
  long total() const;
};

/// Times that buffered statements were sent, by the reason.
struct QX_API CacheFlushes {
  long full = 0;              ///< the buffer had reached its size
  long load = 0;              ///< a load was about to read the database
  long directRead = 0;        ///< so was a read past the cache
  long request = 0;           ///< FlushToDB, FlushAllCaches or ClearCache was called
  long transactionStart = 0;  ///< a transaction was about to start
  long commit = 0;            ///< a transaction was about to be committed
  long companyChange = 0;     ///< another company came into use
  long lastUse = 0;           ///< the cache was destroyed
  long total() const;
};

/// The counts of one table. They go on when a transaction or another company makes the caches be
/// forgotten; what is held is that of the cache in use.
struct QX_API CacheCounters {
  CComBSTR table;
  long hits = 0;  ///< loads that were answered from memory
  CacheMisses misses;
  long rowsFound = 0;  ///< rows that were asked for by their key and were in memory
  CacheFlushes flushes;
  long statementsSent = 0;       ///< statements that ran in a flush
  long statementsDiscarded = 0;  ///< statements that were dropped, as a rollback does

  long rows = 0;                ///< held
  long long bytes = 0;          ///< that the rows take, an estimate
  long bufferedStatements = 0;  ///< that are not sent yet

  /// Returns the number of queries that the cache made unnecessary: hits and rows found.
  long queriesSaved() const { return hits + rowsFound; }
  /// Returns the counts on one line, without a line end.
  CComBSTR Text() const;
};

}  // namespace Persistence
