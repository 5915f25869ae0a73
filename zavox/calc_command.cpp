// zavox::calc: expressions over vectors and numbers.
//
// Tcl parses the expression into a tree of tokens. A first pass refuses operators
// and functions that have no meaning here, before anything is evaluated. The
// second one walks the tree with stacks of its own, so that no depth of an
// expression exhausts the processor's: it looks up variables and runs commands in
// the order in which expr would, works out numbers at once and collects what is to
// be done to vectors in a Program, which then runs over them block by block.
#include "zavox/arguments.hpp"
#include "zavox/program.hpp"
#include <tcl_generations.hpp>

#include <cmath>
#include <cstring>

namespace zavox {

namespace {

using wide::Operation;
using enum wide::Operation;

// ---- Operators and functions -------------------------------------------------------

struct OperatorRow {
    const char* text;
    int operands;
    Operation operation;
};

// clang-format off
constexpr OperatorRow operators[] = {
    {"-", 1, negate_},  {"!", 1, not_},
    {"+", 2, add_},     {"-", 2, subtract_},      {"*", 2, multiply_}, {"/", 2, divide_},
    {"%", 2, modulo_},  {"**", 2, pow_},
    {"<", 2, less_},    {"<=", 2, less_equal_},   {">", 2, greater_},  {">=", 2, greater_equal_},
    {"==", 2, equal_},  {"!=", 2, unequal_},
    {"&&", 2, and_},    {"||", 2, or_},           {"?", 3, choose_},
};

struct FunctionRow {
    const char* name;
    int min;
    int max; // -1: any number
    Operation operation;
};

constexpr FunctionRow functions[] = {
    {"abs", 1, 1, abs_},     {"acos", 1, 1, acos_},         {"asin", 1, 1, asin_},   {"atan", 1, 1, atan_},
    {"atan2", 2, 2, atan2_}, {"ceil", 1, 1, ceil_},         {"cos", 1, 1, cos_},     {"cosh", 1, 1, cosh_},
    {"exp", 1, 1, exp_},     {"floor", 1, 1, floor_},       {"fmod", 2, 2, fmod_},   {"hypot", 2, 2, hypot_},
    {"isfinite", 1, 1, isfinite_}, {"isnan", 1, 1, isnan_}, {"log", 1, 1, log_},     {"log10", 1, 1, log10_},
    {"max", 1, -1, max_},    {"min", 1, -1, min_},          {"pow", 2, 2, pow_},     {"round", 1, 1, round_},
    {"sin", 1, 1, sin_},     {"sinh", 1, 1, sinh_},         {"sqrt", 1, 1, sqrt_},   {"tan", 1, 1, tan_},
    {"tanh", 1, 1, tanh_},   {"trunc", 1, 1, trunc_},
};
// clang-format on

// The spelling of an operator or function in the expression.
struct Word {
    const char* start;
    std::size_t length;

