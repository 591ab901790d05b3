#pragma once

#include <string>
#include <vector>

/// One line of a source file; the path is relative to the repository.
struct SOURCE_LINE
{
    std::string sPath;
    int nLine;
    std::string sText;
};

/// The lines of every .h, .c and .cpp file below the given folders of the repository.
std::vector<SOURCE_LINE> LinesBelow(const std::vector<std::string>& folders);

/// Where a line stands, as compilers print it.
std::string Place(const SOURCE_LINE& line);
