/**
 * Faults on demand, in one text form:
 *
 *   FUNCTION [slot=N] [call=N] [chance=P seed=N] ACTION [lasting]
 *
 * FUNCTION is a name of the device interface, with or without its VemraPKI or VemraPKICrypto, or *
 * for any. ACTION is return=CODE, null, delay=MILLISECONDS, unplug, die=before, die=after or
 * torn=BYTES. A transient fault fires once, a lasting one from its first call on. Calls are counted
 * in each process for itself.
 */
#pragma once

#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace vemra::softtoken {

/* What happens, in the order of the actions above. */
enum class fault_action { give_code, give_null, delay, unplug, die_before, die_after, tear };

/* One fault, taken apart. */
struct fault {
    std::string text; /* as it was written, its words one space apart */
    std::string function;
    std::optional<int> slot;
    int call = 1;
    std::optional<double> chance;
    std::uint32_t seed = 1;
    fault_action action = fault_action::give_code;
    int amount = 0; /* the code, the milliseconds or the bytes */
    bool lasting = false;
};

/* Throws bad_argument with what is wrong and what would be right. */
fault parse_fault(const std::string& text);
/* The same for a fault that a token shall have: only functions that ask something of it reach it.
 */
fault parse_token_fault(const std::string& text);
/* Faults separated by semicolons or line ends; empty ones are skipped. */
std::vector<fault> parse_faults(const std::string& text);

/* The faults of people's experience with hardware, by name. */
struct fault_recipe {
    const char* name;
    const char* text;
    const char* meaning;
};
const std::vector<fault_recipe>& fault_recipes();

/* Faults and how far each has been counted. Not for use by two threads at once. */
class fault_plan {
public:
    explicit fault_plan(std::vector<fault> faults);

    bool empty() const noexcept { return counted_.empty(); }
    /*
     * Counts a call, named in full; gives the faults that fire for it, in their order, up to the
     * first that answers the call. A transient one behind that fires at the next call instead.
     */
    std::vector<fault> due(const std::string& function, int slot, bool has_token);

private:
    struct counted_fault {
        fault what;
        int calls = 0;
        bool spent = false;
        std::minstd_rand random;
    };

    static bool is_ready(counted_fault& counted);

    std::vector<counted_fault> counted_;
};

}  // namespace vemra::softtoken
