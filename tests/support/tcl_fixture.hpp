// Tests that embed an interpreter.
#pragma once

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <morvel.h>
#include <string>
#include <vector>

namespace support {

// An interpreter with the package loaded; goes with its scope.
class Interpreter {
public:
    enum Package { with_package, without_package };

    explicit Interpreter(Package package = with_package) : interp_{Tcl_CreateInterp()}
    {
        if (package == with_package && Morvel_Init(interp_) != TCL_OK) {
            ADD_FAILURE() << result();
        }
    }
    ~Interpreter() { Tcl_DeleteInterp(interp_); }
    Interpreter(const Interpreter&) = delete;
    Interpreter& operator=(const Interpreter&) = delete;
    operator Tcl_Interp*() const { return interp_; }

    std::string result() const { return Tcl_GetStringResult(interp_); }
    // Of the call that failed last.
    std::string error_code() const
    {
        Tcl_Obj* const options = Tcl_GetReturnOptions(interp_, TCL_ERROR);
        Tcl_Obj* const key = Tcl_NewStringObj("-errorcode", -1);
        Tcl_Obj* code = nullptr;
        Tcl_IncrRefCount(options);
        Tcl_IncrRefCount(key);
        Tcl_DictObjGet(nullptr, options, key, &code);
        const std::string text = code != nullptr ? Tcl_GetString(code) : "";
        Tcl_DecrRefCount(key);
        Tcl_DecrRefCount(options);
        return text;
    }
    // The result of a script that must succeed.
    std::string eval(const char* script) const
    {
        EXPECT_EQ(Tcl_Eval(interp_, script), TCL_OK) << script << ": " << result();
        return result();
    }

private:
    Tcl_Interp* interp_;
};

class TclFixture : public ::testing::Test {
protected:
    static void SetUpTestSuite() { Tcl_FindExecutable(nullptr); }
    Interpreter interp;
};

inline DynList* floats(const std::vector<float>& numbers)
{
    DynList* const list = dfuCreateDynList(DFU_FLOAT, static_cast<int>(numbers.size()));
    if (!numbers.empty()) {
        std::memcpy(list->values, numbers.data(), numbers.size() * sizeof(float));
    }
    list->count = static_cast<int>(numbers.size());
    return list;
}

} // namespace support
