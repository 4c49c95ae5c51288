#pragma once

/**
 * Positions in the messages of device exceptions. They are labels that callers may have come to
 * rely on, fixed for ever, and do not follow the source.
 */
namespace vemra::crypto::throw_site {

constexpr const char* device_file = "src/vemra_crypto_cpp/device";

constexpr unsigned long get_type = 79;
constexpr unsigned long get_data_length = 147;
constexpr unsigned long get_data = 176;
constexpr unsigned long restore_create = 200;
constexpr unsigned long restore_write = 210;
constexpr unsigned long set_create = 241;
constexpr unsigned long set_write = 253;
constexpr unsigned long delete_data = 269;

}  // namespace vemra::crypto::throw_site
