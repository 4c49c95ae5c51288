#include "model/model_devices.h"

#include <algorithm>
#include <cstdint>

#include "support/hex_text.h"

namespace {

constexpr int most_retries = 5;

constexpr int bad_handle = 11;
constexpr int slot_exists = 12;
constexpr int wrong_length = 13;
constexpr int buffer_too_small = 14;
constexpr int not_logged_in = 15;
constexpr int wrong_password = 16;
constexpr int locked = 18;
constexpr int removed = 19;

std::string _shown(const std::string& bytes) {
    if (bytes.empty()) return "no bytes";
    if (bytes.size() > 64) return hex_text(bytes.substr(0, 8), " ") + " ..";
    return hex_text(bytes, " ");
}

// The fake's digest: 64 bits of FNV-1a, high byte first.
std::string _fnv(const std::string& input) {
    std::uint64_t hash = 14695981039346656037ULL;
    for (const char byte : input)
        hash = (hash ^ static_cast<unsigned char>(byte)) * 1099511628211ULL;
    std::string digest;
    for (int i = 0; i < 8; ++i)
        digest.insert(digest.begin(), static_cast<char>(hash >> (8 * i) & 0xff));
    return digest;
}

std::string _slot_call(const char* function, const model_handle& handle, int id,
                       const std::string& rest) {
    return std::string(function) + "(" + handle.name() + ", " + std::to_string(id) + ", " + rest +
           ")";
}

// Takes the device of this name out of the list.
std::shared_ptr<model_device> _take(std::vector<std::shared_ptr<model_device>>& from,
                                    const std::string& label) {
    const auto found = std::find_if(from.begin(), from.end(),
                                    [&](const auto& device) { return device->label == label; });
    std::shared_ptr<model_device> device = *found;
    from.erase(found);
    return device;
}

}  // namespace

void model_devices::unplug(const std::string& label) {
    pulled.push_back(_take(attached, label));
    pulled.back()->is_plugged = false;
}

// A new object: handles hold the one that was pulled out.
void model_devices::replug(const std::string& label) {
    attached.push_back(std::make_shared<model_device>(*_take(pulled, label)));
    attached.back()->is_plugged = true;
    attached.back()->is_logged_in = false;
    attached.back()->retries = most_retries;
}

void model_devices::plan_next(const planned_disturbance& next) {
    plan = next;
    calls.clear();
    count_ = 0;
    has_struck_ = false;
}

model_devices::effect model_devices::enter(const std::string& line) {
    memory.step();
    return ask(line);
}

// Calls between which nothing is allocated.
model_devices::effect model_devices::ask(const std::string& line) {
    const effect now = note(line);
    if (now.fails && plan.what == disturbance::thrown_number) throw foreign_failure{"17"};
    if (now.fails && plan.what == disturbance::thrown) {
        throw device_failure{"thrown by the device library"};
    }
    return now;
}

// Counts the call, if it is one of those that are met.
bool model_devices::is_due(const std::string& line) {
    if (!plan.function.empty() && line.rfind(plan.function + "(", 0) != 0) return false;
    ++count_;
    return plan.nth != 0 && (plan.is_lasting ? count_ >= plan.nth : count_ == plan.nth);
}

// Calls that release do not throw.
model_devices::effect model_devices::note(const std::string& line) {
    if (has_ended_) throw process_end();
    calls.push_back(line);
    if (!is_due(line)) return {true, false, 0};
    has_struck_ = true;
    ends_after_this_ = plan.what == disturbance::cut_after;
    if (plan.what == disturbance::cut_before) {
        end_process();
    }
    if (ends_after_this_) return {true, false, 0};
    if (plan.what == disturbance::visited) {
        plan = {};
        visitor();
        return {true, false, 0};
    }
    const bool works = plan.what == disturbance::answer_lost;
    return {works, plan.what != disturbance::hollow, plan.code};
}

void model_devices::leave() {
    if (ends_after_this_) end_process();
}

void model_devices::end_process() {
    has_ended_ = true;
    throw process_end();
}

template <typename Work>
int model_devices::status_call(const std::string& line, Work work) {
    return answer(enter(line), work);
}

template <typename Work>
int model_devices::answer(const effect& now, Work work) {
    int status = now.works ? work() : 1;
    if (now.fails) status = now.code;
    if (status != 1) last_error = status;
    leave();
    return status;
}

template <typename Work>
int model_devices::device_call(const std::string& line, const model_handle& handle, Work work) {
    return status_call(line, [&] {
        if (handle.device() == nullptr) return bad_handle;
        return handle.device()->is_plugged ? work(*handle.device()) : removed;
    });
}

