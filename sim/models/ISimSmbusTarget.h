#pragma once

#include "platform/Types.h"

#include <map>
#include <optional>
#include <vector>

/// A device on the SMBus, as block commands reach it.
class ISimSmbusTarget
{
public:
    virtual ~ISimSmbusTarget() = default;

    /// @return whether all bytes were acknowledged
    virtual bool WriteBlock(BYTE byCommand, const std::vector<BYTE>& data) = 0;

    /// @return at most 32 bytes, or nothing when the command was not acknowledged
    virtual std::optional<std::vector<BYTE>> ReadBlock(BYTE byCommand) = 0;

    /// Whether it takes and sends packet error codes: without them it does not acknowledge.
    virtual bool NeedsPec() const { return false; }
};

/// A device that keeps one block per command byte.
class CSimSmbusMemory : public ISimSmbusTarget
{
public:
    bool WriteBlock(BYTE byCommand, const std::vector<BYTE>& data) override
    {
        m_blocks[byCommand] = data;
        return true;
    }
    std::optional<std::vector<BYTE>> ReadBlock(BYTE byCommand) override
    {
        const auto it = m_blocks.find(byCommand);
        return it == m_blocks.end() ? std::nullopt : std::make_optional(it->second);
    }
    bool NeedsPec() const override { return m_bNeedsPec; }

    void SetNeedsPec(bool bNeedsPec) { m_bNeedsPec = bNeedsPec; }
    std::map<BYTE, std::vector<BYTE>>& Blocks() { return m_blocks; }

private:
    std::map<BYTE, std::vector<BYTE>> m_blocks;
    bool m_bNeedsPec = false;
};
