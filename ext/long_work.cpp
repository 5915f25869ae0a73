// Commands that work for long: the interpreter is asked now and then whether they are to
// end, as it would ask itself between two commands of a script.
#include "ext/engine.h"

#include "core/frame/interruption.hpp"
#include "core/thread_state.hpp"
#include "ext/conventions.hpp"
#include "ext/host_code.hpp"

#include <cstring>
#include <type_traits>
#include <utility>

namespace zavo::ext {

namespace {

// A work that asks. What it works with is set aside when a command in a script that runs
// meanwhile begins another, so that commands there find, and leave, arrays of their own.
// That is rare, and until then nothing is copied.
class WaitingWork {
public:
    WaitingWork() : state_(core::thread_state()), outer_(std::exchange(state_.module.waiting_work, this)) {}
    ~WaitingWork()
    {
        state_.module.waiting_work = outer_;
        if (set_aside_) {
            state_.series.drop();
            state_.fft_table.drop();
            std::memcpy(&state_.plans, plans_, sizeof plans_);
            state_.series = series_;
            state_.fft_table = fft_table_;
        }
    }
    WaitingWork(const WaitingWork&) = delete;
    WaitingWork& operator=(const WaitingWork&) = delete;

    void set_aside()
    {
        if (!set_aside_) {
            set_aside_ = true;
            std::memcpy(plans_, &state_.plans, sizeof plans_);
            series_ = std::exchange(state_.series, {});
            fft_table_ = std::exchange(state_.fft_table, {});
        }
    }

private:
    static_assert(std::is_trivially_copyable_v<core::PlanState>);

    core::ThreadState& state_;
    void* outer_;
    bool set_aside_ = false;
    alignas(core::PlanState) unsigned char plans_[sizeof(core::PlanState)];
    core::LengthArray series_;
    core::LengthArray fft_table_;
};

bool ends_work(void* context)
{
    auto& work = *static_cast<zavo_long_work*>(context);
    if (work.held == 0) {
        Tcl_Preserve(work.interp);
        work.held = 1;
    }
    const HostCode marks;
    const WaitingWork waiting;
    if (morvelMayGoOn(work.interp) == TCL_OK) {
        return false;
    }
    work.end = Tcl_SaveInterpState(work.interp, TCL_ERROR);
    return true;
}

static_assert(sizeof(core::Interruption) <= sizeof zavo_long_work::outer);
static_assert(std::is_trivially_copyable_v<core::Interruption>);

} // namespace

void begin_long_work(zavo_long_work* work, Tcl_Interp* interp)
{
    core::Interruption& current = core::interruption();
    work->interp = interp;
    work->end = nullptr;
    work->held = 0;
    auto* const waiting = static_cast<WaitingWork*>(core::thread_state().module.waiting_work);
    work->within_another = waiting != nullptr ? 1 : 0;
    if (waiting != nullptr) {
        waiting->set_aside();
    }
    std::memcpy(work->outer, &current, sizeof current);
    current = {.ask = ends_work, .context = work};
}

int long_work_ended(long long operations)
{
    return core::interrupted(operations) ? 1 : 0;
}

int end_long_work(zavo_long_work* work, int status)
{
    std::memcpy(&core::interruption(), work->outer, sizeof(core::Interruption));
    if (work->end != nullptr) {
        status = Tcl_RestoreInterpState(work->interp, static_cast<Tcl_InterpState>(work->end));
    }
    if (work->held != 0) {
        Tcl_Release(work->interp);
    }
    return status;
}

} // namespace zavo::ext
