#include "flow/IMpFlow.h"

IMpFlow::IMpFlow() = default;
IMpFlow::IMpFlow(const IMpFlow&) = default;
IMpFlow& IMpFlow::operator=(const IMpFlow&) = default;
IMpFlow::~IMpFlow() = default;

bool IMpFlow::DevUpdate()
{
    return false;
}

bool IMpFlow::DevReadVersion(USHORT& /*wVersion*/)
{
    return false;
}

bool IMpFlow::DevErase()
{
    return false;
}

bool IMpFlow::InitFwFinder(const std::string& /*strPath*/)
{
    return false;
}

bool IMpFlow::DevReadBINVersion(USHORT& /*wVersion*/, int /*nWhich*/)
{
    return false;
}
