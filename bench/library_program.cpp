#include <vector>

#include "program.h"

namespace bench {

namespace {

struct taken_stamp {
    std::vector<unsigned char> uuid;
    VEMRA_APP_STAMP_RECORD* record = nullptr;
};

taken_stamp _take(VEMRA_APP_STAMP_SET_HANDLE set, unsigned int index) {
    unsigned char* uuid = nullptr;
    unsigned int uuid_size = 0;
    taken_stamp taken;
    require(VemraAppStampGetStamp(set, index, &uuid, &uuid_size, &taken.record) == 1, "take");
    taken.uuid.assign(uuid, uuid + uuid_size);
    VemraAppStampFreeMemory(uuid);
    return taken;
}

void _release(VEMRA_APP_STAMP_RECORD* record) {
    VemraAppStampFreeMemory(record->name);
    VemraAppStampFreeStamp(record);
}

class library_program : public program {
public:
    library_program() : serial_(serial_number(0)) {
        VEMRA_APP_STAMP_SET_HANDLE set =
            VemraAppStampGetAllStamps(VEMRA_APP_STAMP_TYPE_ANY, nullptr, 0, -1);
        first_ = _take(set, 0);
        const taken_stamp last = _take(set, stamps_per_device - 1);
        last_uuid_ = last.uuid;
        _release(last.record);
        VemraAppStampFreeStamps(set);
    }

    ~library_program() override { _release(first_.record); }
    library_program(const library_program&) = delete;
    library_program& operator=(const library_program&) = delete;

    void list_and_take() override { list_and_take_once(); }

    void read_type() override {
        int type = 0;
        require(VemraAppStampGetStampType(first_.record, &type) == 1, "type");
    }

    void read_name() override {
        char* name = nullptr;
        unsigned int length = 0;
        require(VemraAppStampGetStampName(first_.record, &name, &length) == 1, "name");
        VemraAppStampFreeMemory(name);
    }

    void read_owner() override {
        char* serial = nullptr;
        unsigned int length = 0;
        int type = 0;
        require(VemraAppStampGetStampOwnDevice(first_.record, &serial, &length, &type) == 1,
                "owner");
        VemraAppStampFreeMemory(serial);
    }

    void read_data() override {
        unsigned char* bytes = nullptr;
        unsigned long long size = 0;
        require(VemraAppStampGetStampData(first_.record, &bytes, &size) == 1, "data");
        VemraAppStampFreeMemory(bytes);
    }

    void append(const picture& stored) override {
        const int status =
            VemraAppStampAppendStamp(serial_.c_str(), static_cast<unsigned int>(serial_.size()),
                                     device_type, nullptr, &stored.record());
        require(status == 1, "append");
    }

    void update(const picture& stored) override {
        const int status = VemraAppStampUpdateStamp(first_.uuid.data(),
                                                    static_cast<unsigned int>(first_.uuid.size()),
                                                    nullptr, &stored.record());
        require(status == 1, "update");
    }

    void remove() override {
        const int status = VemraAppStampDeleteStamp(
            last_uuid_.data(), static_cast<unsigned int>(last_uuid_.size()), nullptr);
        require(status == 1, "delete");
    }

private:
    std::string serial_;
    taken_stamp first_;
    std::vector<unsigned char> last_uuid_;
};

}  // namespace

void list_and_take_once() {
    VEMRA_APP_STAMP_SET_HANDLE set =
        VemraAppStampGetAllStamps(VEMRA_APP_STAMP_TYPE_ANY, nullptr, 0, -1);
    unsigned int count = 0;
    VemraAppStampGetStampCount(set, &count);
    require(count >= stamps_per_device, "too few stamps");
    for (unsigned int i = 0; i < count; ++i) {
        unsigned char* uuid = nullptr;
        unsigned int uuid_size = 0;
        VEMRA_APP_STAMP_RECORD* record = nullptr;
        VemraAppStampGetStamp(set, i, &uuid, &uuid_size, &record);
        VemraAppStampFreeMemory(uuid);
        _release(record);
    }
    VemraAppStampFreeStamps(set);
}

std::unique_ptr<program> make_library_program() {
    return std::make_unique<library_program>();
}

}  // namespace bench