template <typename Work>
int model_devices::slot_call(const std::string& line, const model_handle& handle, bool writes,
                             Work work) {
    return device_call(line, handle, [&](model_device& device) {
        if (writes && device.needs_login && !device.is_logged_in) return not_logged_in;
        return work(device.slots);
    });
}

bool model_devices::list_devices() {
    const effect now = enter("VemraPKICryptoGetAllDevices(-1, 0)");
    if (now.fails) last_error = now.code;
    leave();
    return now.works && !now.fails && !attached.empty();
}

int model_devices::device_count() {
    const effect now = enter("VemraPKICryptoGetDeviceCount(list)");
    if (now.fails) last_error = now.code;
    leave();
    return now.works && !now.fails ? static_cast<int>(attached.size()) : 0;
}

std::shared_ptr<model_handle> model_devices::get_device(int index) {
    const effect now = enter("VemraPKICryptoGetDevice(list, " + std::to_string(index) + ")");
    if (now.fails) last_error = now.code;
    if (now.works && now.fails) ++lost_handles;
    leave();
    const bool is_given = now.works && !now.fails;
    return std::make_shared<model_handle>(
        *this, is_given ? attached[static_cast<std::size_t>(index)] : nullptr);
}

int model_devices::keypair_count(const model_handle& handle) {
    const effect now = enter("VemraPKICryptoGetKeypairCount(" + handle.name() + ")");
    if (now.fails) last_error = now.code;
    leave();
    if (!now.works || now.fails || handle.device() == nullptr) return 0;
    return handle.device()->certificates < 0 ? 0 : 1;
}

bool model_devices::get_keypair(const model_handle& handle) {
    const effect now = enter("VemraPKICryptoGetKeypair(" + handle.name() + ", 0)");
    if (now.fails) last_error = now.code;
    if (now.works && now.fails) ++lost_handles;
    leave();
    const bool is_given = now.works && !now.fails;
    if (is_given) ++live_handles;
    return is_given;
}

int model_devices::certificate_count(const std::string& keypair, const model_handle& handle) {
    const effect now = enter("VemraPKICryptoGetCertificateCount(" + keypair + ")");
    if (now.fails) last_error = now.code;
    leave();
    const bool is_told = now.works && !now.fails && keypair != "null";
    return is_told ? handle.device()->certificates : 0;
}

int model_devices::get_certificate(const std::string& keypair, int index, bool& has_certificate) {
    const int status = status_call(
        "VemraPKICryptoGetCertificate(" + keypair + ", " + std::to_string(index) + ", null)", [&] {
            has_certificate = true;
            return 1;
        });
    if (has_certificate) (status == 1 ? live_handles : lost_handles) += 1;
    return status;
}

void model_devices::release(const std::string& function, const std::string& what) {
    if (has_ended_) return;
    if (function != "VemraPKICryptoFreeMemory" && function != "VemraPKICryptoFreeHash" &&
        what != "null") {
        --live_handles;
    }
    try {
        const effect now = note(function + "(" + what + ")");
        const bool is_disturbed = now.fails || !now.works;
        if (is_disturbed) last_error = plan.code;
        if (!is_disturbed && what == "null") last_error = bad_handle;
        leave();
    } catch (const process_end&) {
        // The next call that is not a release finds that the process has ended.
    }
}

int model_devices::get_serial(const model_handle& handle, std::string& serial) {
    bool is_given = false;
    const int status = device_call("VemraPKICryptoGetSerialNumber(" + handle.name() + ", null)",
                                   handle, [&](const model_device&) {
                                       is_given = true;
                                       return 1;
                                   });
    if (is_given) release("VemraPKICryptoFreeMemory", "serial");
    serial = is_given && status == 1 ? handle.device()->serial : std::string();
    return status;
}

int model_devices::get_type(const model_handle& handle) {
    const effect now = enter("VemraPKICryptoGetType(" + handle.name() + ")");
    if (now.fails) last_error = now.code;
    leave();
    if (!now.works || now.fails) return -1;
    if (handle.device()->is_plugged) return handle.device()->type;
    last_error = removed;
    return -1;
}

int model_devices::verify(const model_handle& handle, const std::string& given, int& retries) {
    return device_call("VemraPKICryptoVerifyPwd(" + handle.name() + ", 1, \"" + given + "\", 0)",
                       handle, [&](model_device& device) {
                           device.is_logged_in = given == password && device.retries > 0;
                           if (device.retries == 0) return locked;
                           if (device.is_logged_in) {
                               device.retries = most_retries;
                               return 1;
                           }
                           retries = --device.retries;
                           return wrong_password;
                       });
}

