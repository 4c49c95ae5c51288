#include "personality/knob_kinds.h"

namespace vemra::softtoken {

namespace {

knob _in_column(knob made) {
    made.place = kept_in::column;
    return made;
}

std::vector<knob> _room() {
    return {
        _in_column(size_knob("capacity", &personality::capacity, "bytes in all slots together")),
        _in_column(size_knob("slot-size", &personality::slot_size, "bytes in one slot")),
        _in_column(number_knob("slots", &personality::slots, {0, 1000000}, "a number up to 1000000",
                               "how many slots there can be")),
    };
}

std::vector<knob> _time() {
    return {
        _in_column(number_knob("call-delay", &personality::call_microseconds, {0, 60000, 1000},
                               "milliseconds, up to 60000", "how long each call takes")),
        _in_column(size_knob("bytes-per-second", &personality::bytes_per_second,
                             "how fast bytes move; 0 for at once")),
    };
}

std::vector<knob> _passwords() {
    return {
        _in_column(choice_knob("login", &personality::login, {"process", "handle", "none"},
                               "for whom a verified password counts; with none, no change needs "
                               "one")),
        _in_column(number_knob("retries", &personality::retries, {1, 1000}, "a number up to 1000",
                               "wrong passwords before it locks")),
    };
}

}  // namespace

const std::vector<knob_group>& knob_table() {
    static const auto& table = *new std::vector<knob_group>{
        {"Room", _room()},
        {"Time", _time()},
        {"Passwords", _passwords()},
    };
    return table;
}

const knob* find_knob(const std::string& name) {
    const knob* found = nullptr;
    for_each_knob([&](const knob& one) {
        if (one.name == name) found = &one;
    });
    return found;
}

}  // namespace vemra::softtoken
