// Floats from Tcl values. Plain decimals are read here; of everything else that
// Tcl takes for a number or a list, or refuses, Tcl is the judge, so that values
// and messages are its own. A number is rounded to double first, as Tcl's are,
// and then to float.
#include "values.hpp"

#include "plain_numbers.hpp"
#include "registry.hpp"
#include "vector.hpp"

#include <cmath>
#include <cstdlib>
#include <cstring>

namespace morvel {

namespace {

// A malloc() array of floats until somebody takes it.
class FloatArray {
public:
    FloatArray() = default;
    ~FloatArray() { std::free(values_); }
    FloatArray(const FloatArray&) = delete;
    FloatArray& operator=(const FloatArray&) = delete;

    int allocate(Tcl_Interp* interp, int count)
    {
        count_ = count;
        if (count > 0) {
            values_ = static_cast<float*>(dfuAllocate(static_cast<std::size_t>(count), sizeof(float)));
        }
        return count == 0 || values_ != nullptr ? TCL_OK : memory_short(interp);
    }
    float* values() const { return values_; }
    int hand_over(int* count, float** values)
    {
        *count = count_;
        *values = values_;
        values_ = nullptr;
        return TCL_OK;
    }

private:
    int count_ = 0;
    float* values_ = nullptr;
};

bool is_of_type(const Tcl_Obj* value, const char* type)
{
    return value->typePtr != nullptr && std::strcmp(value->typePtr->name, type) == 0;
}

// A value that is nothing but text so far.
bool is_text(const Tcl_Obj* value)
{
    return value->bytes != nullptr && (value->typePtr == nullptr || is_of_type(value, "string"));
}

// Reads one value after the other. Most of a list are of one type, and Tcl's doubles are
// told from the others by the address of their type once one has been seen.
class FloatReader {
public:
    int read(Tcl_Interp* interp, Tcl_Obj* value, float* number);

private:
    bool is_double(const Tcl_Obj* value)
    {
        if (value->typePtr != double_type_ && is_of_type(value, "double")) {
            double_type_ = value->typePtr;
        }
        return value->typePtr != nullptr && value->typePtr == double_type_;
    }
    const Tcl_ObjType* double_type_ = nullptr;
};

int FloatReader::read(Tcl_Interp* interp, Tcl_Obj* value, float* number)
{
    double wide = 0.0;
    const auto is_plain = [&] {
        return value->typePtr == nullptr && // and so a text
               read_plain_number(value->bytes, value->bytes + value->length, &wide);
    };
    if (is_double(value)) {
        wide = value->internalRep.doubleValue;
    } else if (!is_plain() && Tcl_GetDoubleFromObj(nullptr, value, &wide) != TCL_OK) {
        if (!is_double(value)) {
            return Tcl_GetDoubleFromObj(interp, value, &wide); // once more, for its message
        }
        wide = value->internalRep.doubleValue; // a NaN, which Tcl refuses after having parsed it
    }
    *number = static_cast<float>(wide);
    if (std::isinf(*number) && !std::isinf(wide)) {
        return too_large(interp, "OVERFLOW", "floating-point value too large to represent");
    }
    return TCL_OK;
}

// Plain numbers between blanks are read without making Tcl's list of them.
// TCL_CONTINUE when the text is anything else.
int floats_of_text(Tcl_Interp* interp, const Tcl_Obj* value, Long how, int* count, float** numbers)
{
    const char* text = value->bytes;
    const char* const end = text + value->length;
    int words = 0;
    FloatArray array;
    if (!count_words(text, end, &words)) {
        return TCL_CONTINUE;
    }
    if (array.allocate(interp, words) != TCL_OK) {
        return TCL_ERROR;
    }
    const int status = in_parts(interp, words, how, [&](int first, int last) {
        text = read_plain_floats(text, end, last - first, array.values() + first);
        return text != nullptr ? TCL_OK : TCL_CONTINUE;
    });
    return status == TCL_OK ? array.hand_over(count, numbers) : status;
}

int floats_of_elements(Tcl_Interp* interp, int given, Tcl_Obj* const elements[], Long how, int* count,
                       float** numbers)
{
    FloatArray array;
    if (array.allocate(interp, given) != TCL_OK) {
        return TCL_ERROR;
    }
    FloatReader reader;
    const int status = in_parts(interp, given, how, [&](int begin, int end) {
        for (int i = begin; i < end; ++i) {
            if (reader.read(interp, elements[i], array.values() + i) != TCL_OK) {
                return TCL_ERROR;
            }
        }
        return TCL_OK;
    });
    return status == TCL_OK ? array.hand_over(count, numbers) : status;
}

} // namespace

int floats_of_value(Tcl_Interp* interp, Tcl_Obj* value, Long how, int* count, float** numbers)
{
    const MorvelVector* const vector = morvelVectorIfAny(value);
    if (vector != nullptr) {
        FloatArray array;
        if (array.allocate(interp, vector->count) != TCL_OK) {
            return TCL_ERROR;
        }
        if (vector->count > 0) {
            std::memcpy(array.values(), vector->values,
                        static_cast<std::size_t>(vector->count) * sizeof(float));
        }
        return array.hand_over(count, numbers);
    }
    if (is_text(value)) {
        const int status = floats_of_text(interp, value, how, count, numbers);
        if (status != TCL_CONTINUE) {
            return status;
        }
    }
    // A number stays one: it would lose its own representation as a list.
    if (is_of_type(value, "double") || is_of_type(value, "int")) {
        return floats_of_elements(interp, 1, &value, how, count, numbers);
    }
    HeldElements given;
    if (given.get(interp, value) != TCL_OK) {
        return TCL_ERROR;
    }
    return floats_of_elements(interp, given.count, given.elements, how, count, numbers);
}

} // namespace morvel
