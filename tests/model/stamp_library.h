#pragma once

#include <cstddef>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

struct seen_stamp {
    std::string uuid;
    std::string name;
    std::string data;
};

bool operator==(const seen_stamp& left, const seen_stamp& right);
std::ostream& operator<<(std::ostream& out, const seen_stamp& stamp);

/** What a caller sees of one call. */
struct seen_call {
    int status = 0;
    int last_status = 0;
    /** The text of the exception that left the call. */
    std::optional<std::string> escaped;
    /** The process ended, because the exit line could not be made. */
    bool has_ended = false;
    /** An allocation was made to fail. */
    bool met_shortage = false;
    /** The trace, normalised. */
    std::vector<std::string> lines;
    std::vector<seen_stamp> stamps;
    std::string owner_serial;
    int owner_type = 0;
    /** What the functions that reach no device gave out. */
    std::vector<std::string> outputs;
};

/** A stamp for a device. */
struct new_stamp {
    std::string name;
    std::string data;
    int type = 1;
};

/** Which stamps a list is meant to hold; all of them unless told otherwise. */
struct wanted_stamps {
    int type = -1;
    /** Empty: of every device. */
    std::string serial;
    int device_type = -1;
};

/** The exported functions that reach no device. */
enum class plain_function {
    get_version,
    get_last_error,
    get_error_message,
    free_memory,
    env_initialize,
    env_get_configuration,
    env_uninitialize,
    free_stamps,
    get_stamp_count,
    get_stamp,
    free_stamp,
    get_stamp_type,
    get_stamp_data,
    get_stamp_name
};

/**
 * The exported functions, as the shared object does them and as the model says that
 * they must be done.
 */
class stamp_library {
public:
    virtual ~stamp_library() = default;

    /** Lists stamps and takes them out of the set. */
    virtual seen_call list_wanted(const wanted_stamps& wanted) = 0;
    seen_call list() { return list_wanted({}); }
    /** Asks for the owner of a stamp of the last list. */
    virtual seen_call own_device(std::size_t index) = 0;
    virtual seen_call append(const std::string& serial, int type, const char* password,
                             const new_stamp& stamp) = 0;
    virtual seen_call update(const std::string& uuid, const char* password,
                             const new_stamp& stamp) = 0;
    virtual seen_call remove(const std::string& uuid, const char* password) = 0;
    /** On the set, the record and the buffer that the caller holds, as long as it holds them. */
    virtual seen_call plain(plain_function function) = 0;
};
