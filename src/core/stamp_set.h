#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "base/thread_safe_object.h"
#include "core/basic_stamp.h"

namespace vemra::app::stamp {

/**
 * The stamps of one enumeration, in the order in which they were found.
 *
 * Every operation, the destructor included, holds the set's lock for its whole duration; failing
 * to lock throws std::system_error, which ends the process when the destructor fails so. Stamps are
 * handed out as shared pointers and outlive the set.
 */
class stamp_set : public qo::base::thread_safe_object {
public:
    ~stamp_set();

    std::size_t size() const;
    bool empty() const;
    /** No bounds check: `index` must be below size(). */
    std::shared_ptr<basic_stamp> operator[](const std::size_t& index);
    std::shared_ptr<basic_stamp> operator[](const std::size_t& index) const;
    void push_back(std::shared_ptr<basic_stamp> stamp);

private:
    std::vector<std::shared_ptr<basic_stamp>> stamps_;
};

}  // namespace vemra::app::stamp
