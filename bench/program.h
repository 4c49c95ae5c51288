#pragma once

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "vemra_app_stamp.h"

namespace bench {

/** Ends the program when what it measures does not work. */
inline void require(bool good, const char* what) {
    if (good) return;
    std::fprintf(stderr, "bench: %s\n", what);
    std::exit(2);
}

/** A picture to store: a name and bytes that depend on `version`. */
class picture {
public:
    picture(std::string name, std::size_t size, unsigned int version);

    const VEMRA_APP_STAMP_RECORD& record() const { return record_; }

private:
    std::string name_;
    std::string bytes_;
    VEMRA_APP_STAMP_RECORD record_{};
};

/**
 * The stamp operations, done in one way or another. The accessors work on the first stamp of the
 * first device, which update replaces; append and remove work on the stamp in its last slot.
 * Buffers handed out are released within the operation.
 */
class program {
public:
    virtual ~program() = default;

    /** Lists all stamps of all devices, takes each out, and releases everything. */
    virtual void list_and_take() = 0;
    virtual void read_type() = 0;
    virtual void read_name() = 0;
    virtual void read_owner() = 0;
    virtual void read_data() = 0;
    virtual void append(const picture& stored) = 0;
    virtual void update(const picture& stored) = 0;
    virtual void remove() = 0;
};

/** program::list_and_take of the library, for a process that does nothing else. */
void list_and_take_once();

/** Both expect five stamps on the first device. */
std::unique_ptr<program> make_library_program();
std::unique_ptr<program> make_floor_program();

/** Makes the devices' stamps anew: five of `size` bytes on each of the first `devices`. */
void fill_devices(int devices, std::size_t size);

constexpr int stamps_per_device = 5;
constexpr int device_type = 1;
std::string serial_number(int device);

}  // namespace bench
