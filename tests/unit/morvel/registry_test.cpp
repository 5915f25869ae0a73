// The registry from compiled code: ownership, several interpreters, holds, and
// lists that outlive the interpreter.
#include "tests/support/tcl_fixture.hpp"

#include <climits>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using registry_of_lists = support::TclFixture;
using support::floats;
using support::Interpreter;

DynList* child_of(const DynList* list, int i)
{
    return static_cast<DynList**>(list->values)[i];
}

// `levels` lists of lists around one float list.
DynList* nested(int levels)
{
    DynList* list = floats({1.5F});
    for (int i = 0; i < levels; ++i) {
        DynList* const parent = dfuCreateDynList(DFU_LIST, 1);
        EXPECT_EQ(dfuMoveDynListList(parent, list), 0);
        list = parent;
    }
    return list;
}

TEST_F(registry_of_lists, works_where_the_package_was_never_loaded)
{
    Interpreter bare{Interpreter::without_package};
    DynList* found = nullptr;
    EXPECT_EQ(tclFindDynList(bare, "dynlist1", &found), TCL_ERROR);
    EXPECT_EQ(bare.result(), "no DynList named \"dynlist1\"");
    EXPECT_EQ(bare.error_code(), "MORVEL LOOKUP DYNLIST dynlist1");
    EXPECT_EQ(found, nullptr);

    DynList* const list = floats({1.5F, 2.5F});
    EXPECT_EQ(tclPutList(bare, list), TCL_OK);
    EXPECT_EQ(bare.result(), "dynlist1");
    EXPECT_EQ(tclFindDynList(bare, "dynlist1", &found), TCL_OK);
    EXPECT_EQ(found, list);
    EXPECT_EQ(tclDynListToTclList(bare, list), TCL_OK);
    EXPECT_EQ(bare.result(), "1.5 2.5");

    ASSERT_EQ(Morvel_Init(bare), TCL_OK); // and the package finds it there
    EXPECT_EQ(bare.eval("dynlist get dynlist1"), "1.5 2.5");
}

TEST_F(registry_of_lists, the_package_may_be_loaded_again)
{
    interp.eval("dynlist create int {1 2}");
    ASSERT_EQ(Morvel_Init(interp), TCL_OK);
    EXPECT_EQ(interp.eval("dynlist get dynlist1"), "1 2");
}

#if TCL_MAJOR_VERSION < 9
// Longer than any value of Tcl 8: nothing of them is read.
TEST_F(registry_of_lists, lists_longer_than_a_value_of_tcl_are_refused)
{
    DynList endless{};
    endless.datatype = DFU_INT;
    endless.count = INT_MAX;
    EXPECT_EQ(tclDynListToTclList(interp, &endless), TCL_ERROR);
    EXPECT_EQ(interp.result().substr(0, 28), "max length of a Tcl list (26");
    EXPECT_EQ(interp.error_code(), "TCL MEMORY");
    EXPECT_EQ(morvelBytesOfFloats(interp, INT_MAX, nullptr), nullptr);
    EXPECT_EQ(interp.result(), "max size of a Tcl value (2147483647 bytes) exceeded");
    EXPECT_EQ(interp.error_code(), "TCL MEMORY");
}
#endif

TEST_F(registry_of_lists, converts_nested_lists_and_leaves_them_to_the_caller)
{
    DynList* const list = dfuCreateDynList(DFU_LIST, 0);
    ASSERT_EQ(dfuMoveDynListList(list, floats({1.0F})), 0);
    ASSERT_EQ(dfuMoveDynListList(list, dfuCreateDynList(DFU_INT, 3)), 0);
    ASSERT_EQ(dfuMoveDynListList(list, nested(2)), 0);
    EXPECT_EQ(tclDynListToTclList(interp, list), TCL_OK);
    EXPECT_EQ(interp.result(), "1.0 {} 1.5");
    EXPECT_EQ(list->count, 3);
    dfuFreeDynList(list);
}

TEST_F(registry_of_lists, refuses_what_nests_too_deep_and_frees_it)
{
    EXPECT_EQ(tclPutList(interp, nested(MORVEL_MAX_NESTING)), TCL_OK);
    EXPECT_EQ(interp.eval("dynlist get dynlist1"), "1.5");
    for (const int levels : {MORVEL_MAX_NESTING + 1, 300000}) {
        EXPECT_EQ(tclPutList(interp, nested(levels)), TCL_ERROR);
        EXPECT_EQ(interp.result(), "DynLists nest at most 500 deep");
        EXPECT_EQ(interp.error_code(), "MORVEL VALUE NESTING");
        DynList* const deep = nested(levels);
        EXPECT_EQ(tclDynListToTclList(interp, deep), TCL_ERROR);
        EXPECT_EQ(interp.result(), "DynLists nest at most 500 deep");
        dfuFreeDynList(deep);
    }
    EXPECT_EQ(interp.eval("dynlist names"), "dynlist1");
}

