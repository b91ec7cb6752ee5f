#pragma once

#include "KeyReader.h"
#include "LiveScreen.h"
#include "Terminal.h"
#include "app/LiveCommand.h"
#include "displays/Display.h"
#include "displays/LiveSource.h"

#include <optional>

namespace monitor
{

/// The live table on the terminal, which is as it was before when this object goes.
class LiveDisplay : public Display
{
public:
    /// Shows what \a liveSource brings, which must outlive this object.
    LiveDisplay(const LiveOptions& options, double k, LiveSource& liveSource);

    /// Does what the keys ask for and draws the table as it is now. Returns false if somebody wants
    /// to end it.
    bool refresh() override;

private:
    /// What stands still while the display is paused.
    struct Picture {
        LiveHeader header;
        QVector<LiveRow> rows; // of all signals
    };

    bool takeKeys();
    void draw();
    void drawPicture();
    int fitView(int rowCount);
    int visibleRows() const;
    void show(const LiveHeader& header, const QVector<LiveRow>& rows, int rowCount);

    LiveSource& source;
    double factor; // half the width of the band, in deviations
    Terminal terminal;
    KeyReader keys;
    LiveView view;
    LiveScreen screen;
    std::optional<Picture> picture;
};

} // namespace monitor
