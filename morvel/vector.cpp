// Vectors as Tcl values. The value's internal representation is one pointer to a
// MorvelVector, which values made from one another share.
#include "vector.hpp"

#include "registry.hpp"
#include "values.hpp"

#include <climits>
#include <cstdlib>
#include <cstring>

namespace morvel {

namespace {

void free_vector(Tcl_Obj* value);
void duplicate_vector(Tcl_Obj* from, Tcl_Obj* to);
void write_string(Tcl_Obj* value);
int from_any(Tcl_Interp* interp, Tcl_Obj* value);

const Tcl_ObjType vector_type = {"floatvector", free_vector, duplicate_vector,
                                 write_string,  from_any,    TCL_OBJTYPE_V0};

MorvelVector* vector_in(const Tcl_Obj* value)
{
    return static_cast<MorvelVector*>(value->internalRep.twoPtrValue.ptr1);
}

void free_vector(Tcl_Obj* value)
{
    morvelReleaseVector(vector_in(value));
    value->typePtr = nullptr;
}

void put_into(Tcl_Obj* value, MorvelVector* vector)
{
    value->internalRep.twoPtrValue.ptr1 = vector;
    value->internalRep.twoPtrValue.ptr2 = nullptr;
    value->typePtr = &vector_type;
}

void duplicate_vector(Tcl_Obj* from, Tcl_Obj* to)
{
    morvelHoldVector(vector_in(from));
    put_into(to, vector_in(from));
}

// Room for a value's string; `text`, where there is one, in another size. A text
// that no value can have ends the process, as in Tcl: whoever asks for a string
// cannot be told of an error.
char* allocate_text(char* text, std::size_t bytes)
{
    if (bytes > static_cast<std::size_t>(TCL_SIZE_MAX)) {
        Tcl_Panic("max size for a Tcl value exceeded by the text of a vector");
    }
    return reinterpret_cast<char*>(text == nullptr ? Tcl_Alloc(bytes) : Tcl_Realloc(text, bytes));
}

void write_string(Tcl_Obj* value)
{
    const MorvelVector* const vector = vector_in(value);
    const auto count = static_cast<std::size_t>(vector->count);
    char* const text = allocate_text(nullptr, count * (max_float_text + 1) + 1);
    char* end = text;
    for (std::size_t i = 0; i < count; ++i) {
        if (i > 0) {
            *end++ = ' ';
        }
        end = write_float(end, vector->values[i]);
    }
    *end = '\0';
    value->length = static_cast<Tcl_Size>(end - text);
    value->bytes = allocate_text(text, static_cast<std::size_t>(end - text) + 1);
}

// Turns a list of numbers into a vector for good.
int from_any(Tcl_Interp* interp, Tcl_Obj* value)
{
    MorvelVector* vector = nullptr;
    if (morvelGetVector(interp, value, &vector) != TCL_OK) {
        return TCL_ERROR;
    }
    Tcl_GetString(value); // the numbers may have had more digits than the floats
    if (value->typePtr != nullptr && value->typePtr->freeIntRepProc != nullptr) {
        value->typePtr->freeIntRepProc(value);
    }
    put_into(value, vector);
    return TCL_OK;
}

} // namespace

MorvelVector* copy_to_vector(int n, const float* values)
{
    MorvelVector* const vector = morvelAllocateVector(n);
    if (vector != nullptr && n > 0) {
        std::memcpy(vector->values, values, static_cast<std::size_t>(n) * sizeof(float));
    }
    return vector;
}

} // namespace morvel

extern "C" {

MorvelVector* morvelNewVector(int n, float* values)
{
    auto* const vector = n < 0 ? nullptr : static_cast<MorvelVector*>(dfuAllocate(1, sizeof(MorvelVector)));
    if (vector != nullptr) {
        *vector = {n, 1, values};
    }
    return vector;
}

MorvelVector* morvelAllocateVector(int n)
{
    float* values = nullptr;
    if (n > 0) {
        values = static_cast<float*>(dfuAllocate(static_cast<std::size_t>(n), sizeof(float)));
        if (values == nullptr) {
            return nullptr;
        }
    }
    MorvelVector* const vector = morvelNewVector(n, values);
    if (vector == nullptr) {
        std::free(values);
    }
    return vector;
}

void morvelHoldVector(MorvelVector* vector)
{
    if (vector != nullptr) {
        ++vector->references;
    }
}

void morvelReleaseVector(MorvelVector* vector)
{
    if (vector != nullptr && --vector->references == 0) {
        std::free(vector->values);
        std::free(vector);
    }
}

int morvelOwnVector(MorvelVector** vector)
{
    if ((*vector)->references == 1) {
        return 0;
    }
    MorvelVector* const copy = morvel::copy_to_vector((*vector)->count, (*vector)->values);
    if (copy == nullptr) {
        return 1;
    }
    morvelReleaseVector(*vector);
    *vector = copy;
    return 0;
}

Tcl_Obj* morvelVectorValue(Tcl_Interp* interp, MorvelVector* vector)
{
    if (!morvel::start(interp)) {
        morvelReleaseVector(vector);
        return nullptr;
    }
    Tcl_Obj* const value = Tcl_NewObj();
    Tcl_InvalidateStringRep(value);
    morvel::put_into(value, vector);
    return value;
}

MorvelVector* morvelVectorIfAny(Tcl_Obj* value)
{
    return value->typePtr == &morvel::vector_type ? morvel::vector_in(value) : nullptr;
}

int morvelGetVector(Tcl_Interp* interp, Tcl_Obj* value, MorvelVector** vector)
{
    MorvelVector* const own = morvelVectorIfAny(value);
    if (own != nullptr) {
        morvelHoldVector(own);
        *vector = own;
        return TCL_OK;
    }
    DynList* const list = morvel::floats_from_value(interp, value);
    if (list == nullptr) {
        return TCL_ERROR;
    }
    *vector = morvel::copy_to_vector(list->count, static_cast<float*>(list->values));
    dfuFreeDynList(list);
    return *vector != nullptr ? TCL_OK : morvel::memory_short(interp);
}

} // extern "C"
