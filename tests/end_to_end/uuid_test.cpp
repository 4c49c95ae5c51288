// A uuid computed without this project's code: by the openssl command.
#include "seal_office.h"

namespace {

using end_to_end::outcome;
using end_to_end::process;

class uuid : public end_to_end::seal_office {
protected:
    std::string openssl_sha256(const std::string& bytes) {
        const outcome digest =
            process(path("."), {"openssl", "dgst", "-sha256", "-r"}, bytes).wait();
        EXPECT_EQ(digest.exit_code, 0) << digest.errors;
        return digest.output.substr(0, digest.output.find(' '));
    }

    std::string shown_uuid(const std::string& name) {
        const std::string shown = seal({"show", uuid_of(name)}).output;
        const std::string label = "uuid         ";
        EXPECT_EQ(shown.rfind(label, 0), 0u);
        return shown.substr(label.size(), shown.find('\n') - label.size());
    }
};

std::string little_endian(unsigned int value) {
    std::string bytes;
    for (unsigned int shift = 0; shift < 32; shift += 8) {
        bytes += static_cast<char>(value >> shift & 0xff);
    }
    return bytes;
}

TEST_F(uuid, is_the_sha256_of_serial_number_device_type_and_slot) {
    make_token("office", "SERIAL-0042", 0x01020304);
    store("SERIAL-0042", 0x01020304, "First", "name_seal.png");
    store("SERIAL-0042", 0x01020304, "Second", "name_seal.png");

    for (const auto& [name, slot] : {std::pair{"First", 8130u}, std::pair{"Second", 8131u}}) {
        const std::string expected =
            openssl_sha256("SERIAL-0042" + little_endian(0x01020304) + little_endian(slot));
        ASSERT_EQ(expected.size(), 64u);
        EXPECT_EQ(shown_uuid(name), expected);
        EXPECT_NE(trace().find("[VemraAppStampGetAllStamps] uuid: " + expected + "\n"),
                  std::string::npos);
    }
}

TEST_F(uuid, names_a_place_that_another_seal_can_take) {
    make_token("office", "SN-1", 1);
    store("SN-1", 1, "Before", "name_seal.png");
    const std::string before = shown_uuid("Before");
    ASSERT_EQ(seal({"remove", before}).exit_code, 0);

    store("SN-1", 1, "After", "company_seal.png");

    EXPECT_EQ(shown_uuid("After"), before);
}

}  // namespace
