#include <displays/terminal/LiveView.h>

#include <gtest/gtest.h>

using monitor::Key;
using monitor::LiveTable;
using monitor::LiveView;
using Request = LiveView::Request;

namespace
{

Request press(LiveView& view, QChar character)
{
    return view.press({Key::Character, character});
}

void type(LiveView& view, const QString& text)
{
    for (const QChar character : text)
        EXPECT_EQ(press(view, character), Request::None);
}

} // namespace

TEST(LiveView, KeysQuitResetAndPause)
{
    LiveTable table(50);
    LiveView view(table);
    EXPECT_EQ(press(view, 'q'), Request::Quit);
    EXPECT_EQ(press(view, 'r'), Request::Reset);
    EXPECT_EQ(press(view, 'x'), Request::None);
    EXPECT_FALSE(table.isPaused());
    EXPECT_EQ(press(view, 'p'), Request::None);
    EXPECT_TRUE(table.isPaused());
    press(view, 'p');
    EXPECT_FALSE(table.isPaused());
}

TEST(LiveView, CharactersBelongToTheFilterUntilEnter)
{
    LiveTable table(50);
    LiveView view(table);
    type(view, "/speedq");
    EXPECT_TRUE(view.isTyping());
    view.press({Key::Backspace});
    view.press({Key::Enter});
    EXPECT_FALSE(view.isTyping());
    EXPECT_EQ(table.filterText(), QString("speed"));
    EXPECT_EQ(press(view, 'q'), Request::Quit);
}

TEST(LiveView, EscapeClearsTheFilterWhileTypingAndAfterwards)
{
    for (const bool isDone : {false, true}) {
        LiveTable table(50);
        LiveView view(table);
        type(view, "/speed");
        if (isDone)
            view.press({Key::Enter});
        view.press({Key::Escape});
        EXPECT_FALSE(view.isTyping());
        EXPECT_EQ(table.filterText(), QString());
    }
}

TEST(LiveView, RowsScrollByLineAndPageBetweenBothEnds)
{
    LiveTable table(50);
    LiveView view(table);
    const auto rowAfter = [&view](Key::Kind kind) {
        view.press({kind});
        view.fitTo(100, 10);
        return view.firstRow();
    };
    view.fitTo(100, 10);
    EXPECT_EQ(rowAfter(Key::Up), 0);
    EXPECT_EQ(rowAfter(Key::Down), 1);
    EXPECT_EQ(rowAfter(Key::PageDown), 11);
    EXPECT_EQ(rowAfter(Key::PageUp), 1);
    EXPECT_EQ(rowAfter(Key::End), 90);
    EXPECT_EQ(rowAfter(Key::Down), 90);
    EXPECT_EQ(rowAfter(Key::Home), 0);
    view.fitTo(3, 10);
    EXPECT_EQ(rowAfter(Key::Home), 0);
}

TEST(LiveView, ScrollingDownAfterEndStaysAtTheEnd)
{
    LiveTable table(50);
    LiveView view(table);
    view.fitTo(100, 10);
    for (const Key::Kind kind : {Key::End, Key::Down, Key::PageDown, Key::End, Key::PageDown})
        view.press({kind});
    view.fitTo(100, 10);
    EXPECT_EQ(view.firstRow(), 90);
}

TEST(LiveView, RowsThatAllFitAreShownFromTheFirst)
{
    LiveTable table(50);
    LiveView view(table);
    view.press({Key::End});
    view.fitTo(100, 10);
    view.fitTo(4, 10);
    EXPECT_EQ(view.firstRow(), 0);
}

TEST(LiveView, NewFilterStartsAtTheFirstRow)
{
    LiveTable table(50);
    LiveView view(table);
    view.press({Key::End});
    view.fitTo(100, 10);
    type(view, "/e");
    EXPECT_EQ(view.firstRow(), 0);
}

TEST(LiveView, ColumnsScrollToTheRightAndBack)
{
    LiveTable table(50);
    LiveView view(table);
    view.press({Key::Left});
    EXPECT_EQ(view.firstColumn(), 0);
    view.press({Key::Right});
    EXPECT_GT(view.firstColumn(), 0);
    view.press({Key::Left});
    EXPECT_EQ(view.firstColumn(), 0);
}
