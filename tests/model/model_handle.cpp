#include "model/model_handle.h"

#include <utility>

#include "model/model_devices.h"

model_handle::model_handle(model_devices& library, std::shared_ptr<model_device> device)
    : library_(library), device_(std::move(device)) {
    if (device_ != nullptr) ++library_.live_handles;
}

model_handle::~model_handle() {
    const std::string keypair = name() + "/key 0";
    for (std::size_t i = 0; i < certificates_.size(); ++i) {
        library_.release("VemraPKICertFreeCert",
                         certificates_[i] ? keypair + "/certificate " + std::to_string(i) : "null");
    }
    if (has_keypair_object_) {
        library_.release("VemraPKICryptoFreeKeypair", has_keypair_ ? keypair : "null");
    }
    library_.release("VemraPKICryptoFreeDevice", name());
}

void model_handle::load() {
    model_memory& memory = library_.memory;
    if (library_.keypair_count(*this) < 1) return;
    has_keypair_ = library_.get_keypair(*this);
    has_keypair_object_ = true;
    memory.step();
    memory.require_memory();
    const std::string keypair = has_keypair_ ? name() + "/key 0" : "null";
    const int count = library_.certificate_count(keypair, *this);
    for (int i = 0; i < count; ++i) {
        bool has_certificate = false;
        if (library_.get_certificate(keypair, i, has_certificate) != 1) continue;
        certificates_.push_back(has_certificate);
        memory.step();
        memory.require_memory();
    }
    memory.step();
}

long model_handle::blocks() const {
    // Each object, its owner, its handle's owner; a vector for each level that is not empty.
    long result = 3 + (has_backup_block ? 1 : 0);
    if (has_keypair_object_) result += 1 + 3;
    if (!certificates_.empty()) result += 1 + 3 * static_cast<long>(certificates_.size());
    return result;
}
