#pragma once

#include <algorithm>
#include <cstddef>
#include <map>
#include <memory>
#include <string>

#include "base/thread_safe_object.h"
#include "vemra_crypto_cpp/device.h"

namespace vemra::app::stamp {

/**
 * Remembers for every uuid handed out which device, slot and name it stands for.
 *
 * Operations lock unless they say otherwise; failing to lock throws std::system_error.
 */
class stamp_device_map : public qo::base::thread_safe_object {
public:
    /** What a uuid stands for. It keeps its device alive. */
    class item {
    public:
        item(std::shared_ptr<crypto::device> device, int data_id, const std::string& name);

        std::shared_ptr<crypto::device> get_device() const { return device_; }
        int get_data_id() const { return data_id_; }
        const std::string& get_name() const { return name_; }

    private:
        std::shared_ptr<crypto::device> device_;
        int data_id_;
        std::string name_;
    };

    bool has(const std::basic_string<unsigned char>& uuid) const;
    /** An empty pointer when the uuid is unknown. */
    std::shared_ptr<item> get(const std::basic_string<unsigned char>& uuid) const;
    /** Inserts, or replaces what the uuid stood for. */
    void put(const std::basic_string<unsigned char>& uuid, const std::shared_ptr<item>& value);
    void clear();

    /**
     * The uuid of a place: the device library's digest over the device's serial number, its type
     * and the slot. Empty when the library fails, which is logged. Takes no lock of the map.
     *
     * Kept(uuid-of-place): `name`, `data` and `size` are not hashed. A slot keeps its uuid when it
     * is rewritten.
     */
    static std::basic_string<unsigned char> generate_uuid(std::shared_ptr<crypto::device> device,
                                                          int data_id, const std::string& name,
                                                          const void* data,
                                                          const std::size_t& size);

private:
    // Compares many bytes at once, which the strings' own comparison does not.
    struct uuid_less {
        bool operator()(const std::basic_string<unsigned char>& left,
                        const std::basic_string<unsigned char>& right) const {
            return std::lexicographical_compare(left.begin(), left.end(), right.begin(),
                                                right.end());
        }
    };

    std::map<std::basic_string<unsigned char>, std::shared_ptr<item>, uuid_less> items_;
};

/** The one map of the process, filled by the enumeration and never cleared. */
extern stamp_device_map g_stamp_device_map;

}  // namespace vemra::app::stamp
