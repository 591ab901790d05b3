#pragma once

#include "tool/ToolProcess.h"

/// Lists and updates the dock of the examples, and compares what the program says, on both
/// streams, with tests/tool/transcripts/: it is the same on every system and on every road.
/// @param road arguments that choose the road to the bench
void ExpectTheTranscripts(const std::string& strProgram, const std::vector<std::string>& road);
