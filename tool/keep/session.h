/** The tokens, with the trace of every call taken and its errors told in the user's words. */
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "basics/secret.h"
#include "device_module/tokens.h"
#include "keep/person.h"
#include "keep/trace.h"

namespace vemra::tool {

/** The device that is meant; an empty serial number or type -1 is left open. */
struct device_choice {
    std::string serial;
    int type = -1;

    bool is_open() const { return serial.empty() && type == -1; }
    bool matches(const device_id& device) const {
        return (serial.empty() || device.serial == serial) && (type == -1 || device.type == type);
    }
};

class session {
public:
    /** Loads what reaches the tokens; throws failure (no_device) when a library is missing. */
    session(trace& printed, person& served, double lock_timeout);

    /** Puts a question to the tokens. Throws failure (failed) with the device's cause. */
    template <typename Question>
    auto ask(Question question) {
        std::optional<decltype(question(std::declval<token_reader&>()))> answer;
        call([&](tokens& all) { answer.emplace(question(all)); });
        return std::move(*answer);
    }

    /** The attached devices; throws failure (no_device) when there is none. */
    std::vector<device_id> devices();
    /** The only one that is meant; throws failure (no_device), or (usage) when there are several.
     */
    device_id find_device(const device_choice& choice);
    /** The stamps of one device or of all. Errors of single stamps are in errors() afterwards. */
    stamp_list stamps(const std::optional<device_id>& only = std::nullopt);

    /**
     * Has the person give the device's password until it is right. Throws failure (wrong_password),
     * (locked), (failed) when the device does not tell, or (usage) when there is no password.
     */
    void verify_password(const device_id& device);

    /** What the library reported during the last call, and the cause in its last report. */
    const std::vector<std::string>& errors() const { return errors_; }
    std::string cause() const;

    person& served() const { return served_; }
    /** Seconds to wait for another run. */
    double lock_timeout() const { return lock_timeout_; }

private:
    friend class authorised_change;

    /** A call that changes a device, with the password that was verified last. */
    using change = std::function<int(tokens& all, const char* password)>;

    int make(const change& wanted);
    void call(const std::function<void(tokens&)>& made);

    std::unique_ptr<tokens> tokens_;
    trace& trace_;
    person& served_;
    double lock_timeout_;
    secret password_;
    std::vector<std::string> errors_;
};

}  // namespace vemra::tool
