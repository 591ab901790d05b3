#pragma once

#include <map>
#include <regex>
#include <string>
#include <vector>

/// All messages that the library can say, as a list kept beside the tests (catalogue.txt), and
/// which of them were heard in this run.
class CMessageCatalogue
{
public:
    explicit CMessageCatalogue(const std::string& strFile);

    /// Marks the entries that a message ("level|function|text") can come from.
    /// @return false: no entry says this
    bool Hear(const std::string& strSaid);

    struct Tally
    {
        unsigned nAll = 0;
        unsigned nProvoked = 0;
    };
    std::map<std::string, Tally> TallyByClass() const;
    std::vector<std::string> NotProvoked() const; ///< as they stand in the file

private:
    struct Entry
    {
        std::string strClass;
        std::string strLine;
        std::string strHead; ///< "level|function|"
        std::regex pattern;
        bool bProvoked = false;
    };
    std::vector<Entry> m_entries;
};

/// Line ends and the like as a reader can see them.
std::string Escaped(const std::string& strText);
std::string Unescaped(const std::string& strText);
