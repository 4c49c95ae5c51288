#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

/** Device calls as text, in order. */
using calls_t = std::vector<std::string>;

/**
 * What a scripted call does instead of its work. Calls that tell a status return `code`, counts
 * return 0, types -1, calls that make a handle null; the last error becomes `code`. Calls that
 * release always release, and never throw; the two error calls answer as ever unless they throw.
 */
struct fault {
    enum class kind { fails, works_but_fails, claims_success, throws_runtime_error, throws_int };

    kind what = kind::fails;
    int code = 17;
    /** Whether every later call that it is meant for is hit too. */
    bool is_lasting = false;

    static fault failing(int code);
    /** The call does its work, outputs included, and reports a failure all the same. */
    static fault working_but_failing(int code);
    /** The call does nothing and tells success: a null handle, untouched outputs, no error. */
    static fault claiming_success();
    /** Throws std::runtime_error with the text "thrown by the device library". */
    static fault throwing_runtime_error();
    /** Throws the int 17. */
    static fault throwing_int();
    fault lasting() const;
};

/**
 * The script of the fake device library: devices in memory, a log of all calls, faults. There is
 * one state for the process; making this object empties it. Any thread may use it.
 *
 * Devices are named by their label, which is their serial number unless told otherwise. A device
 * behaves like a real one: the length of a missing slot is -7, a slot is created over nothing or
 * over an empty slot, a write has the length that was created, a wrong password costs an attempt.
 */
class fake_device_library {
public:
    /* Codes of the fake, each with a text. */
    static constexpr int no_such_slot = -7;
    static constexpr int bad_handle = 11;
    static constexpr int slot_exists = 12;
    static constexpr int wrong_length = 13;
    static constexpr int buffer_too_small = 14;
    static constexpr int not_logged_in = 15;
    static constexpr int wrong_password = 16;
    static constexpr int scripted_failure = 17;
    static constexpr int locked = 18;
    static constexpr int removed = 19;
    static constexpr int bad_index = 20;
    static constexpr int bad_argument = 21;

    fake_device_library();

    /* Devices, in the order in which the library lists them. */
    void add_device(const std::string& serial, int type = 1, const std::string& label = {});
    /** An entry of the list whose handle is null. */
    void add_null_device();
    /**
     * Its handles stay, and answer every call with `removed`. It is no longer listed, but the
     * questions of this class still reach it.
     */
    void unplug_device(const std::string& label);
    /** It comes back behind the others with its slots, logged out; handles from before stay dead.
     */
    void replug_device(const std::string& label);
    void set_password(const std::string& label, const std::string& password, int retries);
    int retries(const std::string& label) const;
    /** Creating, writing and deleting then need a verified password. */
    void require_login(const std::string& label);
    bool is_logged_in(const std::string& label) const;
    /** A key pair whose certificates have these bytes. */
    void add_keypair(const std::string& label, const std::vector<std::string>& certificates);

    /* Slots. The forms without a label mean the first device. */
    void fill_slot(int id, const std::string& bytes);
    void fill_slot(const std::string& label, int id, const std::string& bytes);
    void empty_slot(const std::string& label, int id);
    /** The bytes of a slot, none when it does not exist. */
    std::optional<std::string> slot(int id) const;
    std::optional<std::string> slot(const std::string& label, int id) const;
    std::map<int, std::string> slots(const std::string& label) const;

    /*
     * The log: one line per call, for example
     *   VemraPKICryptoCreateData(SN-1, 8130, 04 01 03 07, 5)
     * Handles appear as the label, "list", "hash", "SN-1/key 0", "SN-1/key 0/certificate 0";
     * outputs as the value that they hold at the start, buffers to fill as "buffer", buffers to
     * release as what they hold ("serial", "digest", "encoding"); more than 64 bytes as the first 8
     * and "..".
     */
    calls_t calls() const;
    /** The lines of one function, or of all whose name begins so. */
    std::vector<std::string> calls_of(const std::string& function) const;
    void clear_calls();

    /* Faults: the nth call from now, counted from 1, of all functions or of one. */
    void fail_call(int nth, const fault& what = {});
    void fail_function(const std::string& function, int nth, const fault& what = {});
    void clear_faults();
    bool fault_fired() const;

    /* Answers that replace the ordinary ones until clear_answers(). No text means a null pointer.
     */
    void answer_serial(int result, const std::optional<std::string>& serial);
    void answer_type(int type);
    void answer_data_length(int length);
    void answer_read_length(int length);
    void answer_digest(int result, const std::optional<std::string>& digest, int length);
    void answer_encoding(int result, const std::optional<std::string>& encoding, int length);
    void answer_device_count(int count);
    void clear_answers();
    /** Without a text VemraPKIGetErrorMsg gives null for the code. */
    void set_error_text(int code, const std::optional<std::string>& text);
    std::string error_text(int code) const;

    /* What the callers of the library still own. */
    int live_devices() const;
    int live_keypairs() const;
    int live_certificates() const;
    int live_hashes() const;
    int live_buffers() const;
    int live_handles_and_buffers() const;
    /** Releases of what was released already. */
    int double_frees() const;
    /** Each wrong use of a handle or buffer: released twice, used after its release, not ours. */
    std::vector<std::string> misuses() const;
    /**
     * Looks when the fake is unloaded, after its callers: the process then ends with the status
     * when something is still live or was misused.
     */
    void end_with_when_left_over(int status);
};
