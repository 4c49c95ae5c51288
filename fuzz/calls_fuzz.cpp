// Sequences of exported calls, with the fault schedule drawn from the input, on one to four
// devices: compared with the model, and where a fault struck, with what a failure or a lie may
// leave.

#include <array>

#include "fresh_start.h"
#include "fuzz_support.h"
#include "model/random_use.h"

namespace {

struct faulty_function {
    const char* name;
    /** Whether it can do its work and fail all the same without losing a handle that it made. */
    bool may_work_but_fail;
};

// The empty name is any function. The functions that tell errors never fail.
constexpr std::array<faulty_function, 16> functions{{{"", false},
                                                     {"VemraPKICryptoGetAllDevices", false},
                                                     {"VemraPKICryptoGetDeviceCount", true},
                                                     {"VemraPKICryptoGetDevice", false},
                                                     {"VemraPKICryptoGetKeypairCount", true},
                                                     {"VemraPKICryptoGetType", true},
                                                     {"VemraPKICryptoGetSerialNumber", true},
                                                     {"VemraPKICryptoVerifyPwd", true},
                                                     {"VemraPKICryptoGetDataLength", true},
                                                     {"VemraPKICryptoReadData", true},
                                                     {"VemraPKICryptoCreateData", true},
                                                     {"VemraPKICryptoWriteData", true},
                                                     {"VemraPKICryptoDeleteData", true},
                                                     {"VemraPKICryptoNewHash", false},
                                                     {"VemraPKICryptoHashUpdate", true},
                                                     {"VemraPKICryptoHashFinal", true}}};

// What an exception would do in a function that builds an error's text is to end the process.
fault _fault(unsigned char kind, const faulty_function& function) {
    const bool is_named = function.name[0] != '\0';
    fault result;
    if (kind / 8 % 4 == 1) {
        result = fault::claiming_success();
    } else if (kind % 4 == 1 && function.may_work_but_fail) {
        result = fault::working_but_failing(result.code);
    } else if (kind % 4 == 2 && is_named) {
        result = fault::throwing_runtime_error();
    } else if (kind % 4 == 3 && is_named) {
        result = fault::throwing_int();
    }
    return kind / 4 % 2 == 1 ? result.lasting() : result;
}

std::vector<unsigned char> _devices(choices& input) {
    std::vector<unsigned char> devices(input.byte() % 4 + 1U);
    for (unsigned char& device : devices)
        device = input.byte();
    return devices;
}

step _step(choices& input) {
    step one;
    one.what = static_cast<step::kind>(input.byte() % step::kinds);
    one.device = input.byte();
    one.pick = input.byte();
    one.text = input.byte();
    one.bytes = input.byte();
    return one;
}

std::optional<text_lines> _unheard(const std::function<void()>& work) {
    work();
    return std::nullopt;
}

/** Draws when a fault begins, and for a lasting one how many steps more it stays. */
class fault_schedule {
public:
    explicit fault_schedule(random_use& both) : both_(both) {}

    void before_step(choices& input) {
        const unsigned char chance = input.byte();
        if (steps_left_ != 0 || chance % 4 != 3) return;
        const faulty_function& function = functions[chance / 4 % functions.size()];
        const int nth = input.byte() % 24 + 1;
        const unsigned char kind = input.byte();
        const fault what = _fault(kind, function);
        steps_left_ = what.is_lasting ? 1 + kind / 32 : 1;
        both_.begin_fault({function.name, nth, what});
    }
    std::string after_step() {
        if (steps_left_ == 0 || --steps_left_ != 0) return {};
        return both_.end_fault();
    }

private:
    random_use& both_;
    int steps_left_ = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    choices input(data, size);
    {
        random_use both(_devices(input), "S", _unheard);
        fault_schedule faults(both);
        for (int steps = 0; steps < 40 && !input.is_used_up(); ++steps) {
            const step one = _step(input);
            faults.before_step(input);
            std::string difference = both.perform(one);
            claim(difference.empty(), difference);
            difference = faults.after_step();
            claim(difference.empty(), difference);
        }
        const std::string difference = both.end();
        claim(difference.empty(), difference);
    }
    forget_everything();
    return 0;
}
