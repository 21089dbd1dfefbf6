// A shared library for the tests. No code in it refers to its resources.
extern "C" __attribute__((visibility("default"))) int qxFixtureAnswer() { return 42; }
