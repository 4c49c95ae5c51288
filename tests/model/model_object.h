#pragma once

#include <string>

#include "model/model_devices.h"

/** One device as the device layer uses it: what is asked, in which order, and what is put back. */
class model_object {
public:
    model_object(model_devices& devices, model_handle& handle)
        : devices_(devices), handle_(handle) {}

    std::string serial_of();
    int type_of();
    int length(int slot);
    std::string bytes(int slot);
    void store(int slot, const std::string& content);
    void erase(int slot);

private:
    void restore(int slot);
    [[noreturn]] void fail(int code, int line);

    model_devices& devices_;
    model_handle& handle_;
};
