#pragma once

#include "platform/Types.h"

#include <string>
#include <vector>

/// What a device was asked that a real chip would not forgive, with reasons that a person can
/// read. Models refuse or survive the request; tests and benches look at the list.
class CSimMisuse
{
public:
    void Add(std::string reason) { m_reasons.push_back(std::move(reason)); }

    const std::vector<std::string>& Reasons() const { return m_reasons; }
    std::size_t Count() const { return m_reasons.size(); }
    void Clear() { m_reasons.clear(); }

    /// All reasons in one text, one per line, for test reports.
    std::string Text() const;

    /// "0x" and at least nDigits upper-case digits.
    static std::string Hex(DWORD dwValue, int nDigits = 2);

private:
    std::vector<std::string> m_reasons;
};
