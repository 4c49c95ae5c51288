#pragma once

#include <string>
#include <vector>

#include "model/stamp_library.h"
#include "sweep/live/live_holdings.h"
#include "vemra_app_stamp.h"

/** The exported functions of the shared object. What it gives out is released at once. */
class live_library : public stamp_library {
public:
    ~live_library() override { forget_taken(); }

    seen_call list_wanted(const wanted_stamps& wanted) override;
    seen_call own_device(std::size_t index) override;
    seen_call append(const std::string& serial, int type, const char* password,
                     const new_stamp& stamp) override;
    seen_call update(const std::string& uuid, const char* password,
                     const new_stamp& stamp) override;
    seen_call remove(const std::string& uuid, const char* password) override;
    seen_call plain(plain_function function) override { return holdings_.call(function); }

    /** Lists all stamps and keeps the set and the last one. */
    void hold() { holdings_.hold(); }
    /** Gives back what hold() keeps. */
    void let_go() { holdings_.release(); }

    /** Releases the records that a list keeps for own_device(). */
    void forget_taken();

private:
    void take_all(VEMRA_APP_STAMP_SET_HANDLE set, seen_call& seen);
    void take(VEMRA_APP_STAMP_SET_HANDLE set, unsigned int index, seen_call& seen);

    /** One for each stamp of the last list, null where it could not be taken. */
    std::vector<VEMRA_APP_STAMP_RECORD*> taken_;
    live_holdings holdings_;
};
