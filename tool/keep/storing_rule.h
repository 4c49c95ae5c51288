/** The one rule for what may be stored, whoever asks: append, update, restore and repair. */
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "basics/failure.h"
#include "keep/session.h"
#include "picture/picture.h"

namespace vemra::tool {

/** What is to be stored. A part that is left out stays as the device has it, and is not judged. */
struct offer {
    std::optional<std::string> name;
    std::optional<shared_bytes> data;
    /** What the bytes are. */
    picture seen;
};

/** An offer of bytes that are looked at here. */
offer make_offer(std::optional<std::string> name, std::optional<shared_bytes> data);

/** What speaks against storing something. */
struct objection {
    enum class kind {
        /** Never stored: it would vanish from the list or mislead its readers. */
        forbidden,
        /** Stored for who wants any data. */
        no_picture,
        /** Stored for who allows a second stamp of the name. */
        used_name
    };

    kind what;
    std::string text;
};

/** All that speaks against an offer beside these other stamps of the device, forbidding first. */
std::vector<objection> objections_to(session& tokens, const offer& offered,
                                     const std::vector<named_stamp>& others);

/** Which objections the person waived. */
struct allowance {
    bool any_data = false;
    bool used_name = false;
};

/** An offer that is refused (usage), and the objection to it. */
class refused_offer : public failure {
public:
    explicit refused_offer(const objection& why)
        : failure(exit_code::usage, why.text), reason_(why.what) {}

    objection::kind reason() const noexcept { return reason_; }

private:
    objection::kind reason_;
};

/** Throws refused_offer for the first objection that is not waived. */
void require_storable(session& tokens, const offer& offered, const std::vector<named_stamp>& others,
                      const allowance& waived);

/** What misleads readers of a name, in words that follow it; empty for a plain one. */
std::string doubt_about(const std::string& name);

/**
 * Warns of what is stored, but may not be what the person wants: a name in doubt, a picture that
 * covers.
 */
void warn_of_doubts(person& served, const offer& offered);

}  // namespace vemra::tool
