// Firmware files of any length and content: loading them, and the versions inside.
#include "dev/CHubDev.h"
#include "dev/CI2CPdDev.h"
#include "flow/CHubFwFinder.h"
#include "fuzz/CFuzzHost.h"
#include "fuzz/Demand.h"
#include "sim/models/CSimImage.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>

namespace
{
constexpr std::size_t kLongest = 0x8100; // a little beyond the last version field
constexpr USHORT kUntouched = 0xA55A;

/// Any length, then what the input writes into the fields' neighbourhood.
std::vector<BYTE> MakeImage(FuzzedDataProvider& input)
{
    if (input.ConsumeBool())
        return input.ConsumeRemainingBytes<BYTE>();
    std::vector<BYTE> image(input.ConsumeIntegralInRange<std::size_t>(0, kLongest),
                            input.ConsumeIntegral<BYTE>());
    const auto fields = input.ConsumeRemainingBytes<BYTE>();
    for (std::size_t i = 0; i < fields.size(); ++i) {
        if (CSimImage::kSignatureAt + i < image.size())
            image[CSimImage::kSignatureAt + i] = fields[i];
    }
    return image;
}

/// Reads a version. @return whether there is one; without one the variable stays
template<typename Device>
bool HasVersion(const std::vector<BYTE>& image, int nWhich, USHORT& wVersion)
{
    Device dev;
    dev.SetFwBuf(image);
    wVersion = kUntouched;
    const bool bHas = dev.DevReadBINVersion(wVersion, nWhich);
    Demand(bHas || wVersion == kUntouched, "no version leaves the variable alone");
    return bHas;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const BYTE* pData, std::size_t cb)
{
    static CFuzzHost s_host;
    FuzzedDataProvider input(pData, cb);
    const std::vector<BYTE> image = MakeImage(input);
    s_host.machine.HostFiles().Put("image.bin", image);

    std::vector<BYTE> loaded = {1, 2, 3};
    const bool bLoaded = CHubFwFinder("image.bin").LoadFwbin2Buf(loaded);
    Demand(bLoaded == !image.empty(), "every file but an empty one loads");
    Demand(!bLoaded || loaded == image, "a file is loaded as it stands");

    USHORT wFirst = 0;
    USHORT wOther = 0;
    const bool bFirst = HasVersion<CHubDev>(image, 1, wFirst);
    Demand(bFirst == (image.size() >= CSimImage::kVersionAt + 2), "the version has two bytes");
    (void)HasVersion<CHubDev>(image, 2, wOther);
    const bool bPd = HasVersion<CI2CPdDev>(image, 2, wOther);
    Demand(bPd == bFirst && (!bPd || wOther == wFirst), "both device kinds read the same field");

    if (image.size() >= CSimImage::kMinSize) {
        for (const SimImageCheck eCheck : {SimImageCheck::Crc, SimImageCheck::NotBlank})
            (void)CSimImage::IsComplete(image.data(), static_cast<DWORD>(image.size()), eCheck);
    }
    return 0;
}
