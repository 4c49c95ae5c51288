#pragma once

#include <string>
#include <vector>

#include "model/model_devices.h"

/*
 * A random use of the library, in numbers. Every number means something, since it is taken modulo
 * what there is to choose from: any bytes are a plan, and a shrunk plan is one too.
 */

struct step {
    enum kind : unsigned char {
        list,
        take,
        ask_owner,
        append,
        update,
        erase,
        free_stamp,
        free_set,
        unplug,
        replug,
        fault,
        mend,
        kinds
    };

    kind what = list;
    /** Which device; for updates and removals which known uuid; for faults in which function. */
    unsigned char device = 0;
    /** Which set or record; for writes which password and type; for faults in which call. */
    unsigned char pick = 0;
    /** Which name, filter or index; for faults what happens. */
    unsigned char text = 0;
    /** Which bytes to store. */
    unsigned char bytes = 0;
};

struct plan {
    /** One number per device, one to four of them: what it holds and how it logs in. */
    std::vector<unsigned char> devices;
    std::vector<step> steps;
};

/** As C++ text, ready to become a test of its own. */
std::string to_text(const plan& use);

/* What the numbers choose from. */

const std::string& name_of(unsigned char number);
const std::string& picture_of(unsigned char number);
/** Null, the right one, or a wrong one. */
const char* password_of(unsigned char number);
constexpr const char* right_password = "12345678";

/** What a device holds at the start: its record's body, if it has one, and its stamp slots. */
struct content {
    bool has_record;
    std::string body;
    std::vector<std::pair<int, std::string>> slots;
};
const content& content_of(unsigned char number);
bool needs_login(unsigned char number);
/** What happens from a step on that is a fault, until another such step or one that mends. */
planned_disturbance disturbance_of(const step& one);
