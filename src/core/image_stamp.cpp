#include "core/image_stamp.h"

namespace vemra::app::stamp {

image_stamp::image_stamp(const std::string& name, const std::basic_string<unsigned char>& uuid,
                         const void* data, const std::size_t& size)
    : basic_stamp(image, plain, uuid) {
    name_ = name;
    if (data != nullptr && size != 0) set_data(data, size);
}

std::basic_string<unsigned char> image_stamp::encode(format_t /*format*/) const {
    return data_;
}

}  // namespace vemra::app::stamp
