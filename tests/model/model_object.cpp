#include "model/model_object.h"

void model_object::fail(int code, int line) {
    std::string text;
    try {
        text = devices_.failure_text(code);
    } catch (const device_failure&) {
        // The exception cannot be made, and its constructor does not throw.
        devices_.end_process();
    } catch (const foreign_failure&) {
        devices_.end_process();
    }
    throw device_failure{text + ". (at src/vemra_crypto_cpp/device:" + std::to_string(line)};
}

std::string model_object::serial_of() {
    std::string serial;
    devices_.get_serial(handle_, serial);
    return serial;
}

int model_object::type_of() {
    const int type = devices_.get_type(handle_);
    if (type == -1) fail(devices_.ask_last_error(), 79);
    return type;
}

int model_object::length(int slot) {
    int result = 0;
    const int status = devices_.get_length(handle_, slot, result);
    if (status == model_devices::no_such_slot) return 0;
    if (status != 1) fail(status, 147);
    return result;
}

std::string model_object::bytes(int slot) {
    const int size = length(slot);
    if (size == 0 || !devices_.memory.has_memory()) return {};
    std::string result;
    const int status = devices_.read(handle_, slot, size, result);
    if (status != 1) fail(status, 176);
    return result;
}

void model_object::erase(int slot) {
    if (length(slot) == 0) return;
    const int status = devices_.remove(handle_, slot);
    if (status != 1) fail(status, 269);
}

void model_object::restore(int slot) {
    if (length(slot) == 0) {
        const int created = devices_.create(handle_, slot, static_cast<int>(handle_.backup.size()));
        if (created != 1) fail(created, 200);
    }
    const int written = devices_.write(handle_, slot, handle_.backup);
    if (written != 1) {
        erase(slot);
        fail(written, 210);
    }
    handle_.backup.clear();
}

void model_object::store(int slot, const std::string& content) {
    if (length(slot) != 0) {
        handle_.backup = bytes(slot);
        if (handle_.backup.size() > short_text) handle_.has_backup_block = true;
    }
    const int size = static_cast<int>(content.size());
    if (length(slot) != size) erase(slot);
    if (length(slot) == 0) {
        const int created = devices_.create(handle_, slot, size);
        if (created != 1) {
            restore(slot);
            fail(created, 241);
        }
    }
    const int written = devices_.write(handle_, slot, content);
    if (written != 1) {
        erase(slot);
        restore(slot);
        fail(written, 253);
    }
    handle_.backup.clear();
}
