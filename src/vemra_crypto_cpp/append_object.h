#pragma once

#include <memory>
#include <new>
#include <utility>
#include <vector>

namespace vemra::crypto {

/** What a new object does before it is appended. */
enum class on_append { load, nothing };

/**
 * Makes an object of an owned handle, and of what comes before it, and appends it. What its load()
 * throws leaves nothing appended; neither does failing memory, which throws std::bad_alloc.
 */
template <on_append action, typename Object, typename... Arguments>
void append_object(std::vector<std::shared_ptr<Object>>& objects, Arguments&&... arguments) {
    std::shared_ptr<Object> item(new (std::nothrow) Object(std::forward<Arguments>(arguments)...));
    if (item == nullptr) throw std::bad_alloc();
    if constexpr (action == on_append::load) item->load();
    objects.push_back(std::move(item));
}

}  // namespace vemra::crypto
