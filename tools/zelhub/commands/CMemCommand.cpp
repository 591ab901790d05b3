#include "tools/zelhub/commands/CMemCommand.h"

#include "tools/zelhub/devices/TransportAccess.h"
#include "tools/zelhub/input/HexInput.h"

#include <algorithm>

namespace
{

constexpr CArguments::Value kMaxAddress = 0xFFFFFFFF;
constexpr CArguments::Value kMostBytes = 4096;
constexpr size_t kBytesARow = 16;

std::string AsText(const std::vector<BYTE>& bytes)
{
    std::string strText(bytes.begin(), bytes.end());
    std::replace_if(
        strText.begin(), strText.end(), [](char ch) { return ch < ' ' || ch > '~'; }, '.');
    return strText;
}

Cell AddressCell(CArguments::Value n)
{
    return {Hex(n, 8), static_cast<long long>(n)};
}

} // namespace

void CMemCommand::Declare(CArguments& root)
{
    constexpr const char* kMore = "Addresses are those of the machine's memory bus. Reading the "
                                  "registers of a device can\nhave effects as well.";
    CArguments group = root.Sub("mem", "Read or write the machine's memory");
    m_read = group.Sub("read", "Read bytes", kMore);
    m_read->Number("--addr", m_dwAddress, 0, kMaxAddress, "first address", true);
    m_read->Number("--length", m_cb, 1, kMostBytes, "bytes to read", true);
    m_write = group.Sub("write", "Write bytes; can harm the machine, so it asks for --yes", kMore);
    m_write->Number("--addr", m_dwAddress, 0, kMaxAddress, "first address", true);
    m_write->Text("--data", m_strData, "hex bytes: \"01 2A FF\"", true);
    m_write->Flag("--no-verify", m_bNoVerify, "do not read them back");
    m_write->Flag("--yes", m_bYes, "really do it");
}

void CMemCommand::CheckArguments() const
{
    const CArguments::Value cb = m_read->Chosen() ? m_cb : DataOption(m_strData).size();
    if (cb > kMostBytes || cb - 1 > kMaxAddress - m_dwAddress)
        throw CToolError(ExitCode::Usage,
                         std::to_string(cb) + " bytes from " + Hex(m_dwAddress, 8) +
                             " on are too many",
                         "At most 4096 at a time, and none beyond 0xFFFFFFFF.");
    if (m_write->Chosen() && !m_bYes)
        throw CToolError(ExitCode::Usage, "mem write can harm the machine and what it holds",
                         "Add --yes to do it.");
}

void CMemCommand::Run(CToolContext& context)
{
    CheckArguments();
    CHubSession session(context);
    if (m_read->Chosen())
        Read(session);
    else
        Write(session);
}

void CMemCommand::Read(CHubSession& session) const
{
    const auto dwFrom = static_cast<DWORD>(m_dwAddress);
    const std::vector<BYTE> bytes =
        TransportAccess::ReadMemory(session, dwFrom, static_cast<DWORD>(m_cb));
    Table table;
    table.columns = {{"address", "Address"}, {"data", "Data"}, {"text", "Text"}};
    for (size_t i = 0; i < bytes.size(); i += kBytesARow) {
        const size_t cb = std::min(kBytesARow, bytes.size() - i);
        const std::vector<BYTE> row(&bytes[i], &bytes[i] + cb);
        table.rows.push_back(
            {AddressCell(m_dwAddress + i), Cell(HexBytes(row.data(), cb)), Cell(AsText(row))});
    }
    session.Context().Out().Show("memory", table);
}

void CMemCommand::Write(CHubSession& session) const
{
    const auto dwFrom = static_cast<DWORD>(m_dwAddress);
    const std::vector<BYTE> bytes = DataOption(m_strData);
    TransportAccess::WriteMemory(session, dwFrom, bytes);
    if (!m_bNoVerify) {
        const std::vector<BYTE> back =
            TransportAccess::ReadMemory(session, dwFrom, static_cast<DWORD>(bytes.size()));
        const auto [itBack, itGiven] = std::mismatch(back.begin(), back.end(), bytes.begin());
        if (itBack != back.end())
            throw CToolError(Failure{
                ExitCode::Mismatch,
                "memory at " + Hex(m_dwAddress + static_cast<size_t>(itBack - back.begin()), 8) +
                    " reads back as " + Hex(*itBack, 2) + ", written was " + Hex(*itGiven, 2),
                "verify", "the bytes were written, not all of them are there",
                "Registers of devices do so, and so does memory that cannot be written; "
                "leave them to --no-verify."});
    }
    session.Context().Out().Show({{{"address", "Address"}, AddressCell(m_dwAddress)},
                                  {{"written", "Written"}, Cell::Number(bytes.size())},
                                  {{"verified", "Verified"}, Cell::YesNo(!m_bNoVerify)}});
}
