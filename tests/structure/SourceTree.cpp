#include "structure/SourceTree.h"

#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

namespace
{
bool IsSource(const fs::path& path)
{
    return path.extension() == ".h" || path.extension() == ".c" || path.extension() == ".cpp";
}

void AppendLines(const fs::path& path, std::vector<SOURCE_LINE>& lines)
{
    std::ifstream file(path);
    const std::string sPath = path.lexically_relative(ZELHUB_SOURCE_DIR).generic_string();
    std::string sText;
    for (int nLine = 1; std::getline(file, sText); ++nLine)
        lines.push_back({sPath, nLine, sText});
}
} // namespace

std::vector<SOURCE_LINE> LinesBelow(const std::vector<std::string>& folders)
{
    std::vector<SOURCE_LINE> lines;
    for (const std::string& sFolder : folders) {
        const fs::path folder = fs::path(ZELHUB_SOURCE_DIR) / sFolder;
        if (!fs::is_directory(folder))
            continue;
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
            if (entry.is_regular_file() && IsSource(entry.path()))
                AppendLines(entry.path(), lines);
        }
    }
    return lines;
}

std::string Place(const SOURCE_LINE& line)
{
    return line.sPath + ":" + std::to_string(line.nLine) + ": " + line.sText;
}
