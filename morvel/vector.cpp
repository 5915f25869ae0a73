// Vectors as Tcl values. The value's internal representation is one pointer to a
// MorvelVector, which values made from one another share.
#include "vector.hpp"

#include "float_text.hpp"
#include "registry.hpp"
#include "values.hpp"

#include <algorithm>
#include <cassert>
#include <climits>
#include <cstdlib>
#include <cstring>

namespace morvel {

namespace {

void free_vector(Tcl_Obj* value);
void duplicate_vector(Tcl_Obj* from, Tcl_Obj* to);
void write_string(Tcl_Obj* value);

#if TCL_MAJOR_VERSION > 8
Tcl_ObjTypeLengthProc length_of;
Tcl_ObjTypeIndexProc element_at;
Tcl_ObjTypeSliceProc slice_of;
Tcl_ObjTypeReverseProc reverse_of;
using AllocationSize = std::size_t;
#else
using AllocationSize = unsigned;
#endif

// Two types with one name: the elements of a vector that was read from a text are
// the words of that text, which may have had other digits, so that it does not answer
// for them.
// clang-format off
const Tcl_ObjType text_vector_type = {
    "floatvector", free_vector, duplicate_vector, write_string, nullptr,
    TCL_OBJTYPE_V0
};
const Tcl_ObjType vector_type = {
    "floatvector", free_vector, duplicate_vector, write_string, nullptr,
    TCL_OBJTYPE_V2(length_of, element_at, slice_of, reverse_of, nullptr, nullptr, nullptr, nullptr)
};
// clang-format on

MorvelVector* vector_in(const Tcl_Obj* value)
{
    return static_cast<MorvelVector*>(value->internalRep.twoPtrValue.ptr1);
}

void free_vector(Tcl_Obj* value)
{
    morvelReleaseVector(vector_in(value));
    value->typePtr = nullptr;
}

void put_into(Tcl_Obj* value, MorvelVector* vector, const Tcl_ObjType* type = &vector_type)
{
    value->internalRep.twoPtrValue.ptr1 = vector;
    value->internalRep.twoPtrValue.ptr2 = nullptr;
    value->typePtr = type;
}

void duplicate_vector(Tcl_Obj* from, Tcl_Obj* to)
{
    morvelHoldVector(vector_in(from));
    put_into(to, vector_in(from), from->typePtr);
}

// Room for a value's string; `text`, where there is one, in another size. A text
// that no value can have ends the process, as in Tcl: whoever asks for a string
// cannot be told of an error.
char* allocate_text(char* text, std::size_t bytes)
{
    if (bytes > static_cast<std::size_t>(TCL_SIZE_MAX)) {
        Tcl_Panic("max size for a Tcl value exceeded by the text of a vector");
    }
    const auto size = static_cast<AllocationSize>(bytes);
    return reinterpret_cast<char*>(text == nullptr ? Tcl_Alloc(size) : Tcl_Realloc(text, size));
}

// The room grows with the text: most floats need less than half of the most.
void write_string(Tcl_Obj* value)
{
    const MorvelVector* const vector = vector_in(value);
    const auto count = static_cast<std::size_t>(vector->count);
    std::size_t room = 64 + count * 8;
    char* text = allocate_text(nullptr, room);
    std::size_t length = 0;
    for (std::size_t i = 0; i < count; ++i) {
        if (room - length < max_float_text + 2) {
            room += room / 2;
            if (room > static_cast<std::size_t>(TCL_SIZE_MAX)) {
                room = std::max(length + max_float_text + 2, static_cast<std::size_t>(TCL_SIZE_MAX));
            }
            text = allocate_text(text, room);
        }
        assert(room - length >= max_float_text + 2); // a blank, the float, the terminating zero
        if (i > 0) {
            text[length++] = ' ';
        }
        length = static_cast<std::size_t>(write_float(text + length, vector->values[i]) - text);
    }
    text[length] = '\0';
    value->length = static_cast<Tcl_Size>(length);
    value->bytes = allocate_text(text, length + 1);
}

#if TCL_MAJOR_VERSION > 8
// What a list of Tcl 9 answers without being one.

Tcl_Size length_of(Tcl_Obj* value)
{
    return vector_in(value)->count;
}

int element_at(Tcl_Interp*, Tcl_Obj* value, Tcl_Size index, Tcl_Obj** element)
{
    const MorvelVector* const vector = vector_in(value);
    const bool inside = index >= 0 && index < vector->count;
    *element = inside ? Tcl_NewDoubleObj(static_cast<double>(vector->values[index])) : nullptr;
    return TCL_OK;
}

int slice_of(Tcl_Interp* interp, Tcl_Obj* value, Tcl_Size first, Tcl_Size last, Tcl_Obj** slice)
{
    const MorvelVector* const vector = vector_in(value);
    first = std::max<Tcl_Size>(first, 0);
    last = std::min<Tcl_Size>(last, vector->count - 1);
    const int count = first <= last ? static_cast<int>(last - first + 1) : 0;
    MorvelVector* const part = copy_to_vector(count, count > 0 ? vector->values + first : nullptr);
    if (part == nullptr) {
        return interp != nullptr ? memory_short(interp) : TCL_ERROR;
    }
    *slice = morvelVectorValue(interp, part);
    return TCL_OK;
}

int reverse_of(Tcl_Interp* interp, Tcl_Obj* value, Tcl_Obj** reverse)
{
    const MorvelVector* const vector = vector_in(value);
    MorvelVector* const turned = copy_to_vector(vector->count, vector->values);
    if (turned == nullptr) {
        return interp != nullptr ? memory_short(interp) : TCL_ERROR;
    }
    std::reverse(turned->values, turned->values + turned->count);
    *reverse = morvelVectorValue(interp, turned);
    return TCL_OK;
}
#endif

} // namespace

MorvelVector* copy_to_vector(int n, const float* values)
{
    MorvelVector* const vector = morvelAllocateVector(n);
    if (vector != nullptr && n > 0) {
        std::memcpy(vector->values, values, static_cast<std::size_t>(n) * sizeof(float));
    }
    return vector;
}

MorvelVector* vector_of_list(const DynList* list)
{
    assert(list->datatype != DFU_LIST);
    if (list->datatype == DFU_FLOAT) {
        return copy_to_vector(list->count, static_cast<const float*>(list->values));
    }
    MorvelVector* const vector = morvelAllocateVector(list->count);
    const auto* const numbers = static_cast<const int*>(list->values);
    for (int i = 0; vector != nullptr && i < list->count; ++i) {
        vector->values[i] = static_cast<float>(numbers[i]);
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
    assert(vector == nullptr || vector->references > 0);
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
    const bool is_vector =
        value->typePtr == &morvel::vector_type || value->typePtr == &morvel::text_vector_type;
    return is_vector ? morvel::vector_in(value) : nullptr;
}

MorvelVector* morvelVectorOfList(const DynList* list)
{
    return list->datatype == DFU_LIST ? nullptr : morvel::vector_of_list(list);
}

MorvelVector* morvelVectorOfBytes(Tcl_Interp* interp, Tcl_Obj* bytes)
{
    if (!morvel::start(interp)) {
        return nullptr;
    }
    DynList* const list = morvel::numbers_from_bytes(interp, DFU_FLOAT, bytes);
    if (list == nullptr) {
        return nullptr;
    }
    MorvelVector* const vector = morvelNewVector(list->count, static_cast<float*>(list->values));
    if (vector == nullptr) {
        morvel::memory_short(interp);
    } else {
        list->values = nullptr;
        list->count = list->capacity = 0;
    }
    dfuFreeDynList(list);
    return vector;
}

Tcl_Obj* morvelBytesOfFloats(Tcl_Interp* interp, int n, const float* values)
{
    if (!morvel::start(interp)) {
        return nullptr;
    }
    DynList list{};
    list.datatype = DFU_FLOAT;
    list.count = list.capacity = n;
    list.values = const_cast<float*>(values);
    return morvel::bytes_of(interp, &list);
}

int morvelGetVector(Tcl_Interp* interp, Tcl_Obj* value, MorvelVector** vector)
{
    MorvelVector* const own = morvelVectorIfAny(value);
    if (own != nullptr) {
        morvelHoldVector(own);
        *vector = own;
        return TCL_OK;
    }
    if (!morvel::start(interp)) {
        return TCL_ERROR;
    }
    const bool is_text = value->typePtr == nullptr;
    int count = 0;
    float* numbers = nullptr;
    if (morvel::floats_of_value(interp, value, morvel::Long::uninterrupted, &count, &numbers) != TCL_OK) {
        return TCL_ERROR;
    }
    MorvelVector* const made = morvelNewVector(count, numbers);
    if (made == nullptr) {
        std::free(numbers);
        return morvel::memory_short(interp);
    }
    // One number may well be used as a number next.
    if (is_text && value->typePtr == nullptr && count > 1) {
        morvelHoldVector(made);
        morvel::put_into(value, made, &morvel::text_vector_type);
    }
    *vector = made;
    return TCL_OK;
}

} // extern "C"
