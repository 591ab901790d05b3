#include "msg/CMsgBase.h"

#include <atomic>
#include <functional>
#include <system_error>
#include <thread>

#include "MsgFixture.h"

namespace
{
class Dispatcher : public MsgTest
{
protected:
    CMsgBase m_msg;
    CNotebook m_book;
};

TEST_F(Dispatcher, StampsALineWithAMonthThatCountsFromZeroAndWithoutPadding)
{
    m_msg.Attach(&m_book);
    m_msg.ShowMsg(MSG_ERROR, "IDevFinder::WaitDevConnect", "wait %s %d.\n", "true", 7);
    EXPECT_EQ(m_book.lines.at(0),
              "[2024-0-15, 9:5:3]  In IDevFinder::WaitDevConnect, wait true 7.\n");
    EXPECT_EQ(m_book.levels.at(0), 3);
}

TEST_F(Dispatcher, WideLineLooksTheSame)
{
    m_msg.Attach(&m_book);
    m_msg.ShowMsg_U(MSG_FAIL, "CHubFind::ListDevice", WTEXT("Index:%d,HwID:%s\n"), 3,
                    WTEXT("USB\\VID_5678\u20ac"));
    EXPECT_EQ(m_book.lines.at(0), std::string(kStamp) + "In CHubFind::ListDevice, Index:3,HwID:"
                                                        "USB\\VID_5678\xe2\x82\xac\n");
    EXPECT_EQ(m_book.levels.at(0), 1);
}

TEST_F(Dispatcher, OtherReportsCarryNeitherStampNorFunction)
{
    m_msg.Attach(&m_book);
    m_msg.ShowUIMsg(RES_INFO, "write flash complete %d%%\r", 40);
    m_msg.CountDown("wait dev", 9, MSG_FAIL);
    m_msg.ShowProgress(70);
    EXPECT_EQ(m_book.lines,
              (std::vector<std::string>{"2|write flash complete 40%\r", "wait dev|9|1", "70"}));
}

TEST_F(Dispatcher, RespondersAreServedOnceForEachAttachUntilTheyAreCleared)
{
    CNotebook second;
    m_msg.ClearResponder();
    m_msg.Attach(&m_book);
    m_msg.Attach(&second);
    m_msg.Attach(&m_book);
    m_msg.ShowProgress(1);
    EXPECT_EQ(m_book.lines.size(), 2u);
    EXPECT_EQ(second.lines.size(), 1u);
    m_msg.ClearResponder();
    m_msg.ShowMsg(MSG_ERROR, "f", "lost");
    EXPECT_EQ(m_book.lines.size(), 2u);
}

TEST_F(Dispatcher, OverlongNarrowTextsAreCutAtTheBuffersEnd)
{
    m_msg.Attach(&m_book);
    const std::string strLong(2000, 'x');
    m_msg.ShowMsg(MSG_INFO, "f", "%s", strLong.c_str());
    m_msg.ShowUIMsg(RES_INFO, "%s", strLong.c_str());
    m_msg.ShowMsg(MSG_INFO, strLong.c_str(), "never seen");
    const std::string strHead = std::string(kStamp) + "In f, ";
    EXPECT_EQ(m_book.lines.at(0), strHead + std::string(1023 - strHead.size(), 'x'));
    EXPECT_EQ(m_book.lines.at(1), "2|" + std::string(1023, 'x'));
    EXPECT_EQ(m_book.lines.at(2).size(), 1023u);
}

// Deliberate: narrow texts are cut, wide ones end the process.
TEST_F(Dispatcher, WideTextEndsTheProcessExactlyWhereItNoLongerFits)
{
    m_msg.Attach(&m_book);
    const std::size_t nRoom = 1024 - (std::string(kStamp) + "In f, ").size();
    const WString strFits(nRoom - 1, WTEXT('x'));
    m_msg.ShowMsg_U(MSG_INFO, "f", WTEXT("%s"), strFits.c_str());
    EXPECT_EQ(m_book.lines.at(0).size(), 1023u);

    const auto send = [&](const WString& str) {
        m_msg.ShowMsg_U(MSG_INFO, "f", WTEXT("%s"), str.c_str());
    };
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(send(WString(nRoom, WTEXT('x'))), "message too long");
    EXPECT_DEATH(send(WString(nRoom / 2, WTEXT('\u20ac'))), "message too long"); // 3 bytes each
    m_msg.ClearResponder();
    EXPECT_DEATH(send(WString(nRoom, WTEXT('x'))), "message too long") << "though nobody listens";
}

// Deliberate: the head of a wide line is offered one byte less.
TEST_F(Dispatcher, OverlongFunctionLeavesRoomForOneByteInAWideLine)
{
    m_msg.Attach(&m_book);
    const std::string strFunc(2000, 'f');
    m_msg.ShowMsg_U(MSG_INFO, strFunc.c_str(), WTEXT("x"));
    EXPECT_EQ(m_book.lines.at(0).size(), 1023u);
    EXPECT_EQ(m_book.lines.at(0).back(), 'x');
}

/// Spoils the last error as any responder may, and does something while it is called.
class CSpoiler : public CNotebook
{
public:
    explicit CSpoiler(std::function<void()> fn) : m_fn(std::move(fn)) {}
    void ShowMsg(const char*, ERRORLEVEL) override { m_fn(); }
    void ShowUIMsg(const char*, RESTYPE) override { m_fn(); }
    void CountDown(const char*, int, ERRORLEVEL) override { m_fn(); }
    void ShowProgress(int) override { m_fn(); }

private:
    std::function<void()> m_fn;
};

struct Report
{
    const char* pszCase;
    void (*pfnSend)(CMsgBase& msg);
};

const Report kReports[] = {
    {"ShowMsg", [](CMsgBase& m) { m.ShowMsg(MSG_INFO, "f", "x"); }},
    {"ShowMsg_U", [](CMsgBase& m) { m.ShowMsg_U(MSG_INFO, "f", WTEXT("x")); }},
    {"ShowUIMsg", [](CMsgBase& m) { m.ShowUIMsg(RES_INFO, "x"); }},
    {"CountDown", [](CMsgBase& m) { m.CountDown("x", 1, MSG_INFO); }},
    {"ShowProgress", [](CMsgBase& m) { m.ShowProgress(1); }},
};

class EveryReport : public MsgTest, public testing::WithParamInterface<Report>
{
protected:
    CMsgBase m_msg;
};

TEST_P(EveryReport, LeavesTheLastErrorAsItWas)
{
    CSpoiler spoiler([&] { m_machine.Process().SetLastError(5); });
    m_msg.Attach(&spoiler);
    m_machine.Process().SetLastError(1167);
    GetParam().pfnSend(m_msg);
    EXPECT_EQ(m_machine.Process().LastError(), 1167u);
}

TEST_P(EveryReport, ThrowsWhenAResponderCallsBackAndWorksAfterwards)
{
    CNotebook book;
    bool bThrown = false;
    CSpoiler spoiler([&] {
        try {
            GetParam().pfnSend(m_msg);
        } catch (const std::system_error& error) {
            bThrown = error.code() == std::errc::resource_deadlock_would_occur;
        }
    });
    m_msg.Attach(&spoiler);
    m_msg.Attach(&book);
    GetParam().pfnSend(m_msg);
    EXPECT_TRUE(bThrown);
    EXPECT_EQ(book.lines.size(), 1u);
}

TEST_P(EveryReport, IsUsableAgainAfterAResponderThrew)
{
    CSpoiler spoiler([] { throw std::bad_alloc(); });
    m_msg.Attach(&spoiler);
    EXPECT_THROW(GetParam().pfnSend(m_msg), std::bad_alloc);
    m_msg.ClearResponder();
    CNotebook book;
    m_msg.Attach(&book);
    GetParam().pfnSend(m_msg);
    EXPECT_EQ(book.lines.size(), 1u);
}

TEST_P(EveryReport, CallsOneResponderAtATimeFromAllThreads)
{
    std::atomic<int> nInside = 0;
    std::atomic<int> nMost = 0;
    int nCalls = 0; // guarded by the dispatcher, which is what this test is about
    CSpoiler spoiler([&] {
        nMost = std::max(nMost.load(), ++nInside);
        ++nCalls;
        std::this_thread::yield();
        --nInside;
    });
    m_msg.Attach(&spoiler);
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int n = 0; n < 50; ++n)
                GetParam().pfnSend(m_msg);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(nMost, 1);
    EXPECT_EQ(nCalls, 200);
}

INSTANTIATE_TEST_SUITE_P(Reports, EveryReport, testing::ValuesIn(kReports),
                         [](const auto& given) { return std::string(given.param.pszCase); });

} // namespace
