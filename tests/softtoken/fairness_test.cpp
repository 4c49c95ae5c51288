// Writers at one token get it in the order in which they came, and nobody waits for one who is
// gone.

#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <thread>

#include "store/password_table.h"
#include "store/token_database.h"
#include "support/child_process.h"
#include "token_fixture.h"

using namespace softtoken_test;

namespace {

using clock_type = std::chrono::steady_clock;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr int writers = 4;

// Seen by the processes made by fork.
struct shared_counts {
    std::atomic<int> ready{0};
    std::atomic<int> finished{0};
    std::array<std::atomic<int>, 8> each{};
};

class shared_memory {
public:
    shared_memory()
        : counts_(new (mmap(nullptr, sizeof(shared_counts), PROT_READ | PROT_WRITE,
                            MAP_SHARED | MAP_ANONYMOUS, -1, 0)) shared_counts) {}
    ~shared_memory() { munmap(counts_, sizeof(shared_counts)); }
    shared_memory(const shared_memory&) = delete;
    shared_memory& operator=(const shared_memory&) = delete;
    shared_counts* operator->() const { return counts_; }

private:
    shared_counts* counts_;
};

// Longer in the long checks.
seconds duration() {
    const char* given = std::getenv("VEMRA_FAIRNESS_SECONDS");
    return seconds(given == nullptr ? 2 : std::atoi(given));
}

bool change_once() {
    device_owner device = device_at();
    return write_slot(device.get(), 8130, "other") == 1;
}

// The moment until which each writes, after all have come so far.
clock_type::time_point begin_together(const shared_memory& counts) {
    for (++counts->ready; counts->ready < writers;)
        std::this_thread::yield();
    return clock_type::now() + duration();
}

void expect_within_a_factor_of_two(const shared_memory& counts) {
    auto [least, most] = std::minmax_element(counts->each.begin(), counts->each.begin() + writers);
    EXPECT_GT(least->load(), 10);
    EXPECT_LE(most->load(), 2 * least->load());
    for (int i = 0; i < writers; ++i)
        testing::Test::RecordProperty("writer_" + std::to_string(i),
                                      counts->each.at(static_cast<std::size_t>(i)));
}

}  // namespace

class softtoken_fairness : public token_test {
protected:
    softtoken_fairness() {
        auto token = plain_token("SN-1");
        token.info.behaviour.login = vemra::softtoken::login_scope::none;
        make_token("one", token);
        in_child([] { return fill_slot(device_at().get(), 8130, "bytes") == 1; });
    }
    // A process that has begun a change, and waiters behind it, each of which came after the last.
    child_process start_holder() const {
        const std::string sign = root() + "/.holds";
        auto holder = child_process([&] { return change_for_ever(sign); });
        while (!std::filesystem::exists(sign))
            std::this_thread::sleep_for(milliseconds(1));
        return holder;
    }
    template <typename Work>
    child_process start_waiter(Work work) const {
        const std::uint64_t before = tickets_drawn();
        auto waiter = child_process(work);
        while (tickets_drawn() == before)
            std::this_thread::sleep_for(milliseconds(1));
        return waiter;
    }
    std::uint64_t tickets_drawn() const { return number_at(0); }
    // The first ticket that still counts: 0 while nobody was passed.
    std::uint64_t passed_tickets() const { return number_at(8); }

private:
    // Begins a change and goes no further.
    bool change_for_ever(const std::string& sign) const {
        vemra::softtoken::token_database held(directory("one") + "/token.db");
        vemra::softtoken::transaction changing(held);
        write_file(sign, "");
        for (;;)
            pause();
    }

    std::uint64_t number_at(std::size_t position) const {
        const std::string bytes = file_bytes(directory("one") + "/write.lock");
        std::uint64_t number = 0;
        if (bytes.size() >= position + sizeof number)
            std::memcpy(&number, bytes.data() + position, sizeof number);
        return number;
    }
};

TEST_F(softtoken_fairness, four_writing_processes_finish_within_a_factor_of_two) {
    shared_memory counts;
    EXPECT_EQ(at_once(writers,
                      [&](int number) {
                          device_owner device = device_at();
                          bool good = slot_bytes(device.get(), 8130) == "bytes";
                          const auto end = begin_together(counts);
                          for (; good && clock_type::now() < end;
                               ++counts->each.at(static_cast<std::size_t>(number)))
                              good = write_slot(device.get(), 8130, "other") == 1;
                          return good;
                      }),
              writers);
    expect_within_a_factor_of_two(counts);
}

