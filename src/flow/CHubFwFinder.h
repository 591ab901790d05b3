#pragma once

#include <string>

#include "flow/IFwFinder.h"

/// Loads a whole file as it stands: no size limit, nothing is checked or stripped.
class ZEL_API CHubFwFinder : public IFwFinder
{
public:
    /// @param strPath copied; a path in the system's own form, read when the image is loaded
    explicit CHubFwFinder(const std::string& strPath);
    CHubFwFinder(const CHubFwFinder&) = delete;
    CHubFwFinder& operator=(const CHubFwFinder&) = delete;
    ~CHubFwFinder() override;

    bool LoadFwbin2Buf(std::vector<BYTE>& vFw) override;

private:
    std::string m_strPath;
};
