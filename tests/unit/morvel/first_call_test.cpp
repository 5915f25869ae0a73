// Each entry of the C interface as the first call of a process: it makes Tcl's
// functions callable itself, and refuses an interpreter older than Tcl 8.5.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <morvel.h>
#include <string>

namespace {

Tcl_Obj* bytes_of_one_float()
{
    static const unsigned char one[] = {0, 0, 0x80, 0x3F};
    return Tcl_NewByteArrayObj(one, sizeof one);
}

struct Entry {
    const char* name;
    bool (*call)(Tcl_Interp* interp); // true when it has succeeded
};

// What they make is left to the process.
constexpr Entry entries[] = {
    {"tclFindDynList",
     [](Tcl_Interp* interp) {
         DynList* list = nullptr; // its success here: the complaint that there is none
         return tclFindDynList(interp, "dynlist1", &list) == TCL_ERROR &&
                std::strcmp(Tcl_GetStringResult(interp), "no DynList named \"dynlist1\"") == 0;
     }},
    {"tclPutList",
     [](Tcl_Interp* interp) { return tclPutList(interp, dfuCreateDynList(DFU_INT, 0)) == TCL_OK; }},
    {"tclDynListToTclList",
     [](Tcl_Interp* interp) { return tclDynListToTclList(interp, dfuCreateDynList(DFU_INT, 0)) == TCL_OK; }},
    {"morvelPutValues",
     [](Tcl_Interp* interp) { return morvelPutValues(interp, dfuCreateDynList(DFU_INT, 0)) == TCL_OK; }},
    {"morvelVectorValue",
     [](Tcl_Interp* interp) { return morvelVectorValue(interp, morvelAllocateVector(1)) != nullptr; }},
    {"morvelGetVector",
     [](Tcl_Interp* interp) {
         Tcl_Obj* const number = Tcl_NewDoubleObj(1.5);
         Tcl_Obj* const list = Tcl_NewListObj(1, &number);
         MorvelVector* vector = nullptr;
         return morvelGetVector(interp, list, &vector) == TCL_OK && vector->values[0] == 1.5F;
     }},
    {"morvelVectorOfBytes",
     [](Tcl_Interp* interp) { return morvelVectorOfBytes(interp, bytes_of_one_float()) != nullptr; }},
    {"morvelBytesOfFloats",
     [](Tcl_Interp* interp) {
         const float one = 1;
         return morvelBytesOfFloats(interp, 1, &one) != nullptr;
     }},
    {"morvelGetIndex",
     [](Tcl_Interp* interp) {
         Tcl_WideInt index = 0;
         return morvelGetIndex(interp, Tcl_NewStringObj("end", -1), 3, &index) == TCL_OK && index == 2;
     }},
    {"morvelMayGoOn", [](Tcl_Interp* interp) { return morvelMayGoOn(interp) == TCL_OK; }},
};

// Nobody looks for leaks on the way out. (Without the sanitizers nobody does anyway, and
// at exit the libraries write what was counted in them.)
[[noreturn]] void end_process(int status)
{
#ifdef __SANITIZE_ADDRESS__
    std::_Exit(status);
#else
    std::exit(status);
#endif
}

class first_call : public testing::TestWithParam<Entry> {
protected:
    void SetUp() override { testing::FLAGS_gtest_death_test_style = "threadsafe"; } // a process of its own
};

Tcl_Interp* new_interpreter(const char* script)
{
    Tcl_FindExecutable(nullptr);
    Tcl_Interp* const interp = Tcl_CreateInterp();
    if (Tcl_Eval(interp, script) != TCL_OK) {
        std::exit(3);
    }
    return interp;
}

TEST_P(first_call, works_in_a_fresh_process)
{
    EXPECT_EXIT(end_process(GetParam().call(new_interpreter("")) ? 0 : 1), testing::ExitedWithCode(0), "");
}

TEST_P(first_call, is_refused_by_an_older_interpreter)
{
    EXPECT_EXIT(
        {
            Tcl_Interp* const interp = new_interpreter("package forget Tcl tcl\n"
                                                       "package provide Tcl 8.4; package provide tcl 8.4");
            const bool good = GetParam().call(interp);
            std::fprintf(stderr, "%s", Tcl_GetStringResult(interp));
            end_process(good ? 0 : 1);
        },
        testing::ExitedWithCode(1), "version conflict for package \".cl\": have 8.4, need ");
}

INSTANTIATE_TEST_SUITE_P(entries, first_call, testing::ValuesIn(entries),
                         [](const auto& entry) { return std::string(entry.param.name); });

} // namespace
