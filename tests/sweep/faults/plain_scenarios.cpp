#include "model/reference_mapping.h"
#include "sweep/faults/stage.h"

namespace {

// Neither fits into a string itself.
const std::string long_name = "a name that is longer than most";
const std::string long_data(100, '4');

void _holding(stage& on) {
    on.fill({{8127, reference_mapping::write({{8130, long_name}})}, {8130, long_data}});
    on.hold();
}

void _initialized(stage& on) {
    on.compare(
        [](stamp_library& library) { return library.plain(plain_function::env_initialize); });
}

void _unprepared(stage&) {}

scenario _of(const std::string& name, void (*arrange)(stage&), plain_function function) {
    return {name, arrange,
            [=](stamp_library& library, const stage&) { return library.plain(function); }};
}

}  // namespace

const std::vector<scenario>& plain_scenarios() {
    static const std::vector<scenario> all{
        _of("get_version", _unprepared, plain_function::get_version),
        _of("get_last_error", _unprepared, plain_function::get_last_error),
        _of("get_error_message", _unprepared, plain_function::get_error_message),
        _of("free_memory", _holding, plain_function::free_memory),
        _of("env_initialize", _unprepared, plain_function::env_initialize),
        _of("env_initialize_again", _initialized, plain_function::env_initialize),
        _of("env_get_configuration", _initialized, plain_function::env_get_configuration),
        _of("env_uninitialize", _initialized, plain_function::env_uninitialize),
        _of("free_stamps", _holding, plain_function::free_stamps),
        _of("get_stamp_count", _holding, plain_function::get_stamp_count),
        _of("get_stamp", _holding, plain_function::get_stamp),
        _of("free_stamp", _holding, plain_function::free_stamp),
        _of("get_stamp_type", _holding, plain_function::get_stamp_type),
        _of("get_stamp_data", _holding, plain_function::get_stamp_data),
        _of("get_stamp_name", _holding, plain_function::get_stamp_name)};
    return all;
}
