#include "core/environment.h"

#include <string>
#include <utility>

namespace vemra::app::stamp {

using qo::base::scoped_lock;

environment::environment() : log_directory_(std::string("/var/logs/VEMRA_APP_STAMP/")) {}

environment& environment::instance() {
    static environment the_instance;
    return the_instance;
}

int environment::get_log_level() const {
    const scoped_lock lock(*this);
    return log_level_;
}

void environment::set_log_level(int level) {
    const scoped_lock lock(*this);
    log_level_ = level;
}

const qo::base::path& environment::get_log_directory() const {
    const scoped_lock lock(*this);
    return log_directory_;
}

void environment::set_log_directory(const qo::base::path& directory) {
    const scoped_lock lock(*this);
    // Without memory for all of the new directory the old one stays whole.
    qo::base::path copy(directory);
    log_directory_ = std::move(copy);
}

}  // namespace vemra::app::stamp
