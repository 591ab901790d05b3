#include "cmd/CRequestCMD.h"
#include "platform/IClock.h"
#include "sim/models/CSimBillboard.h"
#include "sweeps/SeamFaults.h"
#include "sweeps/SweepRig.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

namespace
{
constexpr DWORD kPid = 0x9001;
constexpr DWORD kVid = 0x5678;
constexpr DWORD kBankLength = 0x20000;
constexpr DWORD kMarkOfBank1 = 0x27EF0;
constexpr DWORD kRequestBytes = 4096;
constexpr BYTE kCrcGood = 2;

/// A computer with one billboard device that runs the old image.
struct BillboardBench
{
    explicit BillboardBench(const BankKind& kind) : chip(machine.Time(), Settings(kind))
    {
        DeviceNodeOptions options;
        options.wVid = static_cast<USHORT>(kVid);
        options.wPid = static_cast<USHORT>(kPid);
        options.bWinUsb = true;
        options.strDescription = WTEXT("Billboard Device");
        chip.AddPort(&machine.Tree().AddDevice(machine.RootHub(), 1, options, &chip));
        chip.LoadImage(OldImage(), kind.nBank);
        SetCurrentPlatform(&machine);
    }
    BillboardBench(const BillboardBench&) = delete;
    BillboardBench& operator=(const BillboardBench&) = delete;
    ~BillboardBench() { SetCurrentPlatform(nullptr); }

    static SimBillboardSettings Settings(const BankKind& kind)
    {
        SimBillboardSettings settings;
        settings.pd.bIspValidation = kind.bIspValidation;
        settings.pd.bCrcCheck = kind.bCrcCheck;
        return settings;
    }

    void Heal()
    {
        machine.Faults().Clear();
        machine.Handles().CloseAll();
        chip.Faults().Clear();
        chip.Misuse().Clear();
        machine.Time().Advance(15'000'000); // whoever is busy or on the way back ends that
        if (!chip.IsOnBus())
            chip.PowerUp();
    }

    bool RunsNew() const { return chip.IsOnBus() && chip.Runs(NewImage()); }

    CSimMachine machine;
    CSimBillboard chip;
};

/// A careful host: it writes the bank that does not run, reads it back, lets the device check it
/// and believes only the version that it sees afterwards.
class CBillboardRun
{
public:
    CBillboardRun() = default;
    CBillboardRun(const CBillboardRun&) = delete;
    CBillboardRun& operator=(const CBillboardRun&) = delete;
    ~CBillboardRun() { (void)m_cmd.KyBBPD_CloseBillBoardDevice(); }

    bool Update(const Image& image)
    {
        const bool bWritten = Open() && ReadStatus() && Write(image) && ReadsBack(image);
        const bool bStarted = bWritten && Check() && Did(m_cmd.KyBBPD_ResetToFlash(1, 1));
        (void)m_cmd.KyBBPD_CloseBillBoardDevice();
        CurrentPlatform().Clock().Sleep(3000);
        // Also what failed may have been carried out.
        const bool bNew = Open() && ReadStatus() &&
                          (m_status[3] << 8 | m_status[4]) == kNewVersion && m_status[0] != 0;
        m_bAllSaidYes = bStarted && m_bAllSaidYes;
        return bNew && bWritten;
    }

    bool AllSaidYes() const { return m_bAllSaidYes; } ///< what the library alone answered

private:
    bool Did(int nResult)
    {
        m_bAllSaidYes = m_bAllSaidYes && nResult != 0;
        return nResult != 0;
    }

    bool Open() { return Did(m_cmd.KyBBPD_OpenBillBoardDevice(kPid, kVid)); }

    bool ReadStatus()
    {
        std::fill(std::begin(m_status), std::end(m_status), BYTE{0});
        m_dwBank = 0;
        if (!Did(m_cmd.KyBBPD_GetICStatus(m_status, sizeof m_status)))
            return false;
        m_dwBank = (m_status[14] & 0x10) == 0 ? kBankLength : 0;
        return true;
    }

    /// Calls pfnPart(address, data, length) for each request's worth of the image.
    bool ForParts(Image& image, int (CRequestCMD::*pfnPart)(DWORD, BYTE*, DWORD))
    {
        const auto cb = static_cast<DWORD>(image.size());
        for (DWORD dw = 0; dw < cb; dw += kRequestBytes) {
            const DWORD dwPart = std::min(kRequestBytes, cb - dw);
            if (!Did((m_cmd.*pfnPart)(m_dwBank + dw, image.data() + dw, dwPart)))
                return false;
        }
        return true;
    }

    bool Write(const Image& image)
    {
        m_data = image;
        return Did(m_cmd.KyBBPD_VdCmdEnable(1)) && Did(m_cmd.KyBBPD_EraseFlash2(m_dwBank, 30000)) &&
               Did(m_cmd.KyBBPD_VdCmdEnable(3)) &&
               ForParts(m_data, &CRequestCMD::KyBBPD_WriteFlash2);
    }

