#ifndef SWEEP_MODEL_LIBRARY_H
#define SWEEP_MODEL_LIBRARY_H

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "sweep/model_devices.h"
#include "sweep/model_object.h"
#include "sweep/stamp_library.h"

/** The documented behaviour, straight down the page, over the model's devices. */
class model_library : public stamp_library {
public:
    explicit model_library(model_devices& devices) : devices_(devices) {}

    seen_call list() override;
    seen_call own_device() override;
    seen_call append(const std::string& serial, int type, const char* password,
                     const new_stamp& stamp) override;
    seen_call update(const std::string& uuid, const char* password,
                     const new_stamp& stamp) override;
    seen_call remove(const std::string& uuid, const char* password) override;

    /** Blocks of memory that the known uuids keep. */
    long kept_blocks() const;
    /** Statuses are 1 in a new thread. */
    int last_status = 1;

private:
    using handle_ptr = std::shared_ptr<model_handle>;
    using handles = std::vector<handle_ptr>;
    using mapping = std::map<unsigned int, std::string>;
    struct place {
        handle_ptr owner;
        int slot;
    };

    template <typename Work>
    seen_call call(const std::string& function, Work work);
    void verbose(const std::string& message);
    void error(const std::string& message, const std::string& file = "VEMRA_APP_STAMP.cpp",
               const std::string& function = {});

    bool enumerate(handles& found, const std::string& complaint);
    handles all_handles();
    void take_all();
    seen_call ended() const;
    void list_device(const handle_ptr& handle);
    void list_entry(const handle_ptr& handle, int slot, const std::string& name);
    std::string uuid_of(model_handle& handle, int slot);
    void verify(model_handle& handle, const char* password);

    model_object object(model_handle& handle) { return {devices_, handle}; }
    bool forget_entry(model_handle& handle, int slot);
    bool read_mapping(model_handle& handle, mapping& entries);
    mapping parsed(const std::string& record);
    int write_both(model_handle& handle, int slot, const new_stamp& stamp, const mapping& entries,
                   const std::string& complaint);

    model_devices& devices_;
    std::map<std::string, place> known_;
    handle_ptr first_owner_;
    std::string function_;
    std::vector<std::string> lines_;
    std::vector<seen_stamp> stamps_;
};

#endif
