/**
 * Changes to the stamps of one device after its password was verified: the one way to write.
 *
 * Signals are held from the first change on; one that came in is heeded before the next change.
 * Every change goes the same way: what it overwrites is kept in a recovery directory, the change
 * is written, the device is read again, as far as the verification says, and its stamps are
 * compared with what they should be. Only then is the recovery directory removed.
 */
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "command_line/interruption.h"
#include "keep/locked_device.h"
#include "keep/mapping_record.h"
#include "keep/old_contents.h"
#include "keep/pictured_stamp.h"
#include "keep/recovery.h"
#include "keep/verification.h"

namespace vemra::tool {

class authorised_change {
public:
    /* Failures: (device_full), (failed) when the device refused, (check_failed) when what it holds
     * afterwards is not what it should be, (interrupted) before anything is changed. */

    /** Returns the new stamp as the device lists it. */
    stamp append(const std::string& name, const shared_bytes& data);
    void update(const pictured_stamp& old, const std::string& name, const shared_bytes& data);
    void remove(const stamp& old);
    /** Writes the list of stamps anew. Those that could be read before must be so still. */
    void write_list(const mapping_record& old, const mapping_record& wanted);

    const locked_device& device() const { return device_; }

private:
    friend authorised_change authorise(session& tokens, const device_id& device,
                                       const look_up& wanted, verification how);

    using write_call = std::function<int(tokens& all, const char* password)>;
    /** Reads the device and tells how it differs from what it should hold. */
    using comparison = std::function<std::vector<std::string>(bool is_done)>;

    authorised_change(locked_device device, verification how);

    void begin();
    void keep_unlisted_bytes(int slot);
    void replace_unreadable(const stamp& old, const stamp& wanted);
    void remove_unreadable(const stamp& old);
    old_contents contents();
    void carry_out(const work& writing, recovery& kept, const write_call& change,
                   const comparison& differences);
    int write(const work& writing, const write_call& change);
    std::vector<std::string> read_back(int status, const recovery& kept,
                                       const comparison& differences);
    /**
     * Reads what a change of this slot calls for, 0 when it is a new one or has become empty. The
     * device is expected to hold these stamps then.
     */
    void read_after(bool is_done, int slot, const std::vector<stamp>& expected);
    void read_everything(const std::vector<stamp>& expected);
    void require_verified(int status, const std::vector<std::string>& differences,
                          const recovery* kept) const;
    failure_facts facts_of(const recovery* kept) const;
    std::vector<std::string> compare_with(const std::vector<stamp>& expected);

    locked_device device_;
    verification how_;
    bool is_all_read_ = true;
    std::string cause_;
    std::optional<interruption::hold> hold_;
};

/**
 * Locks the device with its password, see lock_with_password(); throws as that does, or
 * (interrupted), and nothing was changed then.
 */
[[nodiscard]] authorised_change authorise(session& tokens, const device_id& device,
                                          const look_up& wanted,
                                          verification how = verification::everything);

}  // namespace vemra::tool
