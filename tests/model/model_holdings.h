#pragma once

#include <string>
#include <vector>

#include "model/model_frame.h"
#include "model/model_memory.h"

/** The functions that reach no device, on what a caller holds: a set, its last stamp, its uuid. */
class model_holdings {
public:
    model_holdings(model_frame& frame, model_memory& memory) : frame_(frame), memory_(memory) {}

    void hold(const seen_stamp& stamp, unsigned int count);
    /** A set of these stamps, and the one at the index, if it has one there. */
    void hold(const std::vector<seen_stamp>& set, std::size_t index);
    seen_call call(plain_function function);
    /** Blocks of memory that nobody releases: the environment, and what is lost. */
    long kept_blocks() const;

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

    int take();

    model_frame& frame_;
    model_memory& memory_;
    seen_stamp stamp_;
    unsigned int count_ = 0;
    unsigned int index_ = 0;
    bool has_set_ = false;
    bool has_record_ = false;
    bool has_uuid_ = false;
    std::vector<std::string> log_directory_;
    long lost_blocks_ = 0;
};
