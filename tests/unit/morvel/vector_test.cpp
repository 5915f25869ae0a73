// Vectors as Tcl values from C, and the text of floats.
#include "tests/support/tcl_fixture.hpp"

#include <climits>
#include <csetjmp>
#include <cstdlib>
#include <string>

namespace {

using support::TclFixture;

MorvelVector* vector_of(const std::vector<float>& numbers)
{
    auto* const array = static_cast<float*>(std::malloc(numbers.size() * sizeof(float)));
    std::memcpy(array, numbers.data(), numbers.size() * sizeof(float));
    return morvelNewVector(static_cast<int>(numbers.size()), array);
}

class vector : public TclFixture {};

TEST_F(vector, value_shares_the_array)
{
    MorvelVector* const vector = vector_of({1, 2, 3});
    morvelHoldVector(vector);
    Tcl_Obj* const value = morvelVectorValue(interp, vector);
    Tcl_IncrRefCount(value);
    EXPECT_EQ(morvelVectorIfAny(value), vector);
    Tcl_Obj* const copy = Tcl_DuplicateObj(value);
    Tcl_IncrRefCount(copy);
    EXPECT_EQ(morvelVectorIfAny(copy), vector);
    EXPECT_EQ(vector->references, 3);
    Tcl_DecrRefCount(copy);
    EXPECT_STREQ(Tcl_GetString(value), "1.0 2.0 3.0");
    Tcl_DecrRefCount(value);
    EXPECT_EQ(vector->references, 1);
    morvelReleaseVector(vector);
}

TEST_F(vector, of_a_value_that_is_one_is_the_same_with_a_reference_more)
{
    MorvelVector* const vector = vector_of({1, 2});
    Tcl_Obj* const value = morvelVectorValue(interp, vector);
    Tcl_IncrRefCount(value);
    MorvelVector* again = nullptr;
    EXPECT_EQ(morvelGetVector(interp, value, &again), TCL_OK);
    EXPECT_EQ(again, vector);
    EXPECT_EQ(vector->references, 2);
    Tcl_DecrRefCount(value);
    EXPECT_EQ(vector->references, 1);
    morvelReleaseVector(again);
}

TEST_F(vector, own_copies_only_what_is_shared)
{
    MorvelVector* vector = vector_of({1, 2});
    MorvelVector* const first = vector;
    EXPECT_EQ(morvelOwnVector(&vector), 0);
    EXPECT_EQ(vector, first);
    morvelHoldVector(first);
    EXPECT_EQ(morvelOwnVector(&vector), 0);
    EXPECT_NE(vector, first);
    vector->values[0] = 9;
    EXPECT_EQ(first->values[0], 1.0F);
    morvelReleaseVector(vector);
    morvelReleaseVector(first);
}

TEST_F(vector, own_leaves_all_as_it_was_when_memory_is_short)
{
    MorvelVector* vector = vector_of({1, 2});
    MorvelVector* const first = vector;
    morvelHoldVector(first);
    for (const long nth : {1L, 2L}) {
        dfuFailAllocation(nth);
        EXPECT_NE(morvelOwnVector(&vector), 0);
        dfuFailAllocation(0);
        EXPECT_EQ(vector, first);
        EXPECT_EQ(first->references, 2);
    }
    morvelReleaseVector(vector);
    morvelReleaseVector(first);
}

TEST_F(vector, text_of_several_numbers_becomes_one_and_keeps_its_string)
{
    Tcl_Obj* const text = Tcl_NewStringObj("1.00 2e0 0.10", -1);
    Tcl_IncrRefCount(text);
    MorvelVector* vector = nullptr;
    ASSERT_EQ(morvelGetVector(interp, text, &vector), TCL_OK);
    EXPECT_EQ(vector->count, 3);
    EXPECT_EQ(vector->values[2], 0.1F);
    EXPECT_EQ(morvelVectorIfAny(text), vector);
    EXPECT_STREQ(Tcl_GetString(text), "1.00 2e0 0.10");
    morvelReleaseVector(vector);
    Tcl_DecrRefCount(text);
}

TEST_F(vector, lists_and_numbers_stay_what_they_are)
{
    Tcl_Obj* const number = Tcl_NewDoubleObj(0.1);
    Tcl_Obj* const list = Tcl_NewListObj(1, &number);
    for (Tcl_Obj* const value : {number, list}) {
        Tcl_IncrRefCount(value);
        const Tcl_ObjType* const type = value->typePtr;
        MorvelVector* vector = nullptr;
        ASSERT_EQ(morvelGetVector(interp, value, &vector), TCL_OK);
        EXPECT_EQ(vector->count, 1);
        EXPECT_EQ(vector->values[0], 0.1F);
        EXPECT_EQ(value->typePtr, type);
        morvelReleaseVector(vector);
    }
    Tcl_DecrRefCount(list);
    Tcl_DecrRefCount(number);
}

TEST_F(vector, outlives_its_value)
{
    Tcl_Obj* const text = Tcl_NewStringObj("1 2", -1);
    Tcl_IncrRefCount(text);
    MorvelVector* vector = nullptr;
    ASSERT_EQ(morvelGetVector(interp, text, &vector), TCL_OK);
    Tcl_DecrRefCount(text);
    EXPECT_EQ(vector->values[1], 2.0F);
    morvelReleaseVector(vector);
}

TEST_F(vector, every_failed_allocation_is_reported)
{
    int failures = 0;
    for (int nth = 1; nth < 20; ++nth) {
        Tcl_Obj* const text = Tcl_NewStringObj("1 2 {3}", -1);
        Tcl_IncrRefCount(text);
        MorvelVector* vector = nullptr;
        dfuFailAllocation(nth);
        const int status = morvelGetVector(interp, text, &vector);
        dfuFailAllocation(0);
        Tcl_DecrRefCount(text);
        if (status == TCL_OK) {
            morvelReleaseVector(vector);
            break;
        }
        ++failures;
        EXPECT_EQ(interp.result(), "not enough memory");
    }
    EXPECT_EQ(failures, 3); // tried as text, then as a list; the vector
}

TEST_F(vector, impossible_sizes_are_refused)
{
    EXPECT_EQ(morvelAllocateVector(-1), nullptr);
    EXPECT_EQ(morvelNewVector(-1, nullptr), nullptr);
    MorvelVector* const empty = morvelAllocateVector(0);
    EXPECT_EQ(empty->count, 0);
    morvelReleaseVector(empty);
    morvelReleaseVector(nullptr);
    morvelHoldVector(nullptr);
}

#if TCL_MAJOR_VERSION < 9
std::jmp_buf after_panic;
std::string last_words;

[[noreturn]] void note_panic(const char* format, ...)
{
    last_words = format;
    std::longjmp(after_panic, 1);
}

// Whoever asks for a string cannot be told of an error: Tcl's own way out.
TEST_F(vector, a_text_longer_than_any_value_is_the_end)
{
    Tcl_Obj* const value = morvelVectorValue(interp, morvelNewVector(INT_MAX, nullptr)); // as if
    last_words.clear();
    if (setjmp(after_panic) == 0) {
        Tcl_SetPanicProc(note_panic);
        Tcl_GetString(value);
    }
    Tcl_SetPanicProc(nullptr);
    EXPECT_EQ(last_words, "max size for a Tcl value exceeded by the text of a vector");
    Tcl_IncrRefCount(value);
    Tcl_DecrRefCount(value);
}
#endif

TEST_F(vector, of_a_list_is_a_copy)
{
    DynList* const list = support::floats({1.5F, 2.5F});
    MorvelVector* const vector = morvelVectorOfList(list);
    EXPECT_EQ(vector->values[1], 2.5F);
    EXPECT_NE(static_cast<void*>(vector->values), list->values);
    morvelReleaseVector(vector);
    dfuFreeDynList(list);
    DynList* const lists = dfuCreateDynList(DFU_LIST, 0);
    EXPECT_EQ(morvelVectorOfList(lists), nullptr);
    dfuFreeDynList(lists);
}

} // namespace
