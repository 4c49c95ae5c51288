#include "model/model_holdings.h"

#include "support/hex_text.h"

namespace {

std::string _pointer(bool is_held) {
    return is_held ? "PTR" : "(nil)";
}

std::string _sized(const std::string& bytes, std::size_t size) {
    return std::to_string(size) + " bytes: " + bytes;
}

}  // namespace

void model_holdings::hold(const seen_stamp& stamp, unsigned int count) {
    stamp_ = stamp;
    count_ = count;
    index_ = count - 1;
    has_set_ = has_record_ = has_uuid_ = true;
}

void model_holdings::hold(const std::vector<seen_stamp>& set, std::size_t index) {
    hold(index < set.size() ? set[index] : seen_stamp(), static_cast<unsigned int>(set.size()));
    index_ = static_cast<unsigned int>(index);
}

// Each component of the path, and the text of a long one.
long model_holdings::kept_blocks() const {
    long result = lost_blocks_;
    for (const std::string& component : log_directory_)
        result += component.size() > short_text ? 2 : 1;
    return result;
}

seen_call model_holdings::call(plain_function function) {
    switch (function) {
        case plain_function::get_version:
            return get_version();
        case plain_function::get_last_error:
            return get_last_error();
        case plain_function::get_error_message:
            return get_error_message();
        case plain_function::free_memory:
            return free_memory();
        case plain_function::env_initialize:
            return env_initialize();
        case plain_function::env_get_configuration:
            return env_get_configuration();
        case plain_function::env_uninitialize:
            return env_uninitialize();
        case plain_function::free_stamps:
            return free_stamps();
        case plain_function::get_stamp_count:
            return get_stamp_count();
        case plain_function::get_stamp:
            return get_stamp();
        case plain_function::free_stamp:
            return free_stamp();
        case plain_function::get_stamp_type:
            return get_stamp_type();
        case plain_function::get_stamp_data:
            return get_stamp_data();
        case plain_function::get_stamp_name:
            return get_stamp_name();
    }
    return {};
}

seen_call model_holdings::get_version() {
    return frame_.call("VemraAppStampGetVersion", [&] {
        frame_.outputs = {"1.0.0.0"};
        return frame_.last_status;
    });
}

seen_call model_holdings::get_last_error() {
    return frame_.call("VemraAppStampGetLastError", [&] {
        frame_.outputs = {std::to_string(frame_.last_status)};
        return frame_.last_status;
    });
}

seen_call model_holdings::get_error_message() {
    return frame_.call("VemraAppStampGetErrorMessage", [&] {
        frame_.verbose("Input `errcode`: -3");
        frame_.outputs = {"内存不足"};
        return frame_.last_status;
    });
}

seen_call model_holdings::free_memory() {
    return frame_.call("VemraAppStampFreeMemory", [&] {
        frame_.verbose("Input `mem`: " + _pointer(has_uuid_));
        if (!has_uuid_) return -2;
        has_uuid_ = false;
        return 1;
    });
}

// Nothing is traced. The directory is replaced as a whole or not at all.
seen_call model_holdings::env_initialize() {
    seen_call seen = frame_.untraced([&] {
        memory_.step();
        if (log_directory_.empty()) log_directory_ = {"/var", "logs", "VEMRA_APP_STAMP"};
        memory_.step();
        log_directory_ = {"/a folder of some length", "logs", "with a name longer than before"};
        return frame_.last_status;
    });
    if (log_directory_.empty()) log_directory_ = {"/var", "logs", "VEMRA_APP_STAMP"};
    seen.outputs = {log_directory_[0] + "/" + log_directory_[1] + "/" + log_directory_[2]};
    return seen;
}

seen_call model_holdings::env_get_configuration() {
    return frame_.call("VemraAppStampEnvGetConfiguration",
                       [&] {
                           frame_.verbose("Input `handle`: PTR");
                           frame_.verbose("Input `config`: PTR");
                           frame_.outputs[0] = "level 0";
                           memory_.step();
                           const std::string text = log_directory_[0] + "/" + log_directory_[1] +
                                                    "/" + log_directory_[2];
                           frame_.outputs[1] =
                               _sized(memory_.has_memory() ? text : "null", text.size());
                           return 1;
                       },
                       {"level -1", "untouched"});
}

seen_call model_holdings::env_uninitialize() {
    return frame_.untraced([&] { return frame_.last_status = 1; });
}

