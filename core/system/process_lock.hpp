// The lock of what the threads of a process share: the fault handlers and the
// search path of the catalogue. It is held for a few instructions or calls of the
// system, never while code outside the library runs, and not at all when there is
// one thread to speak of; so it is a flag, of which nothing has to be imported.
#pragma once

namespace zavo::core {

class ProcessLock {
public:
    ProcessLock();
    ~ProcessLock();
    ProcessLock(const ProcessLock&) = delete;
    ProcessLock& operator=(const ProcessLock&) = delete;
};

// Makes a fork wait for the lock and calls in_child() in the child, which starts
// with the lock free. Further calls do nothing.
void guard_forks(void (*in_child)());

} // namespace zavo::core
