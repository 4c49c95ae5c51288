// The exported functions, in the order of the public header, which is their manual. Here stands
// why; the lines of each are: trace, input lines, checks, work.

#include "vemra_app_stamp.h"

#include <csignal>
#include <cstddef>
#include <exception>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include "base/bounded.h"
#include "base/hex.h"
#include "base/path.h"
#include "core/call_stack_tracer.h"
#include "core/crash_handler.h"
#include "core/environment.h"
#include "core/image_stamp.h"
#include "core/log.h"
#include "core/max_stamp_size.h"
#include "core/stamp_device_map.h"
#include "core/stamp_info_mapping.h"
#include "core/stamp_set.h"
#include "core/stamp_slots.h"
#include "vemra_crypto.h"
#include "vemra_crypto_cpp/device.h"
#include "vemra_crypto_cpp/exception.h"

namespace hex = qo::base::codec::hex;

using vemra::app::stamp::basic_stamp;
using vemra::app::stamp::call_stack_tracer;
using vemra::app::stamp::environment;
using vemra::app::stamp::first_stamp_slot;
using vemra::app::stamp::g_stamp_device_map;
using vemra::app::stamp::image_stamp;
using vemra::app::stamp::is_stamp_slot;
using vemra::app::stamp::last_stamp_slot;
using vemra::app::stamp::lowest_free_slot;
using vemra::app::stamp::segment_fault_signal_handler;
using vemra::app::stamp::stamp_device_map;
using vemra::app::stamp::stamp_info_mapping;
using vemra::app::stamp::stamp_info_slot;
using vemra::app::stamp::stamp_set;
using vemra::crypto::device;

