#include "core/frame/interruption.hpp"

namespace zavo::core {

bool interrupted(std::int64_t operations)
{
    Interruption& state = interruption();
    if (state.ask == nullptr || state.ended) {
        return state.ended;
    }
    state.left -= operations;
    if (state.left > 0) {
        return false;
    }
    Interruption asking = state;
    state = {};
    asking.ended = asking.ask(asking.context);
    asking.left = Interruption::operations_between_questions;
    interruption() = asking;
    return asking.ended;
}

} // namespace zavo::core