    bool is(const char* text) const
    {
        return std::strlen(text) == length && std::memcmp(text, start, length) == 0;
    }
    // Operators that are words are refused as operators, in Tcl's newer versions, too.
    bool names_function() const
    {
        if (!((*start >= 'a' && *start <= 'z') || (*start >= 'A' && *start <= 'Z'))) {
            return false;
        }
        for (const char* op : {"eq", "ne", "in", "ni", "lt", "le", "gt", "ge"}) {
            if (is(op)) {
                return false;
            }
        }
        return true;
    }
};

const OperatorRow* find_operator(const Word& word, int operands)
{
    for (const OperatorRow& row : operators) {
        if (row.operands == operands && word.is(row.text)) {
            return &row;
        }
    }
    return nullptr;
}

const FunctionRow* find_function(const Word& word)
{
    for (const FunctionRow& row : functions) {
        if (word.is(row.name)) {
            return &row;
        }
    }
    return nullptr;
}

bool is_plus_sign(const Word& word, int operands)
{
    return operands == 1 && word.is("+");
}

int refuse(Tcl_Interp* interp, const char* before, const Word& word, const char* after)
{
    Tcl_Obj* const name = Tcl_NewStringObj(word.start, static_cast<int>(word.length));
    Tcl_IncrRefCount(name);
    const int status = fail(interp, Fault::expression, Tcl_GetString(name), quoted(before, name, after));
    Tcl_DecrRefCount(name);
    return status;
}

int refuse_count(Tcl_Interp* interp, const char* few_or_many, const Word& word)
{
    Tcl_SetObjResult(interp, Tcl_ObjPrintf("too %s arguments for math function \"%.*s\"", few_or_many,
                                           static_cast<int>(word.length), word.start));
    Tcl_SetErrorCode(interp, "TCL", "WRONGARGS", nullptr);
    return TCL_ERROR;
}

// ---- The parsed expression ---------------------------------------------------------

// Tokens of one expression, freed with this object.
class Tree {
public:
    Tree() = default;
    ~Tree()
    {
        if (parsed_) {
            Tcl_FreeParse(&parse_);
        }
    }
    Tree(const Tree&) = delete;
    Tree& operator=(const Tree&) = delete;

    int parse(Tcl_Interp* interp, Tcl_Obj* expression)
    {
        Tcl_Size length = 0;
        const char* const text = Tcl_GetStringFromObj(expression, &length);
        if (Tcl_ParseExpr(interp, text, length, &parse_) != TCL_OK) {
            return TCL_ERROR;
        }
        parsed_ = true;
        return TCL_OK;
    }

    int size() const { return static_cast<int>(parse_.numTokens); }
    const Tcl_Token& operator[](int i) const { return parse_.tokenPtr[i]; }
    Tcl_Token* at(int i) { return parse_.tokenPtr + i; }
    int behind(int i) const { return i + 1 + static_cast<int>(parse_.tokenPtr[i].numComponents); }
    Word word(int i) const
    {
        return {parse_.tokenPtr[i].start, static_cast<std::size_t>(parse_.tokenPtr[i].size)};
    }

    // Below the subexpression at i: whether an operator stands there, its operands.
    bool has_operator(int i) const { return parse_.tokenPtr[i + 1].type == TCL_TOKEN_OPERATOR; }
    int operand_count(int i) const
    {
        int count = 0;
        for (int k = i + 2; k < behind(i); k = behind(k)) {
            ++count;
        }
        return count;
    }

private:
    Tcl_Parse parse_;
    bool parsed_ = false;
};

int check_operator(Tcl_Interp* interp, const Word& word, int operands)
{
    if (!word.names_function()) {
        const bool known = is_plus_sign(word, operands) || find_operator(word, operands) != nullptr;
        return known ? TCL_OK : refuse(interp, "operator ", word, " has no meaning for vectors");
    }
    const FunctionRow* const row = find_function(word);
    if (row == nullptr) {
        return refuse(interp, "unknown function ", word, "");
    }
    if (operands < row->min) {
        return refuse_count(interp, "few", word);
    }
    if (row->max >= 0 && operands > row->max) {
        return refuse_count(interp, "many", word);
    }
    return TCL_OK;
}

int check_operators(Tcl_Interp* interp, const Tree& tree)
{
    for (int i = 0; i < tree.size(); ++i) {
        if (tree[i].type == TCL_TOKEN_SUB_EXPR && tree.has_operator(i) &&
            check_operator(interp, tree.word(i + 1), tree.operand_count(i)) != TCL_OK) {
            return TCL_ERROR;
        }
    }
    return TCL_OK;
}

// ---- Evaluation ----------------------------------------------------------------------

bool is_true(double number)
{
    return number != 0 && !std::isnan(number);
}

// A value on the stack: a number, or n elements.
struct Item {
    Program::Value value;
    int count; // -1 for a number
};

// What is to be done next.
struct Task {
    enum Kind : unsigned char {
        visit,     // evaluate the subexpression `token`
        apply,     // `operation` to the last `operands` values
        fold,      // `operation` to them from the left, two by two
        decide,    // the condition of the choice at `token` is known
        short_cut, // the left side of && or || at `token` is known
    };
    Kind kind;
    Operation operation;
    int token;
    int operands;
};

class Evaluation {
public:
    Evaluation(Tcl_Interp* interp, Tree& tree) : interp_(interp), tree_(tree) {}
    ~Evaluation()
    {
        for (int i = 0; i < held_.size(); ++i) {
            morvelReleaseVector(held_[i]);
        }
    }
    Evaluation(const Evaluation&) = delete;
    Evaluation& operator=(const Evaluation&) = delete;

