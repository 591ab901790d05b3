#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "wire/SetupPacket.h"

/// How a mock device ends one control transfer.
struct MOCK_ANSWER
{
    int nError = 0; ///< the URB's status as the kernel gives it: 0 or a negative error number
    std::vector<BYTE> data = {};
    bool bNever = false;     ///< stays under way until it is cancelled
    int nRefuse = 0;         ///< an error number: the kernel does not even take it
    unsigned nGoneAfter = 0; ///< never ends; the device leaves after so many looks at it
};

/// What a mock device was asked.
struct MOCK_REQUEST
{
    SETUP_PACKET setup;
    std::vector<BYTE> data; ///< what came with an outgoing one
};

/// All that a mock device was asked so far.
struct MOCK_SEEN
{
    std::vector<MOCK_REQUEST> requests; ///< that came through libusb, without those of its own
    unsigned nOwn = 0;                  ///< those that libusb sent by itself
    unsigned nCancelled = 0;
};

/// The testbed with one USB device in it, /dev/bus/usb/001/002, whose usbfs calls this object
/// answers as the kernel does. Control transfers go to the script.
class CMockUsbNode
{
public:
    using Script = std::function<MOCK_ANSWER(const MOCK_REQUEST&)>;

    explicit CMockUsbNode(Script script);
    CMockUsbNode(const CMockUsbNode&) = delete;
    CMockUsbNode& operator=(const CMockUsbNode&) = delete;
    ~CMockUsbNode();

    std::string Path() const; ///< as programs in the testbed name it

    void BeNoHub(); ///< in sysfs, before anybody looks there

    void Leave(); ///< its node lingers, and answers ENODEV

    MOCK_SEEN Seen() const;

    struct Impl;

private:
    std::unique_ptr<Impl> m_pImpl;
};
