#include "store/fault.h"

#include <charconv>
#include <sstream>

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

std::string _short_name(const std::string& function) {
    for (const char* prefix : {"VemraPKICrypto", "VemraPKI"}) {
        if (function.rfind(prefix, 0) == 0) return function.substr(std::string(prefix).size());
    }
    return function;
}

// Releasing and asking for the last error never fail; everything else can be told to.
bool _can_fail(const std::string& function) {
    static const std::vector<std::string> names{"GetAllDevices",
                                                "GetDeviceCount",
                                                "GetDevice",
                                                "GetPseudoDevice",
                                                "DupDevice",
                                                "GetType",
                                                "GetSerialNumber",
                                                "VerifyPwd",
                                                "GetDataLength",
                                                "ReadData",
                                                "CreateData",
                                                "WriteData",
                                                "DeleteData",
                                                "GetKeypairCount",
                                                "GetKeypair",
                                                "DupKeypair",
                                                "GetCertificateCount",
                                                "GetCertificate",
                                                "CertNewCert",
                                                "CertDupCert",
                                                "CertEqual",
                                                "CertGetCertEncode",
                                                "NewHash",
                                                "HashUpdate",
                                                "HashFinal",
                                                "*"};
    for (const std::string& name : names) {
        if (name == function) return true;
    }
    return false;
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

void _check(const fault& made, int actions) {
    if (actions != 1) _refuse(made.text, "it needs one action");
    if (made.call < 1) _refuse(made.text, "calls are counted from 1");
    if (made.chance && (*made.chance < 0 || *made.chance > 1)) {
        _refuse(made.text, "a chance lies between 0 and 1");
    }
    bool counts = made.action == fault_action::delay || made.action == fault_action::tear;
    if (counts && made.amount < 0) _refuse(made.text, "negative number");
    if (made.action == fault_action::tear && made.function != "WriteData") {
        _refuse(made.text, "only WriteData can be torn");
    }
}

}  // namespace

fault parse_fault(const std::string& text) {
    std::istringstream words(text);
    fault made;
    made.text = text;
    std::string word;
    words >> word;
    made.function = _short_name(word);
    if (!_can_fail(made.function)) _refuse(text, "no such function, or one that cannot fail");
    int actions = 0;
    while (words >> word) {
        std::size_t equals = word.find('=');
        std::string key = equals == std::string::npos ? "" : word.substr(0, equals);
        std::string value = equals == std::string::npos ? "" : word.substr(equals + 1);
        if (_take_action(made, word, key, value)) {
            ++actions;
        } else if (!_take_condition(made, word, key, value)) {
            _refuse(text, "unknown word " + word);
        }
    }
    _check(made, actions);
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
    static const std::vector<fault_recipe> recipes{
        {"locked", "VerifyPwd return=-107 lasting", "the password was wrong too often"},
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

bool fault_plan::fires(counted_fault& counted) {
    if (counted.spent || ++counted.calls < counted.what.call) return false;
    if (counted.what.chance) {
        std::uniform_real_distribution<double> draw(0, 1);
        if (draw(counted.random) >= *counted.what.chance) return false;
    }
    counted.spent = !counted.what.lasting;
    return true;
}

std::optional<fault> fault_plan::due(const std::string& function, int slot) {
    std::string name = _short_name(function);
    std::optional<fault> first;
    for (counted_fault& counted : counted_) {
        const fault& what = counted.what;
        bool meant = (what.function == "*" && _can_fail(name)) || what.function == name;
        if (!meant || (what.slot && *what.slot != slot)) continue;
        if (fires(counted) && !first) first = what;
    }
    return first;
}

}  // namespace vemra::softtoken
