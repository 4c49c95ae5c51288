#pragma once

#include "model/stamp_library.h"
#include "vemra_app_stamp.h"

/** What a caller holds: a set, its last stamp, the uuid; and the functions that reach no device. */
class live_holdings {
public:
    live_holdings() = default;
    ~live_holdings() { release(); }
    live_holdings(const live_holdings&) = delete;
    live_holdings& operator=(const live_holdings&) = delete;

    /** Lists all stamps and takes the last one. */
    void hold();
    seen_call call(plain_function function);
    /** Gives back all that is still held. */
    void release();

private:
    seen_call get_version();
    seen_call get_last_error();
    seen_call get_error_message();
    seen_call free_memory();
    seen_call env_initialize();
    seen_call env_get_configuration();
    seen_call env_uninitialize();
    seen_call free_stamps();
    seen_call get_stamp_count();
    seen_call get_stamp();
    seen_call free_stamp();
    seen_call get_stamp_type();
    seen_call get_stamp_data();
    seen_call get_stamp_name();

    VEMRA_APP_STAMP_ENV_HANDLE env_ = nullptr;
    VEMRA_APP_STAMP_SET_HANDLE set_ = nullptr;
    unsigned int last_ = 0;
    VEMRA_APP_STAMP_RECORD* record_ = nullptr;
    unsigned char* uuid_ = nullptr;
};
