// Block commands of an Intel SMBus host controller, through its registers. The waits for the
// controller have no limit: a host that needs a bound runs this where it can end it.
#include <algorithm>

#include "cmd/CRequestCMD.h"
#include "msg/CMsg.h"
#include "platform/IClock.h"
#include "platform/Platform.h"

namespace
{
constexpr DWORD kStatus = 0x00;
constexpr DWORD kControl = 0x02; // reading it sets the block buffer's index to 0
constexpr DWORD kCommand = 0x03;
constexpr DWORD kSlaveAddress = 0x04;
constexpr DWORD kData0 = 0x05;
constexpr DWORD kBlockData = 0x07;
constexpr DWORD kAuxStatus = 0x0C;
constexpr DWORD kAuxControl = 0x0D;

constexpr BYTE kHostBusy = 0x01;
constexpr BYTE kIntr = 0x02;
constexpr BYTE kDevErr = 0x04;
constexpr BYTE kBusErr = 0x08;
constexpr BYTE kFailed = 0x10;
constexpr BYTE kInUse = 0x40;
constexpr BYTE kByteDone = 0x80;
constexpr BYTE kAllErrors = kDevErr | kBusErr | kFailed;
constexpr BYTE kAllEnds = kIntr | kAllErrors;

constexpr BYTE kBlockCommand = 0x14;
constexpr BYTE kLastByte = 0x20;
constexpr BYTE kStart = 0x40;
constexpr BYTE kCrcError = 0x01; // of the auxiliary status
constexpr BYTE kPec = 0x01;      // of the auxiliary control
constexpr BYTE kE32B = 0x02;

constexpr DWORD kConfigAddress = 0xCF8;
constexpr DWORD kConfigData = 0xCFC;
constexpr DWORD kHostConfig = 0x80018940; // bus 1, device 17, function 1, register 0x40
constexpr BYTE kHostEnable = 0x01;
constexpr BYTE kHostI2C = 0x04;

constexpr int kModeRead = 0;
constexpr int kModeWrite = 1;
constexpr int kTries = 100;
constexpr int kBlockBytes = 32;

/// One transfer by one of the three routines: registers, texts and the steps that they share.
class CSmbusTransfer
{
public:
    CSmbusTransfer(CRequestCMD& cmd, const char* pszFunction, DWORD dwBase, BYTE* pBuf, int nMode)
        : m_cmd(cmd), m_pszFunction(pszFunction), m_dwBase(dwBase), m_pBuf(pBuf), m_nMode(nMode)
    {}

    void Begin(BYTE bySlaveAddr, BYTE byCommand);
    void EnableBuffer();
    bool FillOnce(); ///< true: what was read back is what was written
    bool FillBuffer();
    bool ReadBuffer();
    void SendAndWait();
    bool TransferBytes();
    void WaitEnd();
    bool CheckEnd();
    void Finish();
    void SoakBuffer();

private:
    template<class... Args>
    void Log(const char* pszFormat, Args... args)
    {
        CMsg::GetObj()->ShowMsg(MSG_INFO, m_pszFunction, pszFormat, args...);
    }

    BYTE Read(DWORD dwRegister)
    {
        return static_cast<BYTE>(m_cmd.VoInputByte(m_dwBase + dwRegister));
    }

    void Write(DWORD dwRegister, BYTE byValue)
    {
        m_cmd.VoOutputByte(m_dwBase + dwRegister, byValue);
    }

    void Set(DWORD dwRegister, BYTE byBits)
    {
        Write(dwRegister, static_cast<BYTE>(Read(dwRegister) | byBits));
    }

    void Clear(DWORD dwRegister, BYTE byBits)
    {
        Write(dwRegister, static_cast<BYTE>(Read(dwRegister) & ~byBits));
    }

    /// Sets the block buffer's index to 0.
    void Rewind() { (void)Read(kControl); }

    void ReadBlock(BYTE* pOut, int nCount)
    {
        for (int i = 0; i < nCount; ++i)
            pOut[i] = Read(kBlockData);
    }

    void EnableController();
    void DumpBuffer();
    void LogStatus() { Log("The Status of STS is 0x%02x\n", Read(kStatus)); }
    BYTE WaitByte();
    bool FirstCount(int& nCount);