    // Another code than TCL_OK and TCL_ERROR is that of a command in the expression.
    int run()
    {
        int status = schedule({Task::visit, negate_, 0, 0});
        while (status == TCL_OK && tasks_.size() > 0) {
            status = perform(tasks_.pop());
        }
        return status == TCL_OK ? put(items_[0]) : status;
    }

private:
    int schedule(const Task& task) { return tasks_.push(task) ? TCL_OK : memory_short(interp_); }
    int push(const Item& item) { return items_.push(item) ? TCL_OK : memory_short(interp_); }
    int push_number(double number) { return push({Program::number(number), -1}); }

    int perform(const Task& task)
    {
        switch (task.kind) {
        case Task::visit:
            return visit(task.token);
        case Task::apply:
            return apply(task.operation, task.operands);
        case Task::fold:
            return fold(task.operation, task.operands);
        case Task::decide:
            return decide(task.token);
        default:
            return take_short_cut(task.operation, task.token);
        }
    }

    int visit(int token)
    {
        if (tree_[token].type != TCL_TOKEN_SUB_EXPR) {
            return operand(token);
        }
        return tree_.has_operator(token) ? begin_operation(token)
                                         : schedule({Task::visit, negate_, token + 1, 0});
    }

    int begin_operation(int token)
    {
        const Word word = tree_.word(token + 1);
        const int operands = tree_.operand_count(token);
        const int first = token + 2;
        if (is_plus_sign(word, operands)) {
            return schedule({Task::visit, negate_, first, 0});
        }
        Task task{Task::apply, negate_, token, operands};
        if (word.names_function()) {
            task.operation = find_function(word)->operation;
            task.kind = task.operation == max_ || task.operation == min_ ? Task::fold : Task::apply;
        } else {
            task.operation = find_operator(word, operands)->operation;
            if (task.operation == and_ || task.operation == or_ || task.operation == choose_) {
                task.kind = task.operation == choose_ ? Task::decide : Task::short_cut;
                return schedule(task) == TCL_OK ? schedule({Task::visit, negate_, first, 0}) : TCL_ERROR;
            }
        }
        return schedule(task) == TCL_OK ? visit_in_order(first, tree_.behind(token)) : TCL_ERROR;
    }

    // The subexpressions from `first` on, the first of them next.
    int visit_in_order(int first, int end)
    {
        const int start = tasks_.size();
        for (int i = first; i < end; i = tree_.behind(i)) {
            if (schedule({Task::visit, negate_, i, 0}) != TCL_OK) {
                return TCL_ERROR;
            }
        }
        for (int low = start, high = tasks_.size() - 1; low < high; ++low, --high) {
            std::swap(tasks_[low], tasks_[high]);
        }
        return TCL_OK;
    }

    // ? : with its condition on the stack: the side that counts, or both.
    int decide(int token)
    {
        const int yes = tree_.behind(token + 2);
        const int no = tree_.behind(yes);
        const Item condition = items_.from_end(0);
        if (condition.count < 0) {
            items_.drop(1);
            return schedule({Task::visit, negate_, is_true(condition.value.alone) ? yes : no, 0});
        }
        return schedule({Task::apply, choose_, token, 3}) == TCL_OK ? visit_in_order(yes, tree_.behind(no))
                                                                    : TCL_ERROR;
    }

