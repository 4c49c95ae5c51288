/** The tokens, with the trace of every call taken and its errors told in the user's words. */
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "basics/failure.h"
#include "basics/secret.h"
#include "device_module/tokens.h"
#include "keep/trace.h"

namespace vemra::tool {

class session {
public:
    session(std::unique_ptr<tokens> reached, trace& printed)
        : tokens_(std::move(reached)), trace_(printed) {}

    /** The attached devices; throws failure (no_device) when there is none. */
    std::vector<device_id> devices();

    /**
     * The device that the user means: the only one with the serial number and the type, each of
     * which may be left open. Throws failure (no_device), or (usage) when there are several.
     */
    device_id find_device(const std::string& serial, int type);

    /** The stamps of one device or of all. Errors of single stamps are in errors() afterwards. */
    stamp_list stamps(const std::optional<device_id>& only = std::nullopt);
    /** The same, but anything unreadable is a failure: for what must know the whole device. */
    std::vector<stamp> all_stamps(const device_id& device);

    int append(const device_id& device, const std::string& name, const std::string& data);
    int update(const std::string& uuid, const std::string& name, const std::string& data);
    int remove(const std::string& uuid);

    /** Tries the password in password(). */
    password_answer verify_password(const device_id& device);
    std::string read_slot(const device_id& device, int slot);
    void write_slot(const device_id& device, int slot, const std::string& bytes);
    stamp_mapping parse_mapping(const std::string& record);
    std::string encode_mapping(const stamp_mapping& mapping);
    bool is_sealed(const std::string& bytes);
    std::string library_version();

    /** The password for the changes of this run; masked in the trace. */
    secret& password() { return password_; }

    /** What the library reported during the last call, and the cause in its last report. */
    const std::vector<std::string>& errors() const { return errors_; }
    std::string cause() const;

private:
    template <typename Call>
    auto traced(Call call) -> decltype(call(std::declval<tokens&>()));

    std::unique_ptr<tokens> tokens_;
    trace& trace_;
    secret password_;
    std::vector<std::string> errors_;
};

}  // namespace vemra::tool