int model_devices::get_length(const model_handle& handle, int id, int& length) {
    return slot_call(_slot_call("VemraPKICryptoGetDataLength", handle, id, "0"), handle, false,
                     [&](const std::map<int, std::string>& slots) {
                         const auto found = slots.find(id);
                         if (found == slots.end()) return no_such_slot;
                         length = static_cast<int>(found->second.size());
                         return 1;
                     });
}

int model_devices::read(const model_handle& handle, int id, int size, std::string& bytes) {
    return slot_call(
        _slot_call("VemraPKICryptoReadData", handle, id, "buffer, " + std::to_string(size) + ", 0"),
        handle, false, [&](const std::map<int, std::string>& slots) {
            const auto found = slots.find(id);
            if (found == slots.end()) return no_such_slot;
            if (static_cast<int>(found->second.size()) > size) return buffer_too_small;
            bytes = found->second;
            return 1;
        });
}

int model_devices::create(const model_handle& handle, int id, int size) {
    return slot_call(
        _slot_call("VemraPKICryptoCreateData", handle, id, "04 01 03 07, " + std::to_string(size)),
        handle, true, [&](std::map<int, std::string>& slots) {
            std::string& slot = slots[id];
            if (!slot.empty()) return slot_exists;
            slot.assign(static_cast<std::size_t>(size), '\0');
            return 1;
        });
}

int model_devices::write(const model_handle& handle, int id, const std::string& bytes) {
    return slot_call(_slot_call("VemraPKICryptoWriteData", handle, id,
                                _shown(bytes) + ", " + std::to_string(bytes.size())),
                     handle, true, [&](std::map<int, std::string>& slots) {
                         const auto found = slots.find(id);
                         if (found == slots.end()) return no_such_slot;
                         if (found->second.size() != bytes.size()) return wrong_length;
                         found->second = bytes;
                         return 1;
                     });
}

int model_devices::remove(const model_handle& handle, int id) {
    return slot_call(
        "VemraPKICryptoDeleteData(" + handle.name() + ", " + std::to_string(id) + ")", handle, true,
        [&](std::map<int, std::string>& slots) { return slots.erase(id) == 1 ? 1 : no_such_slot; });
}

namespace {

struct made_hash {
    model_devices& library;
    ~made_hash() { library.release("VemraPKICryptoFreeHash", "hash"); }
};

}  // namespace

bool model_devices::digest(const model_handle& handle, const std::vector<std::string>& pieces,
                           std::string& digest, std::string& complaint) {
    const effect made = enter("VemraPKICryptoNewHash(" + handle.name() + ", 28672)");
    if (made.fails) last_error = made.code;
    if (made.works && made.fails) ++lost_handles;
    leave();
    if (!made.works || made.fails) {
        complaint = "Unable to new a hash handle.";
        return false;
    }
    const made_hash hash{*this};
    std::string input;
    int status = 1;
    for (const std::string& piece : pieces) {
        const effect now = ask("VemraPKICryptoHashUpdate(hash, " + _shown(piece) + ", " +
                               std::to_string(piece.size()) + ")");
        status = answer(now, [&] {
            input += piece;
            return 1;
        });
        if (status == 1) continue;
        complaint =
            "Unable to update bytes to hash handle, vemra errcode: " + std::to_string(status) + ".";
        break;
    }
    return status == 1 && finish_digest(input, digest, complaint) == 1;
}

int model_devices::finish_digest(const std::string& input, std::string& digest,
                                 std::string& complaint) {
    bool is_given = false;
    const int status = answer(ask("VemraPKICryptoHashFinal(hash, null, 0)"), [&] {
        is_given = true;
        return 1;
    });
    if (status != 1) {
        complaint = "Unable to finish hash, vemra errcode: " + std::to_string(status) + ".";
    }
    if (is_given) release("VemraPKICryptoFreeMemory", "digest");
    if (is_given && status == 1) digest = _fnv(input);
    return status;
}

std::string model_devices::failure_text(int code) {
    static const std::map<int, const char*> texts{{no_such_slot, "no such slot"},
                                                  {bad_handle, "bad handle"},
                                                  {slot_exists, "slot exists"},
                                                  {wrong_length, "wrong length"},
                                                  {not_logged_in, "not logged in"},
                                                  {wrong_password, "wrong password"},
                                                  {17, "scripted failure"},
                                                  {locked, "locked"},
                                                  {removed, "removed"},
                                                  {buffer_too_small, "buffer too small"}};
    enter("VemraPKIGetErrorMsg(" + std::to_string(code) + ")");
    leave();
    memory.step();
    const auto found = texts.find(code);
    const std::string text = found == texts.end() ? "unknown error" : found->second;
    return text + "(" + std::to_string(code);
}

int model_devices::ask_last_error() {
    enter("VemraPKIGetLastError()");
    leave();
    return last_error;
}
