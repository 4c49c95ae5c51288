#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

class model_devices;

struct model_device {
    std::string label;
    std::string serial;
    int type = 0;
    int certificates = -1;  // Of its only key pair; -1: it has none.
    bool needs_login = false;
    bool is_logged_in = false;
    int retries = 5;
    bool is_plugged = true;
    std::map<int, std::string> slots;
};

/** A handle with what the library loads behind it; what it holds is released with it. */
class model_handle {
public:
    model_handle(model_devices& library, std::shared_ptr<model_device> device);
    ~model_handle();
    model_handle(const model_handle&) = delete;
    model_handle& operator=(const model_handle&) = delete;

    void load();
    std::string name() const { return device_ == nullptr ? "null" : device_->label; }
    model_device* device() const { return device_.get(); }
    /** Blocks of memory that the library needs for this. */
    long blocks() const;
    /** What the object remembers of the slot that it writes. */
    std::string backup;
    /** Set once the backup outgrew the string itself, which keeps its memory from then on. */
    bool has_backup_block = false;

private:
    model_devices& library_;
    std::shared_ptr<model_device> device_;
    bool has_keypair_object_ = false;
    bool has_keypair_ = false;
    std::vector<bool> certificates_;  // False: an object over no certificate.
};
