/** The stamp library's public interface in C++ terms: owners for what it hands out. */
#pragma once

#include <memory>
#include <string>

#include "device_module/stamp.h"
#include "vemra_app_stamp.h"

namespace vemra::tool {

struct set_deleter {
    void operator()(VEMRA_APP_STAMP_SET_HANDLE set) const { VemraAppStampFreeStamps(set); }
};
using stamp_set_owner = std::unique_ptr<VEMRA_APP_STAMP_SET_st, set_deleter>;

struct buffer_deleter {
    void operator()(void* buffer) const { VemraAppStampFreeMemory(buffer); }
};
template <typename T>
using buffer_owner = std::unique_ptr<T, buffer_deleter>;

struct record_deleter {
    void operator()(VEMRA_APP_STAMP_RECORD* record) const {
        if (record->name != nullptr) VemraAppStampFreeMemory(record->name);
        VemraAppStampFreeStamp(record);
    }
};
using record_owner = std::unique_ptr<VEMRA_APP_STAMP_RECORD, record_deleter>;

/** Takes out every stamp of a set. */
stamp_list read_stamps(VEMRA_APP_STAMP_SET_HANDLE set);

/** A record over the caller's texts, which it borrows. */
VEMRA_APP_STAMP_RECORD make_record(const std::string& name, const std::string& data);

}  // namespace vemra::tool
