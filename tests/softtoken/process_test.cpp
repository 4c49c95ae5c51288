#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <thread>
#include <vector>

#include "token_fixture.h"

using namespace softtoken_test;

namespace {

constexpr int processes = 4;

bool all_at_once(const std::function<bool(int)>& body) {
    return at_once(processes, body) == processes;
}

}  // namespace

class softtoken_processes : public token_test {};

TEST_F(softtoken_processes, several_write_their_own_slots_at_once) {
    make_token("one");
    ASSERT_TRUE(all_at_once([](int number) {
        device_owner device = device_at();
        bool good = log_in(device.get()) == 1;
        for (int i = 0; good && i < 10; ++i) {
            good = fill_slot(device.get(), 100 * number + i, std::to_string(number)) == 1;
        }
        return good;
    }));
    device_owner device = device_at();
    for (int number = 0; number < processes; ++number) {
        for (int i = 0; i < 10; ++i) {
            ASSERT_EQ(slot_bytes(device.get(), 100 * number + i), std::to_string(number));
        }
    }
}

TEST_F(softtoken_processes, right_passwords_at_once_never_lock_the_token) {
    auto token = plain_token("SN-1");
    token.info.behaviour.retries = 1;
    make_token("one", token);
    EXPECT_TRUE(all_at_once([](int) {
        device_owner device = device_at();
        bool good = true;
        for (int i = 0; i < 20; ++i)
            good &= log_in(device.get()) == 1;
        return good;
    }));
}

TEST_F(softtoken_processes, readers_see_whole_slots_while_another_writes) {
    make_token("one");
    device_owner device = device_at();
    ASSERT_EQ(log_in(device.get()), 1);
    ASSERT_EQ(fill_slot(device.get(), 8130, std::string(50000, 'a')), 1);
    EXPECT_TRUE(all_at_once([](int number) {
        device_owner own = device_at();
        bool good = number != 0 || log_in(own.get()) == 1;
        for (int i = 0; good && i < 30; ++i) {
            if (number == 0) {
                char fill = i % 2 == 0 ? 'b' : 'a';
                good = write_slot(own.get(), 8130, std::string(50000, fill)) == 1;
            } else {
                std::string bytes = slot_bytes(own.get(), 8130);
                good = bytes == std::string(50000, 'a') || bytes == std::string(50000, 'b');
            }
        }
        return good;
    }));
}

TEST_F(softtoken_processes, what_a_killed_process_wrote_is_there) {
    make_token("one");
    EXPECT_FALSE(in_child([] {
        device_owner device = device_at();
        if (log_in(device.get()) == 1 && fill_slot(device.get(), 8130, "bytes") == 1) {
            kill(getpid(), SIGKILL);
        }
        return true;
    }));
    EXPECT_EQ(slot_bytes(device_at().get(), 8130), "bytes");
}

TEST_F(softtoken_processes, write_that_the_disk_does_not_take_leaves_the_old_bytes) {
    make_token("one");
    device_owner device = device_at();
    ASSERT_EQ(log_in(device.get()), 1);
    std::string old_bytes(300000, 'a');
    ASSERT_EQ(fill_slot(device.get(), 8130, old_bytes), 1);
    EXPECT_TRUE(in_child([&] {
        signal(SIGXFSZ, SIG_IGN);
        rlimit narrow{100000, 100000};
        return log_in(device.get()) == 1 && setrlimit(RLIMIT_FSIZE, &narrow) == 0 &&
               write_slot(device.get(), 8130, std::string(300000, 'b')) == -122 &&
               slot_bytes(device.get(), 8130) == old_bytes;
    }));
    EXPECT_EQ(slot_bytes(device.get(), 8130), old_bytes);
    EXPECT_EQ(write_slot(device.get(), 8130, std::string(300000, 'c')), 1);
}

TEST_F(softtoken_processes, threads_share_tokens_without_loss) {
    make_token("one");
    make_token("two");
    constexpr int threads = 4;
    std::vector<std::thread> workers;
    for (int number = 0; number < threads; ++number) {
        workers.emplace_back([number] {
            device_owner device = device_at(number % 2);
            ASSERT_EQ(log_in(device.get()), 1);
            for (int i = 0; i < 10; ++i) {
                ASSERT_EQ(fill_slot(device.get(), 100 * number + i, "mine"), 1);
                ASSERT_EQ(slot_bytes(device.get(), 100 * number + i), "mine");
                ASSERT_EQ(attached_count(), 2);
            }
        });
    }
    for (std::thread& worker : workers)
        worker.join();
    for (int number = 0; number < threads; ++number) {
        EXPECT_EQ(slot_bytes(device_at(number % 2).get(), 100 * number + 9), "mine");
    }
}
