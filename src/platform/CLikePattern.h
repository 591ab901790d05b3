#pragma once

#include "platform/Types.h"

#include <optional>

/// The LIKE patterns of WMI's query language: "%" any text, "_" any character, "[abc]", "[a-f]"
/// and "[^abc]" sets. Case is ignored.
class CLikePattern
{
public:
    explicit CLikePattern(WString strPattern) : m_strPattern(std::move(strPattern)) {}

    bool Matches(const WString& strText) const;

    /// The pattern of 'SELECT * FROM <class> WHERE <property> LIKE "<pattern>"' with the
    /// literal's escapes (two backslashes, backslash and quote) taken out.
    /// @return nothing when the query is not exactly of that form
    static std::optional<CLikePattern> FromQuery(const WString& strQuery, const WString& strClass,
                                                 const WString& strProperty);

private:
    WString m_strPattern;
};
