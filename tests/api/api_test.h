#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "support/allocation_faults.h"
#include "support/expected_trace.h"
#include "support/fake_device_library.h"
#include "support/hex_text.h"
#include "support/stamp_record.h"
#include "support/stream_capture.h"
#include "vemra_app_stamp.h"

/** What SN-1 takes. */
constexpr const char* password = "12345678";

/** Calls of the device library, for a device with the label and serial number SN-1 and type 3. */
class expected_calls {
public:
    expected_calls& call(const std::string& line);
    /** The device list with SN-1 alone in it. */
    expected_calls& enumerate();
    expected_calls& serial();
    expected_calls& type();
    /** As many questions for the length of a slot. */
    expected_calls& length(int id, int times = 1);
    expected_calls& read(int id, int length);
    /** A whole read: the length, then the bytes. */
    expected_calls& get(int id, int length);
    expected_calls& create(int id, int length);
    expected_calls& write(int id, const std::string& bytes);
    expected_calls& remove(int id);
    /** A slot without data is created and written. */
    expected_calls& set_new(int id, const std::string& bytes);
    /** A slot is written over bytes of the same length. */
    expected_calls& set_in_place(int id, const std::string& bytes);
    /** A slot of another length is deleted, created and written. */
    expected_calls& set_anew(int id, int old_length, const std::string& bytes);
    expected_calls& verify(const std::string& given);
    expected_calls& message(int code);
    /** The digest of a slot's uuid, with the serial number and type that go into it. */
    expected_calls& uuid(int id);
    expected_calls& free_device();
    operator text_lines() const { return lines_; }

private:
    text_lines lines_;
};

/** The record in slot 8127 with this body. */
std::string mapping_record(const std::string& body);

/** A stamp taken out of a set, released with all its parts. */
class taken_stamp {
public:
    taken_stamp() = default;
    taken_stamp(VEMRA_APP_STAMP_SET_HANDLE set, unsigned int index);
    ~taken_stamp();
    taken_stamp(const taken_stamp&) = delete;
    taken_stamp& operator=(const taken_stamp&) = delete;

    int status = VEMRA_APP_STAMP_FAILURE;
    VEMRA_APP_STAMP_RECORD* record = nullptr;
    unsigned char* uuid = nullptr;
    unsigned int uuid_size = 0;
};

/** A set of all stamps, released. */
class listed_stamps {
public:
    listed_stamps();
    ~listed_stamps();
    listed_stamps(const listed_stamps&) = delete;
    listed_stamps& operator=(const listed_stamps&) = delete;

    unsigned int count() const;
    VEMRA_APP_STAMP_SET_HANDLE set;
};

/** Each test has an empty fake. In the end no buffer or hash may be left in it, nor be misused. */
class api_test : public ::testing::Test {
protected:
    void TearDown() override;

    /** Adds SN-1, type 3, with the body in its mapping and "hello" in slot 8130. */
    void add_device_with(const std::string& body);
    /** The uuid of the stamp at an index of a new enumeration. */
    std::string uuid_of(unsigned int index);
    /** Names of the stamps of a new enumeration, in order. */
    text_lines listed_names();

    /** The status that the last call in this thread left. */
    static int last_status() {
        const stdout_capture unseen;
        return VemraAppStampGetLastError();
    }
    /** The lines, normalised, that the work prints. */
    template <typename Work>
    text_lines trace(Work work) {
        const stdout_capture captured;
        work();
        return captured.normalised();
    }

    fake_device_library fake;
};

/** Leaks of the calling thread that a test makes on purpose and has counted. */
class kept_leak_scope {
public:
    kept_leak_scope();
    ~kept_leak_scope();
    kept_leak_scope(const kept_leak_scope&) = delete;
    kept_leak_scope& operator=(const kept_leak_scope&) = delete;
};
