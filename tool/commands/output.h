/**
 * What the tool says: data on the standard output it was started with, messages on standard error.
 * With --json the data is one object at the end; plain text is then left out.
 */
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vemra::tool {

/** Messages stay silent with --quiet, as far as they may. */
class output {
public:
    explicit output(int descriptor) : descriptor_(descriptor) {}

    void set_json(bool wanted) { json_ = wanted; }
    void set_quiet(bool wanted) { quiet_ = wanted; }
    void set_verbose(bool wanted) { verbose_ = wanted; }
    bool is_json() const { return json_; }
    bool is_quiet() const { return quiet_; }
    bool is_verbose() const { return verbose_; }

    int descriptor() const { return descriptor_; }
    bool is_terminal() const;

    /** Data for people; nothing with --json. */
    void print(std::string_view text);
    /**
     * Data as it is, whatever the format. Throws failure (failed) when it cannot be written; the
     * failure tells what was done.
     */
    void write(std::string_view bytes);
    /** Whether a write failed. */
    bool is_broken() const { return broken_; }
    /** What was done, for such a failure; tell it before the data about it is written. */
    void remember(const std::string& done) { done_.push_back(done); }

    /** A message, unless --quiet is given. */
    void note(const std::string& text) const;
    /** A message of what was done, which is remembered, too. */
    void done(const std::string& text);
    /** A message with --verbose. */
    void detail(const std::string& text) const;
    /** Shown, and kept for the object of --json. */
    void warn(const std::string& text);
    /** A message in any case. */
    static void error(const std::string& text);

    const std::vector<std::string>& warnings() const { return warnings_; }

private:
    int descriptor_;
    bool json_ = false;
    bool quiet_ = false;
    bool verbose_ = false;
    bool broken_ = false;
    std::vector<std::string> done_;
    std::vector<std::string> warnings_;
};

}  // namespace vemra::tool
