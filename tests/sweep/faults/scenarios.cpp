#include <stdexcept>

#include "sweep/faults/stage.h"

namespace {

seen_call _list(stamp_library& library, const stage&) {
    return library.list();
}

seen_call _list_of_device(stamp_library& library, const stage& on) {
    return library.list_wanted({-1, on.device().serial, on.device().type});
}

// The copy of a short serial number needs no memory.
seen_call _list_of_long_serial(stamp_library& library, const stage&) {
    return library.list_wanted({-1, "a serial number that no device has", -1});
}

seen_call _list_of_no_images(stamp_library& library, const stage&) {
    return library.list_wanted({0, {}, -1});
}

// The stamp of B comes first.
auto _own_device(std::size_t index) {
    return [=](stamp_library& library, const stage&) { return library.own_device(index); };
}

auto _append(const std::string& data, const char* password = nullptr) {
    return [=](stamp_library& library, const stage& on) {
        return library.append(on.device().serial, on.device().type, password, {"new", data});
    };
}

auto _update(std::size_t index, const std::string& data, const char* password = nullptr) {
    return [=](stamp_library& library, const stage& on) {
        return library.update(on.uuid(index), password, {"renamed", data});
    };
}

// The record keeps its length, and is written in place.
auto _update_under_its_name(std::size_t index, const std::string& data) {
    return [=](stamp_library& library, const stage& on) {
        return library.update(on.uuid(index), nullptr, {"A" + std::to_string(index + 1), data});
    };
}

auto _remove(std::size_t index, const char* password = nullptr) {
    return [=](stamp_library& library, const stage& on) {
        return library.remove(on.uuid(index), password);
    };
}

void _nothing(stage& on) {
    on.know_all();
}

void _one_stamp(stage& on) {
    on.store_stamps({{8130, "hello"}});
    on.know_all();
}

void _one_stamp_unknown(stage& on) {
    on.store_stamps({{8130, "hello"}});
}

void _one_stamp_with_login(stage& on) {
    _one_stamp(on);
    on.require_login();
}

void _large_stamp(stage& on) {
    on.store_stamps({{8130, std::string(3000, 'x')}});
    on.know_all();
}

void _five_stamps(stage& on) {
    on.store_stamps({{8130, "first"},
                     {8131, "second"},
                     {8132, "third"},
                     {8133, std::string(100, '4')},
                     {8134, "fifth"}});
    on.know_all();
}

void _orphaned_bytes(stage& on) {
    on.store_stamps({{8131, "kept"}});
    on.fill({{8130, "orphan"}, {8132, "another"}});
    on.know_all();
}

void _sealed_orphan(stage& on) {
    on.store_stamps({{8131, "kept"}});
    on.fill({{8130, "VemraSeal"}});
    on.know_all();
}

void _sealed_slot(stage& on) {
    on.store_stamps({{8130, "VemraSeal"}, {8131, "plain"}});
    on.know_all();
}

void _sealed_slot_with_zero(stage& on) {
    on.store_stamps({{8130, std::string("VemraSeal\0", 10)}, {8131, "plain"}});
    on.know_all();
}

void _mapped_but_absent(stage& on) {
    on.store_stamps({{8130, "hello"}});
    on.know_all();
    on.lose_slot(8130);
}

void _empty_mapped_slot(stage& on) {
    on.store_stamps({{8130, ""}});
    on.know_all();
}

void _lost_mapping(stage& on) {
    _one_stamp(on);
    on.lose_slot(8127);
}

std::vector<scenario> _reading() {
    return {{"list_of_nothing_on_A", _nothing, _list},
            {"list_one_stamp", _one_stamp, _list},
            {"list_one_stamp_for_the_first_time", _one_stamp_unknown, _list},
            {"list_five_stamps", _five_stamps, _list},
            {"list_a_stamp_without_slot", _mapped_but_absent, _list},
            {"list_a_sealed_slot", _sealed_slot, _list},
            {"list_beside_orphans", _orphaned_bytes, _list},
            {"list_by_serial_and_type", _one_stamp, _list_of_device},
            {"list_by_long_serial", _one_stamp, _list_of_long_serial},
            {"list_without_images", _one_stamp, _list_of_no_images},
            {"own_device_of_a_bystander", _one_stamp, _own_device(0)},
            {"own_device_of_a_stamp_without_slot", _mapped_but_absent, _own_device(1)}};
}

std::vector<scenario> _appending() {
    return {
        {"append_without_mapping", _nothing, _append("picture"), free_slot},
        {"append_to_one_stamp", _one_stamp, _append("picture"), free_slot},
        {"append_to_five_stamps", _five_stamps, _append("picture"), free_slot},
        {"append_over_smaller_orphan", _orphaned_bytes, _append("a larger picture"), free_slot},
        {"append_over_equal_orphan", _orphaned_bytes, _append("orbits"), free_slot},
        {"append_over_larger_orphan", _orphaned_bytes, _append("tiny"), free_slot},
        {"append_over_sealed_orphan", _sealed_orphan, _append("picture"), free_slot},
        {"append_beside_sealed", _sealed_slot, _append(std::string("VemraSeal\0", 10)), free_slot},
        {"append_with_password", _one_stamp_with_login, _append("picture", "12345678"), free_slot},
        {"append_with_wrong_password", _one_stamp_with_login, _append("picture", "wrong"),
         free_slot}};
}

std::vector<scenario> _updating() {
    return {{"update_same_size", _one_stamp, _update(0, "HELLO"), 8130},
            {"update_smaller", _one_stamp, _update(0, "hi"), 8130},
            {"update_larger", _one_stamp, _update(0, "good afternoon to all of you"), 8130},
            {"update_in_place", _one_stamp, _update_under_its_name(0, "HELLO"), 8130},
            {"update_third_of_five_in_place", _five_stamps, _update_under_its_name(2, "3rd"), 8132},
            {"update_large_by_large", _large_stamp, _update(0, std::string(5000, 'y')), 8130},
            {"update_third_of_five", _five_stamps, _update(2, "3rd"), 8132},
            {"update_beside_orphans", _orphaned_bytes, _update(0, "replaced"), 8131},
            {"update_sealed", _sealed_slot, _update(0, "no longer sealed"), 8130},
            {"update_to_sealed", _sealed_slot, _update(1, "VemraSeal"), 8131},
            {"update_absent_slot", _mapped_but_absent, _update(0, "back again"), 8130},
            {"update_empty_slot", _empty_mapped_slot, _update(0, "filled"), 8130},
            {"update_without_mapping", _lost_mapping, _update(0, "HELLO"), 8130},
            {"update_with_password", _one_stamp_with_login, _update(0, "hi", "12345678"), 8130},
            {"update_with_wrong_password", _one_stamp_with_login, _update(0, "hi", "wrong"), 8130}};
}

std::vector<scenario> _removing() {
    return {{"delete_only_stamp", _one_stamp, _remove(0), 8130},
            {"delete_third_of_five", _five_stamps, _remove(2), 8132},
            {"delete_large_fourth_of_five", _five_stamps, _remove(3), 8133},
            {"delete_sealed", _sealed_slot, _remove(0), 8130},
            {"delete_sealed_with_zero", _sealed_slot_with_zero, _remove(0), 8130},
            {"delete_beside_sealed", _sealed_slot, _remove(1), 8131},
            {"delete_beside_orphans", _orphaned_bytes, _remove(0), 8131},
            {"delete_absent_slot", _mapped_but_absent, _remove(0), 8130},
            {"delete_without_mapping", _lost_mapping, _remove(0), 8130},
            {"delete_with_password", _one_stamp_with_login, _remove(0, "12345678"), 8130},
            {"delete_with_wrong_password", _one_stamp_with_login, _remove(0, "wrong"), 8130}};
}

}  // namespace

const std::vector<scenario>& all_scenarios() {
    static const std::vector<scenario> all = [] {
        std::vector<scenario> result;
        for (const auto& part : {_reading(), _appending(), _updating(), _removing()})
            result.insert(result.end(), part.begin(), part.end());
        return result;
    }();
    return all;
}

const scenario& scenario_named(const std::string& name) {
    for (const scenario& one : all_scenarios())
        if (one.name == name) return one;
    throw std::invalid_argument("no scenario " + name);
}

std::ostream& operator<<(std::ostream& out, const scenario& one) {
    return out << one.name;
}
