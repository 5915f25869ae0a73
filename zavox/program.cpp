#include "zavox/program.hpp"

#include "zavox/engine.hpp"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstdint>

namespace zavox {

namespace {

using wide::Kernels;
using wide::Operation;

// Doubles of a block at most: a register is then 4 KiB, so that half a dozen stay in
// the first cache.
constexpr int longest_block = 512;

int padded(int count)
{
    return (count + wide::granule - 1) / wide::granule * wide::granule;
}

double apply(const Kernels& kernels, Operation operation, const Program::Value values[], int count)
{
    double in[3][wide::granule] = {};
    for (int i = 0; i < count; ++i) {
        std::fill_n(in[i], wide::granule, values[i].alone);
    }
    double out[wide::granule];
    kernels.of[static_cast<int>(operation)](out, in[0], in[1], in[2], wide::granule);
    return out[0];
}

// What happens to each block, in order: an operand is widened into a register, or
// an operation combines registers.
struct Move {
    const float* floats; // or null:
    Operation operation;
    int out;
    int in[3];
};

bool same_bits(double a, double b)
{
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

// The moves of a program, with registers for its constants, which come first, and
// for its operands and results, which share theirs as they come and go.
class Schedule {
public:
    using Value = Program::Value;
    using Step = Program::Step;

    // False when memory is short.
    [[nodiscard]] bool make(const GrowingArray<const float*>& floats, const GrowingArray<Step>& steps)
    {
        if (!collect_constants(steps) || !note_last_uses(floats.size(), steps)) {
            return false;
        }
        for (int s = 0; s < steps.size(); ++s) {
            if (!plan(floats, steps[s], s)) {
                return false;
            }
        }
        return true;
    }

    const GrowingArray<Move>& moves() const { return moves_; }
    const GrowingArray<double>& constants() const { return constants_; }
    int registers() const { return registers_; }
    int result() const { return moves_[moves_.size() - 1].out; }

private:
    // The register of an operand of floats, and the last step to use it.
    struct Operand {
        int place; // -1 until it is needed
        int last_use;
    };

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

    bool plan(const GrowingArray<const float*>& floats, const Step& step, int step_no)
    {
        Move move{nullptr, step.operation, 0, {0, 0, 0}};
        for (int i = 0; i < step.count; ++i) {
            if (!find_input(floats, step.in[i], &move.in[i])) {
                return false;
            }
        }
        // What is used here for the last time may be overwritten by the result.
        for (int i = 0; i < step.count; ++i) {
            if (is_last_use(step.in[i], step_no) && !free_.push(move.in[i])) {
                return false;
            }
        }
        move.out = take_register();
        return results_.push(move.out) && moves_.push(move);
    }
    bool find_input(const GrowingArray<const float*>& floats, const Value& in, int* place)
    {
        if (in.kind == Value::number) {
            *place = find_constant(in.alone);
            return true;
        }
        if (in.kind == Value::result) {
            *place = results_[in.index];
            return true;
        }
        Operand& operand = operands_[in.index];
        if (operand.place < 0) {
            operand.place = take_register();
            if (!moves_.push({floats[in.index], {}, operand.place, {0, 0, 0}})) {
                return false;
            }
        }
        *place = operand.place;
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

// The last block may end within a granule; what lies behind its end is zero.
void widen(const Kernels& kernels, double* out, const float* values, int n)
{
    const int whole = n / wide::granule * wide::granule;
    kernels.widen(out, values, whole);
    if (whole < n) {
        float rest[wide::granule] = {};
        std::copy(values + whole, values + n, rest);
        kernels.widen(out + whole, rest, wide::granule);
    }
}

void narrow(const Kernels& kernels, float* out, const double* values, int n)
{
    const int whole = n / wide::granule * wide::granule;
    kernels.narrow(out, values, whole);
    if (whole < n) {
        float rest[wide::granule];
        kernels.narrow(rest, values + whole, wide::granule);
        std::copy(rest, rest + (n - whole), out + whole);
    }
}

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
    Schedule schedule;
    if (!schedule.make(floats_, steps_)) {
        return false;
    }
    const int block_size = std::min(longest_block, padded(n));
    const Blocks blocks(schedule.registers(), block_size);
    if (!blocks.made()) {
        return false;
    }
    const Kernels& kernels = wide::kernels();
    for (int k = 0; k < schedule.constants().size(); ++k) {
        std::fill_n(blocks.at(k), block_size, schedule.constants()[k]);
    }
    const double* const result = blocks.at(schedule.result());
    // The nanoseconds that an operation takes for an element.
    constexpr std::int64_t fast = 1;
    const auto nanoseconds_of_block = fast * block_size * schedule.moves().size();
    constexpr int blocks_at_once = 256; // between two looks whether to go on
    for (int done = 0; done < n; done += block_size) {
        if (done / block_size % blocks_at_once == blocks_at_once - 1 &&
            interrupted(blocks_at_once * nanoseconds_of_block)) {
            return false;
        }
        const int count = std::min(block_size, n - done);
        for (int m = 0; m < schedule.moves().size(); ++m) {
            const Move& move = schedule.moves()[m];
            if (move.floats != nullptr) {
                widen(kernels, blocks.at(move.out), move.floats + done, count);
            } else {
                kernels.of[static_cast<int>(move.operation)](blocks.at(move.out), blocks.at(move.in[0]),
                                                             blocks.at(move.in[1]), blocks.at(move.in[2]),
                                                             padded(count));
            }
        }
        narrow(kernels, out + done, result, count);
    }
    return true;
}

} // namespace zavox
