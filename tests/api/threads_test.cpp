// What several threads may do at once.

#include <functional>
#include <thread>

#include "api/api_test.h"

namespace {

class threads : public api_test {
protected:
    /** Runs the work, told its number, in four threads at once. */
    static void run_in_four(const std::function<void(int)>& work) {
        std::vector<std::thread> all;
        for (int number = 0; number < 4; ++number)
            all.emplace_back(work, number);
        for (std::thread& one : all)
            one.join();
    }
};

TEST_F(threads, may_list_and_read_at_once) {
    add_device_with("A&8130||B&8131");
    fake.fill_slot(8131, "world");
    std::vector<std::string> read(4);
    {
        const stdout_capture unseen;
        run_in_four([&read](int number) {
            for (int round = 0; round < 10; ++round) {
                const listed_stamps all;
                const taken_stamp first(all.set, 0);
                const taken_stamp second(all.set, 1);
                read[static_cast<std::size_t>(number)] =
                    std::string(first.record->name) + second.record->name;
            }
        });
    }
    EXPECT_EQ(read, std::vector<std::string>(4, "AB"));
    EXPECT_EQ(fake.double_frees(), 0);
}

TEST_F(threads, may_read_one_record_at_once) {
    add_device_with("Seal&8130");
    const stdout_capture unseen;
    const listed_stamps all;
    const taken_stamp stamp(all.set, 0);
    std::vector<std::string> serials(4);
    run_in_four([&](int number) {
        char* serial = nullptr;
        unsigned int length = 0;
        int type = 0;
        VemraAppStampGetStampOwnDevice(stamp.record, &serial, &length, &type);
        serials[static_cast<std::size_t>(number)] = serial;
        VemraAppStampFreeMemory(serial);
    });
    EXPECT_EQ(serials, std::vector<std::string>(4, "SN-1"));
}

TEST_F(threads, may_write_to_different_devices_at_once) {
    for (int number = 0; number < 4; ++number)
        fake.add_device("SN-" + std::to_string(number), 3);
    {
        const stdout_capture unseen;
        run_in_four([](int number) {
            const std::string serial = "SN-" + std::to_string(number);
            std::string name = "Seal of " + serial;
            std::string data = "bytes";
            const VEMRA_APP_STAMP_RECORD record = image_record(name, data);
            for (int round = 0; round < 5; ++round) {
                VemraAppStampAppendStamp(serial.c_str(), 4, 3, "12345678", &record);
            }
        });
    }
    EXPECT_EQ(listed_names().size(), 20u);
}

TEST_F(threads, have_a_last_status_each) {
    std::vector<int> statuses(4);
    {
        const stdout_capture unseen;
        run_in_four([&statuses](int number) {
            for (int round = 0; round < 50; ++round) {
                if (number % 2 == 0) VemraAppStampFreeMemory(nullptr);
                if (number % 2 == 1) VemraAppStampFreeStamps(nullptr);
                statuses[static_cast<std::size_t>(number)] = VemraAppStampGetLastError();
            }
        });
    }
    EXPECT_EQ(statuses, (std::vector<int>{-2, -1, -2, -1}));
}

}  // namespace
