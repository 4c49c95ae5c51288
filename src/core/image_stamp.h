#pragma once

#include "core/basic_stamp.h"

namespace vemra::app::stamp {

/** A picture, the only kind of stamp that is ever made. */
class image_stamp : public basic_stamp {
public:
    /** Copies everything. A null `data` or a `size` of 0 gives a stamp without bytes. */
    image_stamp(const std::string& name, const std::basic_string<unsigned char>& uuid,
                const void* data, const std::size_t& size);

    /** The bytes as they are, whatever `format` says. */
    std::basic_string<unsigned char> encode(format_t format) const override;
};

}  // namespace vemra::app::stamp
