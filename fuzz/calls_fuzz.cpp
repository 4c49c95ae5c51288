// Sequences of exported calls, faults of the device library between them, on one to four devices:
// compared with the model.

#include "fresh_start.h"
#include "fuzz_support.h"
#include "model/random_use.h"

namespace {

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

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    choices input(data, size);
    {
        random_use both(_devices(input), 0, _unheard);
        for (int steps = 0; steps < 80 && !input.is_used_up(); ++steps) {
            const std::string difference = both.perform(_step(input));
            claim(difference.empty(), difference);
        }
        const std::string difference = both.end();
        claim(difference.empty(), difference);
    }
    forget_everything();
    return 0;
}
