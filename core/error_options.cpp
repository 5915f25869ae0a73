// The error policy: per type whether errors print, stop the process and print a
// traceback; where messages go; the trapping switch.

#include "core/catalogue/catalogue.hpp"
#include "core/errors/error_codes.hpp"
#include "core/frame/entry_frame.hpp"
#include "core/frame/option_reader.hpp"
#include "core/system/error_settings.hpp"

namespace zavo::core {

namespace {

// clang-format off
constinit ErrorSettings the_settings{
    .policy = {
        // print stop traceback
        {  0,    0,   0 }, // 0
        {  0,    0,   0 }, // NOTE
        {  0,    0,   0 }, // ALERT
        {  1,    0,   0 }, // WARNING
        {  1,    1,   0 }, // FATAL
        {  1,    1,   0 }, // TERMINAL
        {  1,    0,   0 }, // WARNING_IMMEDIATE
        {  1,    0,   0 }, // FATAL_IMMEDIATE
        {  1,    1,   1 }, // INTERNAL
    },
    .handler = print_to_stream,
    .hook = nullptr,
    .output_mode = ZAVO_OUTPUT_STREAM,
    .trace_all_levels = 0,
    .trapping = 1,
};
// clang-format on

// Streams by unit: 1 standard input, 2 standard output, 3 standard error.
constexpr int stream_count = 3;
constexpr int error_unit = 3;

// Null stands for the stream of the C library.
constinit std::atomic<FILE*> stream_slots[stream_count];

FILE* stream_of(int unit)
{
    FILE* const standard[stream_count] = {stdin, stdout, stderr};
    FILE* const stream = stream_slots[unit - 1];
    return stream != nullptr ? stream : standard[unit - 1];
}

void post_outside(int low, int high, int value)
{
    zavo_error_set_int(1, low);
    zavo_error_set_int(2, high);
    zavo_error_set_int(3, value);
    zavo_error_set_string(1, "type");
    zavo_error_post(ZAVO_TERMINAL, code::out_of_range);
}

struct PolicyOption {
    int code;
    std::atomic<unsigned char> Policy::*setting;
    bool stores;
};

constexpr PolicyOption policy_options[] = {
    {ZAVO_SET_PRINT, &Policy::print, true},         {ZAVO_GET_PRINT, &Policy::print, false},
    {ZAVO_SET_STOP, &Policy::stop, true},           {ZAVO_GET_STOP, &Policy::stop, false},
    {ZAVO_SET_TRACEBACK, &Policy::traceback, true}, {ZAVO_GET_TRACEBACK, &Policy::traceback, false},
};

const PolicyOption* find_policy_option(int code)
{
    for (const PolicyOption& option : policy_options) {
        if (option.code == code) {
            return &option;
        }
    }
    return nullptr;
}

// A type outside 1..5 is answered with 5/132; its value is read all the same,
// so that the list stays in step.
void apply_policy_option(const PolicyOption& option, OptionReader& options)
{
    const int type = options.take<int>();
    const int setting = option.stores ? options.take<int>() : 0;
    int* const answer = option.stores ? nullptr : options.take<int*>();
    if (type < ZAVO_NOTE || type > ZAVO_TERMINAL) {
        post_outside(ZAVO_NOTE, ZAVO_TERMINAL, type);
        return;
    }
    std::atomic<unsigned char>& field = the_settings.policy[type].*option.setting;
    if (option.stores) {
        field = static_cast<unsigned char>(setting);
    } else if (answer != nullptr) {
        *answer = field;
    }
}

// A value below `least` leaves the setting as it is.
void store_from(int value, int least, std::atomic<unsigned char>& setting)
{
    if (value >= least) {
        setting = static_cast<unsigned char>(value);
    }
}

void set_output_mode(int mode)
{
    switch (mode) {
    case ZAVO_OUTPUT_MESSAGE_BOX:
        the_settings.handler = print_to_message_box;
        break;
    case ZAVO_OUTPUT_CONSOLE:
        the_settings.handler = print_to_console;
        break;
    default:
        mode = ZAVO_OUTPUT_STREAM;
        the_settings.handler = print_to_stream;
        break;
    }
    the_settings.output_mode = mode;
}

void post_no_memory(const char* what)
{
    zavo_error_set_string(1, what);
    zavo_error_set_int(1, 0);
    zavo_error_post(ZAVO_TERMINAL, code::no_memory_for_array);
}

void apply_option(int code, OptionReader& options)
{
    switch (code) {
    case ZAVO_SET_ERROR_STREAM:
        stream_slots[error_unit - 1] = options.take<FILE*>();
        break;
    case ZAVO_GET_ERROR_STREAM:
        if (FILE** const answer = options.take<FILE**>(); answer != nullptr) {
            *answer = error_stream();
        }
        break;
    case ZAVO_SET_ERROR_HANDLER: {
        const auto handler = options.take<zavo_error_handler_fn>();
        the_settings.handler = handler != nullptr ? handler : print_to_stream;
        break;
    }
    case ZAVO_SET_CATALOGUE_PATH:
        if (!set_catalogue_path(options.take<const char*>())) {
            post_no_memory("path");
        }
        break;
    case ZAVO_SET_CATALOGUE_NAME:
        if (!set_catalogue_name(options.take<const char*>())) {
            post_no_memory("name");
        }
        break;
    case ZAVO_TRACE_ALL_LEVELS:
        the_settings.trace_all_levels = options.take<int>();
        break;
    case ZAVO_GET_OUTPUT_MODE:
        if (int* const answer = options.take<int*>(); answer != nullptr) {
            *answer = the_settings.output_mode;
        }
        break;
    case ZAVO_SET_OUTPUT_MODE:
        set_output_mode(options.take<int>());
        break;
    case ZAVO_SET_TRAPPING:
        the_settings.trapping = options.take<int>();
        break;
    default:
        options.reject(code);
        break;
    }
}

void read_options(OptionReader& options)
{
    while (const int code = options.next()) {
        if (const PolicyOption* const option = find_policy_option(code); option != nullptr) {
            apply_policy_option(*option, options);
        } else {
            apply_option(code, options);
        }
    }
}

} // namespace

ErrorSettings& error_settings()
{
    return the_settings;
}

int output_mode()
{
    return the_settings.output_mode;
}

FILE* error_stream()
{
    return stream_of(error_unit);
}

} // namespace zavo::core

