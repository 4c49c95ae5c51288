#include "support/fake_device_library.h"

#include <unistd.h>

#include <algorithm>
#include <stdexcept>

#include "support/fake_state.h"

namespace {

/** The state, locked, for one operation of the script. */
struct script_scope {
    allocation_exemption exemption;
    std::lock_guard<std::mutex> lock{the_state().mutex};
    fake_state& state = the_state();
};

using device_ptr = std::shared_ptr<fake_device>;
using device_list = std::vector<device_ptr>;

device_ptr _find(const device_list& devices, const std::string& label) {
    const auto found = std::find_if(devices.begin(), devices.end(), [&](const device_ptr& device) {
        return !device->is_null && device->label == label;
    });
    return found == devices.end() ? nullptr : *found;
}

/** Takes a device out of a list. */
device_ptr _take(device_list& devices, const std::string& label) {
    device_ptr device = _find(devices, label);
    if (device == nullptr) throw std::invalid_argument("the fake has no device " + label);
    devices.erase(std::find(devices.begin(), devices.end(), device));
    return device;
}

/** A plugged device, else one that was pulled out. */
fake_device& _device(const fake_state& state, const std::string& label) {
    for (const device_list* devices : {&state.devices, &state.pulled_devices}) {
        if (const device_ptr device = _find(*devices, label)) return *device;
    }
    throw std::invalid_argument("the fake has no device " + label);
}

std::string _first_label(const fake_state& state) {
    if (state.devices.empty()) throw std::invalid_argument("the fake has no device");
    return state.devices.front()->label;
}

std::optional<std::string> _slot(const fake_state& state, const std::string& label, int id) {
    const auto& slots = _device(state, label).slots;
    const auto found = slots.find(id);
    if (found == slots.end()) return std::nullopt;
    return found->second;
}

std::map<int, std::optional<std::string>> _ordinary_texts() {
    return {{fake_device_library::no_such_slot, "no such slot"},
            {fake_device_library::bad_handle, "bad handle"},
            {fake_device_library::slot_exists, "slot exists"},
            {fake_device_library::wrong_length, "wrong length"},
            {fake_device_library::buffer_too_small, "buffer too small"},
            {fake_device_library::not_logged_in, "not logged in"},
            {fake_device_library::wrong_password, "wrong password"},
            {fake_device_library::scripted_failure, "scripted failure"},
            {fake_device_library::locked, "locked"},
            {fake_device_library::removed, "removed"},
            {fake_device_library::bad_index, "bad index"},
            {fake_device_library::bad_argument, "bad argument"}};
}

void _forget_answers(fake_state& state) {
    state.serial_answer.reset();
    state.digest_answer.reset();
    state.encoding_answer.reset();
    state.type_answer.reset();
    state.data_length_answer.reset();
    state.read_length_answer.reset();
    state.device_count_answer.reset();
}

// The handles of this generation stand behind all older ones.
template <typename Handles>
int _live(const fake_state& state, const Handles& handles) {
    const auto end = std::find_if(handles.rbegin(), handles.rend(), [&](const auto& handle) {
        return handle.generation != state.generation;
    });
    return static_cast<int>(
        std::count_if(handles.rbegin(), end, [](const auto& handle) { return handle.is_live; }));
}

}  // namespace

fault fault::failing(int code) {
    return {kind::fails, code, false};
}

fault fault::working_but_failing(int code) {
    return {kind::works_but_fails, code, false};
}

fault fault::claiming_success() {
    return {kind::claims_success, 17, false};
}

fault fault::throwing_runtime_error() {
    return {kind::throws_runtime_error, 17, false};
}

fault fault::throwing_int() {
    return {kind::throws_int, 17, false};
}

fault fault::lasting() const {
    return {what, code, true};
}

fake_device_library::fake_device_library() {
    const script_scope scope;
    ++scope.state.generation;
    scope.state.last_error = 0;
    scope.state.devices.clear();
    scope.state.pulled_devices.clear();
    scope.state.double_frees = 0;
    scope.state.misuses.clear();
    scope.state.calls.clear();
    scope.state.faults.clear();
    scope.state.has_fault_fired = false;
    scope.state.status_when_left_over = 0;
    scope.state.error_texts = _ordinary_texts();
    _forget_answers(scope.state);
}

void fake_device_library::add_device(const std::string& serial, int type,
                                     const std::string& label) {
    const script_scope scope;
    auto device = std::make_shared<fake_device>();
    device->serial = serial;
    device->type = type;
    device->label = label.empty() ? serial : label;
    scope.state.devices.push_back(std::move(device));
}

void fake_device_library::add_null_device() {
    const script_scope scope;
    auto device = std::make_shared<fake_device>();
    device->is_null = true;
    scope.state.devices.push_back(std::move(device));
}

void fake_device_library::unplug_device(const std::string& label) {
    const script_scope scope;
    const device_ptr device = _take(scope.state.devices, label);
    device->is_plugged = false;
    auto& pulled = scope.state.pulled_devices;
    pulled.insert(pulled.begin(), device);
}

void fake_device_library::replug_device(const std::string& label) {
    const script_scope scope;
    // A new object: handles hold the one that was pulled out.
    auto device = std::make_shared<fake_device>(*_take(scope.state.pulled_devices, label));
    device->is_plugged = true;
    device->is_logged_in = false;
    device->retries = device->most_retries;
    scope.state.devices.push_back(std::move(device));
}

void fake_device_library::set_password(const std::string& label, const std::string& password,
                                       int retries) {
    const script_scope scope;
    fake_device& device = _device(scope.state, label);
    device.password = password;
    device.retries = device.most_retries = retries;
}

