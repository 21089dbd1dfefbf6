// A module whose version block the tests read; nothing in it is called.
extern "C" __attribute__((visibility("default"))) int qxDbDefModule() { return 0; }