TEST_F(softtoken_fairness, four_writing_threads_finish_within_a_factor_of_two) {
    shared_memory counts;
    device_owner device = device_at();
    const auto end = clock_type::now() + duration();
    std::vector<std::thread> threads;
    for (std::size_t number = 0; number < writers; ++number) {
        threads.emplace_back([&, number] {
            for (; clock_type::now() < end; ++counts->each.at(number))
                EXPECT_EQ(write_slot(device.get(), 8130, "other"), 1);
        });
    }
    for (std::thread& each : threads)
        each.join();
    expect_within_a_factor_of_two(counts);
}

TEST_F(softtoken_fairness, waiters_get_the_token_in_the_order_in_which_they_came) {
    shared_memory counts;
    std::vector<child_process> waiting;
    auto holder = start_holder();
    for (std::size_t number = 0; number < 6; ++number) {
        waiting.push_back(start_waiter([&, number] {
            vemra::softtoken::token_database own(directory("one") + "/token.db");
            vemra::softtoken::transaction changing(own);
            counts->each.at(number) = ++counts->finished;
            return true;
        }));
    }
    holder.end();
    for (auto& each : waiting)
        EXPECT_TRUE(each.succeeds());
    for (int number = 0; number < 6; ++number)
        EXPECT_EQ(counts->each.at(static_cast<std::size_t>(number)), number + 1);
}

// A wrong password before makes the right one change the counter.
TEST_F(softtoken_fairness, login_waits_for_no_writer_that_came_after_it) {
    shared_memory counts;
    ASSERT_TRUE(in_child([] { return log_in(device_at().get(), "wrong") == wrong_password; }));
    auto holder = start_holder();
    auto login = start_waiter([] { return log_in(device_at().get()) == 1; });
    auto writer = start_waiter([this] {
        vemra::softtoken::token_database own(directory("one") + "/token.db");
        vemra::softtoken::transaction changing(own);
        vemra::softtoken::password_table passwords(own.connection());
        return passwords.retries().left == passwords.retries().most;
    });
    holder.end();
    EXPECT_TRUE(login.succeeds());
    EXPECT_TRUE(writer.succeeds());
}

TEST_F(softtoken_fairness, killed_waiters_block_nobody) {
    auto holder = start_holder();
    auto first = start_waiter(change_once);
    auto second = start_waiter(change_once);
    auto third = start_waiter(change_once);
    first.end();
    second.end();
    holder.end();
    EXPECT_TRUE(third.succeeds());
    EXPECT_EQ(passed_tickets(), 0U);
}

TEST_F(softtoken_fairness, writer_killed_in_its_change_blocks_nobody) {
    auto holder = start_holder();
    auto waiter = start_waiter(change_once);
    holder.end();
    EXPECT_TRUE(waiter.succeeds());
}

// Both are passed at once, and who comes later need not pass them again.
TEST_F(softtoken_fairness, stopped_waiters_are_passed_and_go_on_later) {
    auto holder = start_holder();
    auto first = start_waiter(change_once);
    auto second = start_waiter(change_once);
    first.signal(SIGSTOP);
    second.signal(SIGSTOP);
    auto third = start_waiter(change_once);
    const std::uint64_t ticket = tickets_drawn() - 1;
    holder.end();
    EXPECT_TRUE(third.succeeds());
    EXPECT_EQ(passed_tickets(), ticket);
    EXPECT_TRUE(in_child(change_once));
    EXPECT_EQ(passed_tickets(), ticket);
    first.signal(SIGCONT);
    second.signal(SIGCONT);
    EXPECT_TRUE(first.succeeds());
    EXPECT_TRUE(second.succeeds());
}

TEST_F(softtoken_fairness, questions_never_wait_for_a_writer) {
    auto holder = start_holder();
    const auto begin = clock_type::now();
    EXPECT_EQ(run_tool("info one").status, 0);
    EXPECT_EQ(run_tool("slots one").status, 0);
    EXPECT_EQ(run_tool("list").status, 0);
    EXPECT_TRUE(in_child([] { return slot_bytes(device_at().get(), 8130) == "bytes"; }));
    EXPECT_LT(clock_type::now() - begin, seconds(5));
}

TEST_F(softtoken_fairness, change_is_made_without_the_file_that_gives_the_order) {
    std::filesystem::remove(directory("one") + "/write.lock");
    std::filesystem::create_directory(directory("one") + "/write.lock");
    EXPECT_TRUE(in_child(change_once));
}

TEST_F(softtoken_fairness, damaged_order_is_forgotten) {
    write_file(directory("one") + "/write.lock", std::string(24, '\xff'));
    EXPECT_TRUE(at_once(writers, [](int) { return change_once(); }) == writers);
}
