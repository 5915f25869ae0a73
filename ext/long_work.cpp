// Commands that work for long: the interpreter is asked now and then whether they are to
// end, as it would ask itself between two commands of a script.
#include "ext/engine.h"

#include "core/frame/interruption.hpp"
#include "core/thread_state.hpp"
#include "ext/conventions.hpp"
#include "ext/host_code.hpp"

#include <algorithm>
#include <cstring>
#include <type_traits>
#include <utility>

namespace zavo::ext {

namespace {

// Sets aside what the interrupted routine works with, so that commands in a script that
// runs meanwhile find, and leave, arrays of their own.
class OwnArrays {
public:
    OwnArrays()
        : state_(core::thread_state()), plans_(state_.plans), series_(std::exchange(state_.series, {})),
          fft_table_(std::exchange(state_.fft_table, {}))
    {
        ++state_.module.waiting_works;
    }
    ~OwnArrays()
    {
        --state_.module.waiting_works;
        state_.series.drop();
        state_.fft_table.drop();
        state_.plans = plans_;
        state_.series = series_;
        state_.fft_table = fft_table_;
    }
    OwnArrays(const OwnArrays&) = delete;
    OwnArrays& operator=(const OwnArrays&) = delete;

private:
    core::ThreadState& state_;
    core::PlanState plans_;
    core::LengthArray series_;
    core::LengthArray fft_table_;
};

// A limit is looked at once in so many commands of a script; here one look stands for
// all of them.
int check_limits(Tcl_Interp* interp)
{
    constexpr int most = 1000;
    int commands = 1;
    for (const int type : {TCL_LIMIT_COMMANDS, TCL_LIMIT_TIME}) {
        if (Tcl_LimitTypeEnabled(interp, type) != 0) {
            commands = std::max(commands, std::min(Tcl_LimitGetGranularity(interp, type), most));
        }
    }
    for (int i = 0; i < commands; ++i) {
        if (Tcl_LimitReady(interp) != 0 && Tcl_LimitCheck(interp) != TCL_OK) {
            return TCL_ERROR;
        }
    }
    return TCL_OK;
}

// What the interpreter would do before its next command. A call of no words is none, but
// the interpreter looks first whether it has been deleted or cancelled. (Cancellation came
// with Tcl 8.6; a function of its own could not be named with 8.5.)
int check_interpreter(Tcl_Interp* interp)
{
    if (Tcl_AsyncReady() != 0 && Tcl_AsyncInvoke(interp, TCL_OK) == TCL_ERROR) {
        return TCL_ERROR;
    }
    return check_limits(interp) == TCL_OK ? Tcl_EvalObjv(interp, 0, nullptr, 0) : TCL_ERROR;
}

bool ends_work(void* context)
{
    auto& work = *static_cast<zavo_long_work*>(context);
    if (work.held == 0) {
        Tcl_Preserve(work.interp);
        work.held = 1;
    }
    const HostCode marks;
    const OwnArrays arrays;
    const Tcl_InterpState before = Tcl_SaveInterpState(work.interp, TCL_OK);
    if (check_interpreter(work.interp) == TCL_OK) {
        Tcl_RestoreInterpState(work.interp, before);
        return false;
    }
    Tcl_DiscardInterpState(before);
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
    work->within_another = core::thread_state().module.waiting_works > 0 ? 1 : 0;
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
