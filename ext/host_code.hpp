// Around code of the host that runs in the middle of a routine, such as a script of the
// interpreter: to the library it is user code, what its own calls of the library post
// stays behind when it is done, and a fault in it is the host's, since a jump would go
// over the frames of the interpreter.
#pragma once

#include "core/errors/error_stack.h"
#include "core/frame/entry_frame.hpp"

namespace zavo::ext {

class HostCode {
public:
    HostCode() : before_(core::posted_error()), inside_routine_(!core::at_user_level())
    {
        if (inside_routine_) {
            zavo_error_user_level("ON");
        }
    }
    ~HostCode()
    {
        if (inside_routine_) {
            zavo_error_user_level("OFF");
        }
        core::restore_posted_error(before_);
    }
    HostCode(const HostCode&) = delete;
    HostCode& operator=(const HostCode&) = delete;

private:
    core::PostedError before_;
    bool inside_routine_;
    core::SuspendedTrap suspended_;
};

} // namespace zavo::ext
