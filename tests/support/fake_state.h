#pragma once

#include <deque>
#include <initializer_list>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "support/fake_device_library.h"
#include "vemra_crypto.h"

/* The inside of the fake: its devices, its handles, and the frame of every call. */

struct fake_keypair {
    std::vector<std::string> certificates;
};

struct fake_device {
    std::string serial;
    std::string label;
    int type = 0;
    bool is_null = false;
    bool is_plugged = true;
    std::string password = "12345678";
    int most_retries = 5;
    int retries = 5;
    bool needs_login = false;
    bool is_logged_in = false;
    std::map<int, std::string> slots;
    std::vector<fake_keypair> keypairs;
};

/** What every handle has. Handles are never destroyed, so that a late use of one is seen. */
struct fake_handle {
    int generation = 0;
    bool is_live = true;
    std::string name;
};

struct VEMRA_PKI_DEVICE_LIST_st {
    std::vector<std::shared_ptr<fake_device>> devices;
};
struct VEMRA_PKI_DEVICE_HANDLE_st : fake_handle {
    std::shared_ptr<fake_device> device;
};
struct VEMRA_PrivKey_Handle_st : fake_handle {
    fake_keypair keypair;
};
struct VEMRA_CERT_st : fake_handle {
    std::string der;
};
struct VEMRA_PKI_HASH_HANDLE_st : fake_handle {
    std::string input;
};

/** A buffer that the library handed out; `name` tells what is in it. */
struct fake_buffer : fake_handle {
    std::vector<unsigned char> bytes;
};

struct fake_output {
    int result = 1;
    std::optional<std::string> bytes;
    int length = 0;
};

struct scheduled_fault {
    std::string function;  // Empty: any.
    int calls_until_due;
    fault what;
};

struct fake_state {
    std::mutex mutex;
    int generation = 0;
    int last_error = 0;
    std::vector<std::shared_ptr<fake_device>> devices;
    /** No longer listed, the last one that was pulled out first. */
    std::vector<std::shared_ptr<fake_device>> pulled_devices;
    VEMRA_PKI_DEVICE_LIST_st list;

    std::deque<VEMRA_PKI_DEVICE_HANDLE_st> device_handles;
    std::deque<VEMRA_PrivKey_Handle_st> keypair_handles;
    std::deque<VEMRA_CERT_st> certificate_handles;
    std::deque<VEMRA_PKI_HASH_HANDLE_st> hash_handles;
    std::deque<fake_buffer> buffers;
    int double_frees = 0;
    std::vector<std::string> misuses;
    int status_when_left_over = 0;

    std::vector<std::string> calls;
    std::vector<scheduled_fault> faults;
    bool has_fault_fired = false;

    std::optional<fake_output> serial_answer;
    std::optional<fake_output> digest_answer;
    std::optional<fake_output> encoding_answer;
    std::optional<int> type_answer;
    std::optional<int> data_length_answer;
    std::optional<int> read_length_answer;
    std::optional<int> device_count_answer;
    std::map<int, std::optional<std::string>> error_texts;

    /** Writes the call's line and tells the fault that is due. */
    std::optional<fault> enter(const char* function, std::initializer_list<std::string> arguments);
    /** Stores the code of a failure; tells the status. */
    int finish(int status);
    /** Makes a buffer with a NUL behind the bytes. */
    unsigned char* new_buffer(const std::string& name, const std::string& bytes);
    /** Whether a handle can be used; notes a misuse when it was released. */
    bool is_usable(const fake_handle* handle, const char* function);
    /** Releases a handle; tells the status. */
    int release(fake_handle* handle, const char* function);
};

/** The one state. It is never destroyed: handles are released while the process ends. */
fake_state& the_state();

/** What the fake allocates is no business of a test that counts or fails allocations. */
class allocation_exemption {
public:
    allocation_exemption();
    ~allocation_exemption();
    allocation_exemption(const allocation_exemption&) = delete;
    allocation_exemption& operator=(const allocation_exemption&) = delete;
};

/* Arguments as text. */
std::string text(int value);
std::string text(const char* value);
std::string text(const fake_handle* handle);
std::string text(const VEMRA_PKI_DEVICE_LIST_st* list);
std::string text(const void* bytes, long length);
