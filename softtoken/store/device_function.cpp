#include "store/device_function.h"

#include <map>

namespace vemra::softtoken {

std::string short_name(const std::string& function) {
    for (const char* prefix : {"VemraPKICrypto", "VemraPKI"}) {
        if (function.rfind(prefix, 0) == 0) return function.substr(std::string(prefix).size());
    }
    return function;
}

// Releasing and asking for the last error never fail, so they are not here.
const works_on* find_function(const std::string& name) {
    static const auto& functions = *new std::map<std::string, works_on>{
        {"GetAllDevices", works_on::nothing},
        {"GetDeviceCount", works_on::nothing},
        {"GetDevice", works_on::nothing},
        {"GetPseudoDevice", works_on::nothing},
        {"DupDevice", works_on::handle},
        {"GetType", works_on::token},
        {"GetSerialNumber", works_on::token},
        {"VerifyPwd", works_on::token},
        {"GetDataLength", works_on::slot},
        {"ReadData", works_on::slot},
        {"CreateData", works_on::slot},
        {"WriteData", works_on::slot},
        {"DeleteData", works_on::slot},
        {"GetKeypairCount", works_on::token},
        {"GetKeypair", works_on::token},
        {"DupKeypair", works_on::handle},
        {"GetCertificateCount", works_on::token},
        {"GetCertificate", works_on::token},
        {"CertNewCert", works_on::nothing},
        {"CertDupCert", works_on::nothing},
        {"CertEqual", works_on::nothing},
        {"CertGetCertEncode", works_on::nothing},
        {"NewHash", works_on::token},
        {"HashUpdate", works_on::nothing},
        {"HashFinal", works_on::nothing},
        {"*", works_on::any},
    };
    auto found = functions.find(name);
    return found == functions.end() ? nullptr : &found->second;
}

}  // namespace vemra::softtoken