    bool ReadsBack(const Image& image)
    {
        for (BYTE& by : m_data)
            by = static_cast<BYTE>(~by); // what is not read cannot pass
        return ForParts(m_data, &CRequestCMD::KyBBPD_ReadFlash2) && m_data == image;
    }

    bool Check()
    {
        const bool bFlashCode = m_status[0] != 0;
        if (bFlashCode && (m_status[13] & 0x08) != 0)
            return Did(m_cmd.KyBBPD_VdCmdEnable(1)) && Did(m_cmd.KyBBPD_ISPValidation(0));
        if (!bFlashCode || (m_status[13] & 0x04) == 0)
            return true;
        m_byCrc = 0;
        m_mark[0] = m_mark[1] = 0;
        return Did(m_cmd.KyBBPD_CheckCodeCRCValid(0, m_dwBank, kBankLength, &m_byCrc)) &&
               m_byCrc == kCrcGood &&
               Did(m_cmd.KyBBPD_WriteFlash2(kMarkOfBank1 - m_dwBank, m_mark, sizeof m_mark));
    }

    CRequestCMD& m_cmd = *CRequestCMD::GetRequestObj();
    BYTE m_status[20] = {};
    DWORD m_dwBank = 0;
    Image m_data; ///< a transfer that timed out may still use it
    BYTE m_byCrc = 0;
    BYTE m_mark[2] = {};
    bool m_bAllSaidYes = true;
};

class BillboardSweep : public testing::TestWithParam<BankKind>
{
protected:
    /// What a whole update needs, as fnCount counts it.
    static std::uint64_t Whole(const std::function<std::uint64_t(BillboardBench&)>& fnCount)
    {
        BillboardBench whole(GetParam());
        CBillboardRun run;
        EXPECT_TRUE(run.Update(NewImage()));
        EXPECT_TRUE(whole.RunsNew());
        EXPECT_EQ(whole.chip.Misuse().Text(), "");
        return fnCount(whole);
    }

    static void BreakThenRepeat(BillboardBench& bench, SweepTally& tally,
                                const std::string& strOperation = {})
    {
        const unsigned nRunning = GetParam().nBank;
        Image before = bench.chip.Banks().Bank(nRunning);
        bool bSuccess = false;
        {
            CBillboardRun run;
            bSuccess = run.Update(NewImage());
            tally.Count(bSuccess, run.AllSaidYes() && !bench.RunsNew());
        }
        EXPECT_TRUE(!bSuccess || bench.RunsNew());
        Image after = bench.chip.Banks().Bank(nRunning);
        for (Image* pBank : {&before, &after}) // its mark is all that may change
            std::fill_n(pBank->begin() + CSimImage::kMarkAt, 2, BYTE{0});
        EXPECT_TRUE(before == after) << "the bank that ran is damaged";
        ExpectTidy(bench.machine.Handles(), strOperation);

        bench.Heal();
        CBillboardRun again;
        EXPECT_TRUE(again.Update(NewImage())) << "the second run failed";
        EXPECT_TRUE(bench.RunsNew());
        EXPECT_EQ(bench.chip.Misuse().Text(), "");
    }
};

TEST_P(BillboardSweep, EveryFaultAtEveryTransfer)
{
    const auto nTransfers = Whole([](BillboardBench& b) { return b.chip.Transfers(); });
    SweepTally tally(std::string("billboard transfers of ") + GetParam().pszName);
    ForFaults(UsbFaults(), FirstPlaces(nTransfers), [&](auto n, const SimFault& fault) {
        BillboardBench bench(GetParam());
        bench.chip.Faults().At(n, fault);
        BreakThenRepeat(bench, tally);
    });
}

TEST_P(BillboardSweep, PowerLostAtEveryFlashOperation)
{
    const auto nOperations = Whole([](BillboardBench& b) { return b.chip.FlashOperations(); });
    SweepTally tally(std::string("billboard flash operations of ") + GetParam().pszName);
    ForPowerCuts(FirstPlaces(nOperations), [&](auto n, SimPowerCut eWhen) {
        BillboardBench bench(GetParam());
        bench.chip.LosePowerAt(n, eWhen);
        BreakThenRepeat(bench, tally);
    });
}

TEST_P(BillboardSweep, EveryCallOfAnUpdateFails)
{
    std::map<std::string, unsigned> counts;
    (void)Whole([&](BillboardBench& b) {
        counts = b.machine.Faults().Counts();
        return 0;
    });
    SweepTally tally(std::string("seam calls of a billboard update of ") + GetParam().pszName);
    for (const SeamFault& fault : FaultsOf(counts)) {
        if (HasFailure())
            break;
        SCOPED_TRACE(testing::Message() << fault);
        BillboardBench bench(GetParam());
        bench.machine.Faults().FailCall(fault.strOperation, fault.nCall, fault.dwCode);
        BreakThenRepeat(bench, tally, fault.strOperation);
    }
}

INSTANTIATE_TEST_SUITE_P(Billboard, BillboardSweep, testing::ValuesIn(kBankKinds),
                         [](const auto& test) { return test.param.pszName; });
} // namespace
