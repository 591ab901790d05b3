#pragma once

#include "structure/SourceTree.h"

/// Judges one line of a source file: empty when it is no #include or an edge that the folders'
/// table has, otherwise the reason why it has none.
std::string WhyNotAllowed(const SOURCE_LINE& line);
