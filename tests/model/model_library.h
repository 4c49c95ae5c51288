#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "model/model_devices.h"
#include "model/model_frame.h"
#include "model/model_holdings.h"
#include "model/model_object.h"
#include "model/reference_mapping.h"
#include "model/stamp_library.h"

/** The documented behaviour, straight down the page, over the model's devices. */
class model_library : public stamp_library, private model_frame {
public:
    explicit model_library(model_devices& devices)
        : model_frame(devices.memory), devices_(devices) {}

    seen_call list_wanted(const wanted_stamps& wanted) override;
    seen_call own_device(std::size_t index) override;
    seen_call append(const std::string& serial, int type, const char* password,
                     const new_stamp& stamp) override;
    seen_call update(const std::string& uuid, const char* password,
                     const new_stamp& stamp) override;
    seen_call remove(const std::string& uuid, const char* password) override;
    seen_call plain(plain_function function) override { return holdings_.call(function); }

    /** Takes a listed stamp and its set as the caller's. */
    void hold(const seen_stamp& stamp, unsigned int count) { holdings_.hold(stamp, count); }

    void hold(const std::vector<seen_stamp>& set, std::size_t index) { holdings_.hold(set, index); }

    /** Asks for the owner of any stamp that was ever listed. */
    seen_call own_device_of(const std::string& uuid);
    /** Of all stamps that were ever listed and remembered, in order. */
    std::vector<std::string> known_uuids() const;

    /** Blocks of memory that the library keeps. */
    long kept_blocks() const;

private:
    using handle_ptr = std::shared_ptr<model_handle>;
    using handles = std::vector<handle_ptr>;
    using mapping = reference_mapping::mapping;
    struct place {
        handle_ptr owner;
        int slot;
        bool has_long_name;
    };

    bool enumerate(handles& found, const std::string& complaint);
    handles all_handles();
    void take_all();
    void list_device(const handle_ptr& handle, const wanted_stamps& wanted);
    void list_entry(const handle_ptr& handle, int slot, const std::string& name);
    std::string uuid_of(model_handle& handle, int slot);
    /** The place of a known uuid; null and a line where there is none. */
    const place* find(const std::string& uuid);
    void verify(model_handle& handle, const char* password);

    model_object object(model_handle& handle) { return {devices_, handle}; }
    bool forget_entry(model_handle& handle, int slot);
    bool read_mapping(model_handle& handle, mapping& entries);
    mapping parsed(const std::string& record);
    int write_both(model_handle& handle, int slot, const new_stamp& stamp, const mapping& entries,
                   const std::string& complaint);

    model_devices& devices_;
    std::map<std::string, place> known_;
    /** Of the stamps of the last list. */
    std::vector<std::string> listed_;
    model_holdings holdings_{*this, devices_.memory};
};
