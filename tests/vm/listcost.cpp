// Times `zelhub list` beside `lsusb` and the control requests that a list sends, in turns, and
// prints the best time of each. Usage: listcost NODE...   (device nodes of all hubs but root hubs)
#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <linux/usbdevice_fs.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

constexpr int kRounds = 7;

bool Run(const char* pszProgram, const char* pszArgument)
{
    const pid_t child = ::fork();
    if (child == 0) {
        ::dup2(::open("/dev/null", O_WRONLY), STDOUT_FILENO);
        ::execlp(pszProgram, pszProgram, pszArgument, nullptr);
        ::_exit(127);
    }
    int nStatus = -1;
    return ::waitpid(child, &nStatus, 0) == child && nStatus == 0;
}

bool Ask(int nNode, unsigned char byRequest, unsigned short wValue, unsigned short cb)
{
    std::array<unsigned char, 256> data = {};
    usbdevfs_ctrltransfer transfer = {0x80, byRequest, wValue, 0, cb, 5000, data.data()};
    return ::ioctl(nNode, USBDEVFS_CONTROL, &transfer) > 0 || byRequest == 6;
}

/// The configuration in use and the string that tells whose hub it is; not all hubs have that.
bool AskAll(char** ppNodes)
{
    bool bDone = true;
    for (; *ppNodes != nullptr; ++ppNodes) {
        const int nNode = ::open(*ppNodes, O_RDWR | O_CLOEXEC);
        bDone = nNode >= 0 && Ask(nNode, 8, 0, 1) && Ask(nNode, 6, 0x0334, 255) && bDone;
        ::close(nNode);
    }
    return bDone;
}

template<class Act>
bool Time(Act act, double& dBest)
{
    const auto start = std::chrono::steady_clock::now();
    const bool bDone = act();
    const std::chrono::duration<double, std::milli> passed =
        std::chrono::steady_clock::now() - start;
    dBest = std::min(dBest, passed.count());
    return bDone;
}

} // namespace

int main(int nArguments, char** ppArguments)
{
    double dList = 1e9;
    double dLsusb = 1e9;
    double dAsk = 1e9;
    for (int i = 0; i < kRounds; ++i)
        if (!Time([] { return Run("zelhub", "list"); }, dList) ||
            !Time([] { return Run("lsusb", nullptr); }, dLsusb) ||
            !Time([=] { return AskAll(ppArguments + 1); }, dAsk)) {
            std::puts("something failed");
            return 1;
        }
    std::printf(
        "%d hubs, best of %d: list %.1f ms, lsusb %.1f ms, requests alone %.1f ms, list against "
        "their sum %.2f times (target 1.00)\n",
        nArguments - 1, kRounds, dList, dLsusb, dAsk, dList / (dLsusb + dAsk));
    return 0;
}
