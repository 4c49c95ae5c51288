#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "model/model_handle.h"
#include "model/model_memory.h"

/* What devices must be asked and what they answer, told once more for the tests. */

/** What happens at the planned call of the device library. */
enum class disturbance {
    none,
    refused,        // It does nothing and tells a code.
    answer_lost,    // It does its work and tells a code all the same.
    hollow,         // It does nothing and tells success: no handle, no output.
    thrown,         // It does nothing and throws; but calls that release do not.
    thrown_number,  // It throws what is no std::exception.
    visited,        // Somebody else does something first.
    cut_before,     // The process ends before the work.
    cut_after       // The process ends after it.
};

struct planned_disturbance {
    int nth = 0;  // Counted from 1; 0: never.
    disturbance what = disturbance::none;
    int code = 17;
    /** So it happens at every later call too. */
    bool is_lasting = false;
    /** The only function whose calls count and are met; empty: any. */
    std::string function = {};
};

/** Where the model's process ends. */
struct process_end {};

/** The device library: attached devices, the log of its calls, one planned disturbance. */
class model_devices {
public:
    static constexpr int no_such_slot = -7;

    std::vector<std::shared_ptr<model_device>> attached;
    /** Pulled out: their handles stay, and answer every call with `removed`. */
    std::vector<std::shared_ptr<model_device>> pulled;
    std::string password = "12345678";
    planned_disturbance plan;
    model_memory memory;
    /** What the visitor does. */
    std::function<void()> visitor;
    std::vector<std::string> calls;
    int last_error = 0;
    /** Handles that were made, but lost on the way to the caller. */
    int lost_handles = 0;
    int live_handles = 0;

    bool has_struck() const { return has_struck_; }
    /** Forgets the calls and plans anew. */
    void plan_next(const planned_disturbance& next);

    void unplug(const std::string& label);
    /** It comes back behind the others, logged out; handles from before stay dead. */
    void replug(const std::string& label);

    bool list_devices();
    int device_count();
    std::shared_ptr<model_handle> get_device(int index);
    int keypair_count(const model_handle& handle);
    bool get_keypair(const model_handle& handle);
    int certificate_count(const std::string& keypair, const model_handle& handle);
    /** The status; `has_certificate` tells whether one was handed out. */
    int get_certificate(const std::string& keypair, int index, bool& has_certificate);
    void release(const std::string& function, const std::string& what);

    int get_serial(const model_handle& handle, std::string& serial);
    int get_type(const model_handle& handle);
    int verify(const model_handle& handle, const std::string& given, int& retries);
    int get_length(const model_handle& handle, int id, int& length);
    int read(const model_handle& handle, int id, int size, std::string& bytes);
    int create(const model_handle& handle, int id, int size);
    int write(const model_handle& handle, int id, const std::string& bytes);
    int remove(const model_handle& handle, int id);
    /** The digest of the pieces; false at the first step that fails, which is told. */
    bool digest(const model_handle& handle, const std::vector<std::string>& pieces,
                std::string& digest, std::string& complaint);
    /** The text of a failure as log lines show it. */
    std::string failure_text(int code);
    int ask_last_error();
    /** Nothing happens any more. */
    [[noreturn]] void end_process();

private:
    struct effect {
        bool works;
        bool fails;
        int code;
    };
    int finish_digest(const std::string& input, std::string& digest, std::string& complaint);
    effect enter(const std::string& line);
    effect ask(const std::string& line);
    effect note(const std::string& line);
    bool is_due(const std::string& line);
    void leave();
    template <typename Work>
    int answer(const effect& now, Work work);
    template <typename Work>
    int status_call(const std::string& line, Work work);
    template <typename Work>
    int device_call(const std::string& line, const model_handle& handle, Work work);
    template <typename Work>
    int slot_call(const std::string& line, const model_handle& handle, bool writes, Work work);

    int count_ = 0;
    bool has_struck_ = false;
    bool ends_after_this_ = false;
    bool has_ended_ = false;
};
