// The module entry of the library. Attaching a process or a thread needs no work: every subsystem
// sets itself up with its first use.
