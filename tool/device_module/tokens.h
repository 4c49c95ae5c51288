/**
 * What the tool asks of tokens: stamps through the public interface of the stamp library, the rest
 * through its device layer. Made by a module of its own, which is loaded when a command needs it,
 * so that the tool runs without a device library too.
 *
 * Failures of the device layer are exceptions; those of the interface are its status codes.
 */
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "device_module/stamp.h"

namespace vemra::tool {

/** Questions to tokens. None changes what a device holds, and none costs an attempt. */
class token_reader {
public:
    virtual ~token_reader() = default;

    virtual std::string library_version() const = 0;

    /** The stamps of one device or of all, through the public interface. */
    virtual stamp_list list_stamps(const std::optional<device_id>& only) = 0;
    /** A device that cannot be read is left out, with an error on the trace. */
    virtual std::vector<device_id> list_devices() = 0;
    /** The bytes that a slot holds, 0 for one that there is not; none of them is read. */
    virtual int slot_length(const device_id& device, int slot) = 0;
    /** A slot that there is not reads as empty. */
    virtual std::string read_slot(const device_id& device, int slot) = 0;
    /** The uuid of a place, raw bytes, as the public interface tells it; empty when it has none. */
    virtual std::string uuid_of(const device_id& device, int slot) = 0;

    /** The record in the mapping slot, decoded; what is wrong with it is told on the trace. */
    virtual stamp_mapping parse_mapping(const std::string& record) = 0;
    virtual std::string encode_mapping(const stamp_mapping& mapping) = 0;
    /** Whether bytes mark a slot as sealed. */
    virtual bool is_sealed(const std::string& bytes) = 0;
};

/** The rest, for the session alone: it costs attempts and changes devices. */
class tokens : public token_reader {
public:
    virtual password_answer verify_password(const device_id& device, const char* password) = 0;

    /* The public interface's writers, and its status codes. */
    virtual int append(const device_id& device, const char* password, const std::string& name,
                       const std::string& data) = 0;
    virtual int update(const std::string& uuid, const char* password, const std::string& name,
                       const std::string& data) = 0;
    virtual int remove(const std::string& uuid, const char* password) = 0;

    /** Writes one slot through the device layer. */
    virtual void write_slot(const device_id& device, int slot, const std::string& bytes) = 0;
    /** Deletes one through it, whether it can be read or not. */
    virtual void delete_slot(const device_id& device, int slot) = 0;
};

/** The module's one exported function, with C linkage: a new object that the caller deletes. */
using make_tokens_function = tokens*();
constexpr const char* make_tokens_name = "vemra_stamp_make_tokens";

}  // namespace vemra::tool