    CRequestCMD& m_cmd;
    const char* m_pszFunction;
    DWORD m_dwBase;
    BYTE* m_pBuf; ///< block count, then the data
    int m_nMode;
    BYTE m_byStatus = 0; ///< what the last wait ended with
};

void CSmbusTransfer::EnableController()
{
    m_cmd.VoOutputDword(kConfigAddress, kHostConfig);
    const DWORD dwConfig = m_cmd.VoInputDword(kConfigData);
    auto byConfig = static_cast<BYTE>(dwConfig & 0xFFu & ~DWORD{kHostI2C});
    Log("BlockWrite: data read from CTL is 0x%02x", byConfig);
    byConfig = static_cast<BYTE>(byConfig | kHostEnable);
    m_cmd.VoOutputDword(kConfigAddress, kHostConfig);
    m_cmd.VoOutputDword(kConfigData, byConfig); // Deliberate: the upper bits go out as zeros
    Log("SmBus Controller: dwData=%#x \n", byConfig);
}

void CSmbusTransfer::Begin(BYTE bySlaveAddr, BYTE byCommand)
{
    EnableController();
    Log("[PDO]start block Transfer\n");
    Log("Step1:\tclear status\n");
    Write(kStatus, 0xFF);
    Log("Step2\xA3\xBA\tcheck smbus busy\n"); // a full-width colon in GBK
    while ((Read(kStatus) & kHostBusy) != 0) {
    }
    Log("Step3: \tset addr\n");
    Write(kSlaveAddress,
          m_nMode == kModeWrite ? bySlaveAddr : static_cast<BYTE>(bySlaveAddr | 0x01));
    Log("Step4: \tset cmd\n");
    Write(kCommand, byCommand);
    Log("Step5: \tdisable/enable PEC\n");
    Clear(kAuxControl, kPec);
    if (m_nMode != kModeWrite)
        m_pBuf[0] = kBlockBytes;
    else if (m_pBuf[0] < 1)
        m_pBuf[0] = 1;
}

void CSmbusTransfer::DumpBuffer()
{
    for (int i = 0; i < kBlockBytes; ++i)
        Log("[Block Write]The value of data buf is 0x%02x\n", Read(kBlockData));
}

void CSmbusTransfer::EnableBuffer()
{
    Log("Step6: \tEnable E32B\n");
    Set(kAuxControl, kE32B);
    Rewind();
    if (m_nMode == kModeWrite)
        DumpBuffer();
    Log("Step7:\treset Buf index to 0\n");
    Log("Step8:\tSet buf data\n");
}

bool CSmbusTransfer::FillOnce()
{
    const int nCount = m_pBuf[0];
    Rewind();
    Write(kData0, m_pBuf[0]);
    for (int i = 1; i <= nCount; ++i)
        Write(kBlockData, m_pBuf[i]);
    Write(kControl, kBlockCommand);
    Rewind();
    BYTE scratch[256];
    ReadBlock(scratch, nCount);
    return std::equal(scratch, scratch + nCount, m_pBuf + 1);
}

bool CSmbusTransfer::FillBuffer()
{
    int nLeft = kTries;
    while (m_nMode == kModeWrite && nLeft > 0) {
        if (FillOnce()) {
            Log("[Block Write]Compare success\n");
            break;
        }
        Log("[Block Write]Compare fail\n");
        Rewind();
        DumpBuffer();
        --nLeft;
    }
    Log("[Block Write]Retry Time is %d\n", nLeft);
    if (nLeft == 0)
        Log("[Block Write]Finally comapre fail\n");
    return nLeft > 0;
}

void CSmbusTransfer::SendAndWait()
{
    Log("Step9:\tSet Ctl reg\n");
    Write(kStatus, kInUse);
    Write(kControl, kBlockCommand | kStart);
    Log("Step9:\twait for interupt\n");
    WaitEnd();
}

void CSmbusTransfer::WaitEnd()
{
    do {
        m_byStatus = Read(kStatus);
        CurrentPlatform().Clock().Sleep(1);
        Log("IntelBlockwrite(): INTEL_SMBUS_HOST_STS_REG busy  = 0x%02X\n", m_byStatus);
    } while ((m_byStatus & kHostBusy) != 0 || (m_byStatus & kAllEnds) == 0);
}

bool CSmbusTransfer::CheckEnd()
{
    Log("Step10: check the post\n");
    if ((m_byStatus & kFailed) != 0) {
        Log("Bus fail is occured\n");
        return false;
    }
    if ((m_byStatus & kDevErr) != 0) {
        if ((Read(kAuxStatus) & kCrcError) != 0)
            Write(kAuxStatus, kCrcError);
        Log("IntelBlockWrite(): DEV_ERR is occured\n");
        return false;
    }
    if ((m_byStatus & kBusErr) != 0) {
        Log("BUS_ERR is occured\n");
        return false;
    }
    return true;
}

bool CSmbusTransfer::ReadBuffer()
{
    int nLeft = kTries;
    while (m_nMode == kModeRead && nLeft > 0) {
        m_pBuf[0] = Read(kData0);
        const int nCount = m_pBuf[0];
        Rewind();
        ReadBlock(m_pBuf + 1, nCount);
        Rewind();
        BYTE scratch[256];
        ReadBlock(scratch, nCount);
        if (std::equal(scratch, scratch + nCount, m_pBuf + 1)) {
            Log("[Block Read]Compare success\n");
            break;
        }
        Log("[Block Read]Compare fail\n");
        Write(kStatus, kInUse);
        --nLeft;
    }
    Log("[Block Read]Retry time is %d\n", nLeft);
    if (nLeft == 0)
        Log("[Block Read]Finally comapre fail\n");
    return nLeft > 0;
}

void CSmbusTransfer::Finish()
{
    Log("Step20: close E32B and PEC\n");
    Clear(kAuxControl, kE32B);
    Write(kStatus, 0xFE);
}

void CSmbusTransfer::SoakBuffer()
{
    for (int nPasses = 0;; ++nPasses) {
        if (!FillOnce()) {
            Log("[Block Write]Compare fail\n");
            Log("[Block Write]Retry time is %d", nPasses);
            LogStatus();
            return;
        }
        Log("[Block Write]Compare success\n");
        LogStatus();
    }
}

/// Waits until a byte has been transferred, or an error. @return the status
BYTE CSmbusTransfer::WaitByte()
{
    BYTE byStatus = 0;
    do {
        CurrentPlatform().Clock().Sleep(10);
        byStatus = Read(kStatus);
        Log("Status return is 0x%02x", byStatus);
    } while ((byStatus & (kByteDone | kAllErrors)) == 0);
    return byStatus;
}

/// Takes the count that the device sent first. @return false after ending an empty block
bool CSmbusTransfer::FirstCount(int& nCount)
{
    nCount = Read(kData0);
    Log("The len of Data is %d\n", nCount);
    if (nCount >= 1) {
        m_pBuf[0] = static_cast<BYTE>(nCount);
        return true;
    }
    while ((Read(kStatus) & kHostBusy) != 0)
        Write(kStatus, kByteDone);
    Write(kStatus, kIntr);
    return false;
}

bool CSmbusTransfer::TransferBytes()
{
    Log("Step6: \tdisable E32B\n");
    Clear(kAuxControl, kE32B);
    int nCount = m_pBuf[0];
    Log("Step7:\tset data0 reg\n");
    if (m_nMode == kModeWrite) {
        Write(kData0, m_pBuf[0]);
        Write(kBlockData, m_pBuf[1]);
    } else if (m_nMode == kModeRead) {
        nCount = Read(kData0);
    }
    Log("Step8:\tstart data transfer\n");
    for (int i = 1; i <= nCount; ++i) {
        const bool bLastRead = i == nCount && m_nMode == kModeRead;
        Write(kControl, bLastRead ? kBlockCommand | kLastByte : kBlockCommand);
        if (i == 1)
            Set(kControl, kStart);
        if ((WaitByte() & kAllErrors) != 0) {
            Log("Error is Occuer\n");
            return false;
        }
        if (m_nMode == kModeRead) {
            if (i == 1 && !FirstCount(nCount))
                return false;
            m_pBuf[i] = Read(kBlockData);
        } else if (m_nMode == kModeWrite && i < nCount) {
            Write(kBlockData, m_pBuf[i + 1]);
        }
        Write(kStatus, kByteDone);
    }
    Log("Step9:\twait for interupt\n");
    WaitEnd();
    return true;
}
} // namespace

