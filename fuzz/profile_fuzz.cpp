// A text is refused with a reason, or read as a profile that is the same when what a token keeps of
// it, and what its differences tell, are read again.

#include "fuzz_support.h"
#include "personality/knob.h"
#include "personality/profile_text.h"

using namespace vemra::softtoken;

namespace {

void _claim_same(const personality& left, const personality& right, const char* what) {
    for_each_knob([&](const knob& one) { claim(one.get(left) == one.get(right), what); });
}

void _check_kept(const personality& read) {
    personality again;
    apply_kept_text(again, kept_text(read));
    for_each_knob([&](const knob& one) {
        if (one.place == kept_in::behaviour) {
            claim(one.get(read) == one.get(again), "what a token keeps reads the same again");
        }
    });
}

void _check_differences(const personality& read) {
    std::string knobs;
    for (const auto& [name, value] : differences(read))
        knobs += (knobs.empty() ? "\"" : ", \"") + name + "\": " + value;
    const std::string text =
        R"({"format": "vemra-softtoken profile", "version": 1, "knobs": {)" + knobs + "}}";
    _claim_same(read, read_profile(text), "the differences are the whole profile");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    personality read;
    try {
        read = read_profile(std::string(data, data + size));
    } catch (const bad_profile& refused) {
        claim(*refused.what() != '\0', "a text is refused with a reason");
        return 0;
    }
    claim(read.limits_are_possible(), "a profile has limits that a token can have");
    _check_kept(read);
    _check_differences(read);
    return 0;
}
