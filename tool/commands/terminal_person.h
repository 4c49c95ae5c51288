/** The person who started the tool: their terminal, files and descriptors. */
#pragma once

#include <memory>
#include <string>

#include "commands/options.h"
#include "commands/output.h"
#include "keep/person.h"
#include "terminal/pace.h"

namespace vemra::tool {

/**
 * A person at a terminal may try a password again while the device allows it; a file or a
 * descriptor is tried once.
 */
class terminal_person : public person {
public:
    terminal_person(const common_options& options, output& out) : options_(options), out_(out) {}

    void give_password(const device_id& device, secret& password) override;
    bool try_again(int attempts_left) override;
    void warn(const std::string& text) override { out_.warn(text); }
    void detail(const std::string& text) override { out_.detail(text); }
    bool watches() const override;
    void expect(std::size_t bytes) override { pace_.expect(bytes); }
    std::unique_ptr<shown_work> show(const work& what) override;

    /** Whether there is somebody to answer a question. */
    bool can_be_asked() const;
    /** Asks for a yes; throws failure (usage) naming the option that says it when nobody can be
     * asked. */
    bool confirm(const std::string& question, const std::string& option) const;

private:
    const common_options& options_;
    output& out_;
    pace pace_;
    bool is_typed_ = false;
    /** The device whose password was given last. */
    std::string device_;
};

}  // namespace vemra::tool
