#include "zavox/program.hpp"

#include "zavox/engine.hpp"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstdint>
#include <iterator>

namespace zavox {

namespace {

using wide::Kernels;
using wide::Operation;

// Doubles of a block at most: a register is then 4 KiB, so that half a dozen stay in L1.
constexpr int longest_block = 512;

int padded(int count)
{
    return (count + wide::granule - 1) / wide::granule * wide::granule;
}

double apply(const Kernels& kernels, Operation operation, const Program::Value values[], int count)
{
    assert(count >= 1 && count <= 3);
    double in[3][wide::granule] = {};
    for (int i = 0; i < count; ++i) {
        std::fill_n(in[i], wide::granule, values[i].alone);
    }
    double out[wide::granule];
    kernels.of[static_cast<int>(operation)][0](out, in[0], in[1], in[2], wide::granule);
    return out[0];
}

// Where numbers of a block are: in a register, in an operand, or in the result.
struct Place {
    enum Kind : unsigned char { in_register, in_floats, in_result };
    Kind kind;
    int index; // of the register or operand
};

// What happens to each block, in order.
struct Move {
    wide::Kernel* kernel;
    Place out;
    Place in[3];
};

bool same_bits(double a, double b)
{
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

// The moves of a program, with registers for its constants, which come first, and
// for its operands and results, which share theirs as they come and go. Operations
// read operands and write the result of the program themselves where they can;
// otherwise a move of its own widens or rounds.
class Schedule {
public:
    using Value = Program::Value;
    using Step = Program::Step;

    // False when memory is short.
    [[nodiscard]] bool make(const Kernels& kernels, int operands, const GrowingArray<Step>& given)
    {
        kernels_ = &kernels;
        GrowingArray<Step> steps;
        if (!join(given, &steps) || !collect_constants(steps) || !note_last_uses(operands, steps)) {
            return false;
        }
        for (int s = 0; s + 1 < steps.size(); ++s) {
            if (!plan(steps[s], s)) {
                return false;
            }
        }
        return plan_last(steps[steps.size() - 1], steps.size() - 1);
    }

    const GrowingArray<Move>& moves() const { return moves_; }
    const GrowingArray<double>& constants() const { return constants_; }
    int registers() const { return registers_; }

private:
    // The register of an operand of floats, and the last step to use it.
    struct Operand {
        int place; // -1 until it is needed
        int last_use;
    };

    // Products that are at once added or subtracted become one step of three operands;
    // the step of the product stays behind without operands.
    [[nodiscard]] bool join(const GrowingArray<Step>& given, GrowingArray<Step>* steps)
    {
        const auto product = [&](const Value& in) -> Step* {
            Step* const from = in.kind == Value::result ? &(*steps)[in.index] : nullptr;
            return from != nullptr && from->operation == Operation::multiply_ ? from : nullptr;
        };
        for (int s = 0; s < given.size(); ++s) {
            Step step = given[s];
            if (step.operation == Operation::add_ || step.operation == Operation::subtract_) {
                const bool adds = step.operation == Operation::add_;
                Step* const left = product(step.in[0]);
                Step* const right = product(step.in[1]);
                if (left != nullptr) {
                    step = {adds ? Operation::multiply_add_ : Operation::multiply_subtract_,
                            3,
                            {left->in[0], left->in[1], step.in[1]}};
                    left->count = 0;
                } else if (right != nullptr) {
                    step = {adds ? Operation::multiply_add_ : Operation::subtract_product_,
                            3,
                            {right->in[0], right->in[1], step.in[0]}};
                    right->count = 0;
                }
            }
            if (!steps->push(step)) {
                return false;
            }
        }
        return true;
    }

    int find_constant(double x) const
    {
        int k = 0;
        while (k < constants_.size() && !same_bits(constants_[k], x)) {
            ++k;
        }
        return k;
    }
    bool collect_constants(const GrowingArray<Step>& steps)
    {
        for (int s = 0; s < steps.size(); ++s) {
            for (int i = 0; i < steps[s].count; ++i) {
                const Value& in = steps[s].in[i];
                if (in.kind == Value::number && find_constant(in.alone) == constants_.size() &&
                    !constants_.push(in.alone)) {
                    return false;
                }
            }
        }
        registers_ = constants_.size();
        return true;
    }
    bool note_last_uses(int operands, const GrowingArray<Step>& steps)
    {
        for (int i = 0; i < operands; ++i) {
            if (!operands_.push({-1, -1})) {
                return false;
            }
        }
        for (int s = 0; s < steps.size(); ++s) {
            for (int i = 0; i < steps[s].count; ++i) {
                if (steps[s].in[i].kind == Value::floats) {
                    operands_[steps[s].in[i].index].last_use = s;
                }
            }
        }
        return true;
    }

    int take_register() { return free_.size() > 0 ? free_.pop() : registers_++; }

    wide::Kernel* kernel_for(Operation operation, int form = 0) const
    {
        return kernels_->of[static_cast<int>(operation)][form];
    }
    // Of a form: that operand i is read as floats.
    static constexpr int reads_floats(int i) { return wide::floats_x << i; }
    // The form that reads those operands that have no register yet as they are, out of
    // the forms that there are.
    int form_of(const Step& step) const
    {
        int form = 0;
        for (int i = 0; i < step.count; ++i) {
            const Value& in = step.in[i];
            if (in.kind == Value::floats && operands_[in.index].place < 0 &&
                kernel_for(step.operation, form | reads_floats(i)) != nullptr) {
                form |= reads_floats(i);
            }
        }
        return form;
    }

    bool plan(const Step& step, int step_no)
    {
        Move move{};
        if (step.count == 0) {
            return results_.push(-1);
        }
        if (!begin(step, step_no, form_of(step), &move)) {
            return false;
        }
        move.out = {Place::in_register, take_register()};
        return results_.push(move.out.index) && moves_.push(move);
    }
    bool plan_last(const Step& step, int step_no)
    {
        int form = form_of(step);
        if (kernel_for(step.operation, form | wide::floats_out) != nullptr) {
            Move move{};
            form |= wide::floats_out;
            move.out = {Place::in_result, 0};
            return begin(step, step_no, form, &move) && moves_.push(move);
        }
        if (!plan(step, step_no)) {
            return false;
        }
        const Place result = moves_[moves_.size() - 1].out;
        return moves_.push({kernel_for(Operation::copy_, wide::floats_out), {Place::in_result, 0}, {result}});
    }
    // The kernel and operands of a move.
    bool begin(const Step& step, int step_no, int form, Move* move)
    {
        move->kernel = kernel_for(step.operation, form);
        for (int i = 0; i < step.count; ++i) {
            if (!find_input(step.in[i], (form & reads_floats(i)) != 0, &move->in[i])) {
                return false;
            }
        }
        // What is used here for the last time may be overwritten by the result.
        for (int i = 0; i < step.count; ++i) {
            if (is_last_use(step.in[i], step_no) && move->in[i].kind == Place::in_register &&
                !free_.push(move->in[i].index)) {
                return false;
            }
        }
        return true;
    }
    bool find_input(const Value& in, bool as_floats, Place* place)
    {
        if (as_floats) {
            *place = {Place::in_floats, in.index};
            return true;
        }
        place->kind = Place::in_register;
        if (in.kind == Value::number) {
            place->index = find_constant(in.alone);
            return true;
        }
        if (in.kind == Value::result) {
            place->index = results_[in.index];
            return true;
        }
        Operand& operand = operands_[in.index];
        if (operand.place < 0) {
            operand.place = take_register();
            const Place widened{Place::in_register, operand.place};
            if (!moves_.push({kernel_for(Operation::copy_, wide::floats_x),
                              widened,
                              {{Place::in_floats, in.index}}})) {
                return false;
            }
        }
        place->index = operand.place;
        return true;
    }
    // An operand that stands twice in a step is given back once.
    bool is_last_use(const Value& in, int step_no)
    {
        if (in.kind != Value::floats) {
            return in.kind == Value::result;
        }
        const bool last = operands_[in.index].last_use == step_no;
        operands_[in.index].last_use = last ? -1 : operands_[in.index].last_use;
        return last;
    }

    const Kernels* kernels_ = nullptr;
    GrowingArray<Move> moves_;
    GrowingArray<double> constants_;
    GrowingArray<Operand> operands_;
    GrowingArray<int> results_; // the register of each step's
    GrowingArray<int> free_;
    int registers_ = 0;
};

// The registers, each at the start of a cache line.
class Blocks {
public:
    Blocks(int count, int size) : size_(size)
    {
        constexpr std::size_t line = 64;
        const std::size_t doubles =
            static_cast<std::size_t>(count) * static_cast<std::size_t>(size) + line / sizeof(double);
        storage_ = static_cast<double*>(dfuAllocate(doubles, sizeof(double)));
        const auto address = reinterpret_cast<std::uintptr_t>(storage_);
        start_ = storage_ + (line - address % line) % line / sizeof(double);
    }
    ~Blocks() { std::free(storage_); }
    Blocks(const Blocks&) = delete;
    Blocks& operator=(const Blocks&) = delete;

    bool made() const { return storage_ != nullptr; }
    double* at(int place) const { return start_ + static_cast<std::ptrdiff_t>(place) * size_; }

private:
    int size_;
    double* storage_;
    double* start_;
};

} // namespace

bool Program::add_floats(const float* values, Value* value)
{
    int i = 0;
    while (i < floats_.size() && floats_[i] != values) {
        ++i;
    }
    if (i == floats_.size() && !floats_.push(values)) {
        return false;
    }
    *value = {Value::floats, i, 0};
    return true;
}

bool Program::add(Operation operation, const Value values[], int count, Value* value)
{
    if (std::all_of(values, values + count, [](const Value& v) { return v.kind == Value::number; })) {
        *value = number(apply(wide::kernels(), operation, values, count));
        return true;
    }
    Step step{operation, count, {}};
    assert(count >= 1 && count <= static_cast<int>(std::size(step.in)));
    std::copy(values, values + count, step.in);
    if (!steps_.push(step)) {
        return false;
    }
    *value = {Value::result, steps_.size() - 1, 0};
    return true;
}

bool Program::run(int n, float* out) const
{
    assert(steps_.size() > 0);
    const Kernels& kernels = wide::kernels();
    Schedule schedule;
    if (!schedule.make(kernels, floats_.size(), steps_)) {
        return false;
    }
    const int block_size = std::min(longest_block, padded(n));
    const Blocks blocks(schedule.registers(), block_size);
    if (!blocks.made()) {
        return false;
    }
    for (int k = 0; k < schedule.constants().size(); ++k) {
        std::fill_n(blocks.at(k), block_size, schedule.constants()[k]);
    }
    // One block: operand i from operands(i) on, the result to `result`.
    const auto perform = [&](const auto& operands, float* result, int count) {
        const auto address = [&](const Place& place) -> const void* {
            return place.kind == Place::in_floats ? static_cast<const void*>(operands(place.index))
                                                  : blocks.at(place.index);
        };
        for (int m = 0; m < schedule.moves().size(); ++m) {
            const Move& move = schedule.moves()[m];
            void* const to =
                move.out.kind == Place::in_result ? static_cast<void*>(result) : blocks.at(move.out.index);
            move.kernel(to, address(move.in[0]), address(move.in[1]), address(move.in[2]), count);
        }
    };
    const int whole = n / wide::granule * wide::granule;
    // The nanoseconds that an operation takes for an element.
    constexpr std::int64_t fast = 1;
    const auto nanoseconds_of_block = fast * block_size * schedule.moves().size();
    constexpr int blocks_at_once = 256; // between two looks whether to go on
    for (int done = 0; done < whole; done += block_size) {
        if (done / block_size % blocks_at_once == blocks_at_once - 1 &&
            interrupted(blocks_at_once * nanoseconds_of_block)) {
            return false;
        }
        perform([&](int i) { return floats_[i] + done; }, out + done, std::min(block_size, whole - done));
    }
    if (whole == n) {
        return true;
    }
    // Only a part of the last granule lies within the arrays; the rest of it is zero.
    GrowingArray<float> rests;
    for (int i = 0; i < floats_.size(); ++i) {
        for (int k = whole; k < whole + wide::granule; ++k) {
            if (!rests.push(k < n ? floats_[i][k] : 0)) {
                return false;
            }
        }
    }
    float result[wide::granule];
    perform([&](int i) { return &rests[i * wide::granule]; }, result, wide::granule);
    std::copy_n(result, n - whole, out + whole);
    return true;
}

} // namespace zavox
