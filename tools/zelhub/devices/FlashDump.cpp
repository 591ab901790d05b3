#include "tools/zelhub/devices/FlashDump.h"

#include "wire/HubRequests.h"

#include <algorithm>
#include <filesystem>

std::vector<BYTE> ReadFlashWhole(CHubSession& session, DWORD cb, const char* pszWhat)
{
    CToolContext& context = session.Context();
    context.Progress().Phase(pszWhat, 0, cb);
    std::vector<BYTE> all;
    std::vector<BYTE> chunk;
    for (DWORD dw = 0; dw < cb; dw += FLASH_REQUEST_MAX) {
        context.StopIfInterrupted();
        const DWORD cbChunk = std::min<DWORD>(FLASH_REQUEST_MAX, cb - dw);
        session.Responder().ForgetFailure();
        if (!HubReads::ReadFlash(dw, cbChunk, chunk)) {
            const std::string& strWhy = session.Responder().LastFailure();
            const bool bOnBus = session.IsStillOnBus();
            throw CToolError(
                Failure{bOnBus ? ExitCode::General : ExitCode::DeviceLost,
                        "flash cannot be read at offset " + Hex(dw, 6) +
                            (strWhy.empty() ? std::string() : ": " + strWhy),
                        pszWhat,
                        bOnBus ? "the hub is on the bus; its flash was not touched"
                               : "the hub is not on the bus; its flash was not touched",
                        bOnBus ? "If the size is larger than the hub's flash, give a smaller one."
                               : "Plug the hub in again, then type this again."});
        }
        all.insert(all.end(), chunk.begin(), chunk.end());
        const int nPercent = static_cast<int>(100ULL * all.size() / cb);
        context.Progress().Step(nPercent, nPercent);
    }
    return all;
}

void CheckNewFile(const std::string& strPath, bool bOverwrite)
{
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(strPath, error);
    if (std::filesystem::is_directory(status))
        throw CToolError(ExitCode::General, Printable(strPath) + " is a folder",
                         "Give the name of a file in it.");
    if (!bOverwrite && std::filesystem::is_regular_file(status))
        throw CToolError(ExitCode::General, Printable(strPath) + " exists already",
                         "Give another name, or remove that file first.");
}

void SaveNewFile(const std::string& strPath, const std::vector<BYTE>& bytes)
{
    const std::string strWhy = HostSystem::WriteWhole(strPath, bytes.data(), bytes.size(), true);
    if (!strWhy.empty())
        throw CToolError(Failure{ExitCode::General,
                                 Printable(strPath) + " cannot be written: " + strWhy, "",
                                 "the hub was only read", "Give a file where there is room."});
}
