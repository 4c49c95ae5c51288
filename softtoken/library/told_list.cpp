#include "library/told_list.h"

#include <algorithm>

namespace vemra::softtoken {

void told_list::begin() {
    if (lists_++ == 0) first_list_ = clock::now();
}

bool told_list::has(token* asked, bool is_attached) {
    const std::int64_t seconds = asked->behaviour()->list_stale;
    if (seconds == 0) return is_attached;
    // A token that the first list did not have was not there when the process looked.
    auto [found, is_new] = memories_.try_emplace(asked, memory{false, first_list_});
    memory& known = found->second;
    const bool is_over =
        seconds > 0 && clock::now() - known.looked >= std::chrono::seconds(seconds);
    if ((is_new && lists_ == 1) || is_over) known = {is_attached, clock::now()};
    return known.is_listed;
}

std::vector<token*> told_list::told(const std::vector<token*>& tokens) const {
    std::vector<token*> list;
    bool is_turned = false;
    for (token* each : tokens) {
        const personality& rules = *each->behaviour();
        if (rules.list_null) list.push_back(nullptr);
        list.push_back(each);
        if (rules.list_twice) list.push_back(each);
        is_turned = is_turned || rules.order == list_order::changing;
    }
    if (is_turned) {
        const auto places = (lists_ - 1) % list.size();
        std::rotate(list.begin(), list.begin() + static_cast<std::ptrdiff_t>(places), list.end());
    }
    return list;
}

}  // namespace vemra::softtoken
