#pragma once

#include <cstdio>
#include <string>
#include <vector>

/** Everything that the process writes to a standard stream while the object lives. */
class stream_capture {
public:
    explicit stream_capture(std::FILE* stream);
    ~stream_capture();
    stream_capture(const stream_capture&) = delete;
    stream_capture& operator=(const stream_capture&) = delete;

    /** What was written so far. */
    std::string text() const;
    /** The same in lines, without their ends. */
    std::vector<std::string> lines() const;
    /** The error lines, normalised. */
    std::vector<std::string> error_lines() const;
    /** All lines, normalised. */
    std::vector<std::string> normalised() const;
    /** Forgets what was written so far. */
    void clear();

private:
    std::FILE* stream_;
    int file_;
    int saved_;
};

/** Standard output. */
class stdout_capture : public stream_capture {
public:
    stdout_capture() : stream_capture(stdout) {}
};

/** Standard error. */
class stderr_capture : public stream_capture {
public:
    stderr_capture() : stream_capture(stderr) {}
};

/** A log line with N for the source line at its end and PTR for every address but "(nil)". */
std::string normalised_line(const std::string& line);
