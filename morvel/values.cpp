// Conversions between DynLists and Tcl values.
//
// Numbers go out as Tcl integers and doubles; a float widens exactly. They come
// in through Tcl's own readers, rounded to the nearest float. What a list cannot
// hold is refused: an integer beyond 32 bits, a finite number that would round
// to infinity. Inf, -Inf and NaN pass in both directions, so that what `get`
// gives `create` takes.
#include "values.hpp"

#include "registry.hpp"

#include <algorithm>
#include <cassert>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace morvel {

namespace {

// Tcl_GetIntFromObj lets 32-bit patterns up to 4294967295 wrap; a list does not.
int read_int(Tcl_Interp* interp, Tcl_Obj* value, int* number)
{
    Tcl_WideInt wide = 0;
    if (Tcl_GetWideIntFromObj(interp, value, &wide) != TCL_OK) {
        return TCL_ERROR;
    }
    if (wide < INT_MIN || wide > INT_MAX) {
        return too_large(interp, "IOVERFLOW", "integer value too large to represent");
    }
    *number = static_cast<int>(wide);
    return TCL_OK;
}

Tcl_Obj* write_number(int number)
{
    return Tcl_NewIntObj(number);
}

Tcl_Obj* write_number(float number)
{
    return Tcl_NewDoubleObj(static_cast<double>(number));
}

// Tcl ends the process when a list cannot be built, so ask first: no list of
// more elements than Tcl allows, and none for which a trial shows that memory is
// short. Small lists are not worth the trial.
int room_for_list(Tcl_Interp* interp, int count)
{
    // Its header included.
    constexpr long long max_elements = TCL_SIZE_MAX / static_cast<long long>(sizeof(Tcl_Obj*)) - 16;
    constexpr int worth_a_trial = 4096;
    if (static_cast<long long>(count) > max_elements) {
        Tcl_SetObjResult(interp, Tcl_ObjPrintf("max length of a Tcl list (%d elements) exceeded",
                                               static_cast<int>(max_elements)));
        Tcl_SetErrorCode(interp, "TCL", "MEMORY", nullptr);
        return TCL_ERROR;
    }
    if (count >= worth_a_trial) {
        void* const trial = dfuAllocate(static_cast<std::size_t>(count), sizeof(Tcl_Obj) + sizeof(Tcl_Obj*));
        if (trial == nullptr) {
            return memory_short(interp);
        }
        std::free(trial);
    }
    return TCL_OK;
}

// Elements are handed over by the chunk: one call for many, each still in the
// cache from its making.
template <class Number>
void append_numbers(Tcl_Obj* result, const Number* numbers, int begin, int end)
{
    constexpr int chunk_size = 64;
    Tcl_Obj* chunk[chunk_size];
    for (int done = begin; done < end;) {
        const int n = std::min(chunk_size, end - done);
        for (int i = 0; i < n; ++i) {
            chunk[i] = write_number(numbers[done + i]);
        }
        Tcl_ListObjReplace(nullptr, result, done, 0, n, chunk);
        done += n;
    }
}

void forget(Tcl_Obj* value)
{
    Tcl_IncrRefCount(value);
    Tcl_DecrRefCount(value);
}

template <class Number>
Tcl_Obj* number_list(Tcl_Interp* interp, const DynList* list, Long how)
{
    Tcl_Obj* const result = Tcl_NewListObj(list->count, nullptr); // empty, with room for all
    const int status = in_parts(interp, list->count, how, [&](int begin, int end) {
        append_numbers(result, static_cast<const Number*>(list->values), begin, end);
        return TCL_OK;
    });
    if (status != TCL_OK) {
        forget(result);
        return nullptr;
    }
    return result;
}

// `levels` bounds the recursion: how many lists of lists may still follow.
Tcl_Obj* value_within(Tcl_Interp* interp, const DynList* list, Long how, int levels)
{
    if (room_for_list(interp, list->count) != TCL_OK) {
        return nullptr;
    }
    if (list->datatype == DFU_INT) {
        return number_list<int>(interp, list, how);
    }
    if (list->datatype == DFU_FLOAT) {
        return number_list<float>(interp, list, how);
    }
    if (levels == 0) {
        nests_too_deep(interp);
        return nullptr;
    }
    Tcl_Obj* const result = Tcl_NewListObj(list->count, nullptr);
    for (int i = 0; i < list->count; ++i) {
        Tcl_Obj* const child = value_within(interp, static_cast<DynList**>(list->values)[i], how, levels - 1);
        if (child == nullptr) {
            forget(result);
            return nullptr;
        }
        Tcl_ListObjAppendElement(nullptr, result, child);
    }
    return result;
}

// The integer written in bytes [text, end), as Tcl reads one.
bool read_offset(const char* text, const char* end, Tcl_WideInt* offset)
{
    Tcl_Obj* const word = Tcl_NewStringObj(text, static_cast<Tcl_Size>(end - text));
    Tcl_IncrRefCount(word);
    const bool good = Tcl_GetWideIntFromObj(nullptr, word, offset) == TCL_OK;
    Tcl_DecrRefCount(word);
    return good;
}

bool is_blank(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// An index as `lindex` takes it: an integer or `end`, then perhaps a signed
// offset. False when it is not one. Beyond +-2^61 all indices are alike.
bool parse_index(Tcl_Obj* word, Tcl_WideInt last, Tcl_WideInt* index)
{
    constexpr Tcl_WideInt far = Tcl_WideInt{1} << 61;
    if (Tcl_GetWideIntFromObj(nullptr, word, index) == TCL_OK) {
        return true;
    }
    Tcl_Size length = 0;
    const char* const text = Tcl_GetStringFromObj(word, &length);
    const char* const end = text + length;
    const char* sign = text;
    if (length >= 3 && std::memcmp(text, "end", 3) == 0) {
        *index = last;
        sign += 3;
        if (sign == end) {
            return true;
        }
        if (*sign != '+' && *sign != '-') {
            return false;
        }
    } else {
        // The first sign past the start: one at the start belongs to the number.
        sign = std::find_if(text + std::min<Tcl_Size>(length, 1), end,
                            [](char c) { return c == '+' || c == '-'; });
        if (sign == end || is_blank(sign[-1]) || !read_offset(text, sign, index)) {
            return false;
        }
    }
    Tcl_WideInt offset = 0;
    // The offset may have a sign of its own, as in end-$n with a negative n.
    if (sign + 1 == end || is_blank(sign[1]) || !read_offset(sign + 1, end, &offset)) {
        return false;
    }
    offset = std::clamp(offset, -far, far);
    *index = std::clamp(*index, -far, far) + (*sign == '-' ? -offset : offset);
    return true;
}

int place_of(Tcl_Interp* interp, const DynList* list, Tcl_Obj* word, int* place)
{
    Tcl_WideInt index = 0;
    if (morvelGetIndex(interp, word, list->count, &index) != TCL_OK) {
        return TCL_ERROR;
    }
    if (index < 0 || index >= list->count) {
        Tcl_SetObjResult(interp, Tcl_ObjPrintf("index \"%s\" out of range", Tcl_GetString(word)));
        Tcl_SetErrorCode(interp, "MORVEL", "VALUE", "INDEX", Tcl_GetString(word), nullptr);
        return TCL_ERROR;
    }
    *place = static_cast<int>(index);
    return TCL_OK;
}

// A byte array holds characters up to 255; Tcl would cut others down to their
// low byte. In UTF-8 the first byte of a larger character is 0xC4 or more. A
// value that was made as bytes and has no string needs no look.
bool is_bytes(Tcl_Obj* value)
{
    const bool made_as_bytes =
        value->typePtr != nullptr && std::strcmp(value->typePtr->name, "bytearray") == 0;
    if (made_as_bytes && value->bytes == nullptr) {
        return true;
    }
    Tcl_Size length = 0;
    const auto* const text = reinterpret_cast<const unsigned char*>(Tcl_GetStringFromObj(value, &length));
    unsigned char largest = 0; // no early exit: the compiler takes many bytes at a time
    for (Tcl_Size i = 0; i < length; ++i) {
        largest = std::max(largest, text[i]);
    }
    return largest < 0xC4;
}

} // namespace

int too_large(Tcl_Interp* interp, const char* kind, const char* message)
{
    Tcl_SetObjResult(interp, Tcl_NewStringObj(message, -1));
    Tcl_SetErrorCode(interp, "ARITH", kind, message, nullptr); // as Tcl itself does
    return TCL_ERROR;
}

// The length first: a list whose elements Tcl makes when they are asked for may
// have more of them than memory would hold.
int elements_of(Tcl_Interp* interp, Tcl_Obj* values, int* count, Tcl_Obj*** elements)
{
    Tcl_Size length = 0;
    if (Tcl_ListObjLength(interp, values, &length) != TCL_OK ||
        element_count(interp, length, count) != TCL_OK) {
        return TCL_ERROR;
    }
    return Tcl_ListObjGetElements(interp, values, &length, elements);
}

HeldElements::~HeldElements()
{
    if (copy_ != nullptr) {
        Tcl_DecrRefCount(copy_);
    }
}

int HeldElements::get(Tcl_Interp* interp, Tcl_Obj* values)
{
    if (elements_of(interp, values, &count, &elements) != TCL_OK) {
        return TCL_ERROR;
    }
    if (count <= part_of_long) {
        return TCL_OK;
    }
    copy_ = Tcl_DuplicateObj(values);
    Tcl_IncrRefCount(copy_);
    return elements_of(interp, copy_, &count, &elements);
}

DynList* ints_from_value(Tcl_Interp* interp, Tcl_Obj* values)
{
    HeldElements given;
    if (given.get(interp, values) != TCL_OK) {
        return nullptr;
    }
    DynList* const list = dfuCreateDynList(DFU_INT, given.count);
    if (list == nullptr) {
        memory_short(interp);
        return nullptr;
    }
    auto* const numbers = static_cast<int*>(list->values);
    const int status = in_parts(interp, given.count, Long::interruptible, [&](int begin, int end) {
        for (int i = begin; i < end; ++i) {
            if (read_int(interp, given.elements[i], &numbers[i]) != TCL_OK) {
                return TCL_ERROR;
            }
        }
        return TCL_OK;
    });
    if (status != TCL_OK) {
        dfuFreeDynList(list);
        return nullptr;
    }
    list->count = given.count;
    return list;
}

DynList* floats_from_value(Tcl_Interp* interp, Tcl_Obj* values)
{
    int count = 0;
    float* numbers = nullptr;
    if (floats_of_value(interp, values, Long::interruptible, &count, &numbers) != TCL_OK) {
        return nullptr;
    }
    DynList* const list = dfuCreateDynListWithVals(DFU_FLOAT, count, numbers);
    if (list == nullptr) {
        std::free(numbers);
        memory_short(interp);
    }
    return list;
}

Tcl_Obj* value_of(Tcl_Interp* interp, const DynList* list, Long how)
{
    return value_within(interp, list, how, MORVEL_MAX_NESTING);
}

Tcl_Obj* value_at(Tcl_Interp* interp, const DynList* list, int path_length, Tcl_Obj* const path[])
{
    for (int i = 0; i < path_length; ++i) {
        int place = 0;
        if (place_of(interp, list, path[i], &place) != TCL_OK) {
            return nullptr;
        }
        if (list->datatype == DFU_LIST) {
            list = static_cast<DynList* const*>(list->values)[place];
            continue;
        }
        if (i + 1 < path_length) {
            Tcl_SetObjResult(interp, Tcl_ObjPrintf("index \"%s\" leads into a number, which has no elements",
                                                   Tcl_GetString(path[i + 1])));
            Tcl_SetErrorCode(interp, "MORVEL", "VALUE", "INDEX", Tcl_GetString(path[i + 1]), nullptr);
            return nullptr;
        }
        return list->datatype == DFU_INT ? write_number(static_cast<const int*>(list->values)[place])
                                         : write_number(static_cast<const float*>(list->values)[place]);
    }
    return value_of(interp, list, Long::interruptible);
}

DynList* numbers_from_bytes(Tcl_Interp* interp, int datatype, Tcl_Obj* bytes)
{
    static_assert(sizeof(int) == 4 && sizeof(float) == 4);
    if (!is_bytes(bytes)) {
        Tcl_SetObjResult(interp, Tcl_NewStringObj("expected bytes but got characters beyond \\xff", -1));
        Tcl_SetErrorCode(interp, "MORVEL", "VALUE", "BYTES", nullptr);
        return nullptr;
    }
    Tcl_Size length = 0;
    const unsigned char* const data = Tcl_GetByteArrayFromObj(bytes, &length);
    if (length % 4 != 0) {
        Tcl_SetObjResult(
            interp,
            Tcl_ObjPrintf("expected whole 4-byte numbers but got %" TCL_SIZE_MODIFIER "d bytes", length));
        Tcl_SetErrorCode(interp, "MORVEL", "VALUE", "BYTES", nullptr);
        return nullptr;
    }
    int count = 0;
    if (element_count(interp, length / 4, &count) != TCL_OK) {
        return nullptr;
    }
    assert(datatype == DFU_INT || datatype == DFU_FLOAT);
    DynList* const list = dfuCreateDynList(datatype, count);
    if (list == nullptr) {
        memory_short(interp);
        return nullptr;
    }
    if (length > 0) {
        std::memcpy(list->values, data, static_cast<std::size_t>(length));
    }
    list->count = count;
    return list;
}

Tcl_Obj* bytes_of(Tcl_Interp* interp, const DynList* list)
{
    assert(list->datatype != DFU_LIST);
    constexpr int header = 64; // more than Tcl puts before the bytes
    if (static_cast<long long>(list->count) > (TCL_SIZE_MAX - header) / 4) {
        Tcl_SetObjResult(interp, Tcl_NewStringObj("max size of a Tcl value (2147483647 bytes) exceeded", -1));
        Tcl_SetErrorCode(interp, "TCL", "MEMORY", nullptr);
        return nullptr;
    }
    const Tcl_Size length = static_cast<Tcl_Size>(list->count) * 4;
    void* const trial = dfuAllocate(static_cast<std::size_t>(length) + header, 1);
    if (trial == nullptr) {
        memory_short(interp);
        return nullptr;
    }
    std::free(trial);
    return Tcl_NewByteArrayObj(static_cast<const unsigned char*>(list->values), length);
}

} // namespace morvel