TEST_F(registry_of_lists, refuses_a_list_that_another_owns_and_leaves_it_there)
{
    DynList* const list = floats({1.0F});
    ASSERT_EQ(tclPutList(interp, list), TCL_OK);
    EXPECT_EQ(tclPutList(interp, list), TCL_ERROR); // registered already
    EXPECT_EQ(interp.result(), "the DynList has an owner already");
    EXPECT_EQ(interp.error_code(), "MORVEL VALUE OWNED");
    Interpreter other;
    EXPECT_EQ(tclPutList(other, list), TCL_ERROR); // elsewhere, too
    DynList* const parent = nested(1);
    EXPECT_EQ(tclPutList(interp, child_of(parent, 0)), TCL_ERROR);
    EXPECT_NE(dfuMoveDynListList(parent, list), 0);
    dfuFreeDynList(list); // not the caller's to free
    dfuFreeDynList(parent);
    EXPECT_EQ(interp.eval("dynlist take dynlist1"), "1.0");
    EXPECT_EQ(interp.eval("dynlist names"), "");
}

TEST_F(registry_of_lists, a_list_that_could_not_be_made_is_a_lack_of_memory)
{
    EXPECT_EQ(tclPutList(interp, nullptr), TCL_ERROR);
    EXPECT_EQ(interp.result(), "not enough memory");
    EXPECT_EQ(interp.error_code(), "MORVEL MEMORY");
}

TEST_F(registry_of_lists, interpreters_count_for_themselves)
{
    Interpreter other;
    ASSERT_EQ(tclPutList(interp, floats({1.0F})), TCL_OK);
    ASSERT_EQ(tclPutList(interp, floats({2.0F})), TCL_OK);
    ASSERT_EQ(tclPutList(other, floats({3.0F})), TCL_OK);
    EXPECT_EQ(other.result(), "dynlist1");
    EXPECT_EQ(interp.eval("dynlist names"), "dynlist1 dynlist2");
    EXPECT_EQ(other.eval("dynlist get dynlist1"), "3.0");
}

// In the middle of long work a signal's handler, for one, ends it, or lets it go on.
TEST_F(registry_of_lists, handlers_that_wait_run_in_the_middle_of_work)
{
    static int wanted = TCL_OK;
    Tcl_AsyncHandler const handler = Tcl_AsyncCreate(
        [](ClientData, Tcl_Interp* at, int) {
            if (wanted == TCL_ERROR && at != nullptr) {
                Tcl_SetObjResult(at, Tcl_NewStringObj("interrupted by hand", -1));
            }
            return wanted;
        },
        nullptr);
    Tcl_SetObjResult(interp, Tcl_NewStringObj("a result", -1));
    EXPECT_EQ(morvelMayGoOn(interp), TCL_OK);
    Tcl_AsyncMark(handler);
    EXPECT_EQ(morvelMayGoOn(interp), TCL_OK);
    EXPECT_EQ(Tcl_AsyncReady(), 0);
    EXPECT_EQ(interp.result(), "a result");
    wanted = TCL_ERROR;
    Tcl_AsyncMark(handler);
    EXPECT_EQ(morvelMayGoOn(interp), TCL_ERROR);
    EXPECT_EQ(interp.result(), "interrupted by hand");
    Tcl_AsyncDelete(handler);
}

TEST_F(registry_of_lists, held_list_outlives_its_name)
{
    DynList* const list = floats({4.0F});
    ASSERT_EQ(tclPutList(interp, list), TCL_OK);
    morvelHoldList(interp, list);
    morvelHoldList(interp, list);
    EXPECT_EQ(interp.eval("dynlist free dynlist1; dynlist exists dynlist1"), "0");
    morvelReleaseList(interp, list);
    EXPECT_EQ(static_cast<float*>(list->values)[0], 4.0F);
    morvelReleaseList(interp, list);
}

TEST_F(registry_of_lists, held_list_outlives_the_list_it_was_moved_into)
{
    DynList* const list = floats({5.0F});
    ASSERT_EQ(tclPutList(interp, list), TCL_OK);
    morvelHoldList(interp, list);
    interp.eval("dynlist free [dynlist create list [dynlist create list dynlist1]]");
    EXPECT_EQ(interp.eval("dynlist names"), "");
    EXPECT_EQ(static_cast<float*>(list->values)[0], 5.0F);
    morvelReleaseList(interp, list);
}

