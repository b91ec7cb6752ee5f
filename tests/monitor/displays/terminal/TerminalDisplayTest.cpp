#include "../../catalogue/Descriptions.h"
#include "PseudoTerminal.h"

#include <displays/terminal/TerminalDisplay.h>

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

using monitor::BusState;
using monitor::CatalogueSignal;
using monitor::Frame;
using monitor::Session;
using monitor::TerminalDisplay;

namespace
{

constexpr int frames = 3;
constexpr int leastRating = 50;

/// Shows a session with the value 17 of one signal until the user quits. Returns the number of
/// frames in the session.
int showSession()
{
    CatalogueSignal signal = describedSignal(0, 8);
    signal.rules.limits = monitor::ValueRange{0, 16}; // so that the rating of 17 is 0
    Session session({describedMessage(0x18FEF100, {signal})}, 3);
    Frame frame;
    frame.id = 0x18FEF100;
    frame.extended = true;
    frame.length = 1;
    frame.data.at(0) = 17;
    for (int i = 0; i < frames; ++i)
        session.take(frame);
    TerminalDisplay display(session, leastRating);
    while (display.take(session.getSnapshot(0), BusState{"bus", 2500000, 12.5, 500000}))
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return static_cast<int>(session.counts().total);
}

class TerminalDisplayTest : public testing::Test
{
protected:
    PseudoTerminal terminal{showSession, 24, 200};
};

} // namespace

TEST_F(TerminalDisplayTest, ShowsTheBusAndTheSnapshot)
{
    EXPECT_TRUE(terminal.waitForScreen("\x1b[Hbus  2.5 s  frames 3  undecoded 0  dropped 0  "
                                       "errors 0  load 12.5 % of 500 kbit/s"))
        << terminal.output().toStdString();
    EXPECT_TRUE(terminal.screen().contains("\x1b[1;31m!  Signal "))
        << "the low rating must be highlighted";
    EXPECT_TRUE(terminal.screen().contains("signals 1-1 of 1"));
}

TEST_F(TerminalDisplayTest, FilterHidesSignalsWithOtherNames)
{
    ASSERT_TRUE(terminal.waitForScreen("signals 1-1 of 1"));
    EXPECT_TRUE(terminal.type("/speed\r"));
    EXPECT_TRUE(terminal.waitForScreen("filter /speed"));
    EXPECT_FALSE(terminal.screen().contains("!  Signal "));
    EXPECT_TRUE(terminal.type("\x1b"));
    EXPECT_TRUE(terminal.waitForScreen("!  Signal "));
}

TEST_F(TerminalDisplayTest, QuitEndsTheRunAndRestoresTheTerminal)
{
    ASSERT_TRUE(terminal.waitForScreen("frames 3 "));
    EXPECT_TRUE(terminal.type("q"));
    EXPECT_EQ(terminal.waitForEnd(), frames);
    EXPECT_TRUE(terminal.output().endsWith("\x1b[?7h\x1b[?25h\x1b[?1049l"));
}

TEST_F(TerminalDisplayTest, ResetClearsTheSessionEvenWhilePaused)
{
    ASSERT_TRUE(terminal.waitForScreen("frames 3 "));
    EXPECT_TRUE(terminal.type("p"));
    EXPECT_TRUE(terminal.waitForScreen("paused"));
    EXPECT_TRUE(terminal.type("r"));
    EXPECT_TRUE(terminal.waitForScreen("frames 0 "));
    EXPECT_TRUE(terminal.type("q"));
    EXPECT_EQ(terminal.waitForEnd(), 0);
}
