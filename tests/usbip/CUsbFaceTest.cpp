#include "sim/usbip/CUsbFace.h"

#include <gtest/gtest.h>

namespace
{

/// Answers everything with ones, and counts.
class CModel : public ISimUsbDevice
{
public:
    SimTransferResult Control(const SETUP_PACKET& setup, BYTE* pData,
                              DWORD /*dwTimeoutMs*/) override
    {
        ++nAsked;
        std::fill_n(pData, setup.wLength, BYTE{1});
        return {kErrNone, 0, setup.wLength};
    }
    int nAsked = 0;
};

struct Question
{
    const char* pszWhat;
    UsbFaceKind eKind;
    SETUP_PACKET setup;
    std::vector<BYTE> answer;
    bool bByModel = false;
    bool bStall = false;
};

constexpr UsbFaceKind kHub = UsbFaceKind::Hub;
constexpr UsbFaceKind kSuper = UsbFaceKind::SuperHub;
constexpr UsbFaceKind kDevice = UsbFaceKind::Device;

const Question kQuestions[] = {
    {"a vendor request", kHub, {0xC0, 0x09, 0, 0, 2}, {1, 1}, true},
    {"a string", kHub, {0x80, 6, 0x0334, 0, 2}, {1, 1}, true},
    {"the device of the SuperSpeed half",
     kSuper,
     {0x80, 6, 0x0100, 0, 8},
     {1, 1, 0, 3, 1, 1, 3, 9},
     true},
    {"a hub's configuration", kHub, {0x80, 6, 0x0200, 0, 255}, {9, 2, 25,   0, 1, 1, 0, 0xE0, 0,
                                                                9, 4, 0,    0, 1, 9, 0, 0,    0,
                                                                7, 5, 0x81, 3, 1, 0, 12}},
    {"a SuperSpeed hub's configuration", kSuper, {0x80, 6, 0x0200, 0, 4}, {9, 2, 31, 0}},
    {"a device's configuration", kDevice, {0x80, 6, 0x0200, 0, 4}, {9, 2, 18, 0}},
    {"a hub's ports", kHub, {0xA0, 6, 0x2900, 0, 3}, {9, 0x29, 4}},
    {"a SuperSpeed hub's ports", kSuper, {0xA0, 6, 0x2A00, 0, 3}, {12, 0x2A, 4}},
    {"the other speed's hub descriptor", kHub, {0xA0, 6, 0x2A00, 0, 3}, {}, false, true},
    {"a port", kHub, {0xA3, 0, 0, 4, 4}, {0, 0, 0, 0}},
    {"a SuperSpeed port", kSuper, {0xA3, 0, 0, 4, 4}, {0x80, 0, 0, 0}},
    {"a port that is not there", kHub, {0xA3, 0, 0, 5, 4}, {}, false, true},
    {"a class request to no hub", kDevice, {0xA3, 0, 0, 1, 4}, {}, false, true},
    {"an unknown standard request", kHub, {0x80, 0x33, 0, 0, 4}, {}, false, true},
    {"a qualifier", kHub, {0x80, 6, 0x0600, 0, 10}, {}, false, true},
};

TEST(UsbFace, AnswersWhatKernelsAskAndLeavesTheRestToTheModel)
{
    for (const Question& question : kQuestions) {
        SCOPED_TRACE(question.pszWhat);
        CModel model;
        CUsbFace face(model, question.eKind, question.eKind == kDevice ? 0xFF : 9);
        std::vector<BYTE> data(question.setup.wLength);
        const SimTransferResult res = face.Control(question.setup, data.data(), 0);
        EXPECT_EQ(res.dwError, question.bStall ? kErrGenFailure : kErrNone);
        data.resize(res.cbDone);
        EXPECT_EQ(data, question.answer);
        EXPECT_EQ(model.nAsked != 0, question.bByModel);
    }
}

TEST(UsbFace, KeepsWhichPortsArePowered)
{
    CModel model;
    CUsbFace face(model, kHub, 9);
    const auto status = [&face](USHORT wPort) {
        BYTE data[4] = {};
        face.Control({0xA3, 0, 0, wPort, 4}, data, 0);
        return data[1];
    };
    EXPECT_EQ(face.Control({0x23, 3, 8, 2, 0}, nullptr, 0).dwError, kErrNone);
    EXPECT_EQ(status(1), 0);
    EXPECT_EQ(status(2), 1);
    EXPECT_EQ(face.Control({0x23, 1, 8, 2, 0}, nullptr, 0).dwError, kErrNone);
    EXPECT_EQ(status(2), 0);
}

TEST(UsbFace, TakesAConfigurationThatItHas)
{
    CModel model;
    CUsbFace face(model, kHub, 9);
    EXPECT_EQ(face.Control({0x00, 9, 1, 0, 0}, nullptr, 0).dwError, kErrNone);
    EXPECT_EQ(face.Control({0x00, 9, 2, 0, 0}, nullptr, 0).dwError, kErrGenFailure);
    EXPECT_EQ(face.Configuration(), 1);
}

} // namespace
