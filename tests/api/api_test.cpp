#include "api/api_test.h"

#if defined(__SANITIZE_ADDRESS__)
#define HAS_LEAK_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define HAS_LEAK_SANITIZER 1
#endif
#endif
#ifdef HAS_LEAK_SANITIZER
#include <sanitizer/lsan_interface.h>
#endif

expected_calls& expected_calls::call(const std::string& line) {
    lines_.push_back(line);
    return *this;
}

expected_calls& expected_calls::enumerate() {
    call("VemraPKICryptoGetAllDevices(-1, 0)");
    call("VemraPKICryptoGetDeviceCount(list)");
    call("VemraPKICryptoGetDevice(list, 0)");
    return call("VemraPKICryptoGetKeypairCount(SN-1)");
}

expected_calls& expected_calls::serial() {
    call("VemraPKICryptoGetSerialNumber(SN-1, null)");
    return call("VemraPKICryptoFreeMemory(serial)");
}

expected_calls& expected_calls::type() {
    return call("VemraPKICryptoGetType(SN-1)");
}

expected_calls& expected_calls::length(int id, int times) {
    for (int i = 0; i < times; ++i) {
        call("VemraPKICryptoGetDataLength(SN-1, " + std::to_string(id) + ", 0)");
    }
    return *this;
}

expected_calls& expected_calls::read(int id, int length) {
    return call("VemraPKICryptoReadData(SN-1, " + std::to_string(id) + ", buffer, " +
                std::to_string(length) + ", 0)");
}

expected_calls& expected_calls::get(int id, int length) {
    return this->length(id).read(id, length);
}

expected_calls& expected_calls::create(int id, int length) {
    return call("VemraPKICryptoCreateData(SN-1, " + std::to_string(id) + ", 04 01 03 07, " +
                std::to_string(length) + ")");
}

expected_calls& expected_calls::write(int id, const std::string& bytes) {
    return call("VemraPKICryptoWriteData(SN-1, " + std::to_string(id) + ", " +
                (bytes.empty() ? "no bytes" : hex_text(bytes, " ")) + ", " +
                std::to_string(bytes.size()) + ")");
}

expected_calls& expected_calls::remove(int id) {
    return call("VemraPKICryptoDeleteData(SN-1, " + std::to_string(id) + ")");
}

expected_calls& expected_calls::set_new(int id, const std::string& bytes) {
    return length(id, 4).create(id, static_cast<int>(bytes.size())).write(id, bytes);
}

expected_calls& expected_calls::set_in_place(int id, const std::string& bytes) {
    return length(id).get(id, static_cast<int>(bytes.size())).length(id, 2).write(id, bytes);
}

expected_calls& expected_calls::set_anew(int id, int old_length, const std::string& bytes) {
    length(id).get(id, old_length).length(id, 2).remove(id).length(id);
    return create(id, static_cast<int>(bytes.size())).write(id, bytes);
}

expected_calls& expected_calls::verify(const std::string& given) {
    return call("VemraPKICryptoVerifyPwd(SN-1, 1, \"" + given + "\", 0)");
}

expected_calls& expected_calls::message(int code) {
    return call("VemraPKIGetErrorMsg(" + std::to_string(code) + ")");
}

expected_calls& expected_calls::uuid(int id) {
    serial().type();
    call("VemraPKICryptoNewHash(SN-1, 28672)");
    call("VemraPKICryptoHashUpdate(hash, 53 4e 2d 31, 4)");
    call("VemraPKICryptoHashUpdate(hash, 03 00 00 00, 4)");
    const std::string slot{static_cast<char>(id & 0xff), static_cast<char>(id >> 8)};
    call("VemraPKICryptoHashUpdate(hash, " + hex_text(slot, " ") + " 00 00, 4)");
    call("VemraPKICryptoHashFinal(hash, null, 0)");
    call("VemraPKICryptoFreeMemory(digest)");
    return call("VemraPKICryptoFreeHash(hash)");
}

expected_calls& expected_calls::free_device() {
    return call("VemraPKICryptoFreeDevice(SN-1)");
}

std::string mapping_record(const std::string& body) {
    const std::size_t total = body.size() + 5;
    return std::string{static_cast<char>(total & 0xff), static_cast<char>(total >> 8), '\0', '\0',
                       '\x01'} +
           body;
}

taken_stamp::taken_stamp(VEMRA_APP_STAMP_SET_HANDLE set, unsigned int index) {
    status = VemraAppStampGetStamp(set, index, &uuid, &uuid_size, &record);
}

taken_stamp::~taken_stamp() {
    if (record == nullptr) return;
    VemraAppStampFreeMemory(uuid);
    free_record(record);
}

listed_stamps::listed_stamps()
    : set(VemraAppStampGetAllStamps(VEMRA_APP_STAMP_TYPE_ANY, nullptr, 0, -1)) {}

listed_stamps::~listed_stamps() {
    if (set != nullptr) VemraAppStampFreeStamps(set);
}

unsigned int listed_stamps::count() const {
    unsigned int result = 0;
    VemraAppStampGetStampCount(set, &result);
    return result;
}

void api_test::TearDown() {
    EXPECT_EQ(fake.misuses(), text_lines{});
    EXPECT_EQ(fake.live_buffers(), 0);
    EXPECT_EQ(fake.live_hashes(), 0);
}

void api_test::add_device_with(const std::string& body) {
    fake.add_device("SN-1", 3);
    fake.fill_slot(8127, mapping_record(body));
    fake.fill_slot(8130, "hello");
}

std::string api_test::uuid_of(unsigned int index) {
    const stdout_capture unseen;
    const listed_stamps all;
    const taken_stamp stamp(all.set, index);
    if (stamp.status != VEMRA_APP_STAMP_SUCCESS) return {};
    return std::string(reinterpret_cast<const char*>(stamp.uuid), stamp.uuid_size);
}

text_lines api_test::listed_names() {
    const stdout_capture unseen;
    const listed_stamps all;
    text_lines names;
    for (unsigned int i = 0; i < all.count(); ++i) {
        const taken_stamp stamp(all.set, i);
        names.emplace_back(stamp.record == nullptr ? "?" : stamp.record->name);
    }
    return names;
}

kept_leak_scope::kept_leak_scope() {
#ifdef HAS_LEAK_SANITIZER
    __lsan_disable();
#endif
}

kept_leak_scope::~kept_leak_scope() {
#ifdef HAS_LEAK_SANITIZER
    __lsan_enable();
#endif
}
