#pragma once

#include <string>
#include <vector>

/// The log's lines without their stamps.
std::vector<std::string> LinesBehindStamps(const std::string& strText);

/// The lines as one text, with the handles of opened interfaces named in the order of opening.
std::string NormalisedLog(const std::vector<std::string>& lines);
