#include "store/fault.h"

#include <charconv>
#include <set>
#include <sstream>

#include "store/device_function.h"
#include "store/failure.h"

namespace vemra::softtoken {

namespace {

constexpr const char* form =
    "FUNCTION [slot=N] [call=N] [chance=P seed=N] ACTION [lasting], where ACTION is return=CODE, "
    "null, delay=MILLISECONDS, unplug, die=before, die=after or torn=BYTES";

[[noreturn]] void _refuse(const std::string& text, const std::string& why) {
    throw failure(error_code::bad_argument,
                  "fault \"" + text + "\": " + why + "; it reads " + form);
}

template <typename Number>
Number _number(const fault& where, const std::string& word, const std::string& value) {
    Number number{};
    const char* end = value.data() + value.size();
    auto [stop, error] = std::from_chars(value.data(), end, number);
    if (error != std::errc() || stop != end) _refuse(where.text, "bad number in " + word);
    return number;
}

bool _take_action(fault& made, const std::string& word, const std::string& key,
                  const std::string& value) {
    if (word == "null") {
        made.action = fault_action::give_null;
    } else if (word == "unplug") {
        made.action = fault_action::unplug;
    } else if (word == "die=before") {
        made.action = fault_action::die_before;
    } else if (word == "die=after") {
        made.action = fault_action::die_after;
    } else if (key == "return" || key == "delay" || key == "torn") {
        made.action = key == "return"  ? fault_action::give_code
                      : key == "delay" ? fault_action::delay
                                       : fault_action::tear;
        made.amount = _number<int>(made, word, value);
    } else {
        return false;
    }
    return true;
}

bool _take_condition(fault& made, const std::string& word, const std::string& key,
                     const std::string& value) {
    if (key == "slot") {
        made.slot = _number<int>(made, word, value);
    } else if (key == "call") {
        made.call = _number<int>(made, word, value);
    } else if (key == "chance") {
        made.chance = _number<double>(made, word, value);
    } else if (key == "seed") {
        made.seed = _number<std::uint32_t>(made, word, value);
    } else if (word == "lasting") {
        made.lasting = true;
    } else {
        return false;
    }
    return true;
}

void _check_conditions(const fault& made, works_on subject) {
    if (made.call < 1) _refuse(made.text, "calls are counted from 1");
    if (made.slot && subject != works_on::slot && subject != works_on::any) {
        _refuse(made.text, made.function + " names no slot");
    }
    if (made.slot && *made.slot < 0) _refuse(made.text, "slots are numbered from 0");
    // Written so that a number that is none is refused too.
    if (made.chance && !(*made.chance >= 0 && *made.chance <= 1)) {
        _refuse(made.text, "a chance lies between 0 and 1");
    }
}

void _check_action(const fault& made, works_on subject) {
    bool counts = made.action == fault_action::delay || made.action == fault_action::tear;
    if (counts && made.amount < 0) _refuse(made.text, "negative number");
    if (made.action == fault_action::tear && made.function != "WriteData") {
        _refuse(made.text, "only WriteData can be torn");
    }
    if (made.action == fault_action::unplug && subject == works_on::nothing) {
        _refuse(made.text, made.function + " has no token that could be pulled out");
    }
}

// The words of a text, one space apart.
std::string _tidy(const std::string& text) {
    std::istringstream words(text);
    std::string tidy;
    for (std::string word; words >> word;)
        tidy += (tidy.empty() ? "" : " ") + word;
    return tidy;
}

// Takes one word; true when it was the action.
bool _take_word(fault& made, const std::string& word, std::set<std::string>& taken) {
    std::size_t equals = word.find('=');
    std::string key = word.substr(0, equals);
    std::string value = equals == std::string::npos ? "" : word.substr(equals + 1);
    if (!taken.insert(key).second) _refuse(made.text, key + " is said twice");
    if (_take_action(made, word, key, value)) return true;
    if (!_take_condition(made, word, key, value)) _refuse(made.text, "unknown word " + word);
    return false;
}

bool _answers(const fault& what) {
    return what.action == fault_action::give_code || what.action == fault_action::give_null;
}

}  // namespace

fault parse_fault(const std::string& text) {
    fault made;
    made.text = _tidy(text);
    std::istringstream words(made.text);
    std::string word;
    words >> word;
    made.function = short_name(word);
    const works_on* subject = find_function(made.function);
    if (subject == nullptr) _refuse(made.text, "no such function, or one that cannot fail");
    int actions = 0;
    std::set<std::string> taken;
    while (words >> word)
        actions += _take_word(made, word, taken) ? 1 : 0;
    if (actions != 1) _refuse(made.text, "it needs one action");
    if (taken.count("seed") != 0 && !made.chance) _refuse(made.text, "a seed needs a chance");
    _check_conditions(made, *subject);
    _check_action(made, *subject);
    return made;
}

fault parse_token_fault(const std::string& text) {
    fault made = parse_fault(text);
    works_on subject = *find_function(made.function);
    if (subject == works_on::nothing || subject == works_on::handle) {
        throw failure(error_code::bad_argument,
                      "fault \"" + made.text + "\": " + made.function +
                          " asks nothing of a token, so the fault would never fire: set it for a "
                          "process by VEMRA_SOFTTOKEN_FAULTS");
    }
    return made;
}

std::vector<fault> parse_faults(const std::string& text) {
    std::vector<fault> faults;
    std::string line;
    for (char byte : text + "\n") {
        if (byte != ';' && byte != '\n') {
            line += byte;
            continue;
        }
        std::size_t begin = line.find_first_not_of(" \t");
        if (begin != std::string::npos) faults.push_back(parse_fault(line.substr(begin)));
        line.clear();
    }
    return faults;
}

const std::vector<fault_recipe>& fault_recipes() {
    static const auto& recipes = *new std::vector<fault_recipe>{
        {"locked", "VerifyPwd return=-107 lasting",
         "no password is taken; how many attempts are left is not told"},
        {"full", "CreateData return=-111 lasting", "no room for another slot"},
        {"slow", "* delay=50 lasting", "every call takes a twentieth of a second longer"},
        {"pulled-out", "WriteData unplug", "pulled out while writing"},
        {"wrong-answer-once", "ReadData return=-122", "one read fails, the next one works"},
        {"loose-contact", "* chance=0.05 seed=1 return=-104 lasting",
         "one call in twenty does not get through"},
        {"power-cut", "WriteData die=before", "the process ends before a write arrives"},
        {"torn-write", "WriteData torn=100", "100 bytes arrive, then the process ends"},
        {"worn-out", "WriteData return=-122 lasting", "nothing can be written any more"},
        {"no-hash", "NewHash null lasting", "no hash can be made"},
    };
    return recipes;
}

fault_plan::fault_plan(std::vector<fault> faults) {
    for (fault& each : faults) {
        std::minstd_rand random(each.seed);
        counted_.push_back({std::move(each), 0, false, random});
    }
}

bool fault_plan::is_ready(counted_fault& counted) {
    if (counted.spent || ++counted.calls < counted.what.call) return false;
    if (!counted.what.chance) return true;
    std::uniform_real_distribution<double> draw(0, 1);
    return draw(counted.random) < *counted.what.chance;
}

std::vector<fault> fault_plan::due(const std::string& function, int slot, bool has_token) {
    std::string name = short_name(function);
    std::vector<fault> firing;
    bool answered = false;
    for (counted_fault& counted : counted_) {
        const fault& what = counted.what;
        bool meant = what.function == name || (what.function == "*" && find_function(name));
        if (!meant || (what.slot && *what.slot != slot)) continue;
        if (what.action == fault_action::unplug && !has_token) continue;
        if (!is_ready(counted) || answered) continue;
        counted.spent = !what.lasting;
        answered = _answers(what);
        firing.push_back(what);
    }
    return firing;
}

}  // namespace vemra::softtoken
