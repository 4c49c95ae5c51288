#include "store/slot_sum.h"

#include <filesystem>
#include <random>

#include "store/failure.h"
#include "store/slot_table.h"
#include "store/token_files.h"
#include "token_fixture.h"

using namespace softtoken_test;
using namespace vemra::softtoken;

namespace {

std::string picture(std::size_t size, unsigned int seed) {
    std::mt19937 random(seed);
    std::string bytes(size, '\0');
    for (char& byte : bytes)
        byte = static_cast<char>(random());
    return bytes;
}

}  // namespace

class softtoken_slot_sum : public token_test {
protected:
    softtoken_slot_sum() {
        make_token("one");
        device_ = device_at();
        log_in(device());
        for (int id = 8130; id < 8134; ++id)
            fill_slot(device(), id, bytes_of(id));
        create_slot(device(), 8134, 3);
    }

    VEMRA_PKI_DEVICE_HANDLE_st* device() const { return device_.get(); }
    std::string database() const { return database_path(directory("one")); }
    std::string file() const { return root() + "/.file"; }
    void change(const std::string& sql) const {
        token_database(database()).connection().execute(sql);
    }
    static std::string bytes_of(int id) {
        return picture(3000U + static_cast<std::size_t>(id - 8130) * 30000U,
                       static_cast<unsigned int>(id));
    }

private:
    device_owner device_{nullptr, VemraPKICryptoFreeDevice};
};

TEST_F(softtoken_slot_sum, is_the_same_on_every_machine) {
    EXPECT_EQ(slot_sum(8130, usual_attributes, 5, "bytes"), 6616740199472790753);
    EXPECT_EQ(slot_sum(8130, usual_attributes, 5, std::nullopt), 2849599742285366434);
}

TEST_F(softtoken_slot_sum, tells_all_that_a_slot_is) {
    std::int64_t sum = slot_sum(8130, usual_attributes, 5, "bytes");
    EXPECT_NE(slot_sum(8131, usual_attributes, 5, "bytes"), sum);
    EXPECT_NE(slot_sum(8130, "\4\1\3\6", 5, "bytes"), sum);
    EXPECT_NE(slot_sum(8130, usual_attributes, 4, "bytes"), sum);
    EXPECT_NE(slot_sum(8130, usual_attributes, 5, "bytez"), sum);
    EXPECT_NE(slot_sum(8130, usual_attributes, 5, std::nullopt), sum);
    EXPECT_NE(slot_sum(8130, usual_attributes, 0, ""),
              slot_sum(8130, usual_attributes, 0, std::nullopt));
}

TEST_F(softtoken_slot_sum, of_400_flipped_bits_none_comes_back_as_bytes_of_a_picture) {
    change("PRAGMA wal_checkpoint(TRUNCATE)");
    detach("one");
    EXPECT_EQ(slot_bytes(device(), 8130), "failed: -104");
    const std::string sound = file_bytes(database());
    int refused = 0;
    std::mt19937 random(400);
    for (int flip = 0; flip < 400; ++flip) {
        std::string bytes = sound;
        std::size_t bit = random() % (bytes.size() * 8);
        bytes[bit / 8] = static_cast<char>(bytes[bit / 8] ^ 1 << bit % 8);
        write_file(database(), bytes);
        for (int id = 8130; id < 8134; ++id) {
            const std::string whole = bytes_of(id);
            std::string got(whole.size() + 1, '\0');
            try {
                token_database opened(database());
                int length = slot_table(opened.connection())
                                 .read(id, reinterpret_cast<unsigned char*>(got.data()),
                                       static_cast<int>(got.size()));
                EXPECT_TRUE(got.substr(0, static_cast<std::size_t>(length)) == whole)
                    << "bit " << bit << ", slot " << id;
            } catch (const failure&) {
                ++refused;
            }
        }
    }
    // Most bits of the file are those of one picture.
    EXPECT_GT(refused, 300);
}

TEST_F(softtoken_slot_sum, wrong_sum_is_damage_of_that_slot_alone) {
    change("UPDATE slot SET bytes = zeroblob(length) WHERE id = 8131");
    EXPECT_EQ(slot_bytes(device(), 8131), "failed: -123");
    int length = 0;
    EXPECT_EQ(slot_length(device(), 8131, length), 1);
    EXPECT_EQ(slot_bytes(device(), 8130), bytes_of(8130));
    EXPECT_EQ(slot_bytes(device(), 8132), bytes_of(8132));
    EXPECT_EQ(slot_bytes(device(), 8134), std::string(3, '\0'));
    EXPECT_EQ(attached_count(), 1);
}

TEST_F(softtoken_slot_sum, slot_that_lost_its_bytes_or_its_sum_is_damaged) {
    change(
        "UPDATE slot SET bytes = NULL WHERE id = 8130; UPDATE slot SET sum = NULL WHERE id = 8131");
    EXPECT_EQ(slot_bytes(device(), 8130), "failed: -123");
    EXPECT_EQ(slot_bytes(device(), 8131), "failed: -123");
}

TEST_F(softtoken_slot_sum, slot_under_a_wrong_number_is_damaged) {
    change("UPDATE slot SET id = 8139 WHERE id = 8131");
    EXPECT_EQ(slot_bytes(device(), 8131), "failed: -7");
    EXPECT_EQ(slot_bytes(device(), 8139), "failed: -123");
}

