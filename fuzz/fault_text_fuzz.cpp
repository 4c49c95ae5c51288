// A text of faults is refused with a reason, or read as faults whose numbers make sense, that read
// the same when they are written back, and that fire when and only when they should.

#include <map>

#include "fuzz_support.h"
#include "store/failure.h"
#include "store/fault.h"

using namespace vemra::softtoken;

namespace {

struct call {
    const char* function;
    int slot;
};

constexpr call calls[] = {{"VemraPKICryptoGetAllDevices", -1}, {"VemraPKICryptoReadData", 8127},
                          {"VemraPKICryptoWriteData", 8127},   {"VemraPKICryptoWriteData", 8130},
                          {"VemraPKICertNewCert", -1},         {"VemraPKICryptoFreeMemory", -1}};

bool _are_same(const fault& left, const fault& right) {
    return left.text == right.text && left.function == right.function && left.slot == right.slot &&
           left.call == right.call && left.chance == right.chance && left.seed == right.seed &&
           left.action == right.action && left.amount == right.amount &&
           left.lasting == right.lasting;
}

void _check(const fault& one) {
    claim(one.call >= 1, "calls are counted from 1");
    claim(!one.chance || (*one.chance >= 0 && *one.chance <= 1), "a chance is one");
    const bool counts = one.action == fault_action::delay || one.action == fault_action::tear;
    claim(!counts || one.amount >= 0, "what is counted is not negative");
    claim(one.action != fault_action::tear || one.function == "WriteData", "only writes are torn");
    claim(_are_same(parse_fault(one.text), one), "a fault reads the same again");
}

void _claim_meant(const fault& due, const call& made) {
    const std::string function = made.function;
    claim(function != "VemraPKICryptoFreeMemory", "releasing never fails");
    claim(due.function == "*" || function.find(due.function) != std::string::npos,
          "a fault fires for its function");
    claim(!due.slot || *due.slot == made.slot, "a fault fires for its slot");
}

void _play(const std::vector<fault>& faults) {
    fault_plan plan(faults);
    std::map<std::string, int> transient;
    for (const fault& one : faults)
        if (!one.lasting) ++transient[one.text];
    for (int round = 0; round < 3; ++round) {
        for (const call& made : calls) {
            for (const fault& due : plan.due(made.function, made.slot, true)) {
                _claim_meant(due, made);
                if (!due.lasting) claim(transient[due.text]-- > 0, "a transient fault fires once");
            }
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::vector<fault> faults;
    try {
        faults = parse_faults(std::string(data, data + size));
    } catch (const failure& refused) {
        claim(refused.code() == error_code::bad_argument, "a text is refused as an argument");
        return 0;
    }
    for (const fault& one : faults)
        _check(one);
    _play(faults);
    return 0;
}
