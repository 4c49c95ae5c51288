#pragma once

#include <cstddef>
#include <string>

namespace vemra::app::stamp {

/**
 * One seal picture: its bytes as they stand in the slot, its name, and the uuid of its place.
 *
 * Immutable once published, but for set_data; it has no lock.
 */
class basic_stamp {
public:
    /** Callers of the library see 0 for the reserved kind, 1 for images, -1 for anything else. */
    enum type_t : int { reserved = 1, image = 2 };

    enum format_t : int {
        plain = 0,  // The slot holds the picture alone; its name is in the mapping.
        sealed = 1  // The slot holds a record of its own that begins with "VemraSeal".
    };

    virtual ~basic_stamp() = default;
    basic_stamp(const basic_stamp&) = delete;
    basic_stamp& operator=(const basic_stamp&) = delete;

    /** The bytes to hand out in `format`. */
    virtual std::basic_string<unsigned char> encode(format_t format) const = 0;

    type_t get_type() const { return type_; }
    std::string get_name() const { return name_; }
    std::basic_string<unsigned char> get_uuid() const { return uuid_; }

    /**
     * Replaces the bytes. They may lie inside the stamp's own. More than a string can hold throws
     * std::length_error("basic_string::assign").
     */
    void set_data(const void* bytes, const std::size_t& size);
    void set_data(const std::basic_string<unsigned char>& bytes);

    /**
     * Tells whether a slot's bytes are the sealed format's: 1 if so, else 0.
     *
     * Kept(sealed-bytes): the whole buffer is compared with the magic and its NUL, so only the 9
     * bytes of the magic alone, or the 10 with a zero byte, count as sealed. Longer buffers never
     * do.
     */
    static int detect_stamp_format(const unsigned char* data, const std::size_t& size);

protected:
    basic_stamp(type_t type, format_t format, const std::basic_string<unsigned char>& uuid);

    type_t type_;
    format_t format_;
    std::string name_;
    std::basic_string<unsigned char> data_;
    std::basic_string<unsigned char> uuid_;
};

}  // namespace vemra::app::stamp
