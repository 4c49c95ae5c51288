#pragma once

#include <map>
#include <string>
#include <vector>

std::string little_endian(unsigned int value);

/** The record of slot 8127 for these entries. */
std::string model_record(const std::map<unsigned int, std::string>& entries);

/** The entries of a record, and the complaints of reading it. */
std::map<unsigned int, std::string> model_mapping(const std::string& record,
                                                  std::vector<std::string>& complaints);
