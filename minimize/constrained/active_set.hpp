// Linear constraints and the active set of the constrained minimiser.
//
// Constraints are numbered from 1: k = 1..ncon are the rows a_k.x <= b_k (or =
// b_k), k = ncon + j the lower bound -x[j] <= -xlb[j], k = ncon + nvar + j the
// upper bound x[j] <= xub[j], j = 1..nvar. Each has a normal, the gradient of
// its left-hand side.
//
// The active set is a list of constraints with independent normals, kept with
// a square matrix Z whose columns z_0 .. z_{n-1} satisfy
//     a_k . z_i = 0  where k is the i'-th active constraint and i > i',
// so that Z' N is upper triangular for the matrix N of active normals. Columns
// from `count` on span the directions that keep to all active constraints, and
// Z Z' approximates the inverse of the Hessian. n = 2 with the bound x[0] <= 1
// active: z_0 = (1, 0), z_1 = (0, 1).
//
// M. J. D. Powell: A tolerant algorithm for linearly constrained optimization
// calculations, Mathematical Programming 45 (1989) 547-566.
// D. Goldfarb, A. Idnani: A numerically stable dual method for solving strictly
// convex quadratic programs, Mathematical Programming 27 (1983) 1-33, for the
// way in which violated constraints are brought in.
#pragma once

#include <cassert>

namespace zavo::minimize {

// A normal whose part outside the active normals is smaller than this, relative
// to the whole, depends on them. A direction that runs towards a constraint by
// less, relative to the lengths of both, runs along it.
inline constexpr float parallel_part = 5e-6F;

class Constraints {
public:
    // a: ncon x n in column order with leading dimension lda.
    Constraints(int n, int ncon, const float* a, int lda, const float* b, const float* xlb, const float* xub)
        : n(n), ncon(ncon), a_(a), lda_(lda), b_(b), xlb_(xlb), xub_(xub)
    {
        assert(n >= 1 && ncon >= 0 && xlb != nullptr && xub != nullptr);
        assert(ncon == 0 || (a != nullptr && b != nullptr && lda >= ncon));
    }

    bool is_bound(int k) const { return k > ncon; }
    bool is_lower(int k) const // of a bound
    {
        assert(is_bound(k));
        return k <= ncon + n;
    }
    int lower(int j) const { return ncon + 1 + j; } // of variable j, from 0
    int upper(int j) const { return ncon + n + 1 + j; }
    int variable(int k) const
    {
        assert(is_bound(k) && k <= ncon + 2 * n);
        return (k - ncon - 1) % n;
    }
    float bound(int k) const { return is_lower(k) ? xlb_[variable(k)] : xub_[variable(k)]; }
    bool fixes(int j) const { return xlb_[j] == xub_[j]; }
    bool bounds_apart(int j) const { return xlb_[j] < xub_[j]; }
    // x[j] moved into its bounds, which NaN bounds leave alone.
    float within(int j, float x) const { return x < xlb_[j] ? xlb_[j] : (x > xub_[j] ? xub_[j] : x); }

    // Normal of constraint k times v; v += factor * normal.
    float along(int k, const float* v) const;
    void add_normal(int k, float factor, float* v) const;
    // Sum of |normal[j] * v[j]|: what the rounding errors of along() are measured by.
    float absolute_along(int k, const float* v) const;
    float normal_length(int k) const;

    // Right-hand minus left-hand side: not negative when satisfied.
    float residual(int k, const float* x) const;
    // The same, summed in double and rounded once.
    float exact_residual(int k, const float* x) const;
    // What residuals are measured by: |right-hand side| + sum of |normal[j]| * peak[j].
    float size(int k, const float* peak) const;

    const int n;
    const int ncon;

private:
    const float* a_;
    int lda_;
    const float* b_;
    const float* xlb_;
    const float* xub_;
};

class ActiveSet {
public:
    // z: n x n by columns; list: ncon + 2n places; v, r, change: n floats each of work.
    ActiveSet(const Constraints& constraints, float* z, int* list, float* v, float* r, float* change)
        : c_(constraints), n_(constraints.n), z_(z), list_(list), v_(v), r_(r), change_(change)
    {
        assert(z != nullptr && list != nullptr && v != r && r != change && v != change);
    }

    // Z = identity with the fixed variables' coordinates first, which become
    // active for good through their upper bounds.
    void start();

    // Puts constraint k behind the listed ones; it is considered from then on.
    void list(int k)
    {
        assert(k >= 1 && k <= c_.ncon + 2 * n_ && listed_ < c_.ncon + 2 * n_);
        list_[listed_++] = k;
    }

    int count() const { return count_; }   // active
    int kept() const { return kept_; }     // active for good: the first ones
    int listed() const { return listed_; } // active and considered
    int constraint(int place) const
    {
        assert(place >= 0 && place < listed_);
        return list_[place];
    }

    float* column(int i)
    {
        assert(i >= 0 && i < n_);
        return z_ + static_cast<long>(n_) * i;
    }

    // Takes an equality, not listed yet, for good. False when its normal
    // depends on those of the active constraints. x moves to where it holds.
    bool keep_equality(int k, float* x);

    bool has_kept(int k) const;
    // The length of the part of k's normal outside the active ones, relative to the
    // whole normal's; both in the norm of Z.
    float free_part(int k);

    // Brings the listed constraint at `place` in as active, by steps of the dual
    // method: y moves to where its violation, at present `violation`, is gone, at
    // the least cost in the norm of Z, and constraints whose multipliers in u
    // would become negative leave. u: a multiplier for every active constraint,
    // not negative behind the kept ones. False when the constraint cannot be
    // satisfied together with those that stay; y and u are consistent also then.
    bool bring_in(int place, float violation, float* u, float* y);

    // Makes the inactive constraint at `place` active; false when its normal
    // depends on the active ones.
    bool add(int place);
    // Ends the activity of the constraint at `place`, which stays listed.
    void remove(int place);

    // u: multipliers of the active constraints for gradient g, such that
    // rest = g + sum of u * normal is orthogonal to columns 0 .. count-1.
    void multipliers(const float* g, float* u, float* rest);
    // d = -Z2 Z2' g with Z2 the columns from `count` on.
    void direction(const float* g, float* d);
    // Rotates columns from `count` on so that v, their products with a vector, is
    // gathered in the first of them; the vector's products with the rest are 0.
    void gather(float* v);
    // The shift by columns 0 .. count-1 that takes every active residual at x
    // to 0.
    void shift_to_boundaries(const float* x, float* shift, bool exactly = false);

    // The active list to and from n floats' worth of work. What comes back is the list
    // alone, for a run that ends here: Z does not follow.
    void save_active(float* place) const;
    void restore_active(int count, const float* place);

    // Leaves only the kept constraints active, the others listed as they are, and
    // with `fresh` makes Z anew from the identity.
    void start_over(bool fresh);

private:
    // v = Z' normal of k; returns the squared length of the part from `count` on.
    float project(int k, float* v);
    void rotate_columns(int i, float* keep, float clear);
    void append(int place);
    bool depends(float free_part) const;
    void set_identity();
    int changes_of_multipliers(int k, const float* u);
    void raise(float t, bool dependent, float* u, float* y);

    const Constraints& c_;
    const int n_;
    float* z_;
    int* list_;
    float* v_;
    float* r_;
    float* change_;
    int count_ = 0;
    int kept_ = 0;
    int listed_ = 0;
};

} // namespace zavo::minimize
