#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "vemra_crypto.h"

/*
 * The floor's dealings with devices: the calls that the stamp library makes, in its order, and
 * nothing around them but the zero-fills and copies that it owes to its callers.
 */
namespace bench {

struct block {
    std::unique_ptr<unsigned char[]> bytes;
    std::size_t size = 0;
};

using uuid_block = block;
using slot_names = std::vector<std::pair<int, std::string>>;

constexpr int mapping_slot = 8127;
constexpr int first_slot = 8130;
constexpr int last_slot = 8134;

/** A copy of the bytes. */
block copy_of(const unsigned char* bytes, std::size_t size);
/** A zero-filled block that the bytes are then copied into. */
block zeroed_copy_of(const unsigned char* bytes, std::size_t size);

std::vector<VEMRA_PKI_DEVICE_HANDLE_st*> open_devices();
void close_devices(const std::vector<VEMRA_PKI_DEVICE_HANDLE_st*>& devices);

std::string serial_of(VEMRA_PKI_DEVICE_HANDLE_st* device);
uuid_block uuid_of(VEMRA_PKI_DEVICE_HANDLE_st* device, int slot);

int length_of(VEMRA_PKI_DEVICE_HANDLE_st* device, int slot);
block read_slot(VEMRA_PKI_DEVICE_HANDLE_st* device, int slot);
/** Keeps the old content in hand while the new one is written. */
void write_slot(VEMRA_PKI_DEVICE_HANDLE_st* device, int slot, const void* bytes, int size);
void delete_slot(VEMRA_PKI_DEVICE_HANDLE_st* device, int slot);

slot_names read_mapping(VEMRA_PKI_DEVICE_HANDLE_st* device);
void write_mapping(VEMRA_PKI_DEVICE_HANDLE_st* device, const slot_names& names);

}  // namespace bench
