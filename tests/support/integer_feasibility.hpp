// Do linear constraints with integer data have a common point? Decided exactly: every
// number is an integer over one common denominator.
//
// J. Edmonds: Systems of distinct representatives and linear algebra (1967), for pivots
// without fractions, which divide by the last pivot and leave nothing. R. G. Bland: New
// finite pivoting rules for the simplex method (1977): of all candidates the one of the
// least number, so that no dictionary comes back.
#pragma once

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <numeric>
#include <vector>

namespace zavo::test {

class IntegerFeasibility {
public:
    explicit IntegerFeasibility(int n) : names_(static_cast<std::size_t>(n)) {}

    // a . x = b or a . x <= b, a of n elements.
    void add_equality(const std::vector<long long>& a, long long b) { equalities_.push_back(row_of(a, b)); }
    void add_inequality(const std::vector<long long>& a, long long b) { rows_.push_back(row_of(a, b)); }

    // Once only: the rows are used up.
    bool is_feasible() { return solve_equalities() && (free_variables_away(), find_vertex()); }

private:
    // A dictionary row: denominator * slack = first element + sum of the others times the
    // variables of the columns.
    using Row = std::vector<long long>;
    static Row row_of(const std::vector<long long>& a, long long b)
    {
        Row row{b};
        for (const long long element : a) {
            row.push_back(-element);
        }
        return row;
    }

    static long long times(long long a, long long b)
    {
        long long product = 0;
        if (__builtin_mul_overflow(a, b, &product)) {
            std::fputs("IntegerFeasibility: the numbers are too large\n", stderr);
            std::abort();
        }
        return product;
    }

    std::size_t columns() const { return names_.size(); }

    // The variable of the column and the slack of the row change places.
    void pivot(Row& row, std::size_t column)
    {
        const long long p = row[column];
        for (std::vector<Row>* const group : {&equalities_, &rows_}) {
            for (Row& other : *group) {
                if (&other == &row) {
                    continue;
                }
                const long long factor = other[column];
                for (std::size_t j = 0; j < other.size(); ++j) {
                    other[j] =
                        j == column ? factor : (times(p, other[j]) - times(factor, row[j])) / denominator_;
                }
            }
        }
        for (std::size_t j = 0; j < row.size(); ++j) {
            row[j] = j == column ? denominator_ : -row[j];
        }
        denominator_ = p;
        if (p < 0) {
            denominator_ = -p;
            for (std::vector<Row>* const group : {&equalities_, &rows_}) {
                for (Row& any : *group) {
                    for (long long& element : any) {
                        element = -element;
                    }
                }
            }
        }
    }

    static std::size_t first_not_zero(const Row& row)
    {
        std::size_t j = 1;
        while (j < row.size() && row[j] == 0) {
            ++j;
        }
        return j;
    }

    void drop_column(std::size_t column)
    {
        for (std::vector<Row>* const group : {&equalities_, &rows_}) {
            for (Row& row : *group) {
                row.erase(row.begin() + static_cast<std::ptrdiff_t>(column));
            }
        }
        names_.erase(names_.begin() + static_cast<std::ptrdiff_t>(column) - 1);
    }

    // An equality's slack is 0: its column goes, and the row of the variable, which may
    // have any value, goes too.
    bool solve_equalities()
    {
        while (!equalities_.empty()) {
            const std::size_t column = first_not_zero(equalities_.back());
            if (column > columns()) {
                if (equalities_.back()[0] != 0) {
                    return false;
                }
                equalities_.pop_back();
                continue;
            }
            pivot(equalities_.back(), column);
            equalities_.pop_back();
            drop_column(column);
        }
        return true;
    }

    // The variables leave the columns for those of slacks, which are not negative.
    void free_variables_away()
    {
        basic_.resize(rows_.size());
        std::iota(basic_.begin(), basic_.end(), 0);
        for (std::size_t column = 1; column <= columns();) {
            std::size_t r = 0;
            while (r < rows_.size() && rows_[r][column] == 0) {
                ++r;
            }
            if (r == rows_.size()) { // in no row that is left
                drop_column(column);
                continue;
            }
            pivot(rows_[r], column);
            names_[column - 1] = basic_[r];
            rows_.erase(rows_.begin() + static_cast<std::ptrdiff_t>(r));
            basic_.erase(basic_.begin() + static_cast<std::ptrdiff_t>(r));
            ++column;
        }
    }

    // Until no slack is negative where the columns are 0, or a row shows that its own
    // must be.
    bool find_vertex()
    {
        for (;;) {
            std::size_t worst = rows_.size();
            for (std::size_t r = 0; r < rows_.size(); ++r) {
                if (rows_[r][0] < 0 && (worst == rows_.size() || basic_[r] < basic_[worst])) {
                    worst = r;
                }
            }
            if (worst == rows_.size()) {
                return true;
            }
            std::size_t entering = 0;
            for (std::size_t j = 1; j <= columns(); ++j) {
                if (rows_[worst][j] > 0 && (entering == 0 || names_[j - 1] < names_[entering - 1])) {
                    entering = j;
                }
            }
            if (entering == 0) {
                return false;
            }
            pivot(rows_[worst], entering);
            std::swap(names_[entering - 1], basic_[worst]);
        }
    }

    long long denominator_ = 1; // positive
    std::vector<Row> equalities_;
    std::vector<Row> rows_;
    std::vector<int> names_; // of the columns, once those are slacks
    std::vector<int> basic_; // of the rows
};

} // namespace zavo::test
