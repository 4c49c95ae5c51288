/** A token's slots as its knobs let callers see and change them. */
#pragma once

#include "library/open_token.h"

namespace vemra::softtoken {

/* What changes slots is given a transaction by the caller, who knows how many bytes arrive. */
class behaving_slots {
public:
    explicit behaving_slots(open_token& open) : open_(open), rules_(*open.behaviour) {}

    int told_length(int id);
    int read(int id, unsigned char* buffer, int buffer_size);

    /* Throw what create, write and remove would throw; nothing is changed. */
    void require_creatable(int id, const unsigned char* attributes, int size);
    void require_writable(int id, int length);
    void require_removable(int id) { open_.slots.existing_length(id); }

    void create(int id, const unsigned char* attributes, int size);
    /* So many bytes arrive of those that the caller gives; below 0 for all. */
    void write(int id, const void* data, int length, int arriving);
    void remove(int id);

private:
    bool is_told_as_empty(int id);
    int rounded(int length) const;
    personality limits();

    open_token& open_;
    const personality& rules_;
};

}  // namespace vemra::softtoken
