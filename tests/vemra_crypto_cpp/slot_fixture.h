#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/allocation_faults.h"
#include "support/fake_device_library.h"
#include "vemra_crypto_cpp/device.h"
#include "vemra_crypto_cpp/exception.h"

/** A device SN-1 whose slot 8130 is read and written, and the calls on that slot as text. */
class slot_fixture : public testing::Test {
protected:
    slot_fixture() {
        fake.add_device("SN-1", 3);
        device_ = vemra::crypto::device::get_all_devices(-1, 0).front();
        fake.clear_calls();
    }
    ~slot_fixture() override {
        allocation_faults::stop();
        EXPECT_EQ(fake.misuses(), calls_t{});
    }

    /** What the exception of an operation says. */
    template <typename Operation>
    static std::string failure_of(Operation operation) {
        try {
            operation();
        } catch (const vemra::crypto::exception& error) {
            return error.what();
        }
        return "no exception";
    }

    static std::string reads(int size) {
        return "VemraPKICryptoReadData(SN-1, 8130, buffer, " + std::to_string(size) + ", 0)";
    }
    static std::string creates(int size) {
        return "VemraPKICryptoCreateData(SN-1, 8130, 04 01 03 07, " + std::to_string(size) + ")";
    }
    static std::string writes(const std::string& hex, int size) {
        return "VemraPKICryptoWriteData(SN-1, 8130, " + hex + ", " + std::to_string(size) + ")";
    }
    static std::string tells(int code) {
        return "VemraPKIGetErrorMsg(" + std::to_string(code) + ")";
    }

    const std::string asks = "VemraPKICryptoGetDataLength(SN-1, 8130, 0)";
    const std::string deletes = "VemraPKICryptoDeleteData(SN-1, 8130)";

    fake_device_library fake;
    std::shared_ptr<vemra::crypto::device> device_;
};
