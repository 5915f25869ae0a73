// What the constrained minimiser does with its active set at a tolerance: finds
// feasible points and search directions, measures how far a direction may be
// followed, updates the inverse Hessian, and reduces the tolerance.
//
// A constraint is "near" when its residual is at most `tolerance` times its
// size. Directions do not run towards near constraints, so that a residual that
// is small but not zero cannot cut steps to almost nothing.
//
// M. J. D. Powell: A tolerant algorithm for linearly constrained optimization
// calculations, Mathematical Programming 45 (1989) 547-566; the scaling of Z:
// M. J. D. Powell: Updating conjugate directions by the BFGS formula,
// Mathematical Programming 38 (1987) 29-46.
#pragma once

#include "minimize/constrained/active_set.hpp"

namespace zavo::minimize {

// Why the constrained minimiser stopped; numbered as its drivers report it.
enum Status : int {
    refused = 0, // the problem was no problem; a terminal error is posted
    converged = 1,
    no_descent = 2,
    no_reduction = 3,
    running = 4,
    equalities_clash = 5,
    bounds_clash = 6,
    constraints_clash = 7,
    limit_used = 8,
    all_fixed = 9,
    stopped = 10 // the user asked for it; nothing is posted
};

// A search direction and what is known of it.
struct Direction {
    float slope;            // along the gradient
    float residual_squared; // of the Kuhn-Tucker conditions
    float cap;              // maximum feasible step
    int blocking;           // place of the constraint that sets the cap; -1 when none does
};

class TolerantSet {
public:
    // work: nvar*nvar + 11*nvar + ncon floats, of which take_vector() hands out
    // the last five vectors. list and multipliers are the caller's results.
    TolerantSet(const Constraints& constraints, float* work, int* list, float* multipliers);

    float* take_vector();

    // Sets up for the point x, which moves to the fixed variables' values.
    void start(float* x);
    // Keeps the equalities 1 ... neq, less those that follow from others, and moves x
    // to them. False when they contradict each other.
    bool keep_equalities(int neq, float* x);
    void list(int k) { set_.list(k); }

    // Moves x to where all listed constraints hold, the nearest place in the
    // norm of Z. Answers whether that worked, and in *moved whether x changed. spare:
    // n floats of work.
    bool find_feasible(float* x, bool* moved, float* spare);

    // Brings the active set up to date at x for gradient g and finds d.
    Direction direction(const float* x, const float* g, float* d);

    // x has got so far: raises the greatest magnitudes.
    void note_magnitudes(const float* x);
    void reset_magnitudes(const float* x);

    // BFGS update of Z for a step along the present direction: s is the change
    // of x, y that of the gradient; g is the gradient before it.
    void update(const float* g, const float* s, const float* y);

    // Makes the listed constraint at `place` active and sets x[j] to it exactly
    // when it is a bound.
    void activate(int place, float* x);

    // To at most a tenth, and below what the active residuals at x call for.
    void reduce_tolerance(const float* x);

    // Final multipliers for gradient g; zeros behind the active ones.
    void finish(const float* g);
    void clear_multipliers();

    int active() const { return set_.count(); }
    int kept() const { return set_.kept(); }
    float tolerance() const { return tolerance_; }
    float data_accuracy() const { return accuracy_; }

private:
    bool holds(int k, const float* x) const;
    bool keep_by_free_part(int neq, float* x);
    void refresh_residuals(const float* x);
    float residual(int k, const float* x) const;
    float size_now(int k, const float* x) const;
    float allowed_residual(int k, const float* x) const;
    bool near(int k, const float* x) const;
    bool crosses(int k, const float* d, float d_length, float* along) const;
    bool active_settled(const float* x);
    void settle_active(float* x, bool* moved);
    void set_active_bounds(float* x);
    int most_violated(const float* x, float limit, float* measure);
    void bring_violated_in(float* x, bool* moved);
    void refine_active(float* x);
    bool all_satisfied(const float* x);
    bool find_feasible_afresh(float* x, bool* moved, float* spare);
    void refine_exactly(float* x);
    void drop_wrong_signs(const float* g);
    int most_crossing(const float* x, const float* d, float limit, float* measure, float* along) const;
    void measure_cap(const float* x, const float* d, Direction* found) const;
    void scale_columns(float length);

    const Constraints& c_;
    ActiveSet set_;
    float* residuals_; // of the rows, at the point of the last refresh
    float* peak_;      // greatest magnitude reached by each variable
    float* rest_;      // Kuhn-Tucker residual
    float* v_;
    float* shift_;
    float* u_;
    float* next_vector_;
    float accuracy_ = 1.0F; // relative accuracy of the data
    float tolerance_ = 0.01F;
    float start_size_ = 0.0F; // greatest magnitude at the start
    float z_length_ = -1.0F;  // least length that columns of Z should have; negative before the first update
};

} // namespace zavo::minimize
