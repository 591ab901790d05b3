#include "tools/zelhub/input/JsonPlace.h"

#include <algorithm>

namespace
{

/// Walks over a valid JSON text without building anything.
class CJsonWalker
{
public:
    explicit CJsonWalker(const std::string& strText) : m_strText(strText) {}

    size_t Offset() const { return m_n; }

    /// Goes to the member or element at hand. @return false: there is none of that name
    bool Enter(const std::string& strStep)
    {
        Blank();
        const bool bObject = Peek() == '{';
        if (!bObject && Peek() != '[')
            return false;
        ++m_n;
        for (size_t nIndex = 0;; ++nIndex) {
            Blank();
            if (Peek() == '}' || Peek() == ']' || AtEnd())
                return false;
            const size_t nStart = m_n;
            const std::string strName = bObject ? Key() : std::to_string(nIndex);
            if (strName == strStep) {
                m_nName = nStart;
                return true;
            }
            Skip();
            Blank();
            if (Peek() == ',')
                ++m_n;
        }
    }

    size_t NameOffset() const { return m_nName; }

private:
    bool AtEnd() const { return m_n >= m_strText.size(); }
    char Peek() const { return AtEnd() ? '\0' : m_strText[m_n]; }

    void Blank()
    {
        while (!AtEnd() && std::string(" \t\r\n").find(Peek()) != std::string::npos)
            ++m_n;
    }

    std::string Key()
    {
        const size_t nFrom = m_n + 1;
        SkipText();
        std::string strKey = m_strText.substr(nFrom, m_n - nFrom - 1);
        Blank();
        ++m_n; // the colon
        Blank();
        return strKey;
    }

    void SkipText()
    {
        for (++m_n; !AtEnd() && Peek() != '"'; ++m_n)
            if (Peek() == '\\')
                ++m_n;
        ++m_n;
    }

    void Skip()
    {
        int nDepth = 0;
        for (; !AtEnd(); ++m_n) {
            const char ch = Peek();
            if (ch == '"') {
                SkipText();
                --m_n;
            } else if (ch == '{' || ch == '[') {
                ++nDepth;
            } else if (nDepth == 0 && (ch == ',' || ch == '}' || ch == ']')) {
                return;
            } else if (ch == '}' || ch == ']') {
                --nDepth;
            }
        }
    }

    const std::string& m_strText;
    size_t m_n = 0;
    size_t m_nName = 0;
};

} // namespace

TextPlace PlaceOf(const std::string& strText, size_t nOffset)
{
    const size_t nEnd = std::min(nOffset, strText.size());
    TextPlace place;
    for (size_t n = 0; n < nEnd; ++n) {
        if (strText[n] == '\n') {
            ++place.nLine;
            place.nColumn = 1;
        } else {
            ++place.nColumn;
        }
    }
    return place;
}

TextPlace FindJsonPlace(const std::string& strText, const std::string& strPointer)
{
    CJsonWalker walker(strText);
    size_t nFound = 0;
    size_t nFrom = 1;
    while (nFrom <= strPointer.size() && !strPointer.empty()) {
        const size_t nTo = std::min(strPointer.find('/', nFrom), strPointer.size());
        if (!walker.Enter(strPointer.substr(nFrom, nTo - nFrom)))
            break;
        nFound = walker.NameOffset();
        nFrom = nTo + 1;
    }
    return PlaceOf(strText, nFound);
}
