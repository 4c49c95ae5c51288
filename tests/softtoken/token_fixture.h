/** A directory of tokens for one test, and short ways to use the device interface. */
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

#include "store/new_token.h"
#include "vemra_crypto.h"

namespace softtoken_test {

using device_owner =
    std::unique_ptr<VEMRA_PKI_DEVICE_HANDLE_st, int (*)(VEMRA_PKI_DEVICE_HANDLE_st*)>;

constexpr const char* password = "correct horse";

/* Codes of the software token that tests name often. */
constexpr int no_such_slot = -7;
constexpr int removed = -104;
constexpr int not_logged_in = -105;
constexpr int wrong_password = -106;
constexpr int locked = -107;

class token_test : public testing::Test {
protected:
    token_test();
    ~token_test() override;

    /* What make_token makes unless a test changes it: quick to verify, many retries. */
    static vemra::softtoken::new_token plain_token(const std::string& serial_number);
    void make_token(const std::string& name);
    void make_token(const std::string& name, const vemra::softtoken::new_token& token);
    void attach(const std::string& name);
    void detach(const std::string& name);
    std::string directory(const std::string& name) const { return root_ + "/" + name; }
    const std::string& root() const { return root_; }

private:
    std::string root_;
};

/* The attached device at an index; empty when there is none. */
device_owner device_at(int index = 0);
int attached_count();
std::string serial_number_of(VEMRA_PKI_DEVICE_HANDLE_st* device);

int log_in(VEMRA_PKI_DEVICE_HANDLE_st* device, const char* given = password);
int create_slot(VEMRA_PKI_DEVICE_HANDLE_st* device, int id, int size);
int write_slot(VEMRA_PKI_DEVICE_HANDLE_st* device, int id, const std::string& bytes);
/* Creates and writes; the first failure's code, or 1. */
int fill_slot(VEMRA_PKI_DEVICE_HANDLE_st* device, int id, const std::string& bytes);
int slot_length(VEMRA_PKI_DEVICE_HANDLE_st* device, int id, int& length);
/* The slot's bytes, or "failed: " and the code. */
std::string slot_bytes(VEMRA_PKI_DEVICE_HANDLE_st* device, int id);

/* Runs the body in a child made by fork; true when it returned true. */
bool in_child(const std::function<bool()>& body);
/* Runs the body in children at the same time, each with its number; how many returned true. */
int at_once(int children, const std::function<bool(int)>& body);

struct program_result {
    int status = -1;
    std::string output; /* standard output and standard error */
};
/* The path in what stands for a file or a program in a shell's command. */
std::string file_of(const std::string& word);
/* Runs a shell command. */
program_result run(const std::string& command);
/* Runs the admin tool with arguments and a password on descriptor 0. */
program_result run_tool(const std::string& arguments, const std::string& input = {});

bool has(const std::string& text, const std::string& part);
std::string file_bytes(const std::string& path);
void write_file(const std::string& path, const std::string& bytes);

}  // namespace softtoken_test