TEST_F(registry_of_lists, held_list_outlives_take_and_scope)
{
    for (const char* const script : {"dynlist take dynlist1", "dynlist free {*}[dynlist names]"}) {
        Interpreter fresh;
        DynList* const list = floats({6.0F});
        ASSERT_EQ(tclPutList(fresh, list), TCL_OK);
        morvelHoldList(fresh, list);
        fresh.eval(script);
        EXPECT_EQ(static_cast<float*>(list->values)[0], 6.0F);
        morvelReleaseList(fresh, list);
    }
}

TEST_F(registry_of_lists, held_list_outlives_its_interpreter)
{
    DynList* const list = floats({7.0F});
    Tcl_Interp* gone = nullptr;
    {
        Interpreter other;
        gone = other;
        ASSERT_EQ(tclPutList(other, list), TCL_OK);
        ASSERT_EQ(tclPutList(other, nested(3)), TCL_OK);
        morvelHoldList(other, list);
    }
    EXPECT_EQ(static_cast<float*>(list->values)[0], 7.0F);
    morvelReleaseList(gone, list); // which is not looked at
}

// A command that reads a list while it evaluates a script, as an objective does.
int reading_command(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    DynList* list = nullptr;
    if (objc != 3 || tclFindDynList(interp, Tcl_GetString(objv[1]), &list) != TCL_OK) {
        return TCL_ERROR;
    }
    morvelHoldList(interp, list);
    int status = Tcl_EvalObjEx(interp, objv[2], 0);
    if (status == TCL_OK) {
        status = tclDynListToTclList(interp, list);
    }
    morvelReleaseList(interp, list);
    return status;
}

TEST_F(registry_of_lists, command_reads_on_whatever_its_script_does)
{
    Tcl_CreateObjCommand(interp, "reading", reading_command, nullptr, nullptr);
    for (const char* const deed :
         {"dynlist free $x", "dynlist take $x", "dynlist free [dynlist create list $x]",
          "dynlist scope {dynlist create list $x}", "dynlist free {*}[dynlist names]",
          "reading $x {dynlist free $x}", "dynlist scope {reading $x {dynlist create list $x}}", "list"}) {
        interp.eval("set x [dynlist create float {1 2 3}]");
        EXPECT_EQ(interp.eval((std::string{"reading $x {"} + deed + "}").c_str()), "1.0 2.0 3.0") << deed;
        interp.eval("dynlist free {*}[dynlist names]");
    }
}

// Children are safe interpreters: those start without the script library, which
// a test program may not find.
TEST_F(registry_of_lists, interpreter_deleted_by_the_script_of_a_reading_command)
{
    interp.eval("interp create -safe child");
    Tcl_Interp* const child = Tcl_GetSlave(interp, "child");
    ASSERT_EQ(Morvel_Init(child), TCL_OK);
    Tcl_CreateObjCommand(child, "reading", reading_command, nullptr, nullptr);
    interp.eval("interp alias child vanish {} interp delete child");
    interp.eval("catch {child eval {dynlist scope {reading [dynlist create int {1 2}] {vanish; dynlist "
                "create int 3}}}}");
    EXPECT_EQ(interp.eval("interp exists child"), "0");
}

TEST_F(registry_of_lists, scope_lets_its_interpreter_go)
{
    bool gone = false;
    {
        Interpreter other;
        other.eval("catch {dynlist scope {error oops}}; dynlist scope -keep x {set x 1}");
        Tcl_CallWhenDeleted(
            other, [](ClientData flag, Tcl_Interp*) { *static_cast<bool*>(flag) = true; }, &gone);
    }
    EXPECT_TRUE(gone);
}

TEST_F(registry_of_lists, lists_put_by_a_dying_interpreter_go_with_it)
{
    // A delete procedure runs after the registry may have gone.
    interp.eval("interp create -safe child");
    Tcl_Interp* const child = Tcl_GetSlave(interp, "child");
    ASSERT_EQ(Morvel_Init(child), TCL_OK);
    ASSERT_EQ(tclPutList(child, floats({1.0F})), TCL_OK);
    Tcl_CreateObjCommand(child, "last", reading_command, child,
                         [](ClientData data) { tclPutList(static_cast<Tcl_Interp*>(data), floats({8.0F})); });
    Tcl_CallWhenDeleted(
        child, [](ClientData, Tcl_Interp* dying) { tclPutList(dying, floats({9.0F})); }, nullptr);
    interp.eval("interp delete child");
}

} // namespace