namespace {

using vemra::app::stamp::_encode_stamp_info_mapping;
using vemra::app::stamp::_parse_stamp_info_mapping;

using device_ptr = std::shared_ptr<device>;
using device_list = std::vector<device_ptr>;
using byte_string = std::basic_string<unsigned char>;

constexpr int any_device_type = -1;
constexpr int no_flags = 0;
constexpr int user_password = 1;
constexpr unsigned long long max_stamp_size = 16ULL * 1024 * 1024;

thread_local int g_error_code = VEMRA_APP_STAMP_SUCCESS;

int _finish(int status) {
    g_error_code = status;
    return status;
}

environment* _environment_of(VEMRA_APP_STAMP_ENV_HANDLE handle) {
    return reinterpret_cast<environment*>(handle);
}

stamp_set* _set_of(VEMRA_APP_STAMP_SET_HANDLE handle) {
    return reinterpret_cast<stamp_set*>(handle);
}

device_ptr* _own_device_of(const VEMRA_APP_STAMP_RECORD& record) {
    return static_cast<device_ptr*>(record.own_device);
}

const unsigned char* _bytes(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

// A buffer for the caller, released with VemraAppStampFreeMemory; null without memory.
unsigned char* _new_buffer(std::size_t size) {
    return new (std::nothrow) unsigned char[size]();
}

// The same with a copy of the bytes in it.
unsigned char* _new_copy(const byte_string& bytes) {
    unsigned char* buffer = _new_buffer(bytes.size());
    if (buffer != nullptr) VEMRA_MEMCPY_S(buffer, bytes.size(), bytes.data(), bytes.size());
    return buffer;
}

// The same with a copy of the text and a NUL behind it.
char* _new_text(const char* text, std::size_t length) {
    auto* buffer = reinterpret_cast<char*>(_new_buffer(length + 1));
    if (buffer != nullptr) VEMRA_MEMCPY_S(buffer, length + 1, text, length);
    return buffer;
}

// Kept(name-stays): the name is not released; callers who follow the header release it first.
void _free_record(VEMRA_APP_STAMP_RECORD* record) {
    delete[] record->data;
    delete _own_device_of(*record);
    delete record;
}

using record_owner = std::unique_ptr<VEMRA_APP_STAMP_RECORD, void (*)(VEMRA_APP_STAMP_RECORD*)>;

int _public_type(basic_stamp::type_t type) {
    switch (type) {
        case basic_stamp::reserved:
            return VEMRA_APP_STAMP_TYPE_RESERVED;
        case basic_stamp::image:
            return VEMRA_APP_STAMP_TYPE_IMAGE;
    }
    return -1;
}

// A stamp of a set, with what the process knows of its uuid.
struct listed_stamp {
    std::shared_ptr<basic_stamp> stamp;
    byte_string uuid;
    device_ptr owner;
};

std::optional<listed_stamp> _find_listed(const char* function, stamp_set& stamps,
                                         unsigned int index) {
    listed_stamp found;
    found.stamp = stamps[index];
    if (found.stamp == nullptr) {
        VEMRA_LOG_ERROR_AS(function, "Invalid pointer of stamp.");
        return std::nullopt;
    }
    found.uuid = found.stamp->get_uuid();
    if (found.uuid.empty()) {
        VEMRA_LOG_ERROR_AS(function, "No uuid in this stamp.");
        return std::nullopt;
    }
    const std::shared_ptr<stamp_device_map::item> item = g_stamp_device_map.get(found.uuid);
    if (item != nullptr) found.owner = item->get_device();
    if (found.owner == nullptr) {
        VEMRA_LOG_ERROR_AS(function, "Unable to get the own device of stamp %d.",
                           static_cast<int>(index));
        return std::nullopt;
    }
    return found;
}

// A record without a name; null without memory.
record_owner _new_record(const listed_stamp& listed) {
    record_owner record(new (std::nothrow) VEMRA_APP_STAMP_RECORD(), _free_record);
    if (record == nullptr) return record;
    const byte_string data = listed.stamp->encode(basic_stamp::sealed);
    record->type = _public_type(listed.stamp->get_type());
    record->data_length = data.size();
    record->own_device = new (std::nothrow) device_ptr(listed.owner);
    if (record->own_device == nullptr) record.reset();
    if (record == nullptr || data.empty()) return record;

    record->data = _new_copy(data);
    // Kept(stays-allocated): on this path the record and its device are never released.
    if (record->data == nullptr) static_cast<void>(record.release());
    // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDeleteLeaks)
    return record;
}

struct device_filter {
    bool has_serial;
    std::string serial;
    int type;
};

void _list_stamp(const char* function, const device_ptr& owner, int slot, const std::string& name,
                 stamp_set& stamps) {
    if (!is_stamp_slot(slot)) {
        VEMRA_LOG_ERROR_AS(function, "Invalid id of the storage of stamp: %d, skip it.", slot);
        return;
    }
    const std::string data = owner->get_data(slot);
    const byte_string uuid =
        stamp_device_map::generate_uuid(owner, slot, name, data.data(), data.size());
    if (uuid.empty()) {
        VEMRA_LOG_ERROR_AS(function, "Unable to generate uuid of stamp.");
        return;
    }
    VEMRA_LOG_VERBOSE_AS(function, "uuid: %s",
                         hex::encode(uuid.data(), uuid.size(), false).c_str());

    std::shared_ptr<basic_stamp> stamp(new (std::nothrow)
                                           image_stamp(name, uuid, data.data(), data.size()));
    if (stamp == nullptr) {
        VEMRA_LOG_ERROR_AS(function, "Unable to construct an image stamp object.");
        return;
    }
    stamps.push_back(stamp);

    // Kept(first-map-entry): an entry from an earlier enumeration stays, also when the device was
    // plugged in anew.
    if (g_stamp_device_map.has(uuid)) return;
    std::shared_ptr<stamp_device_map::item> item(new (std::nothrow)
                                                     stamp_device_map::item(owner, slot, name));
    if (item != nullptr) g_stamp_device_map.put(uuid, item);
}

void _list_device(const char* function, const device_ptr& owner, const device_filter& filter,
                  bool images_wanted, stamp_set& stamps) {
    if (owner == nullptr || owner->get_handle() == nullptr) {
        VEMRA_LOG_ERROR_AS(function, "Bad device pointer.");
        return;
    }
    const int type = owner->get_type();
    const std::string serial = owner->get_serial_number();
    if (filter.has_serial && filter.serial != serial) return;
    if (filter.type != any_device_type && filter.type != type) return;
    if (!images_wanted) return;
    if (!owner->has_data(stamp_info_slot)) {
        VEMRA_LOG_DEBUG_AS(function, "No image stamp in device: %s.", serial.c_str());
        return;
    }
    const std::string mapping_bytes = owner->get_data(stamp_info_slot);
    for (const auto& [slot, name] :
         _parse_stamp_info_mapping(_bytes(mapping_bytes), mapping_bytes.size())) {
        _list_stamp(function, owner, slot, name, stamps);
    }
}

// Kept(bad-uuid): faults inside the record are -1, its absence is -2.
int _check_record(const char* function, const VEMRA_APP_STAMP_RECORD* stamp) {
    if (stamp == nullptr) {
        VEMRA_LOG_ERROR_AS(function, "Bad stamp.");
        return VEMRA_APP_STAMP_INVALID_ARGUMENT;
    }
    if (stamp->type != VEMRA_APP_STAMP_TYPE_RESERVED && stamp->type != VEMRA_APP_STAMP_TYPE_IMAGE) {
        VEMRA_LOG_ERROR_AS(function, "Bad stamp type: %d.", stamp->type);
        return VEMRA_APP_STAMP_INVALID_HANDLE;
    }
    if (stamp->data == nullptr) {
        VEMRA_LOG_ERROR_AS(function, "Bad stamp data.");
        return VEMRA_APP_STAMP_INVALID_HANDLE;
    }
    if (stamp->data_length == 0) {
        VEMRA_LOG_ERROR_AS(function, "Bad stamp size.");
        return VEMRA_APP_STAMP_INVALID_HANDLE;
    }
    if (stamp->name == nullptr || stamp->name_length == 0) {
        VEMRA_LOG_ERROR_AS(function, "Bad stamp name.");
        return VEMRA_APP_STAMP_INVALID_HANDLE;
    }
    return VEMRA_APP_STAMP_SUCCESS;
}

// Kept(unguarded-walk): the two queries are not guarded here; what they throw leaves the exported
// function.
device_ptr _find_device(const char* function, const device_list& devices, const std::string& serial,
                        int type) {
    for (const device_ptr& candidate : devices) {
        if (candidate == nullptr || candidate->get_handle() == nullptr) {
            VEMRA_LOG_ERROR_AS(function, "Bad device pointer.");
            continue;
        }
        if (candidate->get_serial_number() == serial && candidate->get_type() == type) {
            return candidate;
        }
    }
    return nullptr;
}

// Kept(wrong-password): only logged. The device itself decides the writes that follow.
void _verify_password(const char* function, const device& owner, const char* password) {
    if (password == nullptr) return;
    int retries = 0;
    const int result =
        VemraPKICryptoVerifyPwd(owner.get_handle(), user_password, password, &retries);
    if (result == 1) return;
    VEMRA_LOG_ERROR_AS(function,
                       "Unable to verify password, because: %s, you can retry %d more times.",
                       vemra::crypto::exception::get_error_message(result).c_str(), retries);
}

std::optional<stamp_info_mapping> _read_mapping(const char* function, const device& owner) {
    std::string mapping_bytes;
    try {
        mapping_bytes = owner.get_data(stamp_info_slot);
    } catch (const std::exception& error) {
        VEMRA_LOG_ERROR_AS(function, "Unable to get stamp info from 8127, because: %s.",
                           error.what());
        return std::nullopt;
    }
    return _parse_stamp_info_mapping(_bytes(mapping_bytes), mapping_bytes.size());
}

void _write_mapping(device& owner, const std::string& mapping_bytes) {
    owner.set_data(stamp_info_slot, mapping_bytes.data(), static_cast<int>(mapping_bytes.size()));
}

void _write_stamp(device& owner, int slot, const VEMRA_APP_STAMP_RECORD& stamp) {
    owner.set_data(slot, stamp.data, static_cast<int>(stamp.data_length));
}

}  // namespace

const char* VemraAppStampGetVersion(void) {
    call_stack_tracer tracer(__func__);

    return "1.0.0.0";
}

int VemraAppStampGetLastError(void) {
    call_stack_tracer tracer(__func__);

    return g_error_code;
}

const char* VemraAppStampGetErrorMessage(int errcode) {
    call_stack_tracer tracer(__func__);
    VEMRA_LOG_VERBOSE("Input `errcode`: %d", errcode);

    switch (errcode) {
        case VEMRA_APP_STAMP_SUCCESS:
            return "成功";
        case VEMRA_APP_STAMP_FAILURE:
            return "失败";
        case VEMRA_APP_STAMP_INVALID_HANDLE:
            return "无效句柄";
        case VEMRA_APP_STAMP_INVALID_ARGUMENT:
            return "入参无效";
        case VEMRA_APP_STAMP_OUT_OF_MEMORY:
            return "内存不足";
        case VEMRA_APP_STAMP_UNSUPPORTED_TYPE:
            return "不支持的印章类型";
        case VEMRA_APP_STAMP_OUT_OF_RANGE:
            return "超出范围";
        case VEMRA_APP_STAMP_NOT_INITIALIZED:
            return "签章环境未初始化";
        default:
            return "未知错误";
    }
}

int VemraAppStampFreeMemory(void* mem) {
    call_stack_tracer tracer(__func__);
    VEMRA_LOG_VERBOSE("Input `mem`: %p", mem);

    if (mem == nullptr) return _finish(VEMRA_APP_STAMP_INVALID_ARGUMENT);

    delete[] static_cast<unsigned char*>(mem);
    return _finish(VEMRA_APP_STAMP_SUCCESS);
}

VEMRA_APP_STAMP_ENV_HANDLE VemraAppStampEnvInitialize(const VEMRA_APP_STAMP_CONFIG* config) {
    for (const int number : {SIGILL, SIGSEGV, SIGABRT}) {
        std::signal(number, segment_fault_signal_handler);
    }

    environment& instance = environment::instance();
    if (config != nullptr && config->log_directory != nullptr && config->log_directory_length > 0) {
        const std::string directory(config->log_directory,
                                    static_cast<std::size_t>(config->log_directory_length));
        instance.set_log_directory(qo::base::path(directory));
    }
    return reinterpret_cast<VEMRA_APP_STAMP_ENV_HANDLE>(&instance);
}

int VemraAppStampEnvGetConfiguration(VEMRA_APP_STAMP_ENV_HANDLE handle,
                                     VEMRA_APP_STAMP_CONFIG* config) {
    call_stack_tracer tracer(__func__);
    VEMRA_LOG_VERBOSE("Input `handle`: %p", static_cast<void*>(handle));
    VEMRA_LOG_VERBOSE("Input `config`: %p", static_cast<void*>(config));

    if (handle == nullptr) return _finish(VEMRA_APP_STAMP_INVALID_HANDLE);
    if (config == nullptr) return _finish(VEMRA_APP_STAMP_INVALID_ARGUMENT);

    config->log_level = _environment_of(handle)->get_log_level();
    const std::string directory = _environment_of(handle)->get_log_directory();
    if (!directory.empty()) {
        // Kept(no-minus-3): without memory the buffer is null, the length true and the status 1.
        config->log_directory = _new_text(directory.data(), directory.size());
        config->log_directory_length = static_cast<int>(directory.size());
    }
    return _finish(VEMRA_APP_STAMP_SUCCESS);
}

int VemraAppStampEnvGetMaxStampSize(VEMRA_APP_STAMP_ENV_HANDLE handle, unsigned long long* output) {
    call_stack_tracer tracer(__func__);
    VEMRA_LOG_VERBOSE("Input `handle`: %p", static_cast<void*>(handle));
    VEMRA_LOG_VERBOSE("Input `output`: %p", static_cast<void*>(output));

    if (handle == nullptr) return _finish(VEMRA_APP_STAMP_INVALID_HANDLE);
    if (output == nullptr) return _finish(VEMRA_APP_STAMP_INVALID_ARGUMENT);

    *output = max_stamp_size;
    return _finish(VEMRA_APP_STAMP_SUCCESS);
}

int VemraAppStampEnvUninitialize(VEMRA_APP_STAMP_ENV_HANDLE handle) {
    if (handle == nullptr) return _finish(VEMRA_APP_STAMP_INVALID_HANDLE);

    return _finish(VEMRA_APP_STAMP_SUCCESS);
}

VEMRA_APP_STAMP_SET_HANDLE VemraAppStampGetAllStamps(int type, const char* device_sn,
                                                     unsigned int device_sn_length,
                                                     int device_type) {
    call_stack_tracer tracer(__func__);
    VEMRA_LOG_VERBOSE("Input `type`            : %d", type);
    VEMRA_LOG_VERBOSE("Input `device_sn`       : %s", device_sn);
    VEMRA_LOG_VERBOSE("Input `device_sn_length`: %u", device_sn_length);
    VEMRA_LOG_VERBOSE("Input `device_type`     : %d", device_type);

    if (type < VEMRA_APP_STAMP_TYPE_ANY || type > VEMRA_APP_STAMP_TYPE_IMAGE) {
        _finish(VEMRA_APP_STAMP_UNSUPPORTED_TYPE);
        return nullptr;
    }

    device_list devices;
    try {
        devices = device::get_all_devices(any_device_type, no_flags);
    } catch (const std::exception& error) {
        VEMRA_LOG_ERROR("Unable to load devices, because: %s.", error.what());
        _finish(VEMRA_APP_STAMP_FAILURE);
        return nullptr;
    }
    if (devices.empty()) {
        VEMRA_LOG_ERROR("No device.");
        _finish(VEMRA_APP_STAMP_FAILURE);
        return nullptr;
    }

    std::unique_ptr<stamp_set> stamps(new (std::nothrow) stamp_set());
    if (stamps == nullptr) {
        _finish(VEMRA_APP_STAMP_OUT_OF_MEMORY);
        return nullptr;
    }

    device_filter filter{device_sn != nullptr && device_sn_length != 0, {}, device_type};
    if (filter.has_serial) filter.serial.assign(device_sn, device_sn_length);
    const bool images_wanted = type != VEMRA_APP_STAMP_TYPE_RESERVED;
    for (const device_ptr& owner : devices) {
        try {
            _list_device(__func__, owner, filter, images_wanted, *stamps);
        } catch (const std::exception& error) {
            // One bad device does not hide the others; what it gave so far stays listed.
            VEMRA_LOG_ERROR("%s", error.what());
        }
    }
    _finish(VEMRA_APP_STAMP_SUCCESS);
    return reinterpret_cast<VEMRA_APP_STAMP_SET_HANDLE>(stamps.release());
}

int VemraAppStampFreeStamps(VEMRA_APP_STAMP_SET_HANDLE handle) {
    call_stack_tracer tracer(__func__);
    VEMRA_LOG_VERBOSE("Input `handle`: %p", static_cast<void*>(handle));

    if (handle == nullptr) return _finish(VEMRA_APP_STAMP_INVALID_HANDLE);

    delete _set_of(handle);
    return _finish(VEMRA_APP_STAMP_SUCCESS);
}

int VemraAppStampGetStampCount(VEMRA_APP_STAMP_SET_HANDLE handle, unsigned int* count) {
    call_stack_tracer tracer(__func__);
    VEMRA_LOG_VERBOSE("Input `handle`: %p", static_cast<void*>(handle));
    VEMRA_LOG_VERBOSE("Input `count` : %p", static_cast<void*>(count));

    if (handle == nullptr) return _finish(VEMRA_APP_STAMP_INVALID_HANDLE);
    if (count == nullptr) return _finish(VEMRA_APP_STAMP_INVALID_ARGUMENT);

    *count = static_cast<unsigned int>(_set_of(handle)->size());
    return _finish(VEMRA_APP_STAMP_SUCCESS);
}

int VemraAppStampGetStamp(VEMRA_APP_STAMP_SET_HANDLE handle, unsigned int index,
                          unsigned char** output_uuid, unsigned int* output_uuid_size,
                          VEMRA_APP_STAMP_RECORD** output_stamp) {
    call_stack_tracer tracer(__func__);
    VEMRA_LOG_VERBOSE("Input `handle`          : %p", static_cast<void*>(handle));
    VEMRA_LOG_VERBOSE("Input `index`           : %u", index);
    VEMRA_LOG_VERBOSE("Input `output_uuid`     : %p", static_cast<void*>(output_uuid));
    VEMRA_LOG_VERBOSE("Input `output_uuid_size`: %p", static_cast<void*>(output_uuid_size));
    VEMRA_LOG_VERBOSE("Input `output_stamp`    : %p", static_cast<void*>(output_stamp));

    if (handle == nullptr) return _finish(VEMRA_APP_STAMP_INVALID_HANDLE);
    // Kept(index-first): the index is tested before the outputs.
    if (index >= _set_of(handle)->size()) return _finish(VEMRA_APP_STAMP_OUT_OF_RANGE);
    if (output_uuid == nullptr || output_uuid_size == nullptr || output_stamp == nullptr) {
        return _finish(VEMRA_APP_STAMP_INVALID_ARGUMENT);
    }

    const std::optional<listed_stamp> listed = _find_listed(__func__, *_set_of(handle), index);
    if (!listed) return _finish(VEMRA_APP_STAMP_FAILURE);
    record_owner record = _new_record(*listed);
    if (record == nullptr) return _finish(VEMRA_APP_STAMP_OUT_OF_MEMORY);

    const std::string name = listed->stamp->get_name();
    if (name.empty()) {
        VEMRA_LOG_ERROR("Bad stamp name.");
        return _finish(VEMRA_APP_STAMP_FAILURE);
    }
    record->name = _new_text(name.data(), name.size());
    if (record->name == nullptr) return _finish(VEMRA_APP_STAMP_OUT_OF_MEMORY);
    record->name_length = static_cast<unsigned int>(name.size());

    *output_uuid = _new_copy(listed->uuid);
    // Kept(stays-allocated): on this path the name is never released.
    if (*output_uuid == nullptr) return _finish(VEMRA_APP_STAMP_OUT_OF_MEMORY);
    *output_uuid_size = static_cast<unsigned int>(listed->uuid.size());
    *output_stamp = record.release();
    return _finish(VEMRA_APP_STAMP_SUCCESS);
}

int VemraAppStampFreeStamp(VEMRA_APP_STAMP_RECORD* handle) {
    call_stack_tracer tracer(__func__);
    VEMRA_LOG_VERBOSE("Input `handle`: %p", static_cast<void*>(handle));

    if (handle == nullptr) return _finish(VEMRA_APP_STAMP_INVALID_HANDLE);

    if (handle->data != nullptr) VEMRA_LOG_DEBUG("Free stamp data.");
    _free_record(handle);
    return _finish(VEMRA_APP_STAMP_SUCCESS);
}

int VemraAppStampGetStampType(const VEMRA_APP_STAMP_RECORD* handle, int* type) {
    call_stack_tracer tracer(__func__);
    VEMRA_LOG_VERBOSE("Input `handle`: %p", static_cast<const void*>(handle));
    VEMRA_LOG_VERBOSE("Input `type`  : %p", static_cast<void*>(type));

    if (handle == nullptr) return _finish(VEMRA_APP_STAMP_INVALID_HANDLE);
    if (type == nullptr) return _finish(VEMRA_APP_STAMP_INVALID_ARGUMENT);

    *type = handle->type;
    return _finish(VEMRA_APP_STAMP_SUCCESS);
}

int VemraAppStampGetStampData(const VEMRA_APP_STAMP_RECORD* handle, unsigned char** output_bytes,
                              unsigned long long* output_size) {
    call_stack_tracer tracer(__func__);
    VEMRA_LOG_VERBOSE("Input `handle`      : %p", static_cast<const void*>(handle));
    VEMRA_LOG_VERBOSE("Input `output_bytes`: %p", static_cast<void*>(output_bytes));
    VEMRA_LOG_VERBOSE("Input `output_size` : %p", static_cast<void*>(output_size));

    if (handle == nullptr) return _finish(VEMRA_APP_STAMP_INVALID_HANDLE);
    if (output_bytes == nullptr || output_size == nullptr) {
        return _finish(VEMRA_APP_STAMP_INVALID_ARGUMENT);
    }

    const unsigned long long length = handle->data_length;
    const auto size = static_cast<std::size_t>(length);
    VEMRA_LOG_VERBOSE("Size of stamp: %lld bytes.", static_cast<long long>(length));
    VEMRA_LOG_VERBOSE("Data of stamp: %s.", hex::encode(handle->data, size, false).c_str());
    if (handle->data != nullptr && length != 0) {
        // Kept(no-minus-3): without memory the bounded copy reports the null buffer, the caller
        // gets it with the true size, and the status is 1.
        *output_bytes = _new_buffer(size);
        VEMRA_MEMCPY_S(*output_bytes, size, handle->data, size);
    }
    *output_size = length;
    return _finish(VEMRA_APP_STAMP_SUCCESS);
}

int VemraAppStampGetStampName(const VEMRA_APP_STAMP_RECORD* handle, char** output_string,
                              unsigned int* output_size) {
    call_stack_tracer tracer(__func__);
    VEMRA_LOG_VERBOSE("Input `handle`       : %p", static_cast<const void*>(handle));
    VEMRA_LOG_VERBOSE("Input `output_string`: %p", static_cast<void*>(output_string));
    VEMRA_LOG_VERBOSE("Input `output_size`  : %p", static_cast<void*>(output_size));

    if (handle == nullptr) return _finish(VEMRA_APP_STAMP_INVALID_HANDLE);
    if (output_string == nullptr || output_size == nullptr) {
        return _finish(VEMRA_APP_STAMP_INVALID_ARGUMENT);
    }

    const unsigned int length = handle->name_length;
    VEMRA_LOG_VERBOSE("Length of stamp name: %lld.", static_cast<long long>(length));
    VEMRA_LOG_VERBOSE("Name of stamp: %.*s.", static_cast<int>(length), handle->name);
    if (handle->name != nullptr && length != 0) {
        *output_string = _new_text(handle->name, length);
        if (*output_string == nullptr) return _finish(VEMRA_APP_STAMP_OUT_OF_MEMORY);
    }
    *output_size = length;
    return _finish(VEMRA_APP_STAMP_SUCCESS);
}

int VemraAppStampGetStampOwnDevice(const VEMRA_APP_STAMP_RECORD* handle, char** output_device_sn,
                                   unsigned int* output_device_sn_length, int* output_device_type) {
    call_stack_tracer tracer(__func__);
    VEMRA_LOG_VERBOSE("Input `handle`                 : %p", static_cast<const void*>(handle));
    VEMRA_LOG_VERBOSE("Input `output_device_sn`       : %p", static_cast<void*>(output_device_sn));
    VEMRA_LOG_VERBOSE("Input `output_device_sn_length`: %p",
                      static_cast<void*>(output_device_sn_length));
    VEMRA_LOG_VERBOSE("Input `output_device_type`     : %p",
                      static_cast<void*>(output_device_type));

    if (handle == nullptr) return _finish(VEMRA_APP_STAMP_INVALID_HANDLE);
    if (output_device_sn == nullptr || output_device_sn_length == nullptr ||
        output_device_type == nullptr) {
        return _finish(VEMRA_APP_STAMP_INVALID_ARGUMENT);
    }
    const device_ptr* owner = _own_device_of(*handle);
    if (owner == nullptr || (*owner)->get_handle() == nullptr) {
        VEMRA_LOG_ERROR("No own device.");
        return _finish(VEMRA_APP_STAMP_INVALID_HANDLE);
    }

    std::string serial;
    int type = 0;
    try {
        serial = (*owner)->get_serial_number();
        type = (*owner)->get_type();
    } catch (const std::exception& error) {
        VEMRA_LOG_ERROR("Unable to get device info from this stamp, because: %s.", error.what());
        return _finish(VEMRA_APP_STAMP_FAILURE);
    }

    // Kept(no-minus-3): without memory the buffer is null, the length true and the status 1.
    *output_device_sn = serial.empty() ? nullptr : _new_text(serial.data(), serial.size());
    *output_device_sn_length = static_cast<unsigned int>(serial.size());
    *output_device_type = type;
    return _finish(VEMRA_APP_STAMP_SUCCESS);
}

int VemraAppStampAppendStamp(const char* device_sn, unsigned int device_sn_length, int device_type,
                             const char* password, const VEMRA_APP_STAMP_RECORD* stamp) {
    call_stack_tracer tracer(__func__);
    VEMRA_LOG_VERBOSE("Input `device_sn`       : %s", device_sn);
    VEMRA_LOG_VERBOSE("Input `device_sn_length`: %u", device_sn_length);
    VEMRA_LOG_VERBOSE("Input `device_type`     : %d", device_type);
    VEMRA_LOG_VERBOSE("Input `password`        : %s", password);
    VEMRA_LOG_VERBOSE("Input `stamp`           : %p", static_cast<const void*>(stamp));

    if (device_sn == nullptr || device_sn_length == 0) {
        VEMRA_LOG_ERROR("Bad device sn.");
        return _finish(VEMRA_APP_STAMP_INVALID_ARGUMENT);
    }
    if (device_type == any_device_type) {
        VEMRA_LOG_ERROR("Bad device type.");
        return _finish(VEMRA_APP_STAMP_INVALID_ARGUMENT);
    }
    const int checked = _check_record(__func__, stamp);
    if (checked != VEMRA_APP_STAMP_SUCCESS) return _finish(checked);

    device_list devices;
    try {
        devices = device::get_all_devices(any_device_type, no_flags);
    } catch (const std::exception& error) {
        VEMRA_LOG_ERROR("Unable to get any crypto device, because: %s.", error.what());
        return _finish(VEMRA_APP_STAMP_FAILURE);
    }
    if (devices.empty()) {
        VEMRA_LOG_ERROR("No device.");
        return _finish(VEMRA_APP_STAMP_FAILURE);
    }
    const std::string serial(device_sn, device_sn_length);
    const device_ptr owner = _find_device(__func__, devices, serial, device_type);
    if (owner == nullptr) {
        VEMRA_LOG_ERROR("Unable to find a matched device by given serial number.");
        return _finish(VEMRA_APP_STAMP_FAILURE);
    }

    _verify_password(__func__, *owner, password);
    if (stamp->type != VEMRA_APP_STAMP_TYPE_IMAGE) return _finish(VEMRA_APP_STAMP_UNSUPPORTED_TYPE);

    std::optional<stamp_info_mapping> mapping = _read_mapping(__func__, *owner);
    if (!mapping) return _finish(VEMRA_APP_STAMP_FAILURE);
    const std::optional<int> slot = lowest_free_slot(*mapping);
    if (!slot) {
        VEMRA_LOG_ERROR(
            "No more storage space to store the stamp, storage from %d to %d are all occupied.",
            first_stamp_slot, last_stamp_slot);
        return _finish(VEMRA_APP_STAMP_DEVICE_FULL);
    }

    (*mapping)[*slot] = std::string(stamp->name, stamp->name_length);
    const std::string mapping_bytes = _encode_stamp_info_mapping(*mapping);
    // Kept(no-rollback): what the first write stored stays when the second fails.
    try {
        _write_stamp(*owner, *slot, *stamp);
        _write_mapping(*owner, mapping_bytes);
    } catch (const std::exception& error) {
        VEMRA_LOG_ERROR("Unable to append a new stamp, because: %s.", error.what());
        return _finish(VEMRA_APP_STAMP_FAILURE);
    }
    return _finish(VEMRA_APP_STAMP_SUCCESS);
}

int VemraAppStampUpdateStamp(const unsigned char* uuid, unsigned int uuid_size,
                             const char* password, const VEMRA_APP_STAMP_RECORD* stamp) {
    call_stack_tracer tracer(__func__);
    VEMRA_LOG_VERBOSE("Input `uuid`     : %s", hex::encode(uuid, uuid_size, false).c_str());
    VEMRA_LOG_VERBOSE("Input `uuid_size`: %u", uuid_size);
    VEMRA_LOG_VERBOSE("Input `password` : %s", password);
    VEMRA_LOG_VERBOSE("Input `stamp`    : %p", static_cast<const void*>(stamp));

    if (uuid_size == 0 || uuid == nullptr) {
        // Kept(bad-uuid): a bad uuid is a plain failure; only a missing record is -2.
        VEMRA_LOG_ERROR("Bad uuid.");
        return _finish(VEMRA_APP_STAMP_FAILURE);
    }
    const int checked = _check_record(__func__, stamp);
    if (checked != VEMRA_APP_STAMP_SUCCESS) return _finish(checked);
    const std::shared_ptr<stamp_device_map::item> item =
        g_stamp_device_map.get(byte_string(uuid, uuid_size));
    if (item == nullptr) {
        VEMRA_LOG_ERROR("Unable to find a device by this uuid.");
        return _finish(VEMRA_APP_STAMP_FAILURE);
    }
    const device_ptr owner = item->get_device();
    const int slot = item->get_data_id();

    _verify_password(__func__, *owner, password);
    if (stamp->type != VEMRA_APP_STAMP_TYPE_IMAGE) return _finish(VEMRA_APP_STAMP_UNSUPPORTED_TYPE);

    std::optional<stamp_info_mapping> mapping = _read_mapping(__func__, *owner);
    if (!mapping) return _finish(VEMRA_APP_STAMP_FAILURE);
    (*mapping)[slot] = std::string(stamp->name, stamp->name_length);
    const std::string mapping_bytes = _encode_stamp_info_mapping(*mapping);
    // Kept(no-rollback): what the first write stored stays when the second fails.
    try {
        _write_stamp(*owner, slot, *stamp);
        _write_mapping(*owner, mapping_bytes);
    } catch (const std::exception& error) {
        VEMRA_LOG_ERROR("Unable to update stamp, because: %s.", error.what());
        return _finish(VEMRA_APP_STAMP_FAILURE);
    }
    return _finish(VEMRA_APP_STAMP_SUCCESS);
}

int VemraAppStampDeleteStamp(const unsigned char* uuid, unsigned int uuid_size,
                             const char* password) {
    call_stack_tracer tracer(__func__);
    VEMRA_LOG_VERBOSE("Input `uuid`     : %s", hex::encode(uuid, uuid_size, false).c_str());
    VEMRA_LOG_VERBOSE("Input `uuid_size`: %u", uuid_size);
    VEMRA_LOG_VERBOSE("Input `password` : %s", password);

    if (uuid_size == 0 || uuid == nullptr) {
        // Kept(bad-uuid): a bad uuid is a plain failure.
        VEMRA_LOG_ERROR("Bad uuid.");
        return _finish(VEMRA_APP_STAMP_FAILURE);
    }
    const std::shared_ptr<stamp_device_map::item> item =
        g_stamp_device_map.get(byte_string(uuid, uuid_size));
    if (item == nullptr) {
        VEMRA_LOG_ERROR("Unable to find a device by this uuid.");
        return _finish(VEMRA_APP_STAMP_FAILURE);
    }
    const device_ptr owner = item->get_device();
    const int slot = item->get_data_id();

    _verify_password(__func__, *owner, password);
    std::string data;
    try {
        data = owner->get_data(slot);
    } catch (const std::exception& error) {
        VEMRA_LOG_ERROR("Unable to get stamp data from %d, because: %s.", slot, error.what());
        return _finish(VEMRA_APP_STAMP_FAILURE);
    }

    // A sealed slot carries its own name and has no entry in the mapping.
    if (basic_stamp::detect_stamp_format(_bytes(data), data.size()) == basic_stamp::plain) {
        std::optional<stamp_info_mapping> mapping = _read_mapping(__func__, *owner);
        if (!mapping) return _finish(VEMRA_APP_STAMP_FAILURE);
        mapping->erase(slot);
        const std::string mapping_bytes = _encode_stamp_info_mapping(*mapping);
        try {
            _write_mapping(*owner, mapping_bytes);
        } catch (const std::exception& error) {
            VEMRA_LOG_ERROR("Unable to delete stamp info from 8127, because: %s.", error.what());
            return _finish(VEMRA_APP_STAMP_FAILURE);
        }
    }

    try {
        owner->delete_data(slot);
    } catch (const std::exception& error) {
        VEMRA_LOG_ERROR("Unable to delete stamp, because: %s.", error.what());
        return _finish(VEMRA_APP_STAMP_FAILURE);
    }
    return _finish(VEMRA_APP_STAMP_SUCCESS);
}
