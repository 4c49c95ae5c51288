#include "operations.h"

namespace bench {

namespace {

template <typename Work>
double _time(int count, const Work& work) {
    const double begin = now();
    for (int i = 0; i < count; ++i)
        work();
    return (now() - begin) / count;
}

operation _accessor(const char* name, void (program::*access)()) {
    return {name, [access](program& done_by, int count) {
                return _time(count, [&] { (done_by.*access)(); });
            }};
}

// The bytes change with every call: a device might leave equal ones unwritten.
operation _update(std::size_t size) {
    const auto one = std::make_shared<picture>("Seal 1", size, 1U);
    const auto other = std::make_shared<picture>("Seal 1", size, 2U);
    const auto calls = std::make_shared<int>(0);
    return {"update", [=](program& done_by, int count) {
                return _time(count, [&] { done_by.update((*calls)++ % 2 == 0 ? *one : *other); });
            }};
}

// Only one of the two is timed; together they leave things as they were.
operation _remove_and_append(const char* name, std::size_t size, bool append_is_timed) {
    const auto stored = std::make_shared<picture>("Seal 5", size, 5U);
    return {name, [=](program& done_by, int count) {
                double sum = 0;
                for (int i = 0; i < count; ++i) {
                    const double removing = _time(1, [&] { done_by.remove(); });
                    const double appending = _time(1, [&] { done_by.append(*stored); });
                    sum += append_is_timed ? appending : removing;
                }
                return sum / count;
            }};
}

}  // namespace

std::vector<operation> operations_on_stamps_of(std::size_t size) {
    return {
        _accessor("list and take", &program::list_and_take),
        _accessor("type", &program::read_type),
        _accessor("name", &program::read_name),
        _accessor("owner", &program::read_owner),
        _accessor("data", &program::read_data),
        _remove_and_append("append", size, true),
        _update(size),
        _remove_and_append("delete", size, false),
    };
}

timed_run timed_listing(program& done_by) {
    return [&done_by](int count) { return _time(count, [&] { done_by.list_and_take(); }); };
}

}  // namespace bench
