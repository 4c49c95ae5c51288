#pragma once

#include <string>

#include "vemra_app_stamp.h"

/* Records and bytes as the exported functions take and give them. */

/** A record over a name and bytes that the caller keeps. */
inline VEMRA_APP_STAMP_RECORD image_record(std::string& name, std::string& data) {
    VEMRA_APP_STAMP_RECORD record{};
    record.type = VEMRA_APP_STAMP_TYPE_IMAGE;
    record.name_length = static_cast<unsigned int>(name.size());
    record.data_length = data.size();
    record.data = reinterpret_cast<unsigned char*>(data.data());
    record.name = name.data();
    return record;
}

inline const unsigned char* bytes_of(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

/** The bytes of a record; its buffer may be null when there are none. */
inline std::string data_of(const VEMRA_APP_STAMP_RECORD& record) {
    const auto* data = reinterpret_cast<const char*>(record.data);
    return data == nullptr ? std::string() : std::string(data, record.data_length);
}

/** Releases a record that the library made, with its name. */
inline void free_record(VEMRA_APP_STAMP_RECORD* record) {
    VemraAppStampFreeMemory(record->name);
    VemraAppStampFreeStamp(record);
}
