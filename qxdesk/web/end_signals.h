#pragma once

// The signals by which a process is asked to end, SIGTERM and SIGINT (Ctrl+C). Without an answer to
// them the process ends at once, and its pages see no more than a connection that breaks off.
//
// The handler only makes a descriptor readable. A server that watches it takes leave of its pages
// on its own thread; after the last one has done so, the process ends by the same signal as before.
// A handler of the add-on's own and a signal that is ignored stay as they are. A second signal ends
// the process at once, whatever the servers do.

namespace qx::web {

/// A server's share in the answer to the signals. May be made and destroyed on any thread.
class EndSignals {
 public:
  /// Throws std::system_error.
  EndSignals();
  /// Requires the process that has made the object. Counts as done().
  ~EndSignals();
  EndSignals(const EndSignals&) = delete;
  EndSignals& operator=(const EndSignals&) = delete;

  /// Returns a new descriptor, which the caller closes. It becomes readable, for good, when a
  /// signal has come.
  int descriptor() const;
  /// Says that this server has taken leave. The last one to say so ends the process, if a signal
  /// has come. A second call does nothing.
  void done();

 private:
  bool done_ = false;
};

}  // namespace qx::web
