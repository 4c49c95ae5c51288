/** The tokens, with the trace of every call taken and its errors told in the user's words. */
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "basics/failure.h"
#include "command_line/secret.h"
#include "device_module/tokens.h"
#include "keep/device_lock.h"
#include "keep/person.h"
#include "keep/recovery.h"
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

/** How runs of the tool wait for each other. */
struct lock_rule {
    /** Seconds to wait for another run. */
    double timeout = 10;
    /** Whether readers wait for writers, and keep them off. */
    bool readers_wait = true;
};

class session {
public:
    /** Loads what reaches the tokens; throws failure (no_device) when a library is missing. */
    session(trace& printed, person& served, const lock_rule& locking);

    /**
     * Puts a question to the tokens, or to one of them, which a failure then names. Throws failure
     * (failed) with the device's cause.
     */
    template <typename Question>
    auto ask(Question question, const std::optional<device_id>& asked = std::nullopt) {
        std::optional<decltype(question(std::declval<token_reader&>()))> answer;
        call([&](tokens& all) { answer.emplace(question(all)); }, asked);
        return std::move(*answer);
    }

    /**
     * The attached devices; throws failure (no_device) when there is none, or when the device
     * library lacks a function that reads.
     */
    std::vector<device_id> devices();
    /** The only one that is meant; throws failure (no_device), or (usage) when there are several.
     */
    device_id find_device(const device_choice& choice);
    /** All of them when the choice is left open, else the one that find_device() gives. */
    std::vector<device_id> find_devices(const device_choice& choice);
    /**
     * The stamps of one device or of all, as the public interface lists them. Errors of single
     * stamps are in errors() afterwards.
     */
    stamp_list stamps(const std::optional<device_id>& only = std::nullopt);

    /** Has the person give the device's password. Throws failure (usage) when there is none. */
    void ask_password(const device_id& device);
    /**
     * Has the device verify what was given last; a wrong one costs an attempt. Nothing when it is
     * right, the refusal (wrong_password) while attempts are left. Throws failure (locked), or
     * (failed) when the device does not tell.
     */
    std::optional<failure> verify_password(const device_id& device);

    /** What the library reported during the last call, and the cause in its last report. */
    const std::vector<std::string>& errors() const { return errors_; }
    std::string cause() const;

    /**
     * Tells the person, once for each device, where what it held before earlier changes is kept.
     * To be called for every device that a command reaches; find_device() and
     * find_devices() do.
     */
    void tell_kept(const device_id& device);
    /** What earlier runs kept of this device, the oldest first. */
    std::vector<kept_change> kept_of(const device_id& device) const;
    /** Nothing is told of this directory: it is the one that is being put back. */
    void leave_untold(const std::string& directory);

    /** How many stamps the enumeration has listed that is running; from any thread. */
    std::size_t listed_now() const;
    /** How long the stamps of a device are, as last told, in the order of their slots; or nullptr.
     */
    const std::vector<std::size_t>* remembered_lengths(const device_id& device) const;
    void remember_lengths(const device_id& device, std::vector<std::size_t> lengths);

    person& served() const { return served_; }
    const lock_rule& locking() const { return locking_; }
    /** When waiting that begins now ends. */
    lock_deadline deadline() const;

private:
    friend class authorised_change;

    /** A call that changes a device, with the password that was verified last. */
    using change = std::function<int(tokens& all, const char* password)>;

    int make(const device_id& device, const change& wanted);
    void call(const std::function<void(tokens&)>& made, const std::optional<device_id>& asked);

    std::unique_ptr<tokens> tokens_;
    trace& trace_;
    person& served_;
    lock_rule locking_;
    secret password_;
    std::vector<std::string> errors_;
    /** What had been kept before this run kept anything. */
    std::vector<kept_change> kept_;
    std::set<device_id> told_kept_;
    std::map<device_id, std::vector<std::size_t>> lengths_;
};

}  // namespace vemra::tool