TEST_F(softtoken_slot_sum, damaged_slot_can_be_written_anew) {
    change("UPDATE slot SET bytes = zeroblob(length) WHERE id = 8130");
    EXPECT_EQ(write_slot(device(), 8130, picture(3000, 1)), 1);
    EXPECT_EQ(slot_bytes(device(), 8130), picture(3000, 1));
}

TEST_F(softtoken_slot_sum, damaged_slot_can_be_deleted_and_made_anew) {
    for (const char* damage : {"bytes = zeroblob(length)", "length = -1", "length = 2147483648",
                               "length = 'x'", "attributes = x''", "sum = 1"}) {
        change(std::string("UPDATE slot SET ") + damage + " WHERE id = 8130");
        EXPECT_EQ(VemraPKICryptoDeleteData(device(), 8130), 1) << damage;
        EXPECT_EQ(VemraPKICryptoDeleteData(device(), 8130), -7) << damage;
        EXPECT_EQ(fill_slot(device(), 8130, "new"), 1) << damage;
        EXPECT_EQ(slot_bytes(device(), 8130), "new") << damage;
    }
}

TEST_F(softtoken_slot_sum, damaged_length_takes_no_room_from_other_slots) {
    change("UPDATE slot SET length = 9000000000000000000 WHERE id < 8132");
    EXPECT_EQ(fill_slot(device(), 8135, "new"), 1);
}

TEST_F(softtoken_slot_sum, torn_write_reads_as_torn_and_not_as_damaged) {
    EXPECT_FALSE(in_child([] {
        device_owner device = device_at();
        log_in(device.get());
        if (run_tool("fault add one --recipe torn-write").status != 0) return true;
        write_slot(device.get(), 8130, std::string(3000, 'n'));
        return true;
    }));
    EXPECT_EQ(slot_bytes(device(), 8130), std::string(100, 'n') + bytes_of(8130).substr(100));
    EXPECT_EQ(run_tool("fsck").output, "one: sound\n");
}

TEST_F(softtoken_slot_sum, torn_write_makes_no_good_slot_of_a_damaged_one) {
    change("UPDATE slot SET bytes = zeroblob(length) WHERE id = 8130");
    EXPECT_FALSE(in_child([] {
        device_owner device = device_at();
        log_in(device.get());
        if (run_tool("fault add one --recipe torn-write").status != 0) return true;
        write_slot(device.get(), 8130, std::string(3000, 'n'));
        return true;
    }));
    EXPECT_EQ(slot_bytes(device(), 8130), "failed: -123");
}

TEST_F(softtoken_slot_sum, loaded_bytes_are_checked_like_written_ones) {
    write_file(file(), "loaded");
    ASSERT_EQ(run_tool("load one 8130 " + file()).status, 0);
    ASSERT_EQ(slot_bytes(device(), 8130), "loaded");
    change("UPDATE slot SET bytes = CAST('Loaded' AS BLOB) WHERE id = 8130");
    EXPECT_EQ(slot_bytes(device(), 8130), "failed: -123");
}

TEST_F(softtoken_slot_sum, damaged_slot_is_named_by_fsck_and_dumped_as_it_lies_there) {
    change("UPDATE slot SET bytes = zeroblob(length) WHERE id = 8131");
    EXPECT_EQ(run_tool("fsck").output,
              "one: slot 8131: not what was stored there (wrong sum): give it other bytes with "
              "\"load one SLOT FILE\", or bring it back with \"restore one FILE\", or save its "
              "slots with \"dump\" and make it anew\n"
              "vemra-softtoken: not all is sound: see the lines above\n");
    program_result result = run_tool("dump one 8131 " + file());
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output,
              "vemra-softtoken: slot 8131 is damaged: not what was stored there (wrong sum); " +
                  file() + " has the bytes that lie there now\n");
    EXPECT_EQ(file_bytes(file()), std::string(bytes_of(8131).size(), '\0'));
    change("UPDATE slot SET length = -1, bytes = CAST('left' AS BLOB) WHERE id = 8131");
    EXPECT_EQ(run_tool("dump one 8131 " + file()).status, 1);
    EXPECT_EQ(file_bytes(file()), "left");
    change("UPDATE slot SET length = 2000000000, bytes = NULL WHERE id = 8131");
    EXPECT_EQ(run_tool("dump one 8131 " + file()).status, 1);
    EXPECT_EQ(file_bytes(file()), "");
}

TEST_F(softtoken_slot_sum, restored_slots_are_checked_and_damage_comes_back_and_is_told) {
    ASSERT_EQ(run_tool("snapshot one " + file()).status, 0);
    ASSERT_EQ(run_tool("restore one " + file()).status, 0);
    EXPECT_EQ(slot_bytes(device(), 8132), bytes_of(8132));
    change("UPDATE slot SET bytes = zeroblob(length) WHERE id = 8132");
    EXPECT_EQ(slot_bytes(device(), 8132), "failed: -123");
    token_database(file()).connection().execute("UPDATE slot SET bytes = zeroblob(length)");
    program_result result = run_tool("restore one " + file());
    EXPECT_EQ(result.status, 0);
    for (const char* slot : {"8130", "8131", "8132"})
        EXPECT_NE(result.output.find("vemra-softtoken: one: as in the snapshot: slot " +
                                     std::string(slot) +
                                     ": not what was stored there (wrong sum): give it other"),
                  std::string::npos)
            << result.output;
    EXPECT_EQ(slot_bytes(device(), 8130), "failed: -123");
    EXPECT_EQ(run_tool("dump one 8130 " + file() + "2").status, 1);
    EXPECT_EQ(file_bytes(file() + "2"), std::string(bytes_of(8130).size(), '\0'));
}
