// Another module than fixture.cc, which replaces it on disk in a test.

extern "C" [[gnu::visibility("default")]] int otherName(int value);
int otherName(int value) { return value * 3; }
extern "C" [[gnu::visibility("default")]] const char otherTable[9000];
const char otherTable[9000] = {1};
