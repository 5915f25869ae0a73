#include "core/system/process_lock.hpp"

#include "core/system/platform.hpp"

#include <atomic>

namespace zavo::core {

namespace {

constinit std::atomic<bool> locked{false};
constinit std::atomic<void (*)()> start_child{nullptr};

void lock()
{
    while (locked.exchange(true, std::memory_order_acquire)) {
        platform::pause_briefly();
    }
}

void unlock()
{
    locked.store(false, std::memory_order_release);
}

void unlock_child()
{
    start_child.load()();
    unlock();
}

} // namespace

ProcessLock::ProcessLock()
{
    lock();
}

ProcessLock::~ProcessLock()
{
    unlock();
}

void guard_forks(void (*in_child)())
{
    void (*none)() = nullptr;
    if (start_child.load(std::memory_order_relaxed) == nullptr &&
        start_child.compare_exchange_strong(none, in_child)) {
        platform::around_fork(lock, unlock, unlock_child);
    }
}

} // namespace zavo::core
