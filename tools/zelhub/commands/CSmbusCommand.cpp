#include "tools/zelhub/commands/CSmbusCommand.h"

#include "cmd/CRequestCMD.h"
#include "tools/zelhub/context/BoundedCall.h"
#include "tools/zelhub/devices/CHubLock.h"
#include "tools/zelhub/input/HexInput.h"

#include <algorithm>

namespace
{

constexpr size_t kMostBytes = 32;
constexpr size_t kLibraryBuffer = 256;
constexpr DWORD kRegisters = 16;

// Registers, as offsets from the base.
constexpr DWORD kStatus = 0x00;
constexpr DWORD kData0 = 0x05;
constexpr DWORD kAuxStatus = 0x0C;
constexpr DWORD kAuxControl = 0x0D;
constexpr DWORD kAuxStatusKnown = 0x07; ///< the bits that a controller has
constexpr DWORD kAuxControlKnown = 0x03;

constexpr DWORD kDevErr = 0x04;
constexpr DWORD kBusErr = 0x08;
constexpr DWORD kFailed = 0x10;
constexpr DWORD kInUse = 0x40;

constexpr DWORD kNothing = 0xFF; ///< what a port reads where nobody answers
constexpr DWORD kNothingWide = 0xFFFFFFFF;
constexpr DWORD kConfigAddress = 0xCF8;
constexpr DWORD kConfigData = 0xCFC;
constexpr DWORD kHostConfig = 0x80018940; ///< where the library looks for the controller
constexpr DWORD kHostEnable = 0x01;
constexpr DWORD kHostI2c = 0x04;

constexpr int kModeRead = 0;
constexpr int kModeWrite = 1;

} // namespace

void CSmbusCommand::Declare(CArguments& root)
{
    constexpr const char* kMore =
        "The base is in the machine's documentation, or in the PCI configuration of its SMBus\n"
        "controller (register 0x20). Without --timeout a transfer is ended after 10 seconds.";
    CArguments group = root.Sub("smbus", "Read or write blocks of devices on the machine's SMBus");
    m_read = group.Sub("read", "Read a block", kMore);
    DeclareCommon(*m_read);
    m_write =
        group.Sub("write", "Write a block; can harm the machine, so it asks for --yes", kMore);
    DeclareCommon(*m_write);
    m_write->Text("--data", m_strData, "1 to 32 hex bytes: \"01 2A FF\"", true);
    m_write->Flag("--verify", m_bVerify, "read the block back and compare it");
    m_write->Flag("--yes", m_bYes, "really do it");
}

void CSmbusCommand::DeclareCommon(CArguments& args)
{
    args.Number("--base", m_dwBase, 0x100, 0xFFF0, "first I/O port of the controller, as 0xEFA0",
                true);
    args.Number("--addr", m_byAddress, 0x10, 0xEE, "8-bit address of the device (even)", true);
    args.Number("--command", m_byCommand, 0, 0xFF, "SMBus command byte", true);
    args.Flag("--by-byte", m_bByByte, "move byte by byte instead of by the controller's buffer");
}

void CSmbusCommand::CheckArguments() const
{
    if (m_byAddress % 2 != 0)
        throw CToolError(ExitCode::Usage,
                         "--addr " + Hex(m_byAddress, 2) + " is odd: the 8-bit form is even",
                         "Give twice the 7-bit address: --addr 0x16 for 0x0B.");
    if (m_dwBase % kRegisters != 0 || m_dwBase == (kConfigAddress & ~(kRegisters - 1)))
        throw CToolError(ExitCode::Usage,
                         "--base " + Hex(m_dwBase, 4) + " cannot be an SMBus controller's",
                         "Give a multiple of 16, as the controller's PCI register 0x20 has it "
                         "(without its lowest bit).");
    if (!m_write->Chosen())
        return;
    const size_t cb = DataOption(m_strData).size();
    if (cb > kMostBytes)
        throw CToolError(ExitCode::Usage,
                         "--data has " + std::to_string(cb) +
                             " bytes: an SMBus block has at most " + std::to_string(kMostBytes),
                         "Write it in several blocks, if the device takes that.");
    if (!m_bYes)
        throw CToolError(ExitCode::Usage,
                         "smbus write can harm the machine: memory modules, battery and voltage "
                         "regulators hang on that bus",
                         "Add --yes to do it.");
}