    int take_short_cut(Operation operation, int token)
    {
        const Item left = items_.from_end(0);
        const int right = tree_.behind(token + 2);
        Task next{Task::apply, operation, token, 2};
        if (left.count < 0) {
            items_.drop(1);
            if (is_true(left.value.alone) == (operation == or_)) {
                return push_number(operation == or_ ? 1 : 0);
            }
            next = {Task::apply, truth_, token, 1};
        }
        return schedule(next) == TCL_OK ? schedule({Task::visit, negate_, right, 0}) : TCL_ERROR;
    }

    // ---- Operations ------------------------------------------------------------

    int apply(Operation operation, int operands)
    {
        Program::Value values[3]{};
        int count = -1;
        for (int i = 0; i < operands; ++i) {
            const Item& item = items_.from_end(operands - 1 - i);
            if (combine(&count, item.count) != TCL_OK) {
                return TCL_ERROR;
            }
            values[i] = item.value;
        }
        items_.drop(operands);
        if (operation == pow_ && values[1].kind == Program::Value::number) {
            return power(values[0], values[1].alone, count);
        }
        if (operation == multiply_ && values[0].kind == Program::Value::floats &&
            values[1].kind == Program::Value::floats && values[0].index == values[1].index) {
            return add(square_, values, 1, count);
        }
        return add(operation, values, operands, count);
    }

    int fold(Operation operation, int operands)
    {
        Item left = items_.from_end(operands - 1);
        for (int i = operands - 2; i >= 0; --i) {
            const Item& right = items_.from_end(i);
            const Program::Value values[2] = {left.value, right.value};
            if (combine(&left.count, right.count) != TCL_OK) {
                return TCL_ERROR;
            }
            if (!program_.add(operation, values, 2, &left.value)) {
                return memory_short(interp_);
            }
        }
        items_.drop(operands);
        return push(left);
    }

    // Small whole powers are products, of which the square is exact to a rounding.
    int power(const Program::Value& base, double exponent, int count)
    {
        struct Row {
            double exponent;
            Operation operation;
        };
        constexpr Row rows[] = {{2, square_}, {3, cube_}, {4, fourth_}, {-1, reciprocal_}};
        if (exponent == 1) {
            return push({base, count});
        }
        for (const Row& row : rows) {
            if (row.exponent == exponent) {
                return add(row.operation, &base, 1, count);
            }
        }
        const Program::Value values[2] = {base, Program::number(exponent)};
        return add(pow_, values, 2, count);
    }

    int add(Operation operation, const Program::Value values[], int operands, int count)
    {
        Item item{{}, count};
        return program_.add(operation, values, operands, &item.value) ? push(item) : memory_short(interp_);
    }

    int combine(int* count, int other)
    {
        if (*count >= 0 && other >= 0 && *count != other) {
            return fail_lengths(interp_, *count, other);
        }
        *count = other >= 0 ? other : *count;
        return TCL_OK;
    }

    // ---- Operands --------------------------------------------------------------

    int operand(int token)
    {
        if (tree_[token].type == TCL_TOKEN_TEXT) {
            Tcl_Obj* const text = Tcl_NewStringObj(tree_[token].start, tree_[token].size);
            Tcl_IncrRefCount(text);
            const int status = push_operand(text);
            Tcl_DecrRefCount(text);
            return status;
        }
        // A word in quotes or braces holds the tokens that make it up.
        const bool is_word = tree_[token].type == TCL_TOKEN_WORD;
        const int parts = static_cast<int>(tree_[token].numComponents);
        const int status = Tcl_EvalTokensStandard(interp_, tree_.at(is_word ? token + 1 : token),
                                                  is_word ? parts : parts + 1);
        if (status != TCL_OK) {
            return status;
        }
        Tcl_Obj* const value = Tcl_GetObjResult(interp_);
        Tcl_IncrRefCount(value);
        Tcl_ResetResult(interp_);
        const int pushed = push_operand(value);
        Tcl_DecrRefCount(value);
        return pushed;
    }

