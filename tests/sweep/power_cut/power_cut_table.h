#pragma once

#include <string>
#include <vector>

#include "sweep/power_cut/power_cut.h"

/** What was found on the token after one cut. */
struct found_state {
    std::map<int, std::string> slots;
    std::vector<seen_stamp> listed;
    std::vector<std::string> complaints;
    /** The status and the slots of an append after that. */
    int append_status;
    std::map<int, std::string> slots_after_append;
};

/** The cells of one state. */
std::string table_cells(const cut_case& one, const found_state& found);

/** The section of one case; equal states in succession share a row. */
class power_cut_table {
public:
    explicit power_cut_table(const cut_case& one) : one_(one) {}
    void add(const cut_point& cut, const std::string& last_change, const std::string& cells);
    std::string text() const;

private:
    struct row {
        std::string last_change;
        std::string cells;
        int points;
        /** How many bytes of a torn write arrived. */
        std::vector<int> arrived;
    };
    const cut_case& one_;
    std::vector<row> rows_;
};

/** The line with a case's title, and the end of the line before it. */
std::string section_begin(const cut_case& one);

/** The section with a case's title in a document; empty when it has none. */
std::string section_of(const std::string& document, const cut_case& one);
