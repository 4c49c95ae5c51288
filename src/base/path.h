#pragma once

#include <list>
#include <string>

namespace qo::base {

/**
 * A path as a list of components.
 *
 * Splitting a text has quirks that callers rely on: a leading separator stays on the first
 * component ("/usr/lib" is "/usr" and "lib"), a second separator in a row goes to the next
 * component ("a//bc" is "a" and "/bc"), a last component of one character is dropped ("dir/x" is
 * "dir"), and the empty text is one empty component.
 */
class path {
public:
    enum class style_t { slash = 0, backslash = 1 };

    path() = default;
    explicit path(const std::string& text);
    path(std::list<std::string>::const_iterator first, std::list<std::string>::const_iterator last);

    /** The first component, or the empty text when there is none. */
    std::string root_name() const;
    /** The last component, or the empty text when there is none. */
    std::string base_name() const;
    /** What follows the last "." of base_name(), or the empty text. */
    std::string suffix() const;

    /** All components but the last. */
    path parent() const;
    /** Whether there is more than one component. */
    bool has_parent() const;
    /** The last component but one, or the empty text. */
    std::string dir_name() const;

    /** This path with the components of `text` behind its own. */
    path join(const std::string& text) const;

    /** The components joined by the separator of `style`, without one at the end. */
    std::string to_string(const style_t& style) const;
    /** The same with slashes. */
    operator std::string() const { return to_string(style_t::slash); }

    bool operator==(const path& other) const;

private:
    std::list<std::string> components_;
};

}  // namespace qo::base
