// Conventions that the commands share: subcommands, options, vectors in and out,
// errors. Functions that return an int return TCL_OK, or TCL_ERROR with the
// message in the result and words in errorCode.
#pragma once

#include "zavox/zavox.hpp"

#include <utility>

namespace zavox {

// ---- Errors ------------------------------------------------------------------

// The second word of errorCode, behind ZAVOX.
enum class Fault { length, empty, expression, value };

// A message of the package; `word` is the offending one, the last of errorCode.
int fail(Tcl_Interp* interp, Fault fault, const char* word, Tcl_Obj* message);
int fail(Tcl_Interp* interp, Fault fault, const char* word, const char* message);

// `mean of an empty vector` for what = "mean".
int fail_empty(Tcl_Interp* interp, const char* what);

// `cannot combine vectors of 3 and 4 values`.
int fail_lengths(Tcl_Interp* interp, int length, int other);

// The word in quotation marks for a message, cut where it is long.
Tcl_Obj* quoted(const char* before, Tcl_Obj* word, const char* after = "");

// The words of a list, with a count that is an int: a longer list is refused. Without
// an interpreter no message is left.
int get_words(Tcl_Interp* interp, Tcl_Obj* list, int* count, Tcl_Obj*** words);

// "not enough memory", as morvel says it.
int memory_short(Tcl_Interp* interp);

// The library's last error: its message, and ZAVO type code routine.
int library_failure(Tcl_Interp* interp);

// ---- Subcommands and options ---------------------------------------------------

// A table of these ends with a row whose name is null.
struct Subcommand {
    const char* name;
    int min_words; // that follow the subcommand
    int max_words; // -1: any number
    const char* usage;
    Command* procedure; // gets all words of the call
};

// Finds the subcommand, counts its words and calls it.
int run_subcommand(const Subcommand* table, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]);

// False, with `wrong # args: should be "..."` in the result, when the words from
// objv[kept] on are not min ... max (-1: any number). kept is 1 for a command, 2
// for a subcommand.
bool count_is_good(Tcl_Interp* interp, int objc, Tcl_Obj* const objv[], int kept, int min, int max,
                   const char* usage);

// The options behind the fixed words. A table ends with a row whose name is
// null and is static.
struct OptionRow {
    const char* name; // with its minus
    bool takes_value;
};

class OptionWords {
public:
    OptionWords(Tcl_Interp* interp, int objc, Tcl_Obj* const objv[], int first, const OptionRow* table)
        : interp_(interp), objc_(objc), objv_(objv), at_(first), table_(table)
    {
    }
    // Reads one option: *row is its place in the table, -1 after the last one;
    // *value its value, null when it takes none.
    int next(int* row, Tcl_Obj** value);

private:
    Tcl_Interp* interp_;
    int objc_;
    Tcl_Obj* const* objv_;
    int at_;
    const OptionRow* table_;
};

// ---- Long work -----------------------------------------------------------------------

// The status of work(), which the interpreter may end (see interrupted): then TCL_ERROR
// with the interpreter's error.
template <class Work>
int as_long_work(Tcl_Interp* interp, Work&& work)
{
    zavo_long_work state;
    engine().long_work_begin(&state, interp);
    return engine().long_work_end(&state, work(state));
}

// ---- Numbers and vectors ----------------------------------------------------------

// An integer of at least `low`; `what` names it in the message.
int get_count(Tcl_Interp* interp, Tcl_Obj* word, int low, const char* what, int* count);

// A double as a Tcl value. A NaN loses its sign, which Tcl would show and which
// processors set differently.
Tcl_Obj* new_number(double number);

// A double; Inf and NaN are numbers, too.
int get_number(Tcl_Interp* interp, Tcl_Obj* word, double* number);

// A vector from a word of a call: a vector, a list of numbers, one number, or the
// name of a list of floats or integers. *vector carries a reference of the caller's.
int get_vector(Tcl_Interp* interp, Tcl_Obj* word, MorvelVector** vector);

// A vector that a command reads or makes. It keeps its own reference, so that it
// stays whatever a script does meanwhile.
class Vector {
public:
    Vector() = default;
    ~Vector() { morvelReleaseVector(vector_); }
    Vector(const Vector&) = delete;
    Vector& operator=(const Vector&) = delete;
    Vector(Vector&& other) noexcept : vector_(std::exchange(other.vector_, nullptr)) {}
    Vector& operator=(Vector&& other) noexcept
    {
        std::swap(vector_, other.vector_);
        return *this;
    }

    // From a word of a call, see get_vector.
    int get(Tcl_Interp* interp, Tcl_Obj* word) { return get_vector(interp, word, &vector_); }

    // A new one of n floats to be filled.
    int allocate(Tcl_Interp* interp, int n);

    // Before it has got or made one it is empty.
    int size() const { return vector_ != nullptr ? vector_->count : 0; }
    bool empty() const { return size() == 0; }
    const float* data() const { return vector_ != nullptr ? vector_->values : nullptr; }
    float operator[](int i) const { return data()[i]; }
    // Only for a vector that this object has allocated.
    float* writable() { return vector_ != nullptr ? vector_->values : nullptr; }

    // A Tcl value; this object keeps nothing. put() makes it the result.
    Tcl_Obj* value(Tcl_Interp* interp);
    int put(Tcl_Interp* interp);

private:
    MorvelVector* vector_ = nullptr;
};

} // namespace zavox