short CRequestCMD::IntelBlockTransByBlk(DWORD dwBase, BYTE bySlaveAddr, BYTE byCommand, BYTE* pBuf,
                                        int nMode)
{
    CSmbusTransfer transfer(*this, "CRequestCMD::IntelBlockTransByBlk", dwBase, pBuf, nMode);
    transfer.Begin(bySlaveAddr, byCommand);
    transfer.EnableBuffer();
    if (!transfer.FillBuffer())
        return 0;
    transfer.SendAndWait();
    if (!transfer.CheckEnd() || !transfer.ReadBuffer())
        return 0;
    transfer.Finish();
    return 1;
}

short CRequestCMD::IntelBlockTransByBlkEx(DWORD dwBase, BYTE bySlaveAddr, BYTE byCommand,
                                          BYTE* pBuf, int nMode)
{
    CSmbusTransfer transfer(*this, "CRequestCMD::IntelBlockTransByBlkEx", dwBase, pBuf, nMode);
    transfer.Begin(bySlaveAddr, byCommand);
    transfer.EnableBuffer();
    if (nMode == kModeWrite)
        transfer.SoakBuffer(); // ends at the first difference
    return 0;
}

short CRequestCMD::IntelBlockTransByByte(DWORD dwBase, BYTE bySlaveAddr, BYTE byCommand, BYTE* pBuf,
                                         int nMode)
{
    CSmbusTransfer transfer(*this, "CRequestCMD::IntelBlockTransByByte", dwBase, pBuf, nMode);
    transfer.Begin(bySlaveAddr, byCommand);
    if (!transfer.TransferBytes() || !transfer.CheckEnd())
        return 0;
    transfer.Finish();
    return 1;
}
