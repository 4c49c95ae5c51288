#pragma once

#include "base/path.h"
#include "base/thread_safe_object.h"

namespace vemra::app::stamp {

/**
 * The process-wide settings: a log level and a log directory. Operations lock; failing to lock
 * throws std::system_error.
 *
 * Kept(idle-settings): they are reported to callers and heeded by nothing.
 */
class environment : public qo::base::thread_safe_object {
public:
    /** The one instance, made by the first call and destroyed when the process exits. */
    static environment& instance();

    int get_log_level() const;
    void set_log_level(int level);

    /**
     * Kept(unlocked-directory): the lock is released before the reference is returned. The caller
     * reads the path unguarded and races with set_log_directory.
     */
    const qo::base::path& get_log_directory() const;
    void set_log_directory(const qo::base::path& directory);

private:
    environment();

    int log_level_ = 0;
    qo::base::path log_directory_;
};

}  // namespace vemra::app::stamp
