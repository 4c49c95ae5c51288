#ifndef SWEEP_LIVE_LIBRARY_H
#define SWEEP_LIVE_LIBRARY_H

#include <functional>
#include <string>
#include <vector>

#include "sweep/stamp_library.h"
#include "vemra_app_stamp.h"

/** The exported functions of the shared object. What it gives out is released at once. */
class live_library : public stamp_library {
public:
    ~live_library() override { forget_first(); }

    seen_call list() override;
    seen_call own_device() override;
    seen_call append(const std::string& serial, int type, const char* password,
                     const new_stamp& stamp) override;
    seen_call update(const std::string& uuid, const char* password,
                     const new_stamp& stamp) override;
    seen_call remove(const std::string& uuid, const char* password) override;

    /** Releases the record that list() keeps for own_device(). */
    void forget_first();

private:
    void take_all(VEMRA_APP_STAMP_SET_HANDLE set, seen_call& seen);
    void take(VEMRA_APP_STAMP_SET_HANDLE set, unsigned int index, seen_call& seen);

    VEMRA_APP_STAMP_RECORD* first_ = nullptr;
};

/**
 * When the library ends the process, what was seen until then is given to the watcher, which does
 * not return.
 */
void watch_end(const std::function<void(const seen_call&)>& watcher);

/** Allocations count, and can be failed, only inside such a scope. */
class counted_scope {
public:
    counted_scope();
    ~counted_scope();
    counted_scope(const counted_scope&) = delete;
    counted_scope& operator=(const counted_scope&) = delete;
};

/** A trace's lines with N for source lines and PTR for addresses but "(nil)". */
std::vector<std::string> normalised_trace(const std::vector<std::string>& lines);

#endif