void CSmbusCommand::Run(CToolContext& context)
{
    CheckArguments();
    const CHubLock lock("base " + Hex(m_dwBase, 4), context.Opts().strBench,
                        "the SMBus controller at ");
    CPortDriver ports(context);
    CheckController(ports);
    CheckBase(ports);
    if (m_read->Chosen()) {
        const std::vector<BYTE> block = Transfer(ports, Step::Read);
        context.Out().Show(
            Fields({{{"count", "Bytes"}, Cell::Number(block.size())},
                    {{"data", "Data"}, Cell(HexBytes(block.data(), block.size()))}}));
        return;
    }
    const std::vector<BYTE> block = DataOption(m_strData);
    (void)Transfer(ports, Step::Write, block);
    if (m_bVerify)
        Verify(ports, block);
    context.Out().Show(Fields({{{"written", "Written"}, Cell::Number(block.size())},
                               {{"verified", "Verified"}, Cell::YesNo(m_bVerify)}}));
}

void CSmbusCommand::CheckController(CPortDriver& ports) const
{
    ports.Write(kConfigAddress, kHostConfig, 4);
    const DWORD dwConfig = ports.Read(kConfigData, 4);
    if (dwConfig == kNothingWide)
        throw CToolError(ExitCode::NoDevice,
                         "no SMBus controller answers at bus 1, device 17, function 1, where the "
                         "library looks for it",
                         "This machine's SMBus cannot be reached; nothing was touched.");
    // As the transfer itself will: without it the registers read all ones.
    if ((dwConfig & kHostEnable) == 0)
        ports.Write(kConfigData, (dwConfig & 0xFF & ~kHostI2c) | kHostEnable, 4);
}

void CSmbusCommand::CheckBase(CPortDriver& ports) const
{
    const auto port = [this](DWORD dwRegister) {
        return static_cast<DWORD>(m_dwBase) + dwRegister;
    };
    const auto refuse = [this](const char* pszWhy) {
        throw CToolError(ExitCode::NoDevice, "at base " + Hex(m_dwBase, 4) + " " + pszWhy,
                         "Give --base the first I/O port of the SMBus controller: its PCI register "
                         "0x20 without the lowest bit.");
    };
    if (ports.Read(port(kStatus)) == kNothing)
        refuse("nothing answers");
    // Reading the status takes the in-use flag, so it stands at the second reading.
    const bool bTaken = (ports.Read(port(kStatus)) & kInUse) != 0;
    if (!bTaken || (ports.Read(port(kAuxStatus)) & ~kAuxStatusKnown) != 0 ||
        (ports.Read(port(kAuxControl)) & ~kAuxControlKnown) != 0)
        refuse("something answers that is no SMBus controller");
}

Failure CSmbusCommand::FailureOf(Step eStep, ExitCode eCode, std::string strWhat,
                                 std::string strNext)
{
    struct Words
    {
        const char* pszPhase;
        const char* pszState;
    };
    constexpr Words kWords[] = {{"read", "nothing was written"},
                                {"write", "it is not known whether the block was written"},
                                {"verify", "the block was written, but not compared"}};
    const Words& words = kWords[static_cast<int>(eStep)];
    return {eCode, std::move(strWhat), words.pszPhase, words.pszState, std::move(strNext)};
}