using namespace zavo::core;

int zavo_error_options(int code, ...)
{
    std::va_list list;
    va_start(list, code);
    OptionReader options{code, list, 1};
    va_end(list);
    EntryFrame frame{"zavo_error_options"};
    frame.run([&] { read_options(options); });
    return options.next_no();
}

void zavo_e1pos(int type, int* print, int* stop)
{
    if (type < -highest_type || type > highest_type) {
        zavo_error_push("zavo_e1pos");
        post_outside(-highest_type, highest_type, type);
        zavo_error_pop("zavo_e1pos");
        return;
    }
    if (type < 0) {
        *print = the_settings.policy[-type].print;
        *stop = the_settings.policy[-type].stop;
        return;
    }
    if (type > 0) {
        // Kept: a setting of one type can be raised here but never switched off
        // (error_options.e1pos_cannot_switch_one_type_off).
        Policy& policy = the_settings.policy[type];
        store_from(*print, 1, policy.print);
        store_from(*stop, 1, policy.stop);
        return;
    }
    for (int each = ZAVO_NOTE; each < ZAVO_INTERNAL; ++each) {
        Policy& policy = the_settings.policy[each];
        store_from(*print, 0, policy.print);
        store_from(*stop, 0, policy.stop);
    }
}

void zavo_error_stream(int unit, FILE** stream)
{
    if (unit >= 1 && unit <= stream_count) {
        *stream = stream_of(unit);
    } else if (unit <= -1 && unit >= -stream_count) {
        stream_slots[-unit - 1] = *stream;
    } else {
        zavo_error_push("zavo_error_stream");
        zavo_error_set_int(1, unit);
        zavo_error_post(ZAVO_TERMINAL, code::bad_stream_unit);
        zavo_error_pop("zavo_error_stream");
    }
}