    int push_operand(Tcl_Obj* word)
    {
        double number = 0;
        if (is_single(word) && read_single(word, &number)) {
            return push_number(number);
        }
        MorvelVector* vector = nullptr;
        if (get_vector(interp_, word, &vector) != TCL_OK) {
            return TCL_ERROR;
        }
        if (vector->count == 1) {
            number = static_cast<double>(vector->values[0]);
            morvelReleaseVector(vector);
            return push_number(number);
        }
        if (!held_.push(vector)) {
            morvelReleaseVector(vector);
            return memory_short(interp_);
        }
        Item item{{}, vector->count};
        // Empty vectors have no array to tell them apart, nor need one.
        return program_.add_floats(vector->values, &item.value) ? push(item) : memory_short(interp_);
    }

    // False for values that are lists of some length: asking them for a number would
    // make Tcl write them out.
    static bool is_single(Tcl_Obj* word)
    {
        if (morvelVectorIfAny(word) != nullptr) {
            return false;
        }
        Tcl_Size length = 1;
        const bool is_list =
            word->typePtr != nullptr && (std::strcmp(word->typePtr->name, "list") == 0 ||
                                         std::strcmp(word->typePtr->name, "arithseries") == 0);
        if (is_list) {
            Tcl_ListObjLength(nullptr, word, &length);
        }
        return length == 1;
    }

    // A number as expr reads it, or a word of truth.
    static bool read_single(Tcl_Obj* word, double* number)
    {
        if (get_number(nullptr, word, number) == TCL_OK) {
            return true;
        }
        int truth = 0;
        if (Tcl_GetBooleanFromObj(nullptr, word, &truth) != TCL_OK) {
            return false;
        }
        *number = truth;
        return true;
    }

    // ---- Result ----------------------------------------------------------------

    int put(const Item& item)
    {
        if (item.count < 0) {
            const auto rounded = static_cast<float>(item.value.alone);
            Tcl_SetObjResult(interp_, new_number(static_cast<double>(rounded)));
            return TCL_OK;
        }
        Vector result;
        if (item.value.kind == Program::Value::floats) {
            return put_operand(item.value.index);
        }
        if (result.allocate(interp_, item.count) != TCL_OK) {
            return TCL_ERROR;
        }
        const int status = as_long_work(interp_, [&](const zavo_long_work&) {
            const bool done = item.count == 0 || program_.run(item.count, result.writable());
            return done ? TCL_OK : memory_short(interp_);
        });
        return status == TCL_OK ? result.put(interp_) : status;
    }

    // The expression was a vector and nothing else.
    int put_operand(int index)
    {
        for (int i = 0; i < held_.size(); ++i) {
            if (held_[i]->values == program_.floats(index)) {
                morvelHoldVector(held_[i]);
                Tcl_SetObjResult(interp_, morvelVectorValue(interp_, held_[i]));
                return TCL_OK;
            }
        }
        return TCL_ERROR;
    }

    Tcl_Interp* interp_;
    Tree& tree_;
    Program program_;
    GrowingArray<Task> tasks_;
    GrowingArray<Item> items_;
    GrowingArray<MorvelVector*> held_;
};

} // namespace

// calc expression
int calc_command(ClientData, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[])
{
    if (objc != 2) {
        Tcl_WrongNumArgs(interp, 1, objv, "expression");
        return TCL_ERROR;
    }
    Tree tree;
    if (tree.parse(interp, objv[1]) != TCL_OK || check_operators(interp, tree) != TCL_OK) {
        return TCL_ERROR;
    }
    return Evaluation(interp, tree).run();
}

} // namespace zavox
