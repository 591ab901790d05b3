#include <gtest/gtest.h>

#include "CMockUsbNode.h"
#include "platform/ErrorCodes.h"
#include "platform/linux/CLinuxDeviceFile.h"
#include "platform/linux/CLinuxWinUsb.h"
#include "platform/linux/LinuxError.h"
#include "wire/HubRequests.h"

#include <cerrno>

namespace
{
constexpr DWORD kUnderWay = 997;
constexpr DWORD kTimedOut = 258;
constexpr BYTE kRead[] = {REQTYPE_VENDOR_IN, REQ_BB_STATUS, 0, 0, 0, 0, 20, 0};

/// A billboard device through the WinUSB calls.
class LinuxWinUsb : public testing::Test
{
protected:
    void SetUp() override
    {
        m_hDevice = OpenNode(kFlagOverlapped);
        ASSERT_TRUE(m_winUsb.Initialize(m_hDevice, &m_hInterface));
    }

    HANDLE OpenNode(DWORD dwFlags)
    {
        const std::string strPath = m_node.Path();
        return m_files.Open(WString(strPath.begin(), strPath.end()).c_str(),
                            kGenericRead | kGenericWrite, kShareNone, kOpenExisting, dwFlags);
    }

    void Start(OVERLAPPED_TRANSFER* pRecord)
    {
        EXPECT_FALSE(m_winUsb.ControlTransfer(m_hInterface, kRead, m_buffer, 20, nullptr, pRecord));
        EXPECT_EQ(ThreadLastError(), kUnderWay);
    }

    /// @return 0, or the last error
    DWORD Result(OVERLAPPED_TRANSFER* pRecord, DWORD dwTimeoutMs = 5000)
    {
        return m_winUsb.TransferResult(m_hDevice, pRecord, &m_cbDone, dwTimeoutMs, false)
                   ? kErrNone
                   : ThreadLastError();
    }

    MOCK_ANSWER m_answer; ///< to every request
    CMockUsbNode m_node{[this](const MOCK_REQUEST&) { return m_answer; }};
    CLinuxHandles m_handles;
    CLinuxDeviceFile m_files{m_handles};
    CLinuxWinUsb m_winUsb{m_handles};
    HANDLE m_hDevice = nullptr;
    HANDLE m_hInterface = nullptr;
    OVERLAPPED_TRANSFER m_record = {};
    BYTE m_buffer[20] = {};
    DWORD m_cbDone = 0;
};

TEST_F(LinuxWinUsb, ResultTellsHowTheTransferEnded)
{
    const std::pair<MOCK_ANSWER, DWORD> ends[] = {
        {{0, std::vector<BYTE>(12, 0x42)}, kErrNone},
        {{-EPIPE}, kErrGenFailure},
        {{0, {}, false, ENODEV}, kErrDeviceGone},
        {{0, {}, false, 0, 2}, kErrDeviceGone},
    };
    for (const auto& [answer, dwError] : ends) {
        m_answer = answer;
        Start(&m_record);
        EXPECT_EQ(Result(&m_record), dwError);
        EXPECT_EQ(m_cbDone, dwError == 0 ? 12u : 0u);
        EXPECT_EQ(Result(&m_record), kErrInvalidParameter) << "it was fetched";
    }
    EXPECT_EQ(m_buffer[11], 0x42);
    EXPECT_EQ(m_buffer[12], 0);
}

TEST_F(LinuxWinUsb, TimeOutCancelsNothingButClosingDoes)
{
    m_answer.bNever = true;
    Start(&m_record);
    EXPECT_EQ(Result(&m_record, 1), kTimedOut);
    EXPECT_EQ(Result(&m_record, 0), kTimedOut);
    m_answer = {0, {7}};
    Start(&m_record); // the same record again, while the first transfer goes on
    EXPECT_EQ(Result(&m_record), 0u);
    EXPECT_EQ(m_buffer[0], 7);
    EXPECT_EQ(m_node.Seen().nCancelled, 0u);

    EXPECT_TRUE(m_files.Close(m_hDevice));
    EXPECT_EQ(m_node.Seen().nCancelled, 0u);
    EXPECT_TRUE(m_winUsb.Free(m_hInterface));
    EXPECT_EQ(m_node.Seen().nCancelled, 1u);
    EXPECT_FALSE(m_winUsb.Free(m_hInterface));
}

TEST_F(LinuxWinUsb, RefusesWhatCannotBeATransfer)
{
    OVERLAPPED_TRANSFER offset = {};
    offset.Offset = 1;
    const auto Refused = [&](const BYTE* pSetup, DWORD cb, OVERLAPPED_TRANSFER* pRecord) {
        EXPECT_FALSE(
            m_winUsb.ControlTransfer(m_hInterface, pSetup, m_buffer, cb, nullptr, pRecord));
        return ThreadLastError();
    };
    EXPECT_EQ(Refused(kRead, 19, &m_record), kErrInvalidParameter);
    EXPECT_EQ(Refused(kRead, 20, nullptr), kErrInvalidParameter);
    EXPECT_EQ(Refused(kRead, 20, &offset), kErrInvalidParameter);
    EXPECT_TRUE(m_node.Seen().requests.empty());
    HANDLE hOther = nullptr;
    EXPECT_FALSE(m_winUsb.Initialize(OpenNode(0), &hOther)) << "not open for overlapped transfers";
    EXPECT_FALSE(m_winUsb.Initialize(nullptr, &hOther));
}
} // namespace
