#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "model/model_library.h"
#include "sweep/tokens.h"

struct token_state {
    /** Stamps by slot; their names are A1, A2, .. One without bytes has no slot. */
    std::map<unsigned int, std::string> stamps = {};
    /** Further slots. */
    std::map<int, std::string> orphans = {};
    /** Slots that are lost between the list of the stamps and the operation. */
    std::set<int> lost = {};
};

/** The slots of the token while its stamps are listed, and when the operation begins. */
std::map<int, std::string> listed_slots(const token_state& state);
std::map<int, std::string> slots_of(const token_state& state);

/** One writing operation on a token in one state. */
struct cut_case {
    std::string name;
    std::string title;
    token_state state;
    /** The slot that the operation means, and the bytes that it brings; none for a deletion. */
    int slot;
    std::string new_data;
    /** The operation, given the stamps of a list. */
    std::function<void(stamp_library&, const token&, const std::vector<seen_stamp>&)> act;
};

const std::vector<cut_case>& all_cut_cases();

/** Where the process ends: at the nth device call, torn when bytes of a write arrive before. */
struct cut_point {
    int nth;
    bool is_after;
    int torn_bytes;
};

/** What the model finds on the token and lists after a cut. */
struct cut_outcome {
    std::map<int, std::string> slots;
    seen_call list;
    /** The status and the slots of an append after that. */
    int append_status = 0;
    std::map<int, std::string> slots_after_append;
    /** The last call that changed the token; empty when none did. */
    std::string last_change;
};

/** The device calls of the whole operation. */
std::vector<std::string> all_calls(const cut_case& one, const token& device);
cut_outcome model_outcome(const cut_case& one, const token& device, const cut_point& cut);
/** The length of the write that a line of all_calls() tells; 0 for another call. */
int written_length(const std::string& call);

const new_stamp& later_stamp();
