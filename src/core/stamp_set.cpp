#include "core/stamp_set.h"

#include <utility>

namespace vemra::app::stamp {

using qo::base::scoped_lock;

stamp_set::~stamp_set() {
    const scoped_lock lock(*this);
    stamps_.clear();
}

std::size_t stamp_set::size() const {
    const scoped_lock lock(*this);
    return stamps_.size();
}

bool stamp_set::empty() const {
    const scoped_lock lock(*this);
    return stamps_.empty();
}

std::shared_ptr<basic_stamp> stamp_set::operator[](const std::size_t& index) {
    const scoped_lock lock(*this);
    return stamps_[index];
}

std::shared_ptr<basic_stamp> stamp_set::operator[](const std::size_t& index) const {
    const scoped_lock lock(*this);
    return stamps_[index];
}

void stamp_set::push_back(std::shared_ptr<basic_stamp> stamp) {
    const scoped_lock lock(*this);
    stamps_.push_back(std::move(stamp));
}

}  // namespace vemra::app::stamp
