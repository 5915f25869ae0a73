// Every error code that the library posts. The comment names the message
// parameters that the poster sets: I integer, R real, C complex, S string. The
// catalogue's symbolic name of a code is the enumerator in upper case.
#pragma once

namespace zavo::core::code {

enum ErrorCode : int {
    // entry frame, options, argument checks
    fault_trapped = 102,        // -
    bad_option = 103,           // I1 code, I2 its place in the argument list
    null_array = 104,           // S1 argument, S2 option
    bad_level = 122,            // I1 low, I2 high, I3 value, S1 argument
    out_of_range = 132,         // I1 low, I2 high, I3 value, S1 argument
    bad_error_type = 160,       // -
    out_of_memory = 200,        // -
    no_memory_for_array = 201,  // S1 argument, I1 value
    no_memory_for_arrays = 202, // S1, I1 first argument; S2, I2 second argument
    interrupt = 502,            // -
    illegal_instruction = 504,  // -
    abnormal_end = 506,         // -
    floating_point_fault = 508, // -
    segment_violation = 511,    // -
    argument_above = 601,       // I1 value, I2 bound, S1 argument, S2 name of the bound
    argument_outside = 602,     // I1 value, I2 low, I3 high, S1 argument
    argument_below = 603,       // I1 value, I2 low, S1 argument
    complex_zero_divisor = 607, // -
    no_rows = 620,              // I1 value
    no_columns = 621,           // I1 value

    // convolution
    x_empty = 3111, // I1 nx
    y_empty = 3112, // I1 ny

    // Fourier transforms
    length_below_one = 6001,           // I1 n
    null_sequence = 6002,              // S1 argument
    rows_below_one = 6003,             // I1 value
    columns_below_one = 6004,          // I1 value
    backward_rows_below_one = 6005,    // I1 value
    backward_columns_below_one = 6006, // I1 value
    result_column_dimension = 6007,    // I1 dimension, I2 n
    input_column_dimension = 6008,     // I1 dimension, I2 n

    // unconstrained minimisation
    small_step = 8006,              // R1 step tolerance
    iteration_limit_reached = 8017, // I1 limit
    variables_below_one = 8020,     // I1 n
    function_limit_reached = 8029,  // I1 limit
    gradient_limit_reached = 8030,  // I1 limit
    hessian_limit_reached = 8031,   // I1 limit
    unbounded_steps = 8032,         // -
    one_variable = 8034,            // I1 n
    scale_not_positive = 8035,      // -
    bad_gradient_limit = 8039,      // I1 value, I2 replacement
    bad_hessian_limit = 8040,       // I1 value, I2 replacement
    bad_function_scale = 8041,      // R1 value, R2 replacement
    line_search_failed = 8049,      // R1 step tolerance
    no_function_progress = 8050,    // R1 relative function tolerance
    false_convergence = 8051,       // -
    bad_noise = 8052,               // R1 noise
    bad_step_tolerance = 8058,      // R1 value, R2 replacement
    bad_relative_tolerance = 8059,  // R1 value, R2 replacement
    bad_false_tolerance = 8060,     // R1 value, R2 replacement
    bad_absolute_tolerance = 8061,  // R1 value, R2 replacement
    bad_step_limit = 8062,          // R1 value, R2 replacement
    bad_trust_radius = 8063,        // R1 value, R2 replacement
    bad_good_digits = 8068,         // I1 value, I2 replacement
    bad_iteration_limit = 8069,     // I1 value, I2 replacement
    bad_function_limit = 8070,      // I1 value, I2 replacement
    bad_gradient_tolerance = 8072,  // R1 value, R2 replacement

    // linearly constrained minimisation
    lincon_variables_below_one = 8080,   // I1 nvar
    lincon_bad_counts = 8081,            // I1 ncon, I2 neq, I3 nvar
    constraints_below_zero = 8082,       // I1 ncon
    equalities_below_zero = 8083,        // I1 neq
    equalities_above_constraints = 8084, // I1 neq, I2 ncon
    bad_accuracy = 8085,                 // R1 accuracy
    bounds_cross = 8086,                 // I1 variable, R1 lower, R2 upper
    bad_evaluation_limit = 8087,         // I1 limit
    accuracy_reached = 8088,             // -
    no_downhill = 8089,                  // -
    no_further_reduction = 8090,         // -
    equalities_inconsistent = 8091,      // -
    bounds_inconsistent = 8092,          // -
    constraints_inconsistent = 8093,     // -
    evaluation_limit_reached = 8094,     // I1 limit
    all_variables_fixed = 8095,          // -
    all_variables_fixed_gradient = 8096, // -

    // random deviates
    probability_outside = 9041, // R1 p
    random_bad_option = 11001,  // I1 code, I2 its place in the argument list
    bad_shuffle_value = 11031,  // R1 value, I1 position

    // calendar
    year_zero = 12001,             // -
    date_skipped = 12002,          // I1 day
    early_year = 12003,            // I1 year
    day_beyond_month = 12004,      // I1 month, I2 year, I3 length, I4 day
    day_of_year_below_one = 12005, // I1 day of the year
    day_of_1582_beyond = 12006,    // I1 day of the year
    day_of_leap_beyond = 12007,    // I1 day of the year
    day_of_common_beyond = 12008,  // I1 day of the year

    // machine constants, streams
    bad_machine_index = 12009, // I1 n
    bad_stream_unit = 12010,   // I1 unit

    // physical constants
    unknown_constant = 12111, // S1 name
    units_differ = 12112,     // S1 base unit, S2 requested unit
    gravity_bridge = 12113,   // -
    unknown_unit = 12114,     // S1 unit

    // error stack
    stack_overflow = 60000, // -
    pop_mismatch = 60001,   // S1 name popped, S2 name on top
};

} // namespace zavo::core::code
