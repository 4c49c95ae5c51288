#include "keep/pictured_stamp.h"

namespace vemra::tool {

pictured_stamp look_at(const stamp& one) {
    return {one, look_at(one.data.get())};
}

archived_stamp to_archive(const pictured_stamp& one, int slot) {
    return {one.one.name, one.one.data, slot, one.one.uuid, one.seen.file_suffix()};
}

}  // namespace vemra::tool