seen_call model_holdings::free_stamps() {
    return frame_.call("VemraAppStampFreeStamps", [&] {
        frame_.verbose("Input `handle`: " + _pointer(has_set_));
        if (!has_set_) return -1;
        has_set_ = false;
        return 1;
    });
}

seen_call model_holdings::get_stamp_count() {
    return frame_.call("VemraAppStampGetStampCount",
                       [&] {
                           frame_.verbose("Input `handle`: PTR");
                           frame_.verbose("Input `count` : PTR");
                           frame_.outputs = {std::to_string(count_)};
                           return 1;
                       },
                       {"0"});
}

seen_call model_holdings::get_stamp() {
    return frame_.call("VemraAppStampGetStamp",
                       [&] {
                           frame_.verbose("Input `handle`          : PTR");
                           frame_.verbose("Input `index`           : " + std::to_string(index_));
                           frame_.verbose("Input `output_uuid`     : PTR");
                           frame_.verbose("Input `output_uuid_size`: PTR");
                           frame_.verbose("Input `output_stamp`    : PTR");
                           return index_ < count_ ? take() : -5;
                       },
                       {"untouched", "untouched"});
}

int model_holdings::take() {
    memory_.step();
    if (!memory_.has_memory()) return -3;
    memory_.step();
    if (!memory_.has_memory()) return -3;
    if (!memory_.has_memory()) {
        // The unfinished record and its hold on the device.
        lost_blocks_ += 2;
        return -3;
    }
    memory_.step();
    if (!memory_.has_memory()) return -3;
    if (!memory_.has_memory()) {
        // The copy of the name.
        ++lost_blocks_;
        frame_.outputs[0] = "null";
        return -3;
    }
    frame_.outputs = {_sized(stamp_.uuid, stamp_.uuid.size()),
                      "type 1, " + _sized(stamp_.name, stamp_.name.size()) + ", " +
                          _sized(stamp_.data, stamp_.data.size())};
    return 1;
}

seen_call model_holdings::free_stamp() {
    return frame_.call("VemraAppStampFreeStamp", [&] {
        frame_.verbose("Input `handle`: " + _pointer(has_record_));
        if (!has_record_) return -1;
        if (!stamp_.data.empty()) frame_.debug("Free stamp data.");
        has_record_ = false;
        return 1;
    });
}

seen_call model_holdings::get_stamp_type() {
    return frame_.call("VemraAppStampGetStampType",
                       [&] {
                           frame_.verbose("Input `handle`: PTR");
                           frame_.verbose("Input `type`  : PTR");
                           frame_.outputs = {"1"};
                           return 1;
                       },
                       {"0"});
}

seen_call model_holdings::get_stamp_data() {
    const std::size_t size = stamp_.data.size();
    return frame_.call("VemraAppStampGetStampData",
                       [&] {
                           frame_.verbose("Input `handle`      : PTR");
                           frame_.verbose("Input `output_bytes`: PTR");
                           frame_.verbose("Input `output_size` : PTR");
                           frame_.verbose("Size of stamp: " + std::to_string(size) + " bytes.");
                           frame_.verbose("Data of stamp: " + hex_text(stamp_.data) + ".");
                           if (size == 0) return 1;
                           if (memory_.has_memory()) {
                               frame_.outputs[0] = _sized(stamp_.data, size);
                               return 1;
                           }
                           frame_.outputs = {
                               _sized("null", size),
                               "Assertion failed: (dest != __null) && (src != __null), at file: "
                               "\"src/core/VEMRA_APP_STAMP.cpp\""};
                           return 1;
                       },
                       {"untouched", ""});
}

seen_call model_holdings::get_stamp_name() {
    const std::size_t size = stamp_.name.size();
    return frame_.call("VemraAppStampGetStampName",
                       [&] {
                           frame_.verbose("Input `handle`       : PTR");
                           frame_.verbose("Input `output_string`: PTR");
                           frame_.verbose("Input `output_size`  : PTR");
                           frame_.verbose("Length of stamp name: " + std::to_string(size) + ".");
                           frame_.verbose("Name of stamp: " + stamp_.name + ".");
                           if (!memory_.has_memory()) {
                               frame_.outputs = {_sized("null", 0)};
                               return -3;
                           }
                           frame_.outputs = {_sized(stamp_.name, size)};
                           return 1;
                       },
                       {"untouched"});
}
