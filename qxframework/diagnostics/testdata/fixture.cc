// A module for the tests of the stack walk: a call goes through a function that it exports and one
// that only its symbol table knows.

namespace {

volatile int results = 0;

[[gnu::noinline]] int innerCall(int (*callback)(void*), void* data) {
  const int result = callback(data);
  results = results + 1;
  return result;
}

}  // namespace

extern "C" [[gnu::visibility("default"), gnu::noinline]] int fixtureCall(int (*callback)(void*),
                                                                         void* data) {
  const int result = innerCall(callback, data);
  results = results + 1;
  return result;
}
