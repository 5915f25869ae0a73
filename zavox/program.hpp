// The element-wise part of an expression: operations on vectors of one length, each result
// used once, run block by block so that everything between the operands and the result
// stays in L1.
#pragma once

#include "zavox/growing_array.hpp"
#include "zavox/wide/kernels.hpp"

namespace zavox {

class Program {
public:
    // A number, an operand of floats, or the result of an operation.
    struct Value {
        enum Kind : unsigned char { number, floats, result };
        Kind kind;
        int index;    // of the operand or operation
        double alone; // the number
    };
    static Value number(double x) { return {Value::number, 0, x}; }

    // An operand, which stays the caller's and must outlive the run. One that is
    // there already is not added again. False, as below, when memory is short.
    [[nodiscard]] bool add_floats(const float* values, Value* value);

    const float* floats(int i) const { return floats_[i]; }

    // The operation on values of this program, x alone or x, y or x, y, z. Numbers
    // alone are worked out at once and give a number.
    [[nodiscard]] bool add(wide::Operation operation, const Value values[], int count, Value* value);

    // Computes the result of the operation added last for n elements, rounded to
    // float. False, too, when interrupted.
    [[nodiscard]] bool run(int n, float* out) const;

    // An operation as it was added.
    struct Step {
        wide::Operation operation;
        int count;
        Value in[3];
    };

private:
    GrowingArray<const float*> floats_;
    GrowingArray<Step> steps_;
};

} // namespace zavox
