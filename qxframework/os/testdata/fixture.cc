// A shared library with resources, for the tests; nothing in it refers to them.
extern "C" __attribute__((visibility("default"))) int qxFixtureAnswer() { return 42; }