std::vector<BYTE> CSmbusCommand::Transfer(CPortDriver& ports, Step eStep,
                                          const std::vector<BYTE>& block) const
{
    const bool bWrite = eStep == Step::Write;
    const auto dwBase = static_cast<DWORD>(m_dwBase);
    std::vector<BYTE> buffer(kLibraryBuffer);
    buffer[0] = static_cast<BYTE>(block.size());
    std::copy(block.begin(), block.end(), buffer.begin() + 1);
    // Byte by byte the library begins with the count as it stands; with 0 it would start nothing
    // and wait for the end of it.
    if (m_bByByte && !bWrite)
        ports.Write(dwBase + kData0, kMostBytes);
    const auto pfnTransfer =
        m_bByByte ? &CRequestCMD::IntelBlockTransByByte : &CRequestCMD::IntelBlockTransByBlk;
    const unsigned nFailed = ports.Responder().FailedTransfers();
    ports.Responder().ForgetFailure();
    short nResult = 0;
    RunBounded(
        ports.Context(),
        FailureOf(eStep, ExitCode::DeviceLost,
                  "the SMBus controller at base " + Hex(m_dwBase, 4) + " does not come to an end",
                  "Type it again; a controller that stays busy needs a restart of the machine."),
        [&] {
            nResult = (CRequestCMD::GetRequestObj()->*pfnTransfer)(
                dwBase, static_cast<BYTE>(m_byAddress), static_cast<BYTE>(m_byCommand),
                buffer.data(), bWrite ? kModeWrite : kModeRead);
        });
    if (nResult != 1 || ports.Responder().FailedTransfers() != nFailed || buffer[0] > kMostBytes)
        RefuseTransfer(ports, eStep);
    return {buffer.begin() + 1, buffer.begin() + 1 + buffer[0]};
}

void CSmbusCommand::RefuseTransfer(CPortDriver& ports, Step eStep) const
{
    // A failed transfer leaves the controller's status as it was.
    const std::string strCause = ports.Responder().LastFailure();
    const DWORD dwStatus = ports.Read(static_cast<DWORD>(m_dwBase) + kStatus);
    std::string strWhy = "status " + Hex(dwStatus, 2) + (strCause.empty() ? "" : ", ") + strCause;
    ExitCode eCode = ExitCode::General;
    if ((dwStatus & kDevErr) != 0) {
        strWhy = "it does not answer, does not know command " + Hex(m_byCommand, 2) +
                 ", or its packet error code is wrong";
        eCode = eStep == Step::Read ? ExitCode::NoDevice : ExitCode::General;
    } else if ((dwStatus & kBusErr) != 0) {
        strWhy = "the bus was lost to another master";
    } else if ((dwStatus & kFailed) != 0) {
        strWhy = "the controller gave up";
    }
    const bool bWrite = eStep == Step::Write;
    throw CToolError(FailureOf(eStep, bWrite ? ExitCode::WriteFailed : eCode,
                               "the block could not be " +
                                   std::string(bWrite ? "written to" : "read from") +
                                   " the device at " + Hex(m_byAddress, 2) + ": " + strWhy,
                               "Check address and command, then type it again."));
}

void CSmbusCommand::Verify(CPortDriver& ports, const std::vector<BYTE>& block) const
{
    const std::vector<BYTE> back = Transfer(ports, Step::Verify);
    if (back == block)
        return;
    throw CToolError(Failure{ExitCode::Mismatch,
                             "the device at " + Hex(m_byAddress, 2) +
                                 " reads back as: " + HexBytes(back.data(), back.size()),
                             "verify", "the block was written, but is not what was given",
                             "Some commands read back something else; leave out --verify there."});
}

std::vector<Field> CSmbusCommand::Fields(const std::vector<Field>& more) const
{
    std::vector<Field> fields = {
        {{"base", "Base"}, Cell(Hex(m_dwBase, 4), static_cast<long long>(m_dwBase))},
        {{"address", "Address"}, Cell(Hex(m_byAddress, 2), static_cast<long long>(m_byAddress))},
        {{"address7", "7-bit"},
         Cell(Hex(m_byAddress / 2, 2), static_cast<long long>(m_byAddress / 2))},
        {{"smbusCommand", "Command"},
         Cell(Hex(m_byCommand, 2), static_cast<long long>(m_byCommand))}};
    fields.insert(fields.end(), more.begin(), more.end());
    return fields;
}