int fake_device_library::retries(const std::string& label) const {
    const script_scope scope;
    return _device(scope.state, label).retries;
}

void fake_device_library::require_login(const std::string& label) {
    const script_scope scope;
    _device(scope.state, label).needs_login = true;
}

bool fake_device_library::is_logged_in(const std::string& label) const {
    const script_scope scope;
    return _device(scope.state, label).is_logged_in;
}

void fake_device_library::add_keypair(const std::string& label,
                                      const std::vector<std::string>& certificates) {
    const script_scope scope;
    _device(scope.state, label).keypairs.push_back({certificates});
}

void fake_device_library::fill_slot(int id, const std::string& bytes) {
    const script_scope scope;
    _device(scope.state, _first_label(scope.state)).slots[id] = bytes;
}

void fake_device_library::fill_slot(const std::string& label, int id, const std::string& bytes) {
    const script_scope scope;
    _device(scope.state, label).slots[id] = bytes;
}

void fake_device_library::empty_slot(const std::string& label, int id) {
    const script_scope scope;
    _device(scope.state, label).slots.erase(id);
}

std::optional<std::string> fake_device_library::slot(int id) const {
    const script_scope scope;
    return _slot(scope.state, _first_label(scope.state), id);
}

std::optional<std::string> fake_device_library::slot(const std::string& label, int id) const {
    const script_scope scope;
    return _slot(scope.state, label, id);
}

std::map<int, std::string> fake_device_library::slots(const std::string& label) const {
    const script_scope scope;
    return _device(scope.state, label).slots;
}

std::vector<std::string> fake_device_library::calls() const {
    const script_scope scope;
    return scope.state.calls;
}

std::vector<std::string> fake_device_library::calls_of(const std::string& function) const {
    const script_scope scope;
    std::vector<std::string> result;
    for (const std::string& line : scope.state.calls) {
        if (line.rfind(function, 0) == 0) result.push_back(line);
    }
    return result;
}

void fake_device_library::clear_calls() {
    const script_scope scope;
    scope.state.calls.clear();
}

void fake_device_library::fail_call(int nth, const fault& what) {
    fail_function({}, nth, what);
}

void fake_device_library::fail_function(const std::string& function, int nth, const fault& what) {
    const script_scope scope;
    scope.state.faults.push_back({function, nth, what});
}

void fake_device_library::clear_faults() {
    const script_scope scope;
    scope.state.faults.clear();
    scope.state.has_fault_fired = false;
}

bool fake_device_library::fault_fired() const {
    const script_scope scope;
    return scope.state.has_fault_fired;
}

void fake_device_library::answer_serial(int result, const std::optional<std::string>& serial) {
    const script_scope scope;
    scope.state.serial_answer = fake_output{result, serial, 0};
}

void fake_device_library::answer_type(int type) {
    const script_scope scope;
    scope.state.type_answer = type;
}

void fake_device_library::answer_data_length(int length) {
    const script_scope scope;
    scope.state.data_length_answer = length;
}

void fake_device_library::answer_read_length(int length) {
    const script_scope scope;
    scope.state.read_length_answer = length;
}

void fake_device_library::answer_digest(int result, const std::optional<std::string>& digest,
                                        int length) {
    const script_scope scope;
    scope.state.digest_answer = fake_output{result, digest, length};
}

void fake_device_library::answer_encoding(int result, const std::optional<std::string>& encoding,
                                          int length) {
    const script_scope scope;
    scope.state.encoding_answer = fake_output{result, encoding, length};
}

void fake_device_library::answer_device_count(int count) {
    const script_scope scope;
    scope.state.device_count_answer = count;
}

void fake_device_library::clear_answers() {
    const script_scope scope;
    _forget_answers(scope.state);
}

void fake_device_library::set_error_text(int code, const std::optional<std::string>& text) {
    const script_scope scope;
    scope.state.error_texts[code] = text;
}

std::string fake_device_library::error_text(int code) const {
    const script_scope scope;
    return scope.state.error_texts.at(code).value_or("(null)");
}

int fake_device_library::live_devices() const {
    const script_scope scope;
    return _live(scope.state, scope.state.device_handles);
}

int fake_device_library::live_keypairs() const {
    const script_scope scope;
    return _live(scope.state, scope.state.keypair_handles);
}

int fake_device_library::live_certificates() const {
    const script_scope scope;
    return _live(scope.state, scope.state.certificate_handles);
}

int fake_device_library::live_hashes() const {
    const script_scope scope;
    return _live(scope.state, scope.state.hash_handles);
}

int fake_device_library::live_buffers() const {
    const script_scope scope;
    return _live(scope.state, scope.state.buffers);
}

int fake_device_library::live_handles_and_buffers() const {
    return live_devices() + live_keypairs() + live_certificates() + live_hashes() + live_buffers();
}

int fake_device_library::double_frees() const {
    const script_scope scope;
    return scope.state.double_frees;
}

std::vector<std::string> fake_device_library::misuses() const {
    const script_scope scope;
    return scope.state.misuses;
}

void fake_device_library::end_with_when_left_over(int status) {
    const script_scope scope;
    scope.state.status_when_left_over = status;
}

namespace {

__attribute__((destructor)) void _look_at_what_is_left() {
    const script_scope scope;
    const fake_state& state = scope.state;
    if (state.status_when_left_over == 0) return;
    const int live = _live(state, state.device_handles) + _live(state, state.keypair_handles) +
                     _live(state, state.certificate_handles) + _live(state, state.hash_handles) +
                     _live(state, state.buffers);
    if (live != 0 || !state.misuses.empty()) _exit(state.status_when_left_over);
}

}  // namespace