extern "C" int morvelGetIndex(Tcl_Interp* interp, Tcl_Obj* word, int count, Tcl_WideInt* index)
{
    if (!morvel::start(interp)) {
        return TCL_ERROR;
    }
    if (morvel::parse_index(word, static_cast<Tcl_WideInt>(count) - 1, index)) {
        return TCL_OK;
    }
    Tcl_SetObjResult(interp,
                     Tcl_ObjPrintf("bad index \"%s\": must be integer?[+-]integer? or end?[+-]integer?",
                                   Tcl_GetString(word)));
    Tcl_SetErrorCode(interp, "TCL", "VALUE", "INDEX", nullptr);
    return TCL_ERROR;
}

static int put_values(Tcl_Interp* interp, const DynList* list, morvel::Long how)
{
    if (!morvel::start(interp)) {
        return TCL_ERROR;
    }
    Tcl_Obj* const value = morvel::value_of(interp, list, how);
    if (value == nullptr) {
        return TCL_ERROR;
    }
    Tcl_SetObjResult(interp, value);
    return TCL_OK;
}

extern "C" int tclDynListToTclList(Tcl_Interp* interp, DynList* list)
{
    return put_values(interp, list, morvel::Long::uninterrupted);
}

extern "C" int morvelPutValues(Tcl_Interp* interp, const DynList* list)
{
    return put_values(interp, list, morvel::Long::interruptible);
}
