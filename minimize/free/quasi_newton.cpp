#include "minimize/free/quasi_newton.hpp"

namespace zavo::minimize {

template SearchEnd search_line(DifferenceGradient&, const Search&);
template SearchEnd search_line(UserGradient&, const Search&);
template FreeOutcome iterate(DifferenceGradient&, FreeProblem&, Controls&, float*);
template FreeOutcome iterate(UserGradient&, FreeProblem&, Controls&, float*);
template FreeOutcome minimize_free(DifferenceGradient&, FreeProblem&, Controls&, const float*, float*);
template FreeOutcome minimize_free(UserGradient&, FreeProblem&, Controls&, const float*, float*);

} // namespace zavo::minimize
