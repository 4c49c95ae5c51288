/**
 * Changes to the stamps of one device, each verified afterwards.
 *
 * While it lives, the device is locked against other runs of the tool. Signals are held from the
 * first change on; one that came in is heeded before the next change. After each change the device
 * is enumerated again and the names and bytes of all its stamps are compared with what they should
 * be. Old bytes and names are kept in a recovery directory until that comparison is right.
 */
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "basics/interruption.h"
#include "commands/context.h"
#include "keep/device_lock.h"
#include "keep/recovery.h"

namespace vemra::tool {

class device_change {
public:
    /** Locks the device and reads its stamps. */
    device_change(context& run, const device_id& device);

    /** How many changes there will be, for the progress bar; one if this is not called. */
    void expect(std::size_t changes);

    /** Before the first change: throws when the password is wrong, and nothing was changed then. */
    void authorise();

    /* Failures: (device_full), (failed) when the device refused, (check_failed) when what it holds
     * afterwards is not what it should be, (interrupted) before anything is changed. */
    void append(const std::string& name, const std::string& data);
    void update(const stamp& old, const std::string& name, const std::string& data);
    void remove(const stamp& old);

    const device_id& device() const { return device_; }
    /** The stamps that the device holds now. */
    const std::vector<stamp>& stamps() const { return stamps_; }
    /** The stamp that the last append made. */
    const stamp& appended() const { return stamps_[appended_]; }

private:
    void begin();
    void keep_unlisted_bytes();
    recovery keep(const stamp& old) const;
    int call(const std::string& label, const std::function<int(session&)>& change);
    std::vector<stamp> read_back(int status, const recovery* kept);
    void finish(int status, const std::vector<stamp>& expected, const std::vector<stamp>& actual,
                recovery* kept);

    context& run_;
    device_id device_;
    device_lock lock_;
    std::vector<stamp> stamps_;
    std::size_t appended_ = 0;
    std::size_t finished_ = 0;
    std::size_t steps_ = 0;
    std::string cause_;
    std::optional<interruption::hold> hold_;
};

}  // namespace vemra::tool
